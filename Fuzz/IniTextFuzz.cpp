// Any bytes as INI text, 8-bit and behind a byte-order mark: the document is what the plain second reader
// makes of them, its text that of the plain writer, within the size that the document keeps; and read again,
// that text gives what the second reader makes of it.
#include "Fuzz/Require.h"
#include "Plinth/Config/CIniFileImpl.h"
#include "Plinth/Streams/CMemoryStream.h"
#include "Tests/Plinth/Config/IniDocument.h"

#include <cstdint>
#include <string>

namespace {

std::string CheckParse(const std::string& text)
{
    ExactStream stream(text);
    Plinth::CIniFileImpl document;
    document.Parse(stream);
    const PlainIni content = ContentOf(document);
    Require(content == ReadPlainIni(text));
    Require(document.textSize == LargestPlainIniText(content));
    const std::string written = WrittenText(document);
    Require(written == WritePlainIni(content));
    Require(written.size() <= document.textSize);
    return written;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    for (const std::string& input : {text, WidePlainText(text)}) {
        CheckParse(CheckParse(input));
    }
    return 0;
}
