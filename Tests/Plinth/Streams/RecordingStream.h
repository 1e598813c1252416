// A stream over bytes that records what is asked of it as text, "Read 16 1, Seek -5 2", and can be made to
// fail. Its position may lie anywhere, as a file's.
#pragma once

#include "Plinth/Streams/Exceptions.h"
#include "Plinth/Streams/IStream.h"

#include <algorithm>
#include <string>
#include <utility>

class RecordingStream : public Plinth::IStream {
public:
    static constexpr const char* NAME = "a %s recording";

    explicit RecordingStream(std::string& log, std::string newBytes = "")
        : bytes(std::move(newBytes)), log_(log)
    {
    }
    ~RecordingStream() override { Record("delete"); }

    Plinth::CString GetName() override { return NAME; } // not recorded
    std::uint64_t GetTime() override
    {
        Record("GetTime");
        return time;
    }
    std::uint32_t GetSize() override
    {
        Record("GetSize");
        return static_cast<std::uint32_t>(bytes.size());
    }
    void SetSize(std::uint32_t size) override { Record("SetSize", size); }
    std::uint32_t GetPosition() override
    {
        Record("GetPosition");
        return position;
    }
    void SetPosition(std::uint32_t newPosition) override
    {
        Record("SetPosition", newPosition);
        position = newPosition;
    }
    void SetTime(const std::uint64_t& newTime) override { Record("SetTime", newTime); }
    std::uint32_t Read(void* buffer, std::uint32_t count, std::uint32_t flags) override
    {
        Record("Read", count, flags);
        const std::size_t from = std::min<std::size_t>(position, bytes.size());
        const std::size_t got = bytes.copy(static_cast<char*>(buffer), std::min(count, largestRead), from);
        position += static_cast<std::uint32_t>(got);
        return static_cast<std::uint32_t>(got);
    }
    std::uint32_t Seek(std::int32_t offset, std::uint32_t origin) override
    {
        Record("Seek", offset, origin);
        const std::uint32_t starts[] = {0, position, static_cast<std::uint32_t>(bytes.size()), 0};
        position = starts[origin] + static_cast<std::uint32_t>(offset);
        return position;
    }
    void Write(const void* buffer, std::uint32_t count) override
    {
        Record("Write", count);
        bytes.resize(std::max<std::size_t>(bytes.size(), position + std::size_t{count}));
        bytes.replace(position, count, static_cast<const char*>(buffer), count);
        position += count;
    }

    std::string bytes;
    std::uint32_t position = 0;
    std::uint64_t time = 0;
    std::uint32_t largestRead = UINT32_MAX; // more it does not give at once
    std::string failing;                    // the operation that throws FILE_ERROR_GENERIC when recorded

private:
    template <typename... Numbers>
    void Record(const char* operation, Numbers... numbers)
    {
        log_ += (log_.empty() ? "" : ", ") + std::string(operation);
        ((log_ += ' ' + std::to_string(numbers)), ...);
        if (failing == operation) {
            throw Plinth::CFileException(Plinth::FILE_ERROR_GENERIC, NAME);
        }
    }

    std::string& log_; // outlives the stream
};
