#include "foundation/property_list/property_list.h"

#include "foundation/property_list/formats.h"
#include "foundation/unicode.h"

namespace tollmere {
namespace {

using namespace std::string_view_literals;

Ref<CFObjectMBS> ParseText(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE"sv) || bytes.starts_with("<\0"sv)) {
    return ParseXmlPropertyList(Utf8FromUtf16(bytes, ByteOrder::kLittleEndian));
  }
  if (bytes.starts_with("\xFE\xFF"sv) || bytes.starts_with("\0<"sv)) {
    return ParseXmlPropertyList(Utf8FromUtf16(bytes, ByteOrder::kBigEndian));
  }
  return ParseXmlPropertyList(bytes);
}

}  // namespace

Ref<CFObjectMBS> ParsePropertyList(std::string_view bytes, std::string* problem) {
  if (bytes.size() > kMaxPropertyListBytes) {
    return nullptr;
  }
  try {
    return bytes.starts_with("bplist"sv) ? ParseBinaryPropertyList(bytes) : ParseText(bytes);
  } catch (const MalformedPropertyList&) {
    if (problem != nullptr) {
      *problem = "not a property list";
    }
    return nullptr;
  }
}

}  // namespace tollmere
