#include "foundation/property_list/property_list.h"

#include "foundation/property_list/reading.h"
#include "foundation/unicode.h"

namespace tollmere {
namespace {

using namespace std::string_view_literals;

// XML reads every kind of line break as a line feed.
std::string WithLineFeeds(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\r') {
      result += text[at];
    } else if (text.substr(at + 1, 1) != "\n") {
      result += '\n';
    }
  }
  return result;
}

Ref<CFObjectMBS> ParseUtf8(std::string_view text) {
  return text.find('\r') == std::string_view::npos ? ParseXmlPropertyList(text)
                                                   : ParseXmlPropertyList(WithLineFeeds(text));
}

Ref<CFObjectMBS> ParseText(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE"sv) || bytes.starts_with("<\0"sv)) {
    return ParseUtf8(Utf8FromUtf16(bytes, ByteOrder::kLittleEndian));
  }
  if (bytes.starts_with("\xFE\xFF"sv) || bytes.starts_with("\0<"sv)) {
    return ParseUtf8(Utf8FromUtf16(bytes, ByteOrder::kBigEndian));
  }
  return ParseUtf8(bytes);
}

}  // namespace

void ThrowMalformed(const char* limit) { throw MalformedPropertyList{.limit = limit, .place = {}}; }

Ref<CFObjectMBS> ParsePropertyList(std::string_view bytes, std::string* problem) {
  try {
    if (bytes.size() > kMaxPropertyListBytes) {
      throw MalformedPropertyList{.limit = "16 MiB", .place = "byte 16777216"};
    }
    return bytes.starts_with("bplist"sv) ? ParseBinaryPropertyList(bytes) : ParseText(bytes);
  } catch (const MalformedPropertyList& malformed) {
    if (problem != nullptr) {
      *problem = malformed.limit != nullptr ? "over the limit of " + std::string(malformed.limit)
                                            : std::string("not a property list");
      *problem += ", at " + malformed.place;
    }
    return nullptr;
  }
}

}  // namespace tollmere
