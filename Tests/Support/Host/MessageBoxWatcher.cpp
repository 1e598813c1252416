// On the host a box is text on standard error: its caption is the first line, all others are its text.
#include "Tests/Support/MessageBoxWatcher.h"

#include "Platform/Host/Control.h"
#include "Platform/Host/Utf.h"

#include <fstream>
#include <iterator>
#include <string>

namespace {

// Watchers may live at the same time; each has a file of its own.
std::string NextFileName()
{
    static unsigned made = 0;
    return "standard-error-" + std::to_string(++made);
}

} // namespace

MessageBoxWatcher::MessageBoxWatcher(const std::filesystem::path& scratch) : output_(scratch / NextFileName())
{
    Platform::Host::SetChildErrorFile(output_.native());
}

MessageBoxWatcher::~MessageBoxWatcher()
{
    Platform::Host::SetChildErrorFile({});
}

void MessageBoxWatcher::TakePictures(const std::filesystem::path& file)
{
    picture_ = file;
}

void MessageBoxWatcher::Poll(DWORD) {}

std::vector<SeenMessageBox> MessageBoxWatcher::Boxes() const
{
    std::ifstream file(output_, std::ios::binary);
    const std::string output{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (output.empty()) {
        return {};
    }
    const std::size_t end = output.find('\n');
    const std::string text = output.substr(end + 1, output.size() - end - 2);
    return {{Platform::Host::FromHost(output.substr(0, end)), Platform::Host::FromHost(text)}};
}
