// The system's version as the layer shows it.
#pragma once

#include "Platform/Host/Api/Version.h"

namespace Platform::Host {

inline constexpr OSVERSIONINFOEXW OWN_VERSION{.dwOSVersionInfoSize = sizeof(OSVERSIONINFOEXW),
                                              .dwMajorVersion = 6,
                                              .dwMinorVersion = 2,
                                              .dwBuildNumber = 9200,
                                              .dwPlatformId = VER_PLATFORM_WIN32_NT,
                                              .wProductType = VER_NT_WORKSTATION};

} // namespace Platform::Host
