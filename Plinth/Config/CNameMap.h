// An ordered map from names to contents, made for many short names that are looked up often.
//
//     const auto place = map.Locate(name);
//     if (!place.exists) {
//         map.Add(place, CString(name), std::move(content));
//     }
//
// The entries lie in leaves, in the order of operator< of the names. An entry carries the eight bytes of its
// name behind what all names of its leaf begin with, as a number of the same order, so that a search compares
// numbers and, at the end, one name. The first leaf is part of the map; a tree leads to the later ones by
// their first names. Nothing is removed but all. Names have no zeros. Where memory runs out, "Out of memory!"
// is thrown and the map is as it was.
#pragma once

#include "Plinth/Config/HeapAllocator.h"
#include "Plinth/Text/CString.h"
#include "Plinth/Text/ZeroTerminatedTextWords.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace Plinth {

inline std::string_view ViewOf(const CString& text)
{
    return {text.CStr(), text.GetLength()};
}

// Eight bytes of a name from an offset on, as a number of the same order; zeros behind the name's end.
inline std::uint64_t NameDigits(std::string_view name, std::size_t offset)
{
    constexpr std::size_t WIDTH = sizeof(std::uint64_t);
    if (offset >= name.size()) {
        return 0;
    }
    const std::size_t count = std::min(name.size() - offset, WIDTH);
    if (name.size() >= WIDTH) { // the eight bytes that end with those
        const auto word = LoadWords<std::uint64_t>(name.data() + offset + count - WIDTH);
        return __builtin_bswap64(word) << (8 * (WIDTH - count));
    }
    std::uint64_t digits = 0;
    for (const char byte : name.substr(offset)) {
        digits = digits << 8 | static_cast<unsigned char>(byte);
    }
    return digits << (8 * (WIDTH - count));
}

template <typename Content>
class CNameMap {
    struct Leaf;

public:
    struct Entry {
        Entry(std::uint64_t newDigits, CString&& newName, Content&& newContent)
            : digits(newDigits), name(std::move(newName)), content(std::move(newContent))
        {
        }
        Entry(Entry&&) noexcept = default;
        Entry& operator=(Entry&& other) noexcept
        {
            using std::swap;
            swap(digits, other.digits);
            swap(name, other.name);
            swap(content, other.content);
            return *this;
        }
        ~Entry() = default;

        std::uint64_t digits;
        CString name;
        Content content;
    };

    // Where a name is or belongs. Good until something is added.
    struct Place {
        bool exists;
        Leaf* leaf;
        std::size_t index;
        std::size_t prefix;   // of the leaf, with this name in it
        std::uint64_t digits; // of the name, where that does not change the prefix

        [[nodiscard]] Content& GetContent() const { return leaf->entries[index].content; }
    };

    [[nodiscard]] std::uint32_t GetCount() const { return count_; }

    // Null when there is none. Good until something is added.
    [[nodiscard]] const Content* Find(std::string_view name) const
    {
        const Leaf& leaf = *FindLeaf(*this, name);
        const auto entry = leaf.LowerBound(NameDigits(name, leaf.prefix), name);
        return entry != leaf.entries.end() && ViewOf(entry->name) == name ? &entry->content : nullptr;
    }

    [[nodiscard]] Place Locate(std::string_view name) { return FindLeaf(*this, name)->Locate(name); }

    // The place of that name, which does not exist.
    Content& Add(Place place, CString&& name, Content&& content)
    {
        if (place.leaf->entries.size() == LARGEST_LEAF) {
            place = Split(*place.leaf, ViewOf(name)).Locate(ViewOf(name));
        }
        Content& added = place.leaf->Insert(place, std::move(name), std::move(content));
        ++count_;
        return added;
    }

    // In order.
    template <typename Visitor>
    void ForEach(const Visitor& visit) const
    {
        std::for_each(first_.entries.begin(), first_.entries.end(), visit);
        for (const auto& [name, leaf] : later_) {
            std::for_each(leaf.entries.begin(), leaf.entries.end(), visit);
        }
    }

private:
    static constexpr std::size_t SMALLEST_LEAF = 8;
    static constexpr std::size_t LARGEST_LEAF = 256;

