// The clipboard, and the blocks that go through it. The host's clipboard is the process's own and ends with
// it; one thread at a time has it open.
#pragma once

#include "Platform/Host/Api/Types.h"

constexpr UINT CF_TEXT = 1;

// ERROR_ACCESS_DENIED while another thread has it open. There are no windows: the owner is null.
BOOL WINAPI OpenClipboard(HWND newOwner);

// Who has not opened it gets ERROR_CLIPBOARD_NOT_OPEN from these and the two below.
BOOL WINAPI EmptyClipboard();
BOOL WINAPI CloseClipboard();

// The block is the clipboard's own from now on, in place of the format's former one; a failure leaves it the
// caller's. The last byte of CF_TEXT becomes a terminator. A null block takes the former one away and gives
// null without an error, as does one of no bytes, which changes nothing.
HANDLE WINAPI SetClipboardData(UINT format, HANDLE memory);

// The clipboard's own block, valid until it is closed; null: failed, or, with the last error left alone,
// nothing of that format is there.
HANDLE WINAPI GetClipboardData(UINT format);

// --- Movable blocks

using HGLOBAL = HANDLE;

constexpr UINT GMEM_MOVEABLE = 0x0002;

HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T bytes); // null: failed. Movable blocks alone
LPVOID WINAPI GlobalLock(HGLOBAL memory);             // null: failed, or the block has no bytes
BOOL WINAPI GlobalUnlock(HGLOBAL memory);             // FALSE with ERROR_SUCCESS when the last lock went
SIZE_T WINAPI GlobalSize(HGLOBAL memory);             // 0: failed, or it has no bytes
HGLOBAL WINAPI GlobalFree(HGLOBAL memory); // null, or the block when it failed. Locks do not matter
