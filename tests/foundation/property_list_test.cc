#include "foundation/property_list/property_list.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/files.h"

namespace tollmere::testing {
namespace {

using namespace std::string_literals;

std::string Repeat(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

std::string Xml(const std::string& object) { return "<plist>" + object + "</plist>"; }

// The object that bytes hold as it is written again, without what surrounds it; empty for Nil.
std::string Rewritten(const std::string& bytes) {
  const Ref<CFObjectMBS> object = ParsePropertyList(bytes);
  std::string xml = object != nullptr ? object->XML()->Str() : "\">\n</plist>";
  xml = xml.substr(xml.rfind("\">\n") + 3);
  xml.resize(xml.rfind("</plist>"));
  std::string plain;
  for (std::size_t at = 0; at < xml.size(); ++at) {
    const bool is_layout = xml[at] == '\t' || (xml[at] == '\n' && xml[at - 1] == '>');
    plain += is_layout ? "" : xml.substr(at, 1);
  }
  return plain;
}

TEST(PropertyListTest, Forms) {
  for (const auto& row : Table("xml_property_lists.txt")) {
    EXPECT_EQ(Rewritten(Xml(row[0])), row[1]) << row[0];
    EXPECT_EQ(Rewritten(Xml(row[1])), row[1]) << "read back";
  }
  for (const auto& row : Table("kept_values.txt")) {
    EXPECT_EQ(Rewritten(ReadWholeFile(TEST_DATA "/property_lists/read/" + row[0] + ".plist")), row[1])
        << row[0];
    EXPECT_EQ(Rewritten(Xml(row[1])), row[1]) << row[0] << " read back";
  }
  const std::string written = ReadWholeFile(TEST_DATA "/property_lists/read/xml-as-it-is-written.plist");
  EXPECT_EQ(ParsePropertyList(written)->XML()->Str(), written);
  for (const auto& row : Table("refused_lists.txt")) {
    std::string problem;
    ParsePropertyList(ReadWholeFile(TEST_DATA "/property_lists/refused/" + row[0] + ".plist"), &problem);
    EXPECT_EQ(problem, row[1]) << row[0];
  }
}

// Those of binary lists are held by kept files.
TEST(PropertyListTest, Limits) {
  const auto nested = [](std::size_t depth) {
    return Xml(Repeat("<array>", depth) + Repeat("</array>", depth));
  };
  const auto items = [](std::size_t count) { return Xml("<array>" + Repeat("<true/>", count) + "</array>"); };
  const auto sized = [](std::size_t size) {
    return Xml("<string>" + std::string(size - 32, 'x') + "</string>");
  };
  EXPECT_TRUE(ParsePropertyList(nested(512)) != nullptr && ParsePropertyList(nested(513)) == nullptr);
  EXPECT_TRUE(ParsePropertyList(items(999'999)) != nullptr && ParsePropertyList(items(1'000'000)) == nullptr);
  EXPECT_TRUE(ParsePropertyList(Xml("<dict>" + Repeat("<key/><true/>", 500'000) + "</dict>")) == nullptr);
  EXPECT_TRUE(ParsePropertyList(sized(kMaxPropertyListBytes)) != nullptr);
  EXPECT_TRUE(ParsePropertyList(sized(kMaxPropertyListBytes + 1)) == nullptr);
}

// No cut and no changed byte does harm: there is a list or there is none.
TEST(PropertyListTest, EveryCutAndEveryChangedByte) {
  std::size_t inputs = 0;
  std::size_t lists = 0;
  const auto read = [&](const std::string& bytes) {
    ++inputs;
    lists += Rewritten(bytes).empty() ? 0U : 1U;
  };
  for (const char* name :
       {"binary-shared-objects", "binary-utf16-lone-halves", "xml-line-breaks", "xml-utf16-big-endian"}) {
    const std::string seed = ReadWholeFile(TEST_DATA "/property_lists/read/"s + name + ".plist");
    for (std::size_t at = 0; at < seed.size(); ++at) {
      read(seed.substr(0, at));
      for (int change = 1; change < 256; ++change) {
        std::string changed = seed;
        changed[at] = static_cast<char>(changed[at] ^ change);
        read(changed);
      }
    }
  }
  EXPECT_GT(inputs, 50'000U);
  EXPECT_GT(lists, 100U);
}

// Files that once did harm, or could: each is read, or refused, by the folder that it lies in.
TEST(PropertyListTest, KeptFiles) {
  for (const std::string outcome : {"read", "refused"}) {
    for (const auto& file : std::filesystem::directory_iterator(TEST_DATA "/property_lists/" + outcome)) {
      EXPECT_EQ(Rewritten(ReadWholeFile(file.path())).empty(), outcome == "refused") << file.path();
    }
  }
}

}  // namespace
}  // namespace tollmere::testing
