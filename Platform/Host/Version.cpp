#include "Platform/Host/Api/Version.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/OwnVersion.h"

namespace Platform::Host {

namespace {

std::optional<OSVERSIONINFOEXW>& ShownVersion()
{
    static std::optional<OSVERSIONINFOEXW> version;
    return version;
}

} // namespace

void SetShownVersion(std::optional<OSVERSIONINFOEXW> version)
{
    ShownVersion() = version;
}

} // namespace Platform::Host

using namespace Platform::Host;

BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW information)
{
    if (GateStops("GetVersionExW")) {
        return FALSE;
    }
    if (information->dwOSVersionInfoSize != sizeof(*information)) {
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    *information = ShownVersion().value_or(OWN_VERSION);
    information->dwOSVersionInfoSize = sizeof(*information);
    return TRUE;
}
