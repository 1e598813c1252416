#include "Platform/Host/ProcessStart.h"

#include "Platform/Host/CommandLine.h"
#include "Platform/Host/Utf.h"

#include <charconv>
#include <cstdlib>
#include <optional>
#include <span>
#include <string_view>

namespace Platform::Host {

namespace {

constexpr const char* START_VARIABLE = "PLATFORM_HOST_START";

constinit std::span<char*> hostArguments;

// The C library hands to every initialiser what it hands to main; this one comes before those of C++.
[[gnu::constructor(101)]] void KeepHostArguments(int count, char** arguments)
{
    hostArguments = {arguments, static_cast<std::size_t>(count)};
}

std::vector<std::u16string> OwnArguments()
{
    std::vector<std::u16string> arguments;
    for (const char* argument : hostArguments) {
        arguments.push_back(FromHost(argument));
    }
    return arguments;
}

// Reads "<error mode in hexadecimal>;<command line>". A line that does not stand for this process's arguments
// was meant for another: some program between the two handed the variable on.
std::optional<ProcessStart> ReadVariable(std::string_view value, const std::vector<std::u16string>& arguments)
{
    UINT errorMode = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), errorMode, 16);
    const auto length = static_cast<std::size_t>(end - value.data());
    if (error != std::errc() || length == value.size() || value[length] != ';') {
        return std::nullopt;
    }
    std::u16string line = FromHost(value.substr(length + 1));
    if (SplitCommandLine(line) != arguments) {
        return std::nullopt;
    }
    return ProcessStart{std::move(line), errorMode};
}

ProcessStart TakeOwnStart()
{
    const std::vector<std::u16string> arguments = OwnArguments();
    std::optional<ProcessStart> given;
    if (const char* value = std::getenv(START_VARIABLE)) {
        given = ReadVariable(value, arguments);
        unsetenv(START_VARIABLE);
    }
    return given.has_value() ? *given : ProcessStart{JoinArguments(arguments), 0};
}

// Taken before the program's entry, so that the program never sees the variable.
[[maybe_unused]] const ProcessStart& takenAtStart = OwnStart();

} // namespace

ProcessStart& OwnStart()
{
    static ProcessStart start = TakeOwnStart();
    return start;
}

std::string StartVariable(const ProcessStart& start, const std::vector<std::u16string>& arguments)
{
    if (start.errorMode == 0 && JoinArguments(arguments) == start.commandLine) {
        return {};
    }
    char mode[16];
    const char* const end = std::to_chars(mode, mode + sizeof(mode), start.errorMode, 16).ptr;
    return std::string(START_VARIABLE) + '=' + std::string(mode, static_cast<std::size_t>(end - mode)) + ';' +
           ToHost(start.commandLine);
}

} // namespace Platform::Host
