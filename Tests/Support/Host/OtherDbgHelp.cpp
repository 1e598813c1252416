#include "Tests/Support/OtherDbgHelp.h"

#include "Platform/Host/Control.h"

OtherDbgHelp::OtherDbgHelp(const char* missing)
    : library_(nullptr, [](void*) { Platform::Host::SetExportHook({}); })
{
    Platform::Host::SetExportHook(
        [missing](std::string_view name, FARPROC found) { return name == missing ? nullptr : found; });
}
