// Runs a fuzzer once on each file of the folders on its command line, where there is no libFuzzer to do it.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// From a block of exactly its size, so that a sanitizer sees one byte too far.
void RunFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    const std::unique_ptr<std::uint8_t[]> data(new std::uint8_t[content.size()]);
    std::copy(content.begin(), content.end(), data.get());
    std::printf("%s\n", path.filename().string().c_str());
    std::fflush(stdout); // the last name is the culprit's
    LLVMFuzzerTestOneInput(data.get(), content.size());
}

} // namespace

int main(int argc, char** argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            RunFile(entry.path());
            ++count;
        }
    }
    std::printf("%d files\n", count);
    return count != 0 ? 0 : 1;
}
