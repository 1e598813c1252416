// The current directory and the shell's path functions.
//
// The host shows its root folder as drive Z:; Platform/Host/Drives.h adds others.
#pragma once

#include "Platform/Host/Api/Types.h"

// Gives the characters written, without the terminator; where the buffer is too short, nothing is written and
// the result is the size needed, terminator included.
DWORD WINAPI GetCurrentDirectoryW(DWORD bufferLength, LPWSTR buffer);
// Up to 258 characters once completed. After a failure the current directory is what it was.
BOOL WINAPI SetCurrentDirectoryW(LPCWSTR pathName);

// Pure text; the last error is not touched. FALSE when there was nothing to remove.
BOOL WINAPI PathRemoveFileSpecW(LPWSTR path);
// The buffer has room for MAX_PATH characters. FALSE for a result that does not fit, which leaves the empty
// path, and for a null path, which leaves everything.
BOOL WINAPI PathAppendW(LPWSTR path, LPCWSTR more);
