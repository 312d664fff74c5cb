#include "foundation/property_list.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/table.h"
#include "support/temporary_folder.h"

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

std::string Big(std::uint64_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t i = size; i-- > 0;) {
    bytes += static_cast<char>(number >> (8 * i));
  }
  return bytes;
}

// A binary list of these objects, the first of them on top.
std::string Binary(const std::vector<std::string>& objects, std::size_t reference_size = 2) {
  std::string bytes = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table += Big(bytes.size(), 4);
    bytes += object;
  }
  const std::size_t at = bytes.size();
  return bytes + table + Big(0, 6) + "\4" + Big(reference_size, 1) + Big(objects.size(), 8) + Big(0, 8) +
         Big(at, 8);
}

std::string Xml(const std::string& object) { return "<plist>" + object + "</plist>"; }

// The object that bytes hold as it is written again, without what surrounds it; empty for Nil.
std::string Rewritten(const std::string& bytes) {
  const Ref<CFObjectMBS> object = ParsePropertyList(bytes);
  std::string xml = object != nullptr ? object->XML()->Str() : "\">\n</plist>";
  EXPECT_TRUE(object == nullptr || ParsePropertyList(xml) != nullptr) << xml;
  xml = xml.substr(xml.rfind("\">\n") + 3);
  xml.resize(xml.rfind("</plist>"));
  for (const char* layout : {">\n", "\t"}) {
    for (std::size_t at = 0; (at = xml.find(layout, at)) != xml.npos;) {
      xml.erase(xml.find_first_of("\n\t", at), 1);
    }
  }
  return xml;
}

TEST(PropertyListTest, Forms) {
  for (const auto& row : Table("xml_property_lists.txt")) {
    EXPECT_EQ(Rewritten(Xml(row[0])), row[1]) << row[0];
  }
  for (const auto& row : Table("binary_property_lists.txt")) {
    EXPECT_EQ(Rewritten(Binary(Parts(row[0], " , "))), row[1]) << row[1];
  }
  for (std::size_t size = 1; size <= 8; ++size) {
    EXPECT_EQ(Rewritten(Binary({"\xA1" + Big(1, size), "\x09"}, size)), "<array><true/></array>");
  }
}

TEST(PropertyListTest, WhatSurroundsAList) {
  const std::string list = Xml("<true/>");
  std::string utf16 = "\xFF\xFE";
  for (const char c : list) {
    utf16 += {c, '\0'};
  }
  for (const std::string& bytes :
       {"\xEF\xBB\xBF" + list, utf16, list + "\n<!-- end -->\n",
        "<?xml version='1.0' encoding='UTF-8'?><!DOCTYPE plist PUBLIC \"-//A>\" \"b\">" + list,
        "<!DOCTYPE plist [<!ENTITY a \"]>\"><!-- ]> -->]>\n" + list}) {
    EXPECT_EQ(Rewritten(bytes), "<true/>") << bytes;
  }
  for (const std::string& bytes : {""s, "{ a = b; }"s, "<plist/>"s, "<true/>"s, list + "x", "bplist00"s,
                                   "<?xml version='1.0' encoding='koi8-r'?>" + list}) {
    EXPECT_EQ(ParsePropertyList(bytes), nullptr) << bytes;
  }
}

TEST(PropertyListTest, Limits) {
  const auto nested = [](std::size_t depth) {
    return Xml(Repeat("<array>", depth) + Repeat("</array>", depth));
  };
  // Arrays that each hold the next one that many times.
  const auto binary = [](std::size_t levels, std::size_t times) {
    std::vector<std::string> objects;
    for (std::size_t i = 1; i < levels; ++i) {
      objects.push_back(Big(0xA0 + times, 1) + Repeat(Big(i, 2), times));
    }
    objects.emplace_back("\xA0");
    return Binary(objects);
  };
  const auto items = [](std::size_t count) { return Xml("<array>" + Repeat("<true/>", count) + "</array>"); };
  const auto sized = [](std::size_t size) {
    return Xml("<string>" + std::string(size - 32, 'x') + "</string>");
  };
  EXPECT_TRUE(ParsePropertyList(nested(512)) != nullptr && ParsePropertyList(nested(513)) == nullptr);
  EXPECT_TRUE(ParsePropertyList(binary(512, 1)) != nullptr && ParsePropertyList(binary(513, 1)) == nullptr);
  EXPECT_TRUE(ParsePropertyList(binary(19, 2)) != nullptr && ParsePropertyList(binary(20, 2)) == nullptr);
  EXPECT_TRUE(ParsePropertyList(items(999'999)) != nullptr && ParsePropertyList(items(1'000'000)) == nullptr);
  EXPECT_TRUE(ParsePropertyList(sized(kMaxPropertyListBytes)) != nullptr);
  EXPECT_TRUE(ParsePropertyList(sized(kMaxPropertyListBytes + 1)) == nullptr);
  EXPECT_EQ(ParsePropertyList(nested(1'000'000)), nullptr);
  EXPECT_EQ(ParsePropertyList(binary(400, 2)), nullptr);
}

// No cut and no changed byte does harm: there is a list or there is none.
TEST(PropertyListTest, EveryCutAndEveryChangedByte) {
  std::size_t inputs = 0;
  std::size_t lists = 0;
  const auto read = [&](const std::string& bytes) {
    ++inputs;
    lists += Rewritten(bytes).empty() ? 0U : 1U;
  };
  for (const auto& file : std::filesystem::directory_iterator(TEST_DATA "/property_lists/read")) {
    const std::string seed = ReadWholeFile(file.path());
    for (std::size_t at = 0; at < std::min<std::size_t>(seed.size(), 600); ++at) {
      read(seed.substr(0, at));
      for (const int value : {0, 8, 15, 31, 38, 47, 60, 62, 80, 96, 128, 160, 161, 175, 208, 255}) {
        std::string changed = seed;
        changed[at] = static_cast<char>(value);
        read(changed);
      }
    }
  }
  EXPECT_GT(inputs, 10'000U);
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
