// A configuration document seen from its inside, and texts in streams of exactly their size.
#pragma once

#include "Plinth/Config/CIniFileImpl.h"
#include "Plinth/Streams/CMemoryStream.h"
#include "Tests/Support/PlainIni.h"

#include <string>

// Lies in a block without room, so that a sanitizer sees a read behind it.
struct ExactStream : Plinth::CMemoryStream {
    explicit ExactStream(const std::string& text)
    {
        SetCapacity(static_cast<std::uint32_t>(text.size()));
        Write(text.data(), static_cast<std::uint32_t>(text.size()));
        SetPosition(0);
    }

    [[nodiscard]] std::string Text() { return {reinterpret_cast<const char*>(GetData()), GetSize()}; }
};

inline PlainIni ContentOf(const Plinth::CIniFileImpl& document)
{
    PlainIni content;
    document.sections.ForEach([&](const Plinth::SectionMap::Entry& section) {
        auto& keys = content[section.name.CStr()];
        section.content.ForEach(
            [&](const Plinth::KeyMap::Entry& key) { keys[key.name.CStr()] = key.content.CStr(); });
    });
    return content;
}

inline std::string WrittenText(const Plinth::CIniFileImpl& document)
{
    ExactStream text("");
    document.WriteText(text);
    return text.Text();
}
