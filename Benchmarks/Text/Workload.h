// The texts that both sides of a measurement work on: the same in every process.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Paths of 40 bytes, one behind the other, each with its terminator.
class PathTexts {
public:
    static constexpr std::size_t LENGTH = 40;

    // All different.
    explicit PathTexts(std::size_t count);

    // So many drawn from the others at random.
    PathTexts(const PathTexts& others, std::size_t count);

    [[nodiscard]] std::size_t Count() const { return bytes_.size() / (LENGTH + 1); }
    [[nodiscard]] const char* At(std::size_t index) const { return &bytes_[index * (LENGTH + 1)]; }

private:
    void Add(const char* text);

    std::vector<char> bytes_;
};

// Two lists, element against element.
struct TextPairs {
    std::vector<std::string> first;
    std::vector<std::string> second;
};

// Names of 6 to 27 bytes beside copies of themselves.
TextPairs EqualNames();

// The same beside other names: every second one of another length, the others with another last byte.
TextPairs DifferentNames();

// The same beside copies in the other case.
TextPairs NamesInBothCases();

// Names, and parts of names that are in every second one.
TextPairs NamesAndParts();

// English words in sentences, 64 KiB of them, the passage 200 bytes before the end.
std::string EnglishText(std::string_view passage);
