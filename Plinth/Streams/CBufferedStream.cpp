#include "Plinth/Streams/CBufferedStream.h"

#include "Plinth/Debug/Allocation.h"
#include "Plinth/Debug/Trace.h"
#include "Plinth/Streams/Exceptions.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace Plinth {

struct CStreamBuffer::Layout {
    static_assert(offsetof(CStreamBuffer, capacity_) == 0 && offsetof(CStreamBuffer, data_) == sizeof(void*));
    static_assert(offsetof(CStreamBuffer, count_) == 2 * sizeof(void*));
    static_assert(offsetof(CStreamBuffer, start_) == offsetof(CStreamBuffer, count_) + 4);
    static_assert(offsetof(CStreamBuffer, filled_) == offsetof(CStreamBuffer, start_) + 4);
    static_assert(offsetof(CStreamBuffer, reading_) == offsetof(CStreamBuffer, filled_) + 4);
    static_assert(sizeof(CStreamBuffer) == 2 * sizeof(void*) + 16);
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct CBufferedStream::Layout {
    static_assert(offsetof(CBufferedStream, ownsInner_) == sizeof(void*));
    static_assert(offsetof(CBufferedStream, reading_) == offsetof(CBufferedStream, ownsInner_) + 1);
    static_assert(offsetof(CBufferedStream, aligned_) == offsetof(CBufferedStream, reading_) + 1);
    static_assert(offsetof(CBufferedStream, inner_) == 2 * sizeof(void*));
    static_assert(offsetof(CBufferedStream, position_) == 3 * sizeof(void*));
    static_assert(offsetof(CBufferedStream, buffer_) == 4 * sizeof(void*));
    static_assert(sizeof(void*) != 4 || sizeof(CBufferedStream) == 40);
};
#pragma GCC diagnostic pop

CStreamBuffer::CStreamBuffer(std::uint32_t capacity, bool reading)
    : capacity_(std::max<std::uint32_t>(capacity, 1)),
      data_(static_cast<std::uint8_t*>(AllocateMemoryOrThrow(capacity_))), reading_(reading)
{
}

CStreamBuffer::~CStreamBuffer()
{
    FreeMemory(data_);
}

void CStreamBuffer::Compact()
{
    if (start_ != 0 && count_ != 0) {
        std::memmove(data_, data_ + start_, count_);
    }
    start_ = 0;
}

// A source that ends within what is to be skipped leaves nothing unread.
std::uint32_t CStreamBuffer::Fill(IStream& source, std::uint32_t flags, std::uint32_t start)
{
    filled_ = source.Read(data_, capacity_, flags | READ_ALLOW_PARTIAL);
    start_ = start;
    count_ = filled_ - std::min(filled_, start);
    return filled_;
}

void CStreamBuffer::WriteTo(IStream& target)
{
    target.Write(data_ + start_, count_);
    count_ = 0;
    Compact();
}

void CStreamBuffer::MoveTo(std::uint32_t offset)
{
    start_ = offset;
    count_ = filled_ - offset;
}

void CStreamBuffer::Reset()
{
    count_ = 0;
    filled_ = 0;
    Compact();
}

CBufferedStream::CBufferedStream(IStream* inner, bool reading, bool ownsInner, std::uint32_t bufferSize,
                                 bool aligned)
    : ownsInner_(ownsInner), reading_(reading), aligned_(aligned), inner_(inner), buffer_(bufferSize, reading)
{
    if (inner == nullptr) {
        ThrowException("Stream pointer is NULL!");
    }
}

CBufferedStream::~CBufferedStream()
{
    FlushAtEnd();
    if (ownsInner_) {
        delete inner_;
    }
}

// A destructor may run while another exception is on its way.
void CBufferedStream::FlushAtEnd() noexcept
{
    try {
        CBufferedStream::Flush();
    } catch (const CException& exception) {
        Trace(exception.message.CStr());
        Trace("\n");
    } catch (...) {
        Trace("A buffered stream could not be flushed!\n");
    }
}

void CBufferedStream::RequireDirection(bool reading)
{
    if (reading_ != reading) {
        throw CFileException(FILE_ERROR_MODE, inner_->GetName());
    }
}

std::uint32_t CBufferedStream::Read(void* buffer, std::uint32_t count, std::uint32_t flags)
{
    if (reading_ && buffer != nullptr && count <= buffer_.GetCount()) {
        auto* destination = static_cast<std::uint8_t*>(buffer);
        const std::uint32_t taken = buffer_.Take(destination, count);
        position_ += taken;
        return taken;
    }
    return ReadAcross(buffer, count, flags);
}

// Where the block does not have it all, and for all that is wrong.
std::uint32_t CBufferedStream::ReadAcross(void* buffer, std::uint32_t count, std::uint32_t flags)
{
    RequireDirection(true);
    if (count == 0) {
        return 0;
    }
    if (buffer == nullptr) {
        ThrowException("Read operation on stream %s with NULL destination buffer!", GetName().CStr());
    }
    if (buffer_.HasToSkip()) {
        buffer_.Fill(*inner_, flags, buffer_.GetStart());
    }
    auto* destination = static_cast<std::uint8_t*>(buffer);
    std::uint32_t wanted = count;
    if (count <= buffer_.GetCount()) {
        buffer_.Take(destination, wanted);
    } else {
        const std::uint32_t held = buffer_.CopyUnread(destination);
        wanted = ReadOn(destination + held, count - held, flags);
    }
    position_ += count - wanted;
    if (wanted != 0 && (flags & READ_ALLOW_PARTIAL) == 0) {
        ThrowEndOfFile(inner_->GetName());
    }
    return count - wanted;
}

// Reads behind the block: whole blocks go straight to the destination, the rest through the next block. Gives
// how many bytes the source did not have. Where the source fails at once, the block is as before; where it
// fails later, nothing is left that would be taken for bytes around the position, which stays.
std::uint32_t CBufferedStream::ReadOn(std::uint8_t* destination, std::uint32_t wanted, std::uint32_t flags)
{
    const std::uint32_t capacity = buffer_.GetCapacity();
    std::uint32_t skipped = buffer_.GetLeftToSkip();
    std::uint32_t got = capacity;
    while (wanted > capacity && got != 0 && skipped == 0) {
        got = inner_->Read(destination, capacity, flags | READ_ALLOW_PARTIAL);
        buffer_.Reset();
        destination += got;
        wanted -= got;
    }
    for (;;) {
        got = buffer_.Fill(*inner_, flags, skipped);
        buffer_.Take(destination, wanted);
        if (wanted == 0) {
            return 0;
        }
        skipped = buffer_.GetLeftToSkip();
        buffer_.Reset();
        if (got == 0) {
            return wanted;
        }
    }
}

void CBufferedStream::SetPosition(std::uint32_t position)
{
    const std::uint32_t offset = position - position_ + buffer_.GetStart();
    if (!reading_) {
        Flush();
        inner_->SetPosition(position);
    } else if (buffer_.Holds(offset)) {
        buffer_.MoveTo(offset);
    } else {
        const std::uint32_t skipped = aligned_ ? position % buffer_.GetCapacity() : 0;
        inner_->SetPosition(position - skipped);
        buffer_.Reset();
        buffer_.SkipInNextFill(skipped);
    }
    position_ = position;
}

std::uint32_t CBufferedStream::Seek(std::int32_t offset, std::uint32_t origin)
{
    if (!reading_) {
        if (offset != 0 || origin != ORIGIN_CURRENT) {
            Flush();
            position_ = inner_->Seek(offset, origin);
        }
    } else if (!SeekInBlock(offset, origin)) {
        SeekInner(offset, origin);
    }
    return position_;
}

// Whether the last fill has the target.
bool CBufferedStream::SeekInBlock(std::int32_t offset, std::uint32_t origin)
{
    const auto distance = static_cast<std::uint32_t>(offset);
    const std::uint32_t moved = origin == ORIGIN_CURRENT ? distance : distance - position_;
    const std::uint32_t target = buffer_.GetStart() + moved;
    if (origin > ORIGIN_CURRENT || !buffer_.Holds(target)) {
        return false;
    }
    buffer_.MoveTo(target);
    position_ += moved;
    return true;
}

// The inner stream stands behind the last fill, so that its own current position is another one.
void CBufferedStream::SeekInner(std::int32_t offset, std::uint32_t origin)
{
    auto distance = static_cast<std::uint32_t>(offset);
    std::uint32_t target = distance;
    if (origin == ORIGIN_CURRENT) {
        target += position_;
        distance = target - inner_->GetPosition();
    } else if (aligned_ && origin != ORIGIN_BEGIN) {
        target += GetSize();
    }
    const std::uint32_t skipped = aligned_ ? target % buffer_.GetCapacity() : 0;
    position_ = inner_->Seek(static_cast<std::int32_t>(distance - skipped), origin) + skipped;
    buffer_.Reset();
    buffer_.SkipInNextFill(skipped);
}

void CBufferedStream::Write(const void* buffer, std::uint32_t count)
{
    if (!reading_ && buffer != nullptr && count <= buffer_.GetRoom()) {
        const auto* source = static_cast<const std::uint8_t*>(buffer);
        position_ += buffer_.Put(source, count);
        return;
    }
    WriteAcross(buffer, count);
}

void CBufferedStream::WriteAcross(const void* buffer, std::uint32_t count)
{
    RequireDirection(false);
    if (count == 0) {
        return;
    }
    if (buffer == nullptr) {
        ThrowException("Write operation on stream %s with NULL source buffer!", GetName().CStr());
    }
    const auto* source = static_cast<const std::uint8_t*>(buffer);
    while (count != 0) {
        if (buffer_.IsFull()) {
            Flush();
        }
        buffer_.Compact();
        position_ += buffer_.Put(source, count);
    }
}

void CBufferedStream::Flush()
{
    if (!reading_) {
        buffer_.WriteTo(*inner_);
    }
}

CBufferedStream* CreateBufferedStream(IStream* inner, bool reading, bool ownsInner, std::uint32_t bufferSize,
                                      bool aligned)
{
    return new CBufferedStream(inner, reading, ownsInner, bufferSize, aligned);
}

} // namespace Plinth
