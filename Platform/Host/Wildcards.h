// The patterns of searches. "*" stands for any characters, "?" for one; beyond that the platform's rules are:
//
// - "?" stands for nothing where the name ends or a dot comes: "a?" finds "a", "??.txt" finds "b.txt".
// - A dot before "*" or "?" stands for nothing where the name ends: "a.*" finds "a".
// - "*" before a dot does not go beyond the name's last dot; "*." finds names without one.
// - "*.*" finds all names.
//
// Letter case counts as little as in CompareNames.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Platform::Host {

class Pattern {
public:
    // The last part of a search's path as its caller wrote it.
    explicit Pattern(std::u16string_view text);

    [[nodiscard]] bool MatchesAll() const { return text_ == u"*"; }
    [[nodiscard]] bool Matches(std::u16string_view name);

    static bool IsOne(std::u16string_view text) { return text.find_first_of(u"*?") != text.npos; }

private:
    std::u16string text_;        // with the platform's own marks in place of characters that mean something else
    std::vector<bool> reached_;  // places in the pattern that the name's beginning leads to, the end included
};

} // namespace Platform::Host
