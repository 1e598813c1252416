#include "Platform/Host/RegistryText.h"

#include "Platform/Host/Api/Errors.h"
#include "Platform/Host/Api/Registry.h"
#include "Platform/Host/RegistryTextDecoder.h"

#include <algorithm>
#include <utility>

namespace Platform::Host {

namespace {

constexpr std::u16string_view HEADER = u"Windows Registry Editor Version 5.00";
constexpr std::u16string_view OLDER_HEADER = u"REGEDIT4";

// What is left of a line.
class Cursor {
public:
    explicit Cursor(std::u16string_view rest = {}) : rest_(rest) {}

    [[nodiscard]] std::u16string_view Rest() const { return rest_; }

    void SkipBlanks() { rest_.remove_prefix(std::min(rest_.size(), rest_.find_first_not_of(u" \t"))); }

    // Whether only blanks and a comment are left.
    bool IsDone()
    {
        SkipBlanks();
        return rest_.empty() || rest_.front() == u';';
    }

    // Passes over it when it comes next, in either letter case.
    bool Take(std::u16string_view expected)
    {
        const bool found = CompareNames(rest_.substr(0, expected.size()), expected) == 0;
        rest_.remove_prefix(found ? expected.size() : 0);
        return found;
    }

    // 0 at the end.
    char16_t TakeUnit()
    {
        if (rest_.empty()) {
            return 0;
        }
        const char16_t unit = rest_.front();
        rest_.remove_prefix(1);
        return unit;
    }

    // At least one digit and at most so many.
    bool TakeHex(std::size_t digits, DWORD& number)
    {
        const std::size_t count = std::min(rest_.size(), rest_.find_first_not_of(u"0123456789abcdefABCDEF"));
        if (count == 0 || count > digits) {
            return false;
        }
        number = 0;
        for (const char16_t digit : rest_.substr(0, count)) {
            number = number << 4 | static_cast<DWORD>(digit <= u'9' ? digit - u'0' : (digit & 0xF) + 9);
        }
        rest_.remove_prefix(count);
        return true;
    }

private:
    std::u16string_view rest_;
};

class Reader {
public:
    Reader(std::u16string_view text, RegistryTextFault& fault) : text_(text), fault_(fault) {}

    bool Read(RegistryKey& top);

private:
    bool Fault(const char* reason)
    {
        fault_.reason = reason;
        return false;
    }

    bool NextLine();
    bool ReadHeader();
    bool ReadLine();
    bool ReadKey();
    bool FindPath(std::u16string_view name, RegistryPath& path);
    bool ReadValue();
    bool ReadQuoted(std::u16string& content);
    bool ReadData(RegistryValue& value);
    bool ReadText(RegistryValue& value);
    bool ReadNumber(RegistryValue& value);
    bool ReadBytes(RegistryValue& value);
    bool ContinueOnNextLine();
    void Widen(RegistryValue& value) const;

