/// \class Plinth::CMemoryStream
/// A stream over one block of memory that it owns and that grows as it is written.
///
/// Operations that set a size give the block exactly that size; writing doubles it, from 1024 bytes on. Only
/// SetCapacity, Free and Detach make the block smaller. Its time is 0. Where memory runs out, "Out of
/// memory!" is thrown and the stream keeps its block and its content, but for CopyFrom.
#pragma once

#include "Plinth/Streams/IStream.h"

#include <cstdint>

namespace Plinth {

class CMemoryStream : public IStream {
public:
    CMemoryStream() = default;
    ~CMemoryStream() override;

    CString GetName() override { return name_; }
    std::uint64_t GetTime() override { return 0; }
    std::uint32_t GetSize() override { return size_; }
    void SetSize(std::uint32_t size) override; ///< new bytes are 0
    std::uint32_t GetPosition() override { return position_; }
    void SetPosition(std::uint32_t position) override; ///< at most the size
    void SetTime(const std::uint64_t& /*time*/) override {}
    std::uint32_t Read(void* buffer, std::uint32_t count,
                       std::uint32_t flags) override;                       ///< null: reads nothing
    std::uint32_t Seek(std::int32_t offset, std::uint32_t origin) override; ///< stops at both ends
    void Write(const void* buffer, std::uint32_t count) override;           ///< null: writes nothing

    // --- The block. Parsers and writers work on it in place; bytes behind the size are theirs to write, up
    // to the capacity. A change of the capacity moves it.

    [[nodiscard]] std::uint8_t* GetData() { return data_; }               ///< null while the capacity is 0
    [[nodiscard]] std::uint32_t GetCapacity() const { return capacity_; } ///< the block's size

    void SetCapacity(std::uint32_t capacity); ///< exactly that, or the size where that is larger
    void Reserve(std::uint32_t capacity);     ///< at least that

    ///@{
    /// Sets the size, and lowers a position behind it. New bytes are 0 or, without the fill, whatever the
    /// block has there. Resize grows the block to exactly the size, GrowTo at least to twice its capacity.
    void Resize(std::uint32_t size, bool zeroFill);
    void GrowTo(std::uint32_t size);
    ///@}

    void Free(); ///< the name stays

    /// Hands the block over, to be given back with FreeMemory. The stream is then empty; its name stays.
    [[nodiscard]] std::uint8_t* Detach();

    void SetName(const CString& name) { name_ = name; } ///< what GetName gives

    // --- Copies from another stream

    /// Takes the source's name, its size, and its bytes from its position on, with at least `extra` bytes of
    /// room behind them; gives their number. With `rewind` the own position goes to 0. A source that stands
    /// behind its beginning leaves as many bytes at the end of the copy undefined. When it throws, the stream
    /// is empty and has the source's name; only where memory ran out without `extra` it keeps its content.
    std::uint32_t CopyFrom(IStream& source, std::uint32_t extra, bool rewind);

    /// Reads exactly `count` bytes to the own position, which goes behind them. When reading throws, the
    /// position stays, and the stream may have grown.
    void WriteFrom(IStream& source, std::uint32_t count);

private:
    struct Layout;

    [[nodiscard]] std::uint32_t MakeWritable(std::uint32_t count);

    std::uint8_t* data_ = nullptr;
    std::uint32_t capacity_ = 0;
    std::uint32_t size_ = 0;
    std::uint32_t position_ = 0;
    CString name_;
};

} // namespace Plinth
