#include "Tests/Support/OtherDbgHelp.h"

#include "Platform/Host/Control.h"

OtherDbgHelp::OtherDbgHelp(const char* missing)
{
    Platform::Host::SetExportHook(
        [missing](std::string_view name, FARPROC found) { return name == missing ? nullptr : found; });
}

OtherDbgHelp::~OtherDbgHelp()
{
    Platform::Host::SetExportHook({});
}
