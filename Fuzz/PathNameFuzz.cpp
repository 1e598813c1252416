// Any path, pattern and name, zeros between them. A completed path has no part that leads elsewhere, and what
// it finds lies below its drive. A pattern finds what a matcher finds that takes its rules word by word.
#include "Fuzz/Require.h"
#include "Platform/Host/Api/Errors.h"
#include "Platform/Host/Drives.h"
#include "Platform/Host/Names.h"
#include "Platform/Host/Wildcards.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

namespace {

using namespace Platform::Host;

constexpr std::size_t LONGEST_MATCHED = 12; // the plain matcher tries all ways

// The root of drive Q:, with a folder and a file in it.
std::string MakeRoot()
{
    std::string root =
        std::filesystem::canonical(std::filesystem::temp_directory_path()) / "brenvault-fuzz-XXXXXX";
    Require(mkdtemp(root.data()) != nullptr);
    std::filesystem::create_directory(root + "/Folder");
    std::ofstream(root + "/Folder/File.txt") << "x";
    SetDrive('Q', root);
    return root;
}

bool EndsOddly(std::u16string_view part)
{
    return part.ends_with(u'.') || part.ends_with(u' ');
}

void CheckParts(std::u16string_view full)
{
    Require(full.size() >= DRIVE_ROOT_LENGTH && full[1] == u':' && full[2] == u'\\');
    bool isStable = true; // of several dots at the end of a folder's name one is ignored at a time
    std::u16string_view rest = full.substr(DRIVE_ROOT_LENGTH);
    while (!rest.empty()) {
        const std::u16string_view part = rest.substr(0, rest.find(u'\\'));
        Require(!part.empty() && part != u"." && part != u".." &&
                part.find(u'/') == std::u16string_view::npos);
        rest.remove_prefix(std::min(rest.size(), part.size() + 1));
        isStable = isStable && !EndsOddly(part);
    }
    std::u16string again;
    Require(!isStable || (CompletePath(full, again) == ERROR_SUCCESS && again == full));
}

void CheckPath(std::u16string_view path)
{
    static const std::string root = MakeRoot();
    static const std::shared_ptr<void> remover(nullptr, [](void*) { std::filesystem::remove_all(root); });
    std::u16string full;
    std::u16string storage;
    std::u16string_view view;
    const DWORD error = CompletePath(path, full);
    Require(CompletePath(path, storage, view) == error);
    if (error != ERROR_SUCCESS) {
        return;
    }
    CheckParts(full);
    CheckParts(view);
    Require(CompareNames(full, view) == 0);
    full[0] = u'Q';
    std::string native;
    if (FindNative(full, native) == ERROR_SUCCESS) {
        Require((native == root || native.starts_with(root + '/')) && std::filesystem::exists(native));
    }
}

struct PlainMatcher {
    std::u16string_view pattern; // without dots and blanks at its end
    bool hasDotBehind;           // ... where it had a dot there
    std::u16string_view name;

    [[nodiscard]] char16_t After(std::size_t place) const
    {
        return place + 1 < pattern.size() ? pattern[place + 1] : (hasDotBehind ? u'.' : u'\0');
    }

    [[nodiscard]] bool MatchesAny(std::size_t place, std::size_t start) const
    {
        const bool isStopped = After(place) == u'.' && start == name.rfind(u'.');
        return Matches(place + 1, start) ||
               (start < name.size() && !isStopped && MatchesAny(place, start + 1));
    }

    [[nodiscard]] bool Matches(std::size_t place, std::size_t start) const
    {
        const bool atEnd = start == name.size();
        if (place == pattern.size()) {
            return atEnd;
        }
        const char16_t next = After(place);
        switch (pattern[place]) {
        case u'*':
            return MatchesAny(place, start);
        case u'?':
            return Matches(place + 1, atEnd || name[start] == u'.' ? start : start + 1);
        case u'.':
            if (atEnd && place + 1 < pattern.size() && (next == u'*' || next == u'?')) {
                return Matches(place + 1, start);
            }
            [[fallthrough]];
        default:
            return !atEnd && CompareNames(pattern.substr(place, 1), name.substr(start, 1)) == 0 &&
                   Matches(place + 1, start + 1);
        }
    }
};

void CheckPattern(std::u16string_view text, std::u16string_view name)
{
    const bool matches = Pattern(text).Matches(name);
    const bool isPattern = text.find_first_of(u"<>\"") == std::u16string_view::npos;
    if (!isPattern || text.size() > LONGEST_MATCHED || name.size() > LONGEST_MATCHED) {
        return;
    }
    const std::u16string_view pattern = text.substr(0, text.find_last_not_of(u". ") + 1);
    const bool expected =
        pattern == u"*.*" || PlainMatcher{pattern, text.ends_with(u'.'), name}.Matches(0, 0);
    Require(matches == expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::u16string texts[3];
    std::size_t text = 0;
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        const auto unit = static_cast<char16_t>(data[i] | data[i + 1] << 8);
        if (unit == 0 && text < 2) {
            ++text;
        } else if (unit != 0) {
            texts[text] += unit;
        }
    }
    CheckPath(texts[0]);
    CheckPattern(texts[1], texts[2]);
    return 0;
}
