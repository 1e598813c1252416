/// \file
/// The one interface through which bytes move to and from files and memory.
///
///     CMemoryStream copy;
///     copy.CopyFrom(file, 0, true);
///     const std::uint32_t got = copy.Read(buffer, sizeof(buffer), READ_ALLOW_PARTIAL);
///
/// Sizes, positions and counts are bytes below 4 GiB. A time is that of the last write, in 100-nanosecond
/// steps since 1601-01-01 UTC (a FILETIME as one number); 0: not known. Every failure is thrown, as a
/// CException or CFileException of Plinth/Streams/Exceptions.h. A stream is used by one thread at a time.
#pragma once

#include "Plinth/Text/CString.h"

#include <cstdint>

namespace Plinth {

/// A flag of Read: fewer bytes than asked for are no failure.
constexpr std::uint32_t READ_ALLOW_PARTIAL = 1;

///@{
/// The origins of Seek.
constexpr std::uint32_t ORIGIN_BEGIN = 0;
constexpr std::uint32_t ORIGIN_CURRENT = 1;
constexpr std::uint32_t ORIGIN_END = 2;
///@}

/// The order of the operations is fixed: programs built apart from the library call through it.
class IStream {
public:
    IStream() = default;
    IStream(const IStream&) = delete;
    IStream& operator=(const IStream&) = delete;
    virtual ~IStream() = default;

    virtual CString GetName() = 0; ///< the path it was opened with, or what it was given; may be empty
    /// Of the last write: units of 100 ns since 1601-01-01 UTC; 0: not known.
    virtual std::uint64_t GetTime() = 0;
    virtual std::uint32_t GetSize() = 0; ///< in bytes

    /// Makes the stream exactly that long, at its end.
    virtual void SetSize(std::uint32_t size) = 0;

    ///@{
    /// Of the byte that is read or written next.
    virtual std::uint32_t GetPosition() = 0;
    virtual void SetPosition(std::uint32_t position) = 0;
    ///@}

    virtual void SetTime(const std::uint64_t& time) = 0; ///< creation and access times stay

    /// Moves up to `count` bytes into the buffer and the position behind them, and gives their number. Fewer
    /// than `count` throw FILE_ERROR_END_OF_FILE with the stream's name, unless the flags have
    /// READ_ALLOW_PARTIAL; what the buffer and the position are then is the stream's own. A count of 0 gives
    /// 0. The flags' other bits mean nothing and are handed on.
    virtual std::uint32_t Read(void* buffer, std::uint32_t count, std::uint32_t flags) = 0;

    /// The new position. What another origin does is the stream's own.
    virtual std::uint32_t Seek(std::int32_t offset, std::uint32_t origin) = 0;

    /// Moves `count` bytes from the buffer into the stream, and the position behind them.
    virtual void Write(const void* buffer, std::uint32_t count) = 0;
};

} // namespace Plinth
