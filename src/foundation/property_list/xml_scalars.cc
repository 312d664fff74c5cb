#include "foundation/property_list/xml_scalars.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>

#include "foundation/calendar_math.h"
#include "foundation/property_list/reading.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

constexpr std::int64_t kDaysTo2001 = DaysFromCivil(2001, 1, 1);

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string_view TrimXml(std::string_view text) noexcept {
  while (!text.empty() && IsXmlBlank(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && IsXmlBlank(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

std::uint64_t ParseXmlDigits(std::string_view text, int base) {
  std::uint64_t value = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  Require(error == std::errc() && stop == text.data() + text.size());
  return value;
}

double ParseXmlInteger(std::string_view text) {
  text = TrimXml(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  double magnitude = 0.0;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    magnitude = static_cast<double>(ParseXmlDigits(text.substr(2), 16));
  } else {
    // Any number of digits. An integer beyond 2^53 is the nearest double.
    Require(!text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos);
    magnitude = Val(text);
    Require(std::isfinite(magnitude));
  }
  return negative ? 0.0 - magnitude : magnitude;  // An integer has no -0.
}

double ParseXmlReal(std::string_view text) {
  text = TrimXml(text);
  std::string_view unsigned_text = text;
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) {
    unsigned_text.remove_prefix(1);
  }
  if (EqualsIgnoringCase(unsigned_text, "nan")) {
    return std::nan("");
  }
  if (EqualsIgnoringCase(unsigned_text, "inf") || EqualsIgnoringCase(unsigned_text, "infinity")) {
    return negative ? -HUGE_VAL : HUGE_VAL;
  }
  Require(IsNumeric(text));
  return Val(text);
}

double ParseXmlDate(std::string_view text) {
  text = TrimXml(text);
  const bool negative = text.starts_with('-');
  if (negative) {
    text.remove_prefix(1);
  }
  static constexpr std::string_view kEnds = "--T::Z";
  std::int64_t numbers[kEnds.size()] = {};
  for (std::size_t i = 0; i < kEnds.size(); ++i) {
    const std::size_t end = text.find(kEnds[i]);
    Require(end != std::string_view::npos && end <= 9);
    numbers[i] = static_cast<std::int64_t>(ParseXmlDigits(text.substr(0, end), 10));
    text.remove_prefix(end + 1);
  }
  Require(text.empty());
  const std::int64_t months = numbers[1] - 1;
  const std::int64_t year = (negative ? -numbers[0] : numbers[0]) + FloorDivide(months, 12);
  const std::int64_t month = months - FloorDivide(months, 12) * 12 + 1;
  const std::int64_t days = DaysFromCivil(year, static_cast<int>(month), numbers[2]) - kDaysTo2001;
  return static_cast<double>(days * kSecondsPerDay + numbers[3] * 3600 + numbers[4] * 60 + numbers[5]);
}

std::string XmlDateText(double seconds) {
  constexpr double kReach = 1e15;  // Dates further away are written as the last one within it.
  const double held = std::isnan(seconds) ? 0.0 : std::clamp(std::floor(seconds), -kReach, kReach);
  const auto second = static_cast<std::int64_t>(held);
  const std::int64_t days = FloorDivide(second, kSecondsPerDay);
  const auto time = static_cast<int>(second - days * kSecondsPerDay);
  const CivilDate date = CivilFromDays(days + kDaysTo2001);
  char text[64];
  const int length =
      std::snprintf(text, sizeof text, "%s%04" PRId64 "-%02d-%02dT%02d:%02d:%02dZ", date.year < 0 ? "-" : "",
                    std::abs(date.year), date.month, date.day, time / 3600, time / 60 % 60, time % 60);
  return {text, static_cast<std::size_t>(length)};
}

std::string ParseXmlData(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  unsigned digits = 0;
  bool padded = false;
  for (const char c : text) {
    if (IsXmlBlank(c)) {
      continue;
    }
    if (c == '=') {
      padded = true;
      continue;
    }
    const std::size_t digit = kBase64.find(c);
    Require(digit != std::string_view::npos && !padded);
    bits = bits << 6U | static_cast<std::uint32_t>(digit);
    if (++digits % 4 != 1) {
      bytes.push_back(static_cast<char>(bits >> (8U - digits % 4 * 2U) % 8U & 0xFFU));
    }
  }
  Require(digits % 4 != 1);
  return bytes;
}

std::string XmlDataText(std::string_view bytes) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::string_view group = bytes.substr(at, 3);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = bits << 8U | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= group.size() ? kBase64[bits >> (18U - 6U * i) & 63U] : '=';
    }
  }
  return text;
}

}  // namespace tollmere
