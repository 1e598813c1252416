// A program that has of the library what the package gives. It writes a configuration document to a file,
// reads it back and traces what it found; the exit code is 0 when that is what was written.
#include "Plinth/Config/CIniFile.h"
#include "Plinth/Debug/Trace.h"
#include "Plinth/FileSystem/CFileStream.h"
#include "Plinth/FileSystem/CWindowsFileSystem.h"
#include "Plinth/Streams/CMemoryStream.h"

#include <cstdio>

namespace {

const char* const FILE_NAME = "Consumer.ini";

Plinth::CString traced;

void WriteDocument(Plinth::CWindowsFileSystem& files)
{
    Plinth::CIniFile document;
    document.SetString("Consumer", "Name", "Game");
    document.SetInt("Consumer", "Answer", 42);
    Plinth::CMemoryStream text;
    document.WriteText(text);

    Plinth::CFileStream file(&files);
    if (file.Open(FILE_NAME, Plinth::MODE_CREATE_ALWAYS | Plinth::MODE_WRITE)) {
        file.Write(text.GetData(), text.GetSize());
    }
}

void TraceDocument(Plinth::CWindowsFileSystem& files)
{
    Plinth::CMemoryStream text;
    files.LoadFile(text, FILE_NAME, Plinth::MODE_DEFAULT);
    Plinth::CIniFile document;
    document.Parse(text);
    Plinth::SetTraceCallback([](const char* line) { traced += line; });
    Plinth::TraceF("%s %d\n", document.GetValue("Consumer", "Name").CStr(),
                   document.GetInt("Consumer", "Answer", 0));
    Plinth::SetTraceCallback(nullptr);
}

} // namespace

int main()
{
    Plinth::CWindowsFileSystem files(".", false);
    WriteDocument(files);
    TraceDocument(files);
    files.EraseFile(FILE_NAME);
    std::printf("Traced: %s", traced.CStr());
    return traced == "Game 42\n" ? 0 : 1;
}
