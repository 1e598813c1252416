#include "Plinth/Config/CIniFileImpl.h"

#include "Plinth/Streams/WholeText.h"

namespace Plinth {

namespace {

// What the text form adds to names and values.
constexpr std::uint32_t HEADER_EXTRA = 4;       // brackets, CR LF
constexpr std::uint32_t LATER_HEADER_EXTRA = 6; // and the blank line before it
constexpr std::uint32_t KEY_EXTRA = 5;          // " = ", CR LF

} // namespace

const CString* CIniFileImpl::FindValue(std::string_view section, std::string_view key) const
{
    const KeyMap* const keys = sections.Find(section);
    return keys != nullptr ? keys->Find(key) : nullptr;
}

KeyMap& CIniFileImpl::AddSection(std::string_view name)
{
    const SectionMap::Place place = sections.Locate(name);
    if (place.exists) {
        return place.GetContent();
    }
    const std::uint32_t extra = sections.GetCount() == 0 ? HEADER_EXTRA : LATER_HEADER_EXTRA;
    const std::uint32_t newTextSize = SizeOrThrow(std::uint64_t{textSize} + extra + name.size());
    KeyMap& added = sections.Add(place, CopyWhole(name), KeyMap());
    textSize = newTextSize;
    return added;
}

void CIniFileImpl::SetValue(KeyMap& section, std::string_view key, std::string_view value)
{
    const KeyMap::Place place = section.Locate(key);
    if (place.exists) {
        CString& old = place.GetContent();
        const std::uint32_t newTextSize =
            SizeOrThrow(std::uint64_t{textSize} + value.size() - old.GetLength());
        AssignWhole(old, value);
        textSize = newTextSize;
        return;
    }
    const std::uint32_t newTextSize =
        SizeOrThrow(std::uint64_t{textSize} + value.size() + KEY_EXTRA + key.size());
    section.Add(place, CopyWhole(key), CopyWhole(value));
    textSize = newTextSize;
}

void CIniFileImpl::Clear()
{
    sections = SectionMap();
    textSize = 0;
}

} // namespace Plinth
