/// \class Plinth::CBufferedStream
/// A block buffer in front of another stream, in one direction: a stream for reading fetches blocks ahead,
/// one for writing collects them.
///
///     CBufferedStream reader(&file, true, false, 1024 * 1024, false);
///     while (reader.Read(&byte, 1, READ_ALLOW_PARTIAL) != 0) { ... }
///
/// Use against the direction throws FILE_ERROR_MODE. A read that finds too little hands it over, moves the
/// position behind it and then throws. What the inner stream throws passes through: bytes that could not be
/// written stay pending; where a new position or the first call of a read fails, all is as before; where a
/// later call of a read fails, the position stays, and the bytes there are read again after SetPosition
/// alone.
///
/// While a buffered stream is in use nothing else moves the inner one. Time, size and name are the inner
/// stream's; pending bytes are not in its size.
#pragma once

#include "Plinth/Streams/IBufferedStream.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Plinth {

/// The block and what is in it: `count` bytes from `start` on. Reading, they are the unread ones of the first
/// `filled` bytes, which are a part of the source. Writing, they are the pending ones.
class CStreamBuffer {
public:
    CStreamBuffer(std::uint32_t capacity, bool reading); ///< a capacity of 0 is 1; throws "Out of memory!"
    ~CStreamBuffer();
    CStreamBuffer(const CStreamBuffer&) = delete;
    CStreamBuffer& operator=(const CStreamBuffer&) = delete;

    [[nodiscard]] std::uint32_t GetCapacity() const { return capacity_; } ///< the block's size
    [[nodiscard]] std::uint32_t GetCount() const { return count_; }       ///< of the unread or pending bytes
    [[nodiscard]] std::uint32_t GetStart() const { return start_; }       ///< where they begin in the block
    [[nodiscard]] std::uint32_t GetRoom() const { return capacity_ - start_ - count_; } ///< behind the bytes
    /// Whether the bytes take the whole block.
    [[nodiscard]] bool IsFull() const { return count_ == capacity_; }

    ///@{
    /// Both move as many bytes as there are, or as there is room for, up to `wanted`, and give their number.
    /// The caller's pointer advances by it, and `wanted` shrinks.
    std::uint32_t Take(std::uint8_t*& destination, std::uint32_t& wanted);
    std::uint32_t Put(const std::uint8_t*& source, std::uint32_t& wanted);
    ///@}

    /// Copies all that there is and leaves it there; gives its size.
    std::uint32_t CopyUnread(std::uint8_t* destination) const;

    void Compact(); ///< moves the bytes to the front of the block

    /// Reads a block and skips the first `start` bytes of it. Gives how many came. When the source throws,
    /// all is as before.
    std::uint32_t Fill(IStream& source, std::uint32_t flags, std::uint32_t start);

    /// Writes the bytes, be they none; it is empty then. When the target throws, all is as before.
    void WriteTo(IStream& target);

    ///@{
    /// Whether the last fill has a byte at the offset, and making that byte the next one.
    [[nodiscard]] bool Holds(std::uint32_t offset) const { return offset < filled_; }
    void MoveTo(std::uint32_t offset);
    ///@}

    void Reset();                                                ///< forgets the last fill
    void SkipInNextFill(std::uint32_t start) { start_ = start; } ///< after a reset
    /// Whether bytes are to be skipped and nothing has been filled.
    [[nodiscard]] bool HasToSkip() const { return filled_ == 0 && start_ != 0; }

    /// What the next fill has to skip still, since the last one ended before it.
    [[nodiscard]] std::uint32_t GetLeftToSkip() const { return start_ - std::min(start_, filled_); }

private:
    struct Layout;

    // Streams are often used byte by byte.
    static void CopyBytes(std::uint8_t* destination, const std::uint8_t* source, std::uint32_t count)
    {
        if (count == 1) {
            *destination = *source;
        } else {
            std::memcpy(destination, source, count);
        }
    }

    std::uint32_t capacity_;
    std::uint8_t* data_;
    std::uint32_t count_ = 0;
    std::uint32_t start_ = 0;
    std::uint32_t filled_ = 0;
    bool reading_;
};

/// A buffer for reading keeps its start, so that what it has handed out can still be gone back to.
inline std::uint32_t CStreamBuffer::Take(std::uint8_t*& destination, std::uint32_t& wanted)
{
    const std::uint32_t taken = std::min(count_, wanted);
    CopyBytes(destination, data_ + start_, taken);
    start_ += taken;
    count_ -= taken;
    destination += taken;
    wanted -= taken;
    if (count_ == 0 && !reading_) {
        start_ = 0;
    }
    return taken;
}

inline std::uint32_t CStreamBuffer::Put(const std::uint8_t*& source, std::uint32_t& wanted)
{
    if (count_ == 0) {
        start_ = 0;
    }
    const std::uint32_t put = std::min(GetRoom(), wanted);
    CopyBytes(data_ + start_ + count_, source, put);
    count_ += put;
    source += put;
    wanted -= put;
    return put;
}

inline std::uint32_t CStreamBuffer::CopyUnread(std::uint8_t* destination) const
{
    CopyBytes(destination, data_ + start_, count_);
    return count_;
}

class CBufferedStream : public IBufferedStream {
public:
    /// The position counts from where the inner stream stands, which is taken for the beginning; new
    /// positions are the inner stream's own. The buffer's size is in bytes, 0 counts as 1. With `aligned` the
    /// inner stream is moved to multiples of it only; a position behind the end then has to be set again when
    /// it has grown. An inner stream that is owned is deleted in the end, but not when the constructor
    /// throws: for a null stream, or "Out of memory!".
    CBufferedStream(IStream* inner, bool reading, bool ownsInner, std::uint32_t bufferSize, bool aligned);

    /// Flushes. A failure of that is traced; the bytes are lost then.
    ~CBufferedStream() override;

    CString GetName() override { return inner_->GetName(); }
    std::uint64_t GetTime() override { return inner_->GetTime(); }
    std::uint32_t GetSize() override { return inner_->GetSize(); }
    void SetSize(std::uint32_t size) override { inner_->SetSize(size); } ///< buffer and position stay
    std::uint32_t GetPosition() override { return position_; }
    void SetPosition(std::uint32_t position) override;
    void SetTime(const std::uint64_t& time) override { inner_->SetTime(time); }
    std::uint32_t Read(void* buffer, std::uint32_t count, std::uint32_t flags) override; ///< null throws
    std::uint32_t Seek(std::int32_t offset, std::uint32_t origin) override;
    void Write(const void* buffer, std::uint32_t count) override; ///< null throws

    bool IsReading() override { return reading_; }
    void Flush() override;

private:
    struct Layout;

    void RequireDirection(bool reading);
    std::uint32_t ReadAcross(void* buffer, std::uint32_t count, std::uint32_t flags);
    void WriteAcross(const void* buffer, std::uint32_t count);
    std::uint32_t ReadOn(std::uint8_t* destination, std::uint32_t wanted, std::uint32_t flags);
    [[nodiscard]] bool SeekInBlock(std::int32_t offset, std::uint32_t origin);
    void SeekInner(std::int32_t offset, std::uint32_t origin);
    void FlushAtEnd() noexcept;

    bool ownsInner_;
    bool reading_;
    bool aligned_;
    IStream* inner_;
    std::uint32_t position_ = 0; // as the caller sees it
    CStreamBuffer buffer_;
};

/// A new one, for the caller to delete.
[[nodiscard]] CBufferedStream* CreateBufferedStream(IStream* inner, bool reading, bool ownsInner,
                                                    std::uint32_t bufferSize, bool aligned);

} // namespace Plinth
