#include "property_list_mutation.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace tollmere::fuzz {
namespace {

constexpr std::size_t kHeadSize = 8;
constexpr std::size_t kTrailerSize = 32;
constexpr std::size_t kTableField = 8;  // the last bytes of the trailer: where the table is

constexpr std::string_view kAwkward[] = {
    "-1",   "0",     "1",       "2",      "4",           "5",          "6",          "12",
    "13",   "23",    "24",      "29",     "31",          "59",         "60",         "255",
    "1904", "2027",  "2028",    "2037",   "9999",        "0.5",        "2147483647", "-2147483648",
    "1e18", "-1e18", "1e308",   "inf",    "-inf",        "nan",        "3882000000", "3882000000,3882086400",
    ",,",   "off",   "x",       "x0",     "x6",          "WeeklyDays", "Enabled",    "9007199254740993",
    "4e15", "1e16",  "-4.6e15", "7.9e16", "3882000000.5"};

std::uint64_t TableAt(const std::uint8_t* end) {
  std::uint64_t at = 0;
  for (const std::uint8_t* byte = end - kTableField; byte != end; ++byte) {
    at = at << 8U | *byte;
  }
  return at;
}

}  // namespace

std::size_t MutateBinary(std::uint8_t* data, std::size_t size, std::size_t max_size) {
  if (size < kHeadSize + kTrailerSize || max_size < size) {
    return LLVMFuzzerMutate(data, size, max_size);
  }
  const std::uint64_t table = TableAt(data + size);
  if (table <= kHeadSize || table > size - kTrailerSize) {
    return LLVMFuzzerMutate(data, size, max_size);
  }
  const std::vector<std::uint8_t> tail(data + table, data + size);
  const std::size_t objects =
      LLVMFuzzerMutate(data + kHeadSize, table - kHeadSize, max_size - kHeadSize - tail.size());
  std::uint8_t* const end = std::copy(tail.begin(), tail.end(), data + kHeadSize + objects);
  std::uint64_t at = kHeadSize + objects;
  for (std::size_t i = 1; i <= kTableField; ++i, at >>= 8U) {
    *(end - i) = static_cast<std::uint8_t>(at);
  }
  return static_cast<std::size_t>(end - data);
}

std::size_t MutateXml(std::uint8_t* data, std::size_t size, std::size_t max_size, unsigned seed) {
  const std::string text(data, data + size);
  std::minstd_rand random(seed);
  std::vector<std::pair<std::size_t, std::size_t>> contents;  // begin and end of each
  for (std::size_t at = text.find('>'); at != std::string::npos; at = text.find('>', at + 1)) {
    const std::size_t end = text.find('<', at);
    if (end != std::string::npos && text.compare(end, 2, "</") == 0 && text[at + 1] != '\n') {
      contents.emplace_back(at + 1, end);
    }
  }
  if (contents.empty()) {
    return LLVMFuzzerMutate(data, size, max_size);
  }
  const auto [begin, end] = contents[random() % contents.size()];
  std::string content = text.substr(begin, end - begin);
  if (random() % 3 != 0) {
    content = kAwkward[random() % std::size(kAwkward)];
  } else {
    const std::size_t room = content.size() + 16;
    std::vector<std::uint8_t> changed(content.begin(), content.end());
    changed.resize(room);
    changed.resize(LLVMFuzzerMutate(changed.data(), content.size(), room));
    content.assign(changed.begin(), changed.end());
  }
  const std::string whole = text.substr(0, begin) + content + text.substr(end);
  if (whole.size() > max_size) {
    return LLVMFuzzerMutate(data, size, max_size);
  }
  std::copy(whole.begin(), whole.end(), data);
  return whole.size();
}

}  // namespace tollmere::fuzz
