// The files that the diagnostics write. Nothing is thrown on the way: where memory has run out, the runtime
// may have none for a thread's first exception either, and ends the process.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Text/CString.h"

namespace Plinth {

// Opens the file for writing, others may read it meanwhile; disposition and attributes are CreateFileW's. The
// path is UTF-8. Null: failed, for lack of memory too.
HANDLE OpenOutputFile(const CString& path, DWORD disposition, DWORD attributes);

} // namespace Plinth
