#include "Benchmarks/Text/Workload.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <random>

namespace {

constexpr std::size_t NAME_COUNT = 256;

struct PathForm {
    const char* folder;
    const char* extension;
};

constexpr PathForm PATH_FORMS[] = {
    {"data/textures/landscape/grass_", ".dds"},
    {"data/meshes/architecture/wall_", ".nif"},
    {"data/sounds/creatures/growl/v_", ".wav"},
    {"data/interface/menus/buttons/b", ".gfx"},
};

constexpr const char* WORDS[] = {
    "the",    "of",    "and",    "a",      "to",    "in",     "he",      "that",    "was",    "it",
    "his",    "with",  "as",     "for",    "had",   "at",     "by",      "but",     "from",   "they",
    "she",    "which", "or",     "we",     "an",    "there",  "were",    "one",     "been",   "their",
    "all",    "who",   "when",   "will",   "more",  "would",  "out",     "what",    "up",     "said",
    "about",  "into",  "than",   "them",   "can",   "only",   "other",   "time",    "new",    "some",
    "could",  "these", "two",    "may",    "first", "then",   "any",     "like",    "now",    "my",
    "such",   "over",  "our",    "man",    "even",  "most",   "made",    "after",   "many",   "before",
    "must",   "years", "where",  "much",   "way",   "well",   "down",    "state",   "people", "own",
    "little", "water", "long",   "place",  "tower", "river",  "night",   "through", "house",  "light",
    "great",  "under", "street", "window", "quiet", "bridge", "evening", "winter",  "garden",
};

constexpr const char* NAMES[] = {
    "window",
    "Language",
    "data_base",
    "MaxPlayers",
    "shadow_map",
    "SoundVolume",
    "LastLoginName",
    "ScreenResolution",
    "textures/grass",
    "interface/main_menu",
    "RenderDistanceFar",
    "MouseSensitivityX",
};

std::string Name(std::size_t index)
{
    std::string name = NAMES[index % std::size(NAMES)];
    for (std::size_t rest = index / std::size(NAMES); rest != 0; rest /= 2) {
        name += rest % 2 != 0 ? "_b" : "_A";
    }
    return name;
}

template <typename Change>
TextPairs PairsOfNames(Change change)
{
    TextPairs pairs;
    for (std::size_t i = 0; i < NAME_COUNT; ++i) {
        pairs.first.push_back(Name(i));
        pairs.second.push_back(change(Name(i), i));
    }
    return pairs;
}

char OtherCase(char byte)
{
    const auto value = static_cast<unsigned char>(byte);
    return static_cast<char>(std::islower(value) != 0 ? std::toupper(value) : std::tolower(value));
}

} // namespace

PathTexts::PathTexts(std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const PathForm& form = PATH_FORMS[i % std::size(PATH_FORMS)];
        const std::string number = std::to_string(i);
        const std::string text = form.folder + std::string(6 - number.size(), '0') + number + form.extension;
        Add(text.c_str());
    }
}

PathTexts::PathTexts(const PathTexts& others, std::size_t count)
{
    std::mt19937 random(1);
    for (std::size_t i = 0; i < count; ++i) {
        Add(others.At(random() % others.Count()));
    }
}

void PathTexts::Add(const char* text)
{
    bytes_.insert(bytes_.end(), text, text + LENGTH + 1);
}

TextPairs EqualNames()
{
    return PairsOfNames([](const std::string& name, std::size_t) { return name; });
}

TextPairs DifferentNames()
{
    return PairsOfNames([](std::string name, std::size_t index) {
        if (index % 2 != 0) {
            return name + "x";
        }
        name.back() = '#';
        return name;
    });
}

TextPairs NamesInBothCases()
{
    return PairsOfNames([](std::string name, std::size_t) {
        std::transform(name.begin(), name.end(), name.begin(), OtherCase);
        return name;
    });
}

TextPairs NamesAndParts()
{
    return PairsOfNames([](const std::string& name, std::size_t index) {
        const std::string part = name.substr(name.size() / 2, 4);
        return index % 2 != 0 ? part : part + "#";
    });
}

std::string EnglishText(std::string_view passage)
{
    constexpr std::size_t SIZE = 65536;
    constexpr std::size_t BEHIND = 200;
    std::mt19937 random(1);
    std::string text;
    bool sentenceBegins = true;
    while (text.size() < SIZE) {
        std::string word = WORDS[random() % std::size(WORDS)];
        if (sentenceBegins) {
            word.front() = OtherCase(word.front());
        }
        sentenceBegins = random() % 12 == 0;
        text += word + (sentenceBegins ? ". " : random() % 10 == 0 ? ", " : " ");
    }
    text.resize(SIZE);
    return text.replace(SIZE - BEHIND, passage.size(), passage);
}
