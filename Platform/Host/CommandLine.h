// The platform's command line, one text, against the host's list of arguments.
//
// A line is cut as the C runtime does it: the first token is the program's name and ends at a blank, or at
// the next quote when it begins with one; in the others 2n backslashes before a quote are n backslashes and
// the quote opens or closes a quoted stretch, 2n+1 are n backslashes and a quote, and two quotes inside a
// quoted stretch are one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Platform::Host {

// At least one argument, the program's name, which may be empty.
std::vector<std::u16string> SplitCommandLine(std::u16string_view line);

// A line that SplitCommandLine cuts into these arguments, as long as the first one has no quote in it.
std::u16string JoinArguments(const std::vector<std::u16string>& arguments);

// What follows the program's name and the blanks behind it.
std::u16string_view ArgumentsPart(std::u16string_view line);

} // namespace Platform::Host
