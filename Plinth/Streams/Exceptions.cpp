#include "Plinth/Streams/Exceptions.h"

#include "Plinth/Debug/Allocation.h"

#include <cstdarg>
#include <cstddef>

namespace Plinth {

// Both compilers place the members of these classes as they would those of a plain structure.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct CException::Layout {
    static_assert(offsetof(CException, message) == sizeof(void*));
    static_assert(offsetof(CException, source) == offsetof(CException, message) + sizeof(CString));
    static_assert(offsetof(CException, line) == offsetof(CException, source) + sizeof(char*));
    static_assert(sizeof(CException) == (sizeof(char*) == 4 ? 28 : 48));
};

struct CFileException::Layout {
    static_assert(offsetof(CFileException, kind) == offsetof(CException, line) + 4);
    static_assert(offsetof(CFileException, fileName) == offsetof(CFileException, kind) + 4);
    static_assert(sizeof(CFileException) == (sizeof(char*) == 4 ? 48 : 72));
};
#pragma GCC diagnostic pop

namespace {

constexpr std::uint32_t MESSAGE_ROOM = 256;
constexpr std::size_t EXCEPTION_BUFFER_SIZE = 4096;

// By these every program of the game knows the exception.
constexpr const char* OUT_OF_MEMORY_SOURCE = "FN";
constexpr std::uint32_t OUT_OF_MEMORY_LINE = 68;

struct MessagePieces {
    const char* prefix;
    const char* opening; // before the name, where there is one
    const char* closing; // behind it
    const char* suffix;
};

MessagePieces PiecesOf(CFileError kind)
{
    switch (kind) {
    case FILE_ERROR_NOT_FOUND:
        return {"File ", "\"", "\"", " not found!"};
    case FILE_ERROR_END_OF_FILE:
        return {"End of file", " \"", "\"", "!"};
    case FILE_ERROR_INVALID:
        return {"File ", "\"", "\"", " is invalid!"};
    case FILE_ERROR_MODE:
        return {"Read/write Operation on file ", "\"", "\"", " is not allowed by its mode!"};
    default:
        return {"A file error occurred", " (\"", "\")", "!"};
    }
}

} // namespace

CException::CException(const char* newMessage, const char* newSource, std::uint32_t newLine)
    : message(newMessage), source(newSource), line(newLine)
{
}

// NOLINTNEXTLINE(modernize-pass-by-value): the caller's string is copied either way
CException::CException(const CString& newMessage, const char* newSource, std::uint32_t newLine)
    : message(newMessage), source(newSource), line(newLine)
{
}

CFileException::CFileException(CFileError newKind) : CFileException(newKind, CString()) {}

// NOLINTNEXTLINE(modernize-pass-by-value): likewise
CFileException::CFileException(CFileError newKind, const CString& newFileName)
    : CException(nullptr), kind(newKind), fileName(newFileName)
{
    BuildMessage();
}

CFileException::CFileException(CFileError newKind, const char* newFileName)
    : CException(nullptr), kind(newKind), fileName(newFileName)
{
    BuildMessage();
}

void CFileException::BuildMessage()
{
    const MessagePieces pieces = PiecesOf(kind);
    message.Reserve(MESSAGE_ROOM);
    message = pieces.prefix;
    if (!fileName.IsEmpty()) {
        message.Append(pieces.opening);
        message.Append(fileName);
        message.Append(pieces.closing);
    }
    message.Append(pieces.suffix);
}

CFileError FileErrorFromWin32(DWORD error)
{
    switch (error) {
    case ERROR_SUCCESS:
        return FILE_ERROR_NONE;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_HANDLE:
    case ERROR_NO_MORE_FILES:
    case ERROR_DISK_CHANGE:
        return FILE_ERROR_NOT_FOUND;
    case ERROR_HANDLE_EOF:
        return FILE_ERROR_END_OF_FILE;
    default:
        return FILE_ERROR_GENERIC;
    }
}

void ThrowFileError(DWORD error, const CString& name)
{
    throw CFileException(FileErrorFromWin32(error), name);
}

void ThrowEndOfFile(const CString& name)
{
    throw CFileException(FILE_ERROR_END_OF_FILE, name);
}

void ThrowException(const char* format, ...)
{
    char buffer[EXCEPTION_BUFFER_SIZE];
    buffer[0] = 0;
    buffer[EXCEPTION_BUFFER_SIZE - 1] = 0; // even where a runtime leaves a refused text without its end
    if (format != nullptr) {
        std::va_list arguments;
        va_start(arguments, format);
        _vsnprintf_s(buffer, EXCEPTION_BUFFER_SIZE - 1, _TRUNCATE, format, arguments);
        va_end(arguments);
    }
    throw CException(buffer);
}

void ThrowOutOfMemory()
{
    throw CException("Out of memory!", OUT_OF_MEMORY_SOURCE, OUT_OF_MEMORY_LINE);
}

std::uint32_t SizeOrThrow(std::uint64_t size)
{
    if (size > UINT32_MAX) {
        ReportAllocationFailure(UINT32_MAX);
        ThrowOutOfMemory();
    }
    return static_cast<std::uint32_t>(size);
}

void* AllocateMemoryOrThrow(std::uint32_t size)
{
    void* const block = AllocateMemory(size);
    if (block == nullptr) {
        ThrowOutOfMemory();
    }
    return block;
}

} // namespace Plinth
