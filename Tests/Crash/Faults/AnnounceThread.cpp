#include "Plinth/Debug/Low32.h"
#include "Plinth/Debug/StaticDiagnostics.h"
#include "Plinth/Text/ZeroTerminatedText.h"
#include "Tests/Crash/CrashCase.h"

void AnnounceThread()
{
    char text[64]{};
    Plinth::FormatText(text, sizeof(text), "thread %u, stack 0x%08x\n",
                       static_cast<unsigned>(GetCurrentThreadId()), Plinth::Low32(text));
    Plinth::WriteStaticDiagnostics(text);
}
