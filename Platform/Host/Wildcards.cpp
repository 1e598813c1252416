#include "Platform/Host/Wildcards.h"

#include "Platform/Host/Names.h"

#include <algorithm>

namespace Platform::Host {

namespace {

// The platform's own characters for these, which no name has.
constexpr char16_t ANY = u'*';
constexpr char16_t ANY_BUT_THE_LAST_DOT = u'<';
constexpr char16_t ONE_OR_END = u'>';
constexpr char16_t DOT_OR_END = u'"';

bool IsWild(char16_t unit)
{
    return unit == u'*' || unit == u'?';
}

char16_t MarkFor(std::u16string_view text, std::size_t place)
{
    const char16_t unit = text[place];
    const char16_t next = place + 1 < text.size() ? text[place + 1] : u'\0';
    if (unit == u'?') {
        return ONE_OR_END;
    }
    if (unit == u'.' && IsWild(next)) {
        return DOT_OR_END;
    }
    return unit == u'*' && next == u'.' ? ANY_BUT_THE_LAST_DOT : unit;
}

// Dots and blanks at the end are ignored like a name's, but for the dot that "*" stands before.
std::u16string Translate(std::u16string_view text)
{
    const bool endsInDot = text.ends_with(u'.');
    text = text.substr(0, text.find_last_not_of(u". ") + 1);
    if (text == u"*.*") {
        return u"*";
    }
    std::u16string marks(text.size(), u'\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        marks[i] = MarkFor(text, i);
    }
    if (endsInDot && marks.ends_with(ANY)) {
        marks.back() = ANY_BUT_THE_LAST_DOT;
    }
    return marks;
}

// Whether the mark may stand for nothing before this character; 0 is the name's end.
bool IsSkipped(char16_t mark, char16_t unit)
{
    switch (mark) {
    case ANY:
    case ANY_BUT_THE_LAST_DOT:
        return true;
    case ONE_OR_END:
        return unit == u'.' || unit == 0;
    case DOT_OR_END:
        return unit == 0;
    default:
        return false;
    }
}

bool Stands(char16_t mark, char16_t unit)
{
    switch (mark) {
    case ONE_OR_END:
        return unit != u'.';
    case DOT_OR_END:
        return unit == u'.';
    default:
        return CompareNames({&mark, 1}, {&unit, 1}) == 0;
    }
}

bool Stays(char16_t mark, bool isLastDot)
{
    return mark == ANY || (mark == ANY_BUT_THE_LAST_DOT && !isLastDot);
}

} // namespace

Pattern::Pattern(std::u16string_view text) : text_(Translate(text)), reached_(text_.size() + 1) {}

bool Pattern::Matches(std::u16string_view name)
{
    if (MatchesAll()) {
        return true;
    }
    const std::size_t end = text_.size();
    const std::size_t lastDot = name.rfind(u'.');
    std::fill(reached_.begin(), reached_.end(), false);
    reached_[0] = true;
    for (std::size_t i = 0; i <= name.size(); ++i) {
        const char16_t unit = i < name.size() ? name[i] : u'\0';
        for (std::size_t place = 0; place < end; ++place) {
            if (reached_[place] && IsSkipped(text_[place], unit)) {
                reached_[place + 1] = true;
            }
        }
        if (i == name.size()) {
            break;
        }
        for (std::size_t place = end + 1; place-- > 0;) {
            const bool stays = place < end && reached_[place] && Stays(text_[place], i == lastDot);
            const bool comes = place > 0 && reached_[place - 1] && Stands(text_[place - 1], unit);
            reached_[place] = stays || comes;
        }
    }
    return reached_[end];
}

} // namespace Platform::Host
