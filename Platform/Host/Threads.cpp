#include "Platform/Host/Api/Threads.h"

#include "Platform/Host/Gate.h"

#include <chrono>
#include <thread>

using namespace Platform::Host;

void WINAPI Sleep(DWORD milliseconds)
{
    GateSees("Sleep");
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
