#include "foundation/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "foundation/unicode.h"

namespace tollmere {
namespace {

constexpr double kWholeWithoutExponent = 9'007'199'254'740'992.0;  // 2^53

// Room for any double with nine decimals: a sign, 309 digits, a point.
constexpr std::size_t kLongestNumber = 384;

bool IsBlank(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }

struct ParsedNumber {
  double value = 0.0;
  std::size_t length = 0;  // of the text that was read, blanks and sign included; 0: no number
};

// The double nearest to a number that no double can hold: infinity, or 0 for one that is too small. The place
// of its first digit tells which.
double NearestBeyondRange(std::string_view number) noexcept {
  const std::size_t mantissa_end = std::min(number.find_first_of("eE"), number.size());
  const std::string_view mantissa = number.substr(0, mantissa_end);
  std::string_view digits = number.substr(std::min(mantissa_end + 1, number.size()));
  digits.remove_prefix(digits.starts_with('+') ? 1 : 0);
  std::int32_t exponent = 0;
  const std::errc error = std::from_chars(digits.data(), digits.data() + digits.size(), exponent).ec;
  if (error == std::errc::result_out_of_range) {
    return digits.starts_with('-') ? 0.0 : HUGE_VAL;
  }
  const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
  const auto first_digit = static_cast<std::int64_t>(mantissa.find_first_of("123456789"));
  return point - first_digit + exponent > 0 ? HUGE_VAL : 0.0;
}

ParsedNumber ParseNumber(std::string_view text) noexcept {
  const char* const end = text.data() + text.size();
  const char* at = std::find_if_not(text.data(), end, IsBlank);
  const bool negative = at != end && *at == '-';
  if (at != end && (*at == '-' || *at == '+')) {
    ++at;
  }
  // A digit must follow, perhaps after a point. This rejects "inf", "nan" and a second sign.
  const char* const digit = at + static_cast<int>(at != end && *at == '.');
  if (digit == end || !IsDigit(*digit)) {
    return {};
  }
  double magnitude = 0.0;
  const auto [stop, error] = std::from_chars(at, end, magnitude, std::chars_format::general);
  if (error == std::errc::result_out_of_range) {
    magnitude = NearestBeyondRange({at, static_cast<std::size_t>(stop - at)});
  }
  return {negative ? -magnitude : magnitude, static_cast<std::size_t>(stop - text.data())};
}

}  // namespace

std::string Str(std::int32_t value) { return std::to_string(value); }

std::string Str(double value) {
  char buffer[kLongestNumber];
  const bool plain = std::trunc(value) == value && std::fabs(value) < kWholeWithoutExponent;
  const std::to_chars_result result =
      plain ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed)
            : std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

double Val(std::string_view text) noexcept { return ParseNumber(text).value; }

bool IsNumeric(std::string_view text) noexcept {
  const std::size_t length = ParseNumber(text).length;
  return length != 0 && std::all_of(text.begin() + static_cast<std::ptrdiff_t>(length), text.end(), IsBlank);
}

std::string Format(double value, std::string_view mask) {
  if (!std::isfinite(value)) {
    return Str(value);
  }
  const std::size_t point = std::min(mask.find('.'), mask.size() - 1);
  const int places = static_cast<int>(std::min<std::size_t>(mask.size() - 1 - point, 15));
  char buffer[kLongestNumber];
  const std::to_chars_result result =
      std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value), std::chars_format::fixed, places);
  std::string text(buffer, result.ptr);
  if (places > 0) {
    text.resize(text.find_last_not_of('0') + 1);
    if (text.back() == '.') {
      text.pop_back();
    }
  }
  return value < 0.0 && text != "0" && mask.starts_with('-') ? "-" + text : text;
}

std::vector<std::string_view> Split(std::string_view text, std::string_view delimiter) {
  std::vector<std::string_view> pieces;
  ForEachPiece(text, delimiter, [&](std::string_view piece) { pieces.push_back(piece); });
  return pieces;
}

std::string_view Left(std::string_view text, std::size_t count) noexcept {
  std::size_t at = 0;
  for (; count > 0 && at < text.size(); --count) {
    at += DecodeUtf8(text.substr(at)).length;
  }
  return text.substr(0, at);
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) noexcept {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [&](char a, char b) { return lower(a) == lower(b); });
}

std::int32_t ToInt32(double value) noexcept {
  using Limits = std::numeric_limits<std::int32_t>;
  if (std::isnan(value)) {
    return 0;
  }
  return static_cast<std::int32_t>(
      std::clamp(value, static_cast<double>(Limits::min()), static_cast<double>(Limits::max())));
}

}  // namespace tollmere
