/// \class Plinth::CIniFile
/// A configuration document: named sections of named text values, as INI text holds them.
///
///     CIniFile settings;
///     settings.Parse(text);
///     const CString name = settings.GetString("Game", "Name", "unnamed");
///
/// Names are exact: letter case counts and blanks do. Names and values are bytes; the empty text is a name
/// like others. Nothing is ever removed but by Parse, which replaces all. What is missing is answered by the
/// default, never by an exception. Where memory runs out, the operations that store or give texts throw "Out
/// of memory!" (CException), and the constructor std::bad_alloc. A document is used by one thread at a time.
#pragma once

#include "Plinth/Text/CString.h"

#include <memory>

namespace Plinth {

class CIniFileImpl;
class CMemoryStream;

class CIniFile {
public:
    CIniFile();
    ~CIniFile();
    CIniFile(const CIniFile&) = delete;
    CIniFile& operator=(const CIniFile&) = delete;

    // --- INI text: 8-bit, or UTF-16 little-endian behind a byte-order mark, of which the low bytes are kept.
    //
    //     ; a comment
    //     [Section]
    //     Key=value ; and another
    //
    // A section's name is all that stands between the brackets. A key is a run of ASCII letters, digits and
    // '_'; its value begins behind the next '=' and ends at a CR, LF or ';', blanks and quotes included. A
    // key that comes again replaces the value; a section that comes again goes on. What is none of these is
    // stepped over. Lines end with CR LF or LF.

    /// Replaces the content by what the stream holds from its position on; where a byte-order mark leads,
    /// from there on. The stream is left behind the last whole character. When this throws, the document is
    /// empty.
    void Parse(CMemoryStream& text);

    /// Replaces the stream's content by the document's text: sections in the order of their names, and keys
    /// too, without sections that have no keys; CR LF; "Key = value", nothing escaped. A position behind the
    /// new end goes to the end; set it to 0 before reading. When this throws, the stream is as it was.
    void WriteText(CMemoryStream& text) const;

    // --- Values. A null section or key is a missing one.

    /// Whether the section has the key, be its value empty.
    [[nodiscard]] bool HasKey(const char* section, const char* key) const;

    ///@{
    /// As atoi and atof read it: what is no number is 0.
    [[nodiscard]] int GetInt(const char* section, const char* key, int defaultValue) const;
    [[nodiscard]] float GetFloat(const char* section, const char* key, float defaultValue) const;
    ///@}

    ///@{
    /// Without the blanks (0x20) at both ends, unless there is nothing else. The default comes as it is.
    [[nodiscard]] CString GetValue(const char* section, const char* key) const; ///< empty when missing
    [[nodiscard]] CString GetString(const char* section, const char* key, const CString& defaultValue) const;
    ///@}

    ///@{
    /// Store the value, in a section that is made when missing; with a null argument they do nothing. A float
    /// has six decimals. When they throw, the value is as it was.
    void SetInt(const char* section, const char* key, int value);
    void SetFloat(const char* section, const char* key, float value);
    void SetString(const char* section, const char* key, const char* value);
    ///@}

private:
    [[nodiscard]] const CString* FindValue(const char* section, const char* key) const;

    std::unique_ptr<CIniFileImpl> impl_;
};

static_assert(sizeof(CIniFile) == sizeof(void*));

} // namespace Plinth
