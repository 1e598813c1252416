/// \class Plinth::CFileStream
/// The stream that applications open by name: it asks a file system for the real one and hands everything on.
///
///     CWindowsFileSystem files;
///     CFileStream stream(&files);
///     if (stream.Open("Game.ini", MODE_OPEN_EXISTING | MODE_READ | MODE_SHARE_READ | MODE_MISSING_OK)) {
///         copy.CopyFrom(stream, 0, true);
///     }
///
/// Without a stream it answers 0, has no name and does nothing; reading gives 0 bytes and throws nothing.
#pragma once

#include "Plinth/FileSystem/IFileSystem.h"

#include <cstdint>

namespace Plinth {

class CFileStream : public IStream {
public:
    /// The file system stays the caller's; it is needed by Open alone.
    explicit CFileStream(IFileSystem* fileSystem) : fileSystem_(fileSystem) {}
    ~CFileStream() override { Close(); }

    ///@{
    /// Closes the stream before and opens another one; see IFileSystem::OpenStream. False, or what that
    /// throws: there is no stream.
    bool Open(const CString& path, std::uint32_t mode);
    void Close();
    ///@}

    CString GetName() override;
    std::uint64_t GetTime() override;
    std::uint32_t GetSize() override;
    void SetSize(std::uint32_t size) override;
    std::uint32_t GetPosition() override;
    void SetPosition(std::uint32_t position) override;
    void SetTime(const std::uint64_t& time) override;
    std::uint32_t Read(void* buffer, std::uint32_t count, std::uint32_t flags) override;
    std::uint32_t Seek(std::int32_t offset, std::uint32_t origin) override;
    void Write(const void* buffer, std::uint32_t count) override;

    virtual IStream* GetStream(); ///< the real one, which stays this stream's; null: none

private:
    struct Layout;

    IStream* inner_ = nullptr;
    IFileSystem* fileSystem_;
};

} // namespace Plinth
