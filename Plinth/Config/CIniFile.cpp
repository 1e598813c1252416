#include "Plinth/Config/CIniFile.h"

#include "Plinth/Config/CIniFileImpl.h"
#include "Plinth/Streams/WholeText.h"

#include <cstdlib>

namespace Plinth {

namespace {

constexpr std::size_t INT_TEXT_SIZE = 16;
constexpr std::size_t FLOAT_TEXT_SIZE = 256;

} // namespace

CIniFile::CIniFile() : impl_(std::make_unique<CIniFileImpl>()) {}

CIniFile::~CIniFile() = default;

void CIniFile::Parse(CMemoryStream& text)
{
    impl_->Parse(text);
}

void CIniFile::WriteText(CMemoryStream& text) const
{
    impl_->WriteText(text);
}

const CString* CIniFile::FindValue(const char* section, const char* key) const
{
    return section != nullptr && key != nullptr ? impl_->FindValue(section, key) : nullptr;
}

bool CIniFile::HasKey(const char* section, const char* key) const
{
    return FindValue(section, key) != nullptr;
}

int CIniFile::GetInt(const char* section, const char* key, int defaultValue) const
{
    const CString* const value = FindValue(section, key);
    return value != nullptr ? atoi(value->CStr()) : defaultValue;
}

float CIniFile::GetFloat(const char* section, const char* key, float defaultValue) const
{
    const CString* const value = FindValue(section, key);
    return value != nullptr ? static_cast<float>(atof(value->CStr())) : defaultValue;
}

CString CIniFile::GetValue(const char* section, const char* key) const
{
    return GetString(section, key, CString());
}

CString CIniFile::GetString(const char* section, const char* key, const CString& defaultValue) const
{
    const CString* const value = FindValue(section, key);
    return value != nullptr ? TrimWhole(*value) : CopyWhole(defaultValue);
}

void CIniFile::SetInt(const char* section, const char* key, int value)
{
    char text[INT_TEXT_SIZE];
    _itoa_s(value, text, sizeof(text), 10);
    SetString(section, key, text);
}

void CIniFile::SetFloat(const char* section, const char* key, float value)
{
    char text[FLOAT_TEXT_SIZE];
    sprintf_s(text, sizeof(text), "%f", static_cast<double>(value));
    SetString(section, key, text);
}

void CIniFile::SetString(const char* section, const char* key, const char* value)
{
    if (section != nullptr && key != nullptr && value != nullptr) {
        impl_->SetValue(impl_->AddSection(section), key, value);
    }
}

} // namespace Plinth