    std::u16string_view text_; // what is left behind the line
    Cursor line_;
    RegistryTextFault& fault_;
    bool older_ = false;
    RegistryKey top_ = EmptyRegistry();
    RegistryKey* key_ = nullptr; // that values belong to
};

bool Reader::NextLine()
{
    if (text_.empty()) {
        return false;
    }
    const std::u16string_view line = text_.substr(0, text_.find_first_of(u"\r\n"));
    text_.remove_prefix(line.size());
    text_.remove_prefix(text_.starts_with(u"\r\n") ? 2 : (text_.empty() ? 0 : 1));
    line_ = Cursor(line);
    ++fault_.line;
    return true;
}

bool Reader::ReadHeader()
{
    fault_.line = 0;
    const bool hasLine = NextLine();
    fault_.line = 1;
    older_ = hasLine && line_.Take(OLDER_HEADER);
    if (!hasLine || (!older_ && !line_.Take(HEADER)) || !line_.IsDone()) {
        return Fault("no header of a registry file");
    }
    return true;
}

bool Reader::Read(RegistryKey& top)
{
    if (!ReadHeader()) {
        return false;
    }
    while (NextLine()) {
        if (!line_.IsDone() && !ReadLine()) {
            return false;
        }
    }
    top = std::move(top_);
    return true;
}

bool Reader::ReadLine()
{
    return line_.Take(u"[") ? ReadKey() : ReadValue();
}

bool Reader::FindPath(std::u16string_view name, RegistryPath& path)
{
    if (AppendPath(path, name) != ERROR_SUCCESS || !CanBeMade(path)) {
        return Fault("no key can have this name, or lie so deep");
    }
    if (path.empty() || !top_.keys.contains(path.front())) {
        return Fault("the path does not begin with a predefined key");
    }
    return true;
}

bool Reader::ReadKey()
{
    const bool removes = line_.Take(u"-");
    const std::size_t end = line_.Rest().rfind(u']');
    if (end == std::u16string_view::npos) {
        return Fault("no closing bracket");
    }
    RegistryPath path;
    if (!FindPath(line_.Rest().substr(0, end), path)) {
        return false;
    }
    if (removes) {
        key_ = nullptr;
        if (path.size() == 1) {
            return Fault("a predefined key cannot be removed");
        }
        RemoveKey(top_, path);
    } else {
        key_ = &MakeKey(top_, path);
    }
    line_ = Cursor(line_.Rest().substr(end + 1));
    return line_.IsDone() || Fault("something behind the key");
}

bool Reader::ReadValue()
{
    std::u16string name;
    if (!line_.Take(u"@") && (!line_.Take(u"\"") || !ReadQuoted(name))) {
        return Fault("neither key nor value");
    }
    if (key_ == nullptr) {
        return Fault("a value without a key");
    }
    if (name.size() > LONGEST_VALUE_NAME) {
        return Fault("a value's name is too long");
    }
    line_.SkipBlanks();
    if (!line_.Take(u"=")) {
        return Fault("no equals sign behind the name");
    }
    line_.SkipBlanks();
    if (line_.Take(u"-")) {
        key_->values.erase(name);
    } else {
        RegistryValue value;
        if (!ReadData(value)) {
            return false;
        }
        key_->values[name] = std::move(value);
    }
    return line_.IsDone() || Fault("something behind the value");
}

// Up to the closing quote, which is passed over. The backslash before any other character is dropped, as the
// platform's tools do. False where the line ends before, or has a zero character.
bool Reader::ReadQuoted(std::u16string& content)
{
    for (;;) {
        char16_t unit = line_.TakeUnit();
        if (unit == u'"' || unit == 0) {
            return unit != 0;
        }
        if (unit == u'\\') {
            unit = line_.TakeUnit();
            if (unit == 0) {
                return false;
            }
            unit = unit == u'n' ? u'\n' : (unit == u'r' ? u'\r' : unit);
        }
        content += unit;
    }
}

bool Reader::ReadData(RegistryValue& value)
{
    if (line_.Take(u"\"")) {
        return ReadText(value);
    }
    if (line_.Take(u"dword:")) {
        return ReadNumber(value);
    }
    if (!line_.Take(u"hex")) {
        return Fault("data of no known form");
    }
    value.type = REG_BINARY;
    if (line_.Take(u"(") && (!line_.TakeHex(8, value.type) || !line_.Take(u")"))) {
        return Fault("no type between the brackets");
    }
    return line_.Take(u":") ? ReadBytes(value) : Fault("no colon behind the type");
}

bool Reader::ReadText(RegistryValue& value)
{
    std::u16string content;
    if (!ReadQuoted(content)) {
        return Fault("a text without an end");
    }
    value.type = REG_SZ;
    content += u'\0';
    for (const char16_t unit : content) {
        value.data.push_back(static_cast<BYTE>(unit & 0xFF));
        value.data.push_back(static_cast<BYTE>(unit >> 8));
    }
    return true;
}

bool Reader::ReadNumber(RegistryValue& value)
{
    DWORD number = 0;
    line_.SkipBlanks();
    if (!line_.TakeHex(8, number)) {
        return Fault("no number of up to eight digits");
    }
    value.type = REG_DWORD;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        value.data.push_back(static_cast<BYTE>(number >> shift & 0xFF));
    }
    return true;
}

bool Reader::ReadBytes(RegistryValue& value)
{
    while (!line_.IsDone()) {
        if (line_.Take(u"\\")) {
            if (!ContinueOnNextLine()) {
                return false;
            }
            continue;
        }
        DWORD byte = 0;
        if (!line_.TakeHex(2, byte)) {
            return Fault("no byte of up to two digits");
        }
        value.data.push_back(static_cast<BYTE>(byte));
        line_.SkipBlanks();
        if (!line_.Take(u",")) {
            break;
        }
    }
    if (older_) {
        Widen(value);
    }
    return true;
}

// Blank lines and comments may lie between.
bool Reader::ContinueOnNextLine()
{
    if (!line_.IsDone()) {
        return Fault("something behind the backslash");
    }
    while (NextLine()) {
        if (!line_.IsDone()) {
            return true;
        }
    }
    return Fault("the data go on behind the end");
}

// The older form's texts have one byte a character, and need no terminator.
void Reader::Widen(RegistryValue& value) const
{
    if (value.type != REG_SZ && value.type != REG_EXPAND_SZ && value.type != REG_MULTI_SZ) {
        return;
    }
    std::vector<BYTE> wide;
    for (const BYTE unit : value.data) {
        wide.insert(wide.end(), {unit, 0});
    }
    if (!value.data.empty() && value.data.back() != 0) {
        wide.insert(wide.end(), {0, 0});
    }
    value.data = std::move(wide);
}

} // namespace

bool ReadRegistryText(std::string_view bytes, RegistryKey& top, RegistryTextFault& fault)
{
    std::u16string text;
    return DecodeRegistryText(bytes, text, fault) && Reader(text, fault).Read(top);
}

} // namespace Platform::Host
