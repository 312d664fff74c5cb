#include "property_list_checks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unordered_map>

#include "foundation/property_list/property_list.h"
#include "foundation/property_list/stored_objects.h"
#include "foundation/unicode.h"

namespace tollmere::fuzz {
namespace {

// A binary list of a few bytes can unfold to a million objects. What is longer than this as XML is written as
// far as this and not read back.
constexpr std::size_t kMostXml = 8 * 1024;

void Expect(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "Does not hold: %s\n", what);
    std::abort();
  }
}

// Walks a list without unfolding it: a container that is met again counts as it did before.
class Walk {
 public:
  struct Extent {
    std::size_t objects;
    std::size_t height;  // containers within one another
  };

  // A key that is no text is written as what it is, which no reader takes for a key.
  bool HasOnlyTextKeys() const { return has_only_text_keys_; }

  Extent Through(const CFObjectMBS& object) {
    Expect(!object.TypeDescription().empty(), "an object has a type");
    switch (object.Kind()) {
      case CFObjectMBS::TypeId::kString: {
        const std::string& text = static_cast<const CFStringMBS&>(object).str();
        Expect(ValidUtf8Length(text) == text.size(), "a text is UTF-8");
        return {1, 0};
      }
      case CFObjectMBS::TypeId::kArray:
      case CFObjectMBS::TypeId::kDictionary:
        return Remembered(object);
      default:
        return {1, 0};
    }
  }

 private:
  Extent Remembered(const CFObjectMBS& container) {
    if (const auto known = extents_.find(&container); known != extents_.end()) {
      return known->second;
    }
    Extent extent{1, 1};
    const auto add = [&](const Ref<CFObjectMBS>& item) {
      const Extent inner = Through(*item);
      extent.objects += inner.objects;
      extent.height = std::max(extent.height, inner.height + 1);
    };
    if (container.Kind() == CFObjectMBS::TypeId::kArray) {
      const auto& array = static_cast<const CFArrayMBS&>(container);
      for (std::size_t i = 0; i < array.Count(); ++i) {
        add(array.Item(i));
      }
    } else {
      const CFDictionaryListMBS& list = static_cast<const CFDictionaryMBS&>(container).List();
      for (std::size_t i = 0; i < list.Count(); ++i) {
        has_only_text_keys_ = has_only_text_keys_ && IsA<CFStringMBS>(list.Key(i));
        add(list.Key(i));
        add(list.Value(i));
      }
    }
    extents_.emplace(&container, extent);
    return extent;
  }

  std::unordered_map<const CFObjectMBS*, Extent> extents_;
  bool has_only_text_keys_ = true;
};

// The text as XML can carry it: there is no way to write NUL.
std::string Carried(const std::string& text) {
  std::string carried;
  for (const char c : text) {
    if (c == '\0') {
      AppendUtf8(kReplacementCharacter, carried);
    } else {
      carried.push_back(c);
    }
  }
  return carried;
}

bool SameNumber(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// XML has whole seconds, and the writer holds a date within this reach.
double CarriedDate(double seconds) {
  return std::isnan(seconds) ? 0.0 : std::clamp(std::floor(seconds), -1e15, 1e15);
}

bool Same(const CFObjectMBS& written, const CFObjectMBS& read);

bool SameList(const CFDictionaryListMBS& written, const CFDictionaryListMBS& read) {
  bool same = written.Count() == read.Count();
  for (std::size_t i = 0; same && i < written.Count(); ++i) {
    same = Same(*written.Key(i), *read.Key(i)) && Same(*written.Value(i), *read.Value(i));
  }
  return same;
}

bool SameArray(const CFArrayMBS& written, const CFArrayMBS& read) {
  bool same = written.Count() == read.Count();
  for (std::size_t i = 0; same && i < written.Count(); ++i) {
    same = Same(*written.Item(i), *read.Item(i));
  }
  return same;
}

template <class T>
const T& As(const CFObjectMBS& object) {
  return static_cast<const T&>(object);
}

bool Same(const CFObjectMBS& written, const CFObjectMBS& read) {
  if (written.Kind() != read.Kind()) {
    return false;
  }
  switch (written.Kind()) {
    case CFObjectMBS::TypeId::kString:
      return Carried(As<CFStringMBS>(written).str()) == As<CFStringMBS>(read).str();
    case CFObjectMBS::TypeId::kNumber:
      return As<CFNumberMBS>(written).IsInteger() == As<CFNumberMBS>(read).IsInteger() &&
             SameNumber(As<CFNumberMBS>(written).doubleValue(), As<CFNumberMBS>(read).doubleValue());
    case CFObjectMBS::TypeId::kBoolean:
      return As<CFBooleanMBS>(written).Value() == As<CFBooleanMBS>(read).Value();
    case CFObjectMBS::TypeId::kData:
      return As<CFBinaryDataMBS>(written).Str() == As<CFBinaryDataMBS>(read).Str();
    case CFObjectMBS::TypeId::kDate:
      return CarriedDate(As<CFDateMBS>(written).AbsoluteTime()) == As<CFDateMBS>(read).AbsoluteTime();
    case CFObjectMBS::TypeId::kArray:
      return SameArray(As<CFArrayMBS>(written), As<CFArrayMBS>(read));
    case CFObjectMBS::TypeId::kDictionary:
      return SameList(As<CFDictionaryMBS>(written).List(), As<CFDictionaryMBS>(read).List());
  }
  return false;
}

}  // namespace

void CheckPropertyList(std::string_view bytes) {
  const Ref<CFObjectMBS> object = ParsePropertyList(bytes);
  if (object == nullptr) {
    return;
  }
  Walk walk;
  const Walk::Extent extent = walk.Through(*object);
  Expect(extent.objects <= kMaxPropertyListObjects, "no more objects than the limit");
  Expect(extent.height <= kMaxPropertyListDepth, "no deeper than the limit");
  const std::string xml = object->XML(kMostXml)->Str();
  if (xml.size() >= kMostXml || !walk.HasOnlyTextKeys()) {
    return;
  }
  const Ref<CFObjectMBS> again = ParsePropertyList(xml);
  Expect(again != nullptr, "what was written can be read");
  Expect(Same(*object, *again), "what was read back is the same");
}

}  // namespace tollmere::fuzz
