#include "Plinth/FileSystem/CFileStream.h"

#include <cstddef>
#include <utility>

namespace Plinth {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct CFileStream::Layout {
    static_assert(offsetof(CFileStream, inner_) == sizeof(void*));
    static_assert(offsetof(CFileStream, fileSystem_) == 2 * sizeof(void*));
    static_assert(sizeof(CFileStream) == 3 * sizeof(void*));
};
#pragma GCC diagnostic pop

namespace {

const CString& EmptyName()
{
    static const CString name;
    return name;
}

} // namespace

bool CFileStream::Open(const CString& path, std::uint32_t mode)
{
    Close();
    inner_ = fileSystem_->OpenStream(path, mode);
    return inner_ != nullptr;
}

void CFileStream::Close()
{
    delete std::exchange(inner_, nullptr);
}

CString CFileStream::GetName()
{
    return inner_ != nullptr ? inner_->GetName() : EmptyName();
}

std::uint64_t CFileStream::GetTime()
{
    return inner_ != nullptr ? inner_->GetTime() : 0;
}

std::uint32_t CFileStream::GetSize()
{
    return inner_ != nullptr ? inner_->GetSize() : 0;
}

void CFileStream::SetSize(std::uint32_t size)
{
    if (inner_ != nullptr) {
        inner_->SetSize(size);
    }
}

std::uint32_t CFileStream::GetPosition()
{
    return inner_ != nullptr ? inner_->GetPosition() : 0;
}

void CFileStream::SetPosition(std::uint32_t position)
{
    if (inner_ != nullptr) {
        inner_->SetPosition(position);
    }
}

void CFileStream::SetTime(const std::uint64_t& time)
{
    if (inner_ != nullptr) {
        inner_->SetTime(time);
    }
}

std::uint32_t CFileStream::Read(void* buffer, std::uint32_t count, std::uint32_t flags)
{
    return inner_ != nullptr ? inner_->Read(buffer, count, flags) : 0;
}

std::uint32_t CFileStream::Seek(std::int32_t offset, std::uint32_t origin)
{
    return inner_ != nullptr ? inner_->Seek(offset, origin) : 0;
}

void CFileStream::Write(const void* buffer, std::uint32_t count)
{
    if (inner_ != nullptr) {
        inner_->Write(buffer, count);
    }
}

IStream* CFileStream::GetStream()
{
    return inner_;
}

} // namespace Plinth
