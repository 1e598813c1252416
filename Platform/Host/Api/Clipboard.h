// The clipboard, and the blocks that go through it. The host's clipboard is the process's own and ends with
// it; one thread at a time has it open.
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr UINT CF_TEXT = 1;

BOOL WINAPI OpenClipboard(HWND newOwner); // ERROR_ACCESS_DENIED while another thread has it open
BOOL WINAPI EmptyClipboard();
BOOL WINAPI CloseClipboard();

// The block is the clipboard's own from now on; a failure leaves it the caller's.
HANDLE WINAPI SetClipboardData(UINT format, HANDLE memory);

// The clipboard's own block, valid until it is closed; null: nothing of that format is there.
HANDLE WINAPI GetClipboardData(UINT format);

// --- Movable blocks

using HGLOBAL = HANDLE;

constexpr UINT GMEM_MOVEABLE = 0x0002;

HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T bytes); // null: failed. Movable blocks alone
LPVOID WINAPI GlobalLock(HGLOBAL memory);
BOOL WINAPI GlobalUnlock(HGLOBAL memory);  // FALSE with ERROR_SUCCESS when the last lock went
SIZE_T WINAPI GlobalSize(HGLOBAL memory);  // 0: no such block
HGLOBAL WINAPI GlobalFree(HGLOBAL memory); // null, or the block when it failed
