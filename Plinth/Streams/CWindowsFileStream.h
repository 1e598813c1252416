/// \class Plinth::CWindowsFileStream
/// A stream over one file of the platform. It keeps no buffer: each operation is a call or two.
///
/// Failures are CFileExceptions with the stream's name; the stream stays open and keeps its name. A read that
/// finds too little hands it over and moves the position behind it before it throws. A stream that is closed
/// answers 0 and does nothing, but reading from it is the end of the file. Files are coordinated by the
/// sharing bits of their open modes alone.
#pragma once

#include "Platform/Win32.h"
#include "Plinth/Streams/IStream.h"
#include "Plinth/Streams/OpenMode.h"

#include <cstdint>

namespace Plinth {

class CWindowsFileStream : public IStream {
public:
    CWindowsFileStream() = default;
    ~CWindowsFileStream() override { Close(); }

    /// Opens the file with the UTF-8 path, having closed the one before. False: it is missing and the mode
    /// has MODE_MISSING_OK; the stream is then closed and carries the path as its name. When it throws, the
    /// stream is closed and has no name.
    bool Open(const char* path, std::uint32_t mode);

    void Close(); ///< the name goes too

    CString GetName() override { return name_; } ///< the path it was opened with
    std::uint64_t GetTime() override;
    std::uint32_t GetSize() override;          ///< throws for 4 GiB less a byte; above, the low 32 bits
    void SetSize(std::uint32_t size) override; ///< at most 2 GiB less a byte; the position goes to the end
    std::uint32_t GetPosition() override;
    void SetPosition(std::uint32_t position) override; ///< may lie behind the end
    void SetTime(const std::uint64_t& time) override;  ///< a failure is not told
    std::uint32_t Read(void* buffer, std::uint32_t count,
                       std::uint32_t flags) override; ///< null: reads nothing
    std::uint32_t Seek(std::int32_t offset,
                       std::uint32_t origin) override;            ///< any other origin: the beginning
    void Write(const void* buffer, std::uint32_t count) override; ///< null: writes nothing

private:
    struct Layout;

    std::uint32_t MovePointer(std::int32_t distance, DWORD method);
    [[noreturn]] void ThrowLastError();

    HANDLE handle_ = nullptr; // null: closed
    CString name_;
};

} // namespace Plinth
