// A memory stream that records what is asked of it as text, "Read 16 1, Seek -5 2", and can be made to fail.
#pragma once

#include "Plinth/Streams/CMemoryStream.h"
#include "Plinth/Streams/Exceptions.h"

#include <algorithm>
#include <string>

class RecordingStream : public Plinth::CMemoryStream {
public:
    static constexpr const char* NAME = "a %s recording";
    using Base = Plinth::CMemoryStream;

    explicit RecordingStream(std::string& log) : log_(log) { SetName(NAME); }
    ~RecordingStream() override { Record("delete"); }

    std::uint64_t GetTime() override { return Record("GetTime"), UINT64_MAX; }
    std::uint32_t GetSize() override { return Record("GetSize"), Base::GetSize(); }
    void SetSize(std::uint32_t size) override { Record("SetSize", size); }
    std::uint32_t GetPosition() override { return Record("GetPosition"), Base::GetPosition(); }
    void SetPosition(std::uint32_t to) override { Record("SetPosition", to), Base::SetPosition(to); }
    void SetTime(const std::uint64_t& time) override { Record("SetTime", time); }
    std::uint32_t Read(void* buffer, std::uint32_t count, std::uint32_t flags) override
    {
        return Record("Read", count, flags), Base::Read(buffer, std::min(count, largestRead), flags);
    }
    std::uint32_t Seek(std::int32_t offset, std::uint32_t origin) override
    {
        return Record("Seek", offset, origin), Base::Seek(offset, origin);
    }
    void Write(const void* buffer, std::uint32_t count) override
    {
        Record("Write", count), Base::Write(buffer, count);
    }

    std::uint32_t largestRead = UINT32_MAX; // more it does not give at once
    std::string failing;                    // the operation that throws FILE_ERROR_GENERIC when recorded,
    int failsAfter = 0;                     // after so many times that it does not

private:
    template <typename... Numbers>
    void Record(const char* operation, Numbers... numbers)
    {
        log_ += (log_.empty() ? "" : ", ") + std::string(operation);
        ((log_ += ' ' + std::to_string(numbers)), ...);
        if (failing == operation && failsAfter-- == 0) {
            throw Plinth::CFileException(Plinth::FILE_ERROR_GENERIC, NAME);
        }
    }

    std::string& log_; // outlives the stream
};
