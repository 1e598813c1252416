// A second reader and writer of INI text, slow and obvious, that the product's are held against. It shares no
// code with them.
#pragma once

#include <map>
#include <string>

using PlainIni = std::map<std::string, std::map<std::string, std::string>>;

PlainIni ReadPlainIni(const std::string& bytes);
std::string WritePlainIni(const PlainIni& document);

// The text of a writer that knows no empty sections, at least.
std::size_t LargestPlainIniText(const PlainIni& document);

// The text in UTF-16 little-endian, behind its byte-order mark; each byte becomes a character.
std::string WidePlainText(const std::string& bytes);
