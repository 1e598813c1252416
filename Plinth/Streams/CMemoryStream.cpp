#include "Plinth/Streams/CMemoryStream.h"

#include "Plinth/Debug/Allocation.h"
#include "Plinth/Streams/Exceptions.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace Plinth {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct CMemoryStream::Layout {
    static_assert(offsetof(CMemoryStream, data_) == sizeof(void*));
    static_assert(offsetof(CMemoryStream, capacity_) == offsetof(CMemoryStream, data_) + sizeof(void*));
    static_assert(offsetof(CMemoryStream, size_) == offsetof(CMemoryStream, capacity_) + 4);
    static_assert(offsetof(CMemoryStream, position_) == offsetof(CMemoryStream, size_) + 4);
    static_assert(sizeof(void*) != 4 ||
                  (offsetof(CMemoryStream, name_) == 20 && sizeof(CMemoryStream) == 36));
};
#pragma GCC diagnostic pop

namespace {

constexpr std::uint32_t SMALLEST_WRITTEN_BLOCK = 1024;

} // namespace

CMemoryStream::~CMemoryStream()
{
    FreeMemory(data_);
}

void CMemoryStream::SetSize(std::uint32_t size)
{
    Resize(size, true);
}

void CMemoryStream::SetPosition(std::uint32_t position)
{
    position_ = std::min(position, size_);
}

std::uint32_t CMemoryStream::Read(void* buffer, std::uint32_t count, std::uint32_t flags)
{
    if (count == 0 || buffer == nullptr) {
        return 0;
    }
    const std::uint32_t available = size_ - position_;
    if (count > available && (flags & READ_ALLOW_PARTIAL) == 0) {
        ThrowEndOfFile(name_);
    }
    count = std::min(count, available);
    if (count != 0) {
        std::memcpy(buffer, data_ + position_, count);
        position_ += count;
    }
    return count;
}

std::uint32_t CMemoryStream::Seek(std::int32_t offset, std::uint32_t origin)
{
    std::int64_t base = 0;
    switch (origin) {
    case ORIGIN_BEGIN:
        break;
    case ORIGIN_CURRENT:
        base = position_;
        break;
    case ORIGIN_END:
        base = size_;
        break;
    default:
        return position_;
    }
    position_ = static_cast<std::uint32_t>(std::clamp<std::int64_t>(base + offset, 0, size_));
    return position_;
}

void CMemoryStream::Write(const void* buffer, std::uint32_t count)
{
    if (buffer == nullptr || count == 0) {
        return;
    }
    const std::uint32_t end = MakeWritable(count);
    std::memcpy(data_ + position_, buffer, count);
    position_ = end;
}

void CMemoryStream::SetCapacity(std::uint32_t capacity)
{
    capacity = std::max(capacity, size_);
    if (capacity == capacity_) {
        return;
    }
    std::uint8_t* block = nullptr;
    if (capacity != 0) {
        block = static_cast<std::uint8_t*>(AllocateMemoryOrThrow(capacity));
    }
    if (size_ != 0) {
        std::memcpy(block, data_, size_);
    }
    FreeMemory(data_);
    data_ = block;
    capacity_ = capacity;
}

void CMemoryStream::Reserve(std::uint32_t capacity)
{
    if (capacity > capacity_) {
        SetCapacity(capacity);
    }
}

void CMemoryStream::Resize(std::uint32_t size, bool zeroFill)
{
    Reserve(size);
    if (zeroFill && size > size_) {
        std::memset(data_ + size_, 0, size - size_);
    }
    size_ = size;
    position_ = std::min(position_, size);
}

void CMemoryStream::GrowTo(std::uint32_t size)
{
    if (size > capacity_) {
        const std::uint64_t doubled = std::min<std::uint64_t>(std::uint64_t{capacity_} * 2, UINT32_MAX);
        SetCapacity(std::max({static_cast<std::uint32_t>(doubled), SMALLEST_WRITTEN_BLOCK, size}));
    }
    Resize(size, false);
}

void CMemoryStream::Free()
{
    FreeMemory(Detach());
}

std::uint8_t* CMemoryStream::Detach()
{
    capacity_ = 0;
    size_ = 0;
    position_ = 0;
    return std::exchange(data_, nullptr);
}

std::uint32_t CMemoryStream::CopyFrom(IStream& source, std::uint32_t extra, bool rewind)
{
    const std::uint32_t size = source.GetSize();
    CString name = source.GetName();
    name_.Swap(name);
    if (extra > 0) {
        Resize(0, false);
        Reserve(SizeOrThrow(std::uint64_t{extra} + size));
    }
    Resize(size, false);
    try {
        if (rewind) {
            SetPosition(0);
        }
        return source.Read(data_, size - source.GetPosition(), 0);
    } catch (...) {
        Resize(0, false);
        throw;
    }
}

void CMemoryStream::WriteFrom(IStream& source, std::uint32_t count)
{
    if (count == 0) {
        return;
    }
    const std::uint32_t end = MakeWritable(count);
    source.Read(data_ + position_, count, 0);
    position_ = end;
}

// Makes the content reach as far as the next `count` bytes to be written, and gives their end.
std::uint32_t CMemoryStream::MakeWritable(std::uint32_t count)
{
    const std::uint32_t end = SizeOrThrow(std::uint64_t{position_} + count);
    if (size_ < end) {
        GrowTo(end);
    }
    return end;
}

} // namespace Plinth
