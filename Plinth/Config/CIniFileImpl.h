// The content of a configuration document. Names and values have no zeros; where memory runs out, "Out of
// memory!" is thrown.
#pragma once

#include "Plinth/Config/CNameMap.h"
#include "Plinth/Text/CString.h"

#include <cstdint>
#include <string_view>

namespace Plinth {

class CMemoryStream;

using KeyMap = CNameMap<CString>; // to the value
using SectionMap = CNameMap<KeyMap>;

class CIniFileImpl {
public:
    CIniFileImpl() = default;
    CIniFileImpl(const CIniFileImpl&) = delete;
    CIniFileImpl& operator=(const CIniFileImpl&) = delete;

    // Replaces the content by what the text says; when memory runs out, by nothing.
    void Parse(CMemoryStream& text);
    void WriteText(CMemoryStream& text) const;

    // Null when the section or the key is missing.
    [[nodiscard]] const CString* FindValue(std::string_view section, std::string_view key) const;

    // The section of that name, which is made when it is missing.
    KeyMap& AddSection(std::string_view name);

    // Stores a value in a section of this document. When it throws, the section is as it was.
    void SetValue(KeyMap& section, std::string_view key, std::string_view value);

    void Clear();

    SectionMap sections;
    std::uint32_t textSize = 0; // never less than the bytes that WriteText writes
};

} // namespace Plinth