    struct Leaf {
        // The first entry whose name is not smaller, as long as the name begins like all names of the leaf.
        [[nodiscard]] auto LowerBound(std::uint64_t digits, std::string_view name) const
        {
            return std::lower_bound(entries.begin(), entries.end(), name,
                                    [digits](const Entry& entry, std::string_view wanted) {
                                        return IsBelow(entry, digits, wanted);
                                    });
        }

        [[nodiscard]] static bool IsBelow(const Entry& entry, std::uint64_t digits, std::string_view name)
        {
            return entry.digits < digits || (entry.digits == digits && ViewOf(entry.name) < name);
        }

        [[nodiscard]] Place Locate(std::string_view name)
        {
            if (entries.empty()) {
                return {false, this, 0, name.size(), 0};
            }
            const std::string_view start = ViewOf(entries.front().name).substr(0, prefix);
            const auto differs = std::mismatch(start.begin(), start.end(), name.begin(), name.end());
            if (differs.first != start.end()) {
                const auto common = static_cast<std::size_t>(differs.first - start.begin());
                return {false, this, name < start ? 0 : entries.size(), common, 0};
            }
            const std::uint64_t digits = NameDigits(name, prefix);
            if (IsBelow(entries.back(), digits, name)) {
                return {false, this, entries.size(), prefix, digits};
            }
            const auto entry = LowerBound(digits, name);
            return {ViewOf(entry->name) == name, this, static_cast<std::size_t>(entry - entries.begin()),
                    prefix, digits};
        }

        Content& Insert(const Place& place, CString&& name, Content&& content)
        {
            if (entries.empty()) {
                entries.reserve(SMALLEST_LEAF);
            }
            const auto at = entries.begin() + static_cast<std::ptrdiff_t>(place.index);
            const auto inserted = entries.emplace(at, place.digits, std::move(name), std::move(content));
            SetPrefix(place.prefix);
            return inserted->content;
        }

        void SetPrefix(std::size_t newPrefix)
        {
            if (newPrefix == prefix) {
                return;
            }
            prefix = newPrefix;
            for (Entry& entry : entries) {
                entry.digits = NameDigits(ViewOf(entry.name), prefix);
            }
        }

        // What the first and the last name begin with, all do.
        void FindPrefix()
        {
            const std::string_view front = ViewOf(entries.front().name);
            const std::string_view back = ViewOf(entries.back().name);
            const auto differs = std::mismatch(front.begin(), front.end(), back.begin(), back.end());
            SetPrefix(static_cast<std::size_t>(differs.first - front.begin()));
        }

        std::vector<Entry, HeapAllocator<Entry>> entries;
        std::size_t prefix = 0; // the length of what all names begin with
    };

    using Leaves =
        std::map<std::string_view, Leaf, std::less<>, HeapAllocator<std::pair<const std::string_view, Leaf>>>;

    // The leaf in which the name is or belongs.
    template <typename Map>
    static auto FindLeaf(Map& map, std::string_view name) -> decltype(&map.first_)
    {
        if (map.later_.empty()) {
            return &map.first_;
        }
        const auto behind = map.later_.upper_bound(name);
        return behind == map.later_.begin() ? &map.first_ : &std::prev(behind)->second;
    }

    // Makes room in a full leaf, and gives the leaf where the name belongs now. A name behind all others goes
    // into a new leaf; so what comes in order fills the leaves. The texts of names stay where they are.
    Leaf& Split(Leaf& leaf, std::string_view name)
    {
        Leaf upper;
        upper.entries.reserve(LARGEST_LEAF);
        const bool isLast = later_.empty() || &leaf == &std::prev(later_.end())->second;
        if (isLast && ViewOf(leaf.entries.back().name) < name) {
            return later_.emplace(name, std::move(upper)).first->second;
        }
        const auto middle = leaf.entries.begin() + LARGEST_LEAF / 2;
        Leaf& added = later_.emplace(ViewOf(middle->name), std::move(upper)).first->second;
        std::move(middle, leaf.entries.end(), std::back_inserter(added.entries));
        leaf.entries.erase(middle, leaf.entries.end());
        leaf.FindPrefix();
        added.FindPrefix();
        return name < ViewOf(added.entries.front().name) ? leaf : added;
    }

    Leaf first_;
    Leaves later_; // by the first name of each
    std::uint32_t count_ = 0;
};

} // namespace Plinth
