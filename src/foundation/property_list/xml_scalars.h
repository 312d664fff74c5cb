// The scalars of XML property lists, both ways.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tollmere {

inline bool IsXmlBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
// The text without the blanks around it.
std::string_view TrimXml(std::string_view text) noexcept;

// Each of these takes the content of its element as it stands, with blanks around it, and throws
// MalformedPropertyList for any other text.

// All of the text as an unsigned number; `base` is 10 or 16.
std::uint64_t ParseXmlDigits(std::string_view text, int base);
// Decimal digits of any number, or "0x" and hexadecimal ones, with a sign or without.
double ParseXmlInteger(std::string_view text);
// As Val reads it; also "nan", "inf" and "infinity", in any case.
double ParseXmlReal(std::string_view text);
// "2027-01-31T10:00:00Z" in seconds since 1 January 2001. Numbers out of range carry on: the 32nd of a month
// is the day after its 31st.
double ParseXmlDate(std::string_view text);
std::string XmlDateText(double seconds);
// Base 64, with blanks anywhere; the padding may be missing.
std::string ParseXmlData(std::string_view text);
std::string XmlDataText(std::string_view bytes);

}  // namespace tollmere
