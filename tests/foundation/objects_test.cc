#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string_view>
#include <vector>

#include "foundation/date.h"
#include "foundation/dictionary.h"
#include "foundation/region.h"

namespace tollmere::testing {
namespace {

TEST(ObjectsTest, NilAndCasts) {
  const Ref<Object> nil;
  const Ref<Object> date = New<Date>();
  EXPECT_TRUE(IsA<Date>(date) && IsA<Object>(date));
  EXPECT_FALSE(IsA<Dictionary>(date) || IsA<Object>(nil));
  EXPECT_EQ(Cast<Date>(date), date);
  EXPECT_EQ(Cast<Date>(nil), nullptr);
  EXPECT_THROW(Cast<Dictionary>(date), IllegalCastException);
  EXPECT_THROW(Cast<Date>(nil)->Year(), NilObjectException);
}

TEST(ObjectsTest, DictionariesOfEverySize) {
  for (const int count : {1, 16, 17, 50'000}) {  // around the size from which there is an index
    Dictionary dictionary({{StringToVariant("a"), Int32ToVariant(1)}, {StringToVariant("A"), Variant()}});
    // Long keys that differ in their beginnings only.
    dictionary.SetValue(StringToVariant("1 and the same end"), Int32ToVariant(1));
    dictionary.SetValue(StringToVariant("2 and the same end"), Int32ToVariant(2));
    EXPECT_EQ(dictionary.Value("1 and the same end"), Int32ToVariant(1));
    for (int i = 0; i < count; ++i) {
      dictionary.SetValue(Int32ToVariant(i), Int32ToVariant(i));
      dictionary.SetValue(StringToVariant(std::to_string(i)), Variant());
      dictionary.SetValue(Int32ToVariant(i), Int32ToVariant(i + 1));
    }
    EXPECT_EQ(dictionary.Count(), 2U * static_cast<unsigned>(count) + 4);
    for (const int step : {1, 7, -1}) {  // a number of entries further each time, round and round
      for (int i = 0, key = 0; i < count; ++i, key = (key + count + step % count) % count) {
        ASSERT_EQ(dictionary.Value(Int32ToVariant(key)), Int32ToVariant(key + 1));
      }
    }
    EXPECT_EQ(dictionary.Lookup("a", Variant()), Int32ToVariant(1));
    EXPECT_TRUE(dictionary.HasKey("0"));  // Nil is a value
    EXPECT_TRUE(dictionary.Lookup("0", Int32ToVariant(7)).IsNil());
    EXPECT_FALSE(dictionary.HasKey("00") || dictionary.HasKey(Int32ToVariant(count)));
    EXPECT_EQ(dictionary.Lookup("x", Int32ToVariant(7)), Int32ToVariant(7));
    EXPECT_THROW(dictionary.Value("x"), KeyNotFoundException);
    EXPECT_THROW(dictionary.HasKey(Variant()), IllegalCastException);
  }
}

TEST(ObjectsTest, ADictionaryWithRoomIsStillEmpty) {
  Dictionary dictionary;
  dictionary.Reserve(5);
  EXPECT_EQ(dictionary.Count(), 0U);
  EXPECT_FALSE(dictionary.HasKey("") || dictionary.HasKey(Int32ToVariant(0)));
}

TEST(ObjectsTest, BlocksOfRegionsKeepTheirContent) {
  std::mt19937 random(1);
  std::vector<std::string_view> blocks;
  for (int turn = 0; turn < 200'000; ++turn) {
    // For a while mostly made, then mostly given back, and so on.
    if (blocks.empty() || random() % 100 < (turn / 20'000 % 2 == 0 ? 60U : 40U)) {
      const std::size_t size = random() % 50 == 0 ? 1 + random() % 40'000 : 1 + random() % 300;
      auto* const block = static_cast<char*>(AllocateInRegion(size));
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(double), 0U);
      std::fill_n(block, size, static_cast<char>(size % 251));
      blocks.emplace_back(block, size);
    } else {
      std::swap(blocks[random() % blocks.size()], blocks.back());
      const std::string_view block = blocks.back();
      ASSERT_EQ(block.find_first_not_of(static_cast<char>(block.size() % 251)), block.npos) << block.size();
      FreeInRegion(const_cast<char*>(block.data()), block.size());
      blocks.pop_back();
    }
  }
  for (const std::string_view block : blocks) {
    FreeInRegion(const_cast<char*>(block.data()), block.size());
  }
}

}  // namespace
}  // namespace tollmere::testing
