#include "Plinth/Streams/CWindowsFileStream.h"

#include "Plinth/Streams/Exceptions.h"
#include "Plinth/Text/CWideString.h"

#include <cstddef>
#include <utility>

namespace Plinth {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct CWindowsFileStream::Layout {
    static_assert(offsetof(CWindowsFileStream, handle_) == sizeof(void*));
    static_assert(offsetof(CWindowsFileStream, name_) == 2 * sizeof(void*));
    static_assert(sizeof(CWindowsFileStream) == 2 * sizeof(void*) + sizeof(CString));
};
#pragma GCC diagnostic pop

namespace {

constexpr std::uint32_t LARGEST_SIGNED_DISTANCE = 0x7FFFFFFF;

DWORD DispositionOf(std::uint32_t mode)
{
    switch (mode & MODE_CREATION_MASK) {
    case MODE_CREATE_ALWAYS:
        return CREATE_ALWAYS;
    case MODE_CREATE_NEW:
        return CREATE_NEW;
    case MODE_OPEN_ALWAYS:
    case MODE_APPEND:
        return OPEN_ALWAYS;
    case MODE_TRUNCATE_EXISTING:
        return TRUNCATE_EXISTING;
    default:
        return OPEN_EXISTING;
    }
}

DWORD AccessOf(std::uint32_t mode)
{
    return ((mode & MODE_READ) != 0 ? GENERIC_READ : 0) | ((mode & MODE_WRITE) != 0 ? GENERIC_WRITE : 0);
}

DWORD ShareModeOf(std::uint32_t mode)
{
    return ((mode & MODE_SHARE_READ) != 0 ? FILE_SHARE_READ : 0) |
           ((mode & MODE_SHARE_WRITE) != 0 ? FILE_SHARE_WRITE : 0);
}

DWORD FlagsOf(std::uint32_t mode)
{
    return FILE_ATTRIBUTE_NORMAL | ((mode & MODE_WRITE_THROUGH) != 0 ? FILE_FLAG_WRITE_THROUGH : 0) |
           ((mode & MODE_RANDOM_ACCESS) != 0 ? FILE_FLAG_RANDOM_ACCESS : 0) |
           ((mode & MODE_SEQUENTIAL_SCAN) != 0 ? FILE_FLAG_SEQUENTIAL_SCAN : 0);
}

DWORD MoveMethodOf(std::uint32_t origin)
{
    switch (origin) {
    case ORIGIN_CURRENT:
        return FILE_CURRENT;
    case ORIGIN_END:
        return FILE_END;
    default:
        return FILE_BEGIN;
    }
}

bool IsTolerated(CFileError kind, std::uint32_t mode)
{
    return kind == FILE_ERROR_NOT_FOUND && (mode & MODE_MISSING_OK) != 0 &&
           DispositionOf(mode) == OPEN_EXISTING;
}

} // namespace

bool CWindowsFileStream::Open(const char* path, std::uint32_t mode)
{
    Close();
    const CWideString widePath(path);
    auto* const file = CreateFileW(widePath.c_str(), AccessOf(mode), ShareModeOf(mode), nullptr,
                                   DispositionOf(mode), FlagsOf(mode), nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        handle_ = file;
    } else if (!IsTolerated(FileErrorFromWin32(GetLastError()), mode)) {
        const DWORD error = GetLastError();
        ThrowFileError(error, CString(path));
    }
    name_ = path;
    return handle_ != nullptr;
}

void CWindowsFileStream::Close()
{
    if (handle_ != nullptr) {
        CloseHandle(std::exchange(handle_, nullptr));
    }
    name_.Clear();
}

std::uint64_t CWindowsFileStream::GetTime()
{
    FILETIME time;
    if (handle_ == nullptr || !GetFileTime(handle_, nullptr, nullptr, &time)) {
        return 0;
    }
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

std::uint32_t CWindowsFileStream::GetSize()
{
    if (handle_ == nullptr) {
        return 0;
    }
    const DWORD size = GetFileSize(handle_, nullptr);
    if (size == INVALID_FILE_SIZE) {
        ThrowLastError();
    }
    return size;
}

void CWindowsFileStream::SetSize(std::uint32_t size)
{
    if (handle_ == nullptr) {
        return;
    }
    MovePointer(static_cast<std::int32_t>(size), FILE_BEGIN);
    if (!SetEndOfFile(handle_)) {
        ThrowLastError();
    }
}

std::uint32_t CWindowsFileStream::GetPosition()
{
    return handle_ != nullptr ? MovePointer(0, FILE_CURRENT) : 0;
}

// A distance is signed unless it comes with a high part. With one, 0xFFFFFFFF is a position like others.
void CWindowsFileStream::SetPosition(std::uint32_t position)
{
    if (handle_ == nullptr) {
        return;
    }
    if (position <= LARGEST_SIGNED_DISTANCE) {
        MovePointer(static_cast<std::int32_t>(position), FILE_BEGIN);
        return;
    }
    LONG high = 0;
    const DWORD moved = SetFilePointer(handle_, static_cast<LONG>(position), &high, FILE_BEGIN);
    if (moved == INVALID_SET_FILE_POINTER && GetLastError() != ERROR_SUCCESS) {
        ThrowLastError();
    }
}

void CWindowsFileStream::SetTime(const std::uint64_t& time)
{
    if (handle_ != nullptr) {
        const FILETIME lastWrite = {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
        SetFileTime(handle_, nullptr, nullptr, &lastWrite);
    }
}

std::uint32_t CWindowsFileStream::Read(void* buffer, std::uint32_t count, std::uint32_t flags)
{
    if (count == 0 || buffer == nullptr) {
        return 0;
    }
    if (handle_ == nullptr) {
        ThrowEndOfFile(name_);
    }
    DWORD done = 0;
    if (!ReadFile(handle_, buffer, count, &done, nullptr)) {
        ThrowLastError();
    }
    if (done < count && (flags & READ_ALLOW_PARTIAL) == 0) {
        ThrowEndOfFile(name_);
    }
    return done;
}

std::uint32_t CWindowsFileStream::Seek(std::int32_t offset, std::uint32_t origin)
{
    return handle_ != nullptr ? MovePointer(offset, MoveMethodOf(origin)) : 0;
}

void CWindowsFileStream::Write(const void* buffer, std::uint32_t count)
{
    if (handle_ == nullptr || buffer == nullptr || count == 0) {
        return;
    }
    DWORD done = 0;
    if (!WriteFile(handle_, buffer, count, &done, nullptr)) {
        ThrowLastError();
    }
}

std::uint32_t CWindowsFileStream::MovePointer(std::int32_t distance, DWORD method)
{
    const DWORD position = SetFilePointer(handle_, distance, nullptr, method);
    if (position == INVALID_SET_FILE_POINTER) {
        ThrowLastError();
    }
    return position;
}

void CWindowsFileStream::ThrowLastError()
{
    ThrowFileError(GetLastError(), name_);
}

} // namespace Plinth
