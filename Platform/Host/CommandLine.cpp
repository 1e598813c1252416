#include "Platform/Host/CommandLine.h"

#include <algorithm>

namespace Platform::Host {

namespace {

bool IsBlank(char16_t unit)
{
    return unit == u' ' || unit == u'\t';
}

void SkipBlanks(std::u16string_view& rest)
{
    const auto end = std::find_if_not(rest.begin(), rest.end(), IsBlank);
    rest.remove_prefix(static_cast<std::size_t>(end - rest.begin()));
}

std::size_t CountBackslashes(std::u16string_view text)
{
    return std::min(text.find_first_not_of(u'\\'), text.size());
}

std::u16string_view TakeProgramName(std::u16string_view& rest)
{
    const bool quoted = rest.starts_with(u'"');
    if (quoted) {
        rest.remove_prefix(1);
    }
    const auto end =
        quoted ? std::find(rest.begin(), rest.end(), u'"') : std::find_if(rest.begin(), rest.end(), IsBlank);
    const auto length = static_cast<std::size_t>(end - rest.begin());
    const std::u16string_view name = rest.substr(0, length);
    rest.remove_prefix(std::min(rest.size(), length + (quoted ? 1 : 0)));
    return name;
}

// A run of backslashes and the quote that may follow it; `inQuotes` changes with a quote that delimits.
void TakeBackslashes(std::u16string_view& rest, std::u16string& argument, bool& inQuotes)
{
    const std::size_t count = CountBackslashes(rest);
    rest.remove_prefix(count);
    if (!rest.starts_with(u'"')) {
        argument.append(count, u'\\');
        return;
    }
    argument.append(count / 2, u'\\');
    rest.remove_prefix(1);
    if (count % 2 != 0) {
        argument += u'"';
    } else if (inQuotes && rest.starts_with(u'"')) {
        argument += u'"';
        rest.remove_prefix(1);
    } else {
        inQuotes = !inQuotes;
    }
}

std::u16string TakeArgument(std::u16string_view& rest)
{
    std::u16string argument;
    bool inQuotes = false;
    while (!rest.empty() && (inQuotes || !IsBlank(rest[0]))) {
        if (rest[0] == u'\\' || rest[0] == u'"') {
            TakeBackslashes(rest, argument, inQuotes);
        } else {
            argument += rest[0];
            rest.remove_prefix(1);
        }
    }
    return argument;
}

std::u16string Quote(std::u16string_view argument)
{
    std::u16string quoted = u"\"";
    while (!argument.empty()) {
        const std::size_t backslashes = CountBackslashes(argument);
        argument.remove_prefix(backslashes);
        const bool beforeQuote = argument.empty() || argument[0] == u'"';
        quoted.append(beforeQuote ? backslashes * 2 : backslashes, u'\\');
        if (!argument.empty()) {
            quoted += argument[0] == u'"' ? u"\\\"" : argument.substr(0, 1);
            argument.remove_prefix(1);
        }
    }
    return quoted += u'"';
}

bool NeedsQuotes(std::u16string_view argument)
{
    return argument.empty() || argument.find_first_of(u" \t\"") != std::u16string_view::npos;
}

} // namespace

std::vector<std::u16string> SplitCommandLine(std::u16string_view line)
{
    std::vector<std::u16string> arguments;
    arguments.emplace_back(TakeProgramName(line));
    for (SkipBlanks(line); !line.empty(); SkipBlanks(line)) {
        arguments.push_back(TakeArgument(line));
    }
    return arguments;
}

std::u16string JoinArguments(const std::vector<std::u16string>& arguments)
{
    std::u16string line;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::u16string& argument = arguments[i];
        if (i == 0) {
            line = NeedsQuotes(argument) ? u"\"" + argument + u"\"" : argument;
        } else {
            line += u' ';
            line += NeedsQuotes(argument) ? Quote(argument) : argument;
        }
    }
    return line;
}

std::u16string_view ArgumentsPart(std::u16string_view line)
{
    TakeProgramName(line);
    SkipBlanks(line);
    return line;
}

} // namespace Platform::Host
