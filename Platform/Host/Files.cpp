#include "Platform/Host/Api/Files.h"

#include "Platform/Host/FileObject.h"
#include "Platform/Host/FileOpening.h"
#include "Platform/Host/FileTimes.h"
#include "Platform/Host/Gate.h"

#include <fcntl.h>

namespace Platform::Host {

namespace {

// Runs `body` on the file; FALSE where the handle is none.
template <typename Body>
BOOL WithFile(HANDLE handle, const Body& body)
{
    const std::shared_ptr<File> file = FindObjectOf<File>(handle);
    return file != nullptr ? body(*file) : FALSE;
}

// Reads or writes, after what both do with their arguments.
template <typename Body>
BOOL Transfer(const char* function, HANDLE handle, LPDWORD done, LPOVERLAPPED overlapped, const Body& body)
{
    if (done != nullptr) {
        *done = 0;
    }
    return Guarded(function, FALSE, [&] {
        return WithFile(handle, [&](File& file) {
            const bool isPlain = done != nullptr && overlapped == nullptr;
            return isPlain ? body(file) : Fail(ERROR_INVALID_PARAMETER);
        });
    });
}

DWORD LowPart(std::int64_t value)
{
    return static_cast<DWORD>(value);
}

LONG HighPart(std::int64_t value)
{
    return static_cast<LONG>(static_cast<std::uint64_t>(value) >> 32);
}

// The distance that both parts make; without a high one the low one has a sign.
std::int64_t WholeDistance(LONG distance, const LONG* high)
{
    const auto low = static_cast<DWORD>(distance);
    return high != nullptr ? static_cast<std::int64_t>(std::uint64_t{static_cast<DWORD>(*high)} << 32 | low)
                           : distance;
}

DWORD MovePosition(File& file, LONG distance, LONG* high, DWORD method)
{
    const std::int64_t limit = high == nullptr ? LARGEST_LOW_PART : LAST_POSITION;
    const std::int64_t position = file.Seek(WholeDistance(distance, high), method, limit);
    if (position < 0) {
        return INVALID_SET_FILE_POINTER;
    }
    if (high != nullptr) {
        *high = HighPart(position);
    }
    if (LowPart(position) == INVALID_SET_FILE_POINTER) {
        lastError = ERROR_SUCCESS; // tells it from a failure
    }
    return LowPart(position);
}

DWORD SizeOf(File& file, LPDWORD high)
{
    const std::int64_t size = file.Size();
    if (size < 0) {
        return INVALID_FILE_SIZE;
    }
    if (high != nullptr) {
        *high = static_cast<DWORD>(HighPart(size));
    }
    if (LowPart(size) == INVALID_FILE_SIZE) {
        lastError = ERROR_SUCCESS;
    }
    return LowPart(size);
}

// False for what is no time. 0 and the largest number leave the file's.
bool Convert(const FILETIME* time, timespec& host)
{
    const std::int64_t steps = time != nullptr ? StepsOf(*time) : 0;
    host = steps > 0 ? FromSteps(steps) : timespec{0, UTIME_OMIT};
    return steps >= -1;
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

HANDLE WINAPI CreateFileW(LPCWSTR fileName, DWORD access, DWORD shareMode,
                          LPSECURITY_ATTRIBUTES /*securityAttributes*/, DWORD disposition,
                          DWORD flagsAndAttributes, HANDLE /*templateFile*/)
{
    return Guarded("CreateFileW", INVALID_HANDLE_VALUE, [&] {
        return OpenFile(fileName, {access, shareMode, disposition, flagsAndAttributes});
    });
}

BOOL WINAPI ReadFile(HANDLE file, LPVOID bytes, DWORD byteCount, LPDWORD done, LPOVERLAPPED overlapped)
{
    return Transfer("ReadFile", file, done, overlapped,
                    [&](File& found) { return found.Read(static_cast<char*>(bytes), byteCount, *done); });
}

BOOL WINAPI WriteFile(HANDLE file, LPCVOID bytes, DWORD byteCount, LPDWORD done, LPOVERLAPPED overlapped)
{
    return Transfer("WriteFile", file, done, overlapped, [&](File& found) {
        return found.Write(static_cast<const char*>(bytes), byteCount, *done);
    });
}

DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD method)
{
    return Guarded("SetFilePointer", INVALID_SET_FILE_POINTER, [&]() -> DWORD {
        if (method > FILE_END) {
            Fail(ERROR_INVALID_PARAMETER);
            return INVALID_SET_FILE_POINTER;
        }
        const std::shared_ptr<File> found = FindObjectOf<File>(file);
        return found != nullptr ? MovePosition(*found, distance, distanceHigh, method)
                                : INVALID_SET_FILE_POINTER;
    });
}

BOOL WINAPI SetEndOfFile(HANDLE file)
{
    return Guarded("SetEndOfFile", FALSE,
                   [&] { return WithFile(file, [](File& found) { return found.SetEnd(); }); });
}

DWORD WINAPI GetFileSize(HANDLE file, LPDWORD sizeHigh)
{
    return Guarded("GetFileSize", INVALID_FILE_SIZE, [&] {
        const std::shared_ptr<File> found = FindObjectOf<File>(file);
        return found != nullptr ? SizeOf(*found, sizeHigh) : INVALID_FILE_SIZE;
    });
}

BOOL WINAPI GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess, LPFILETIME lastWrite)
{
    return Guarded("GetFileTime", FALSE, [&] {
        return WithFile(file, [&](File& found) {
            struct stat status {};
            if (!found.GetStatus(status)) {
                return FALSE;
            }
            for (const auto& [place, time] : {std::pair(creation, status.st_mtim),
                                              {lastAccess, status.st_atim},
                                              {lastWrite, status.st_mtim}}) {
                if (place != nullptr) {
                    *place = ToFileTime(time);
                }
            }
            return TRUE;
        });
    });
}

// The host has no time of creation that could be set.
BOOL WINAPI SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* lastAccess,
                        const FILETIME* lastWrite)
{
    return Guarded("SetFileTime", FALSE, [&] {
        return WithFile(file, [&](File& found) {
            timespec unused{};
            timespec times[2];
            const bool areTimes =
                Convert(creation, unused) && Convert(lastAccess, times[0]) && Convert(lastWrite, times[1]);
            return areTimes ? found.SetTimes(times) : Fail(ERROR_INVALID_PARAMETER);
        });
    });
}
