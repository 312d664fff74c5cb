#include <gtest/gtest.h>

#include <string>

#include "foundation/date.h"
#include "foundation/dictionary.h"

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
  EXPECT_STREQ(NilObjectException().what(), "NilObjectException");
}

TEST(ObjectsTest, DictionariesOfEverySize) {
  for (const int count :
       {1, 14, 15, 50'000}) {  // 14 and 15: on both sides of the size from which there is an index
    Dictionary dictionary({{StringToVariant("a"), Int32ToVariant(1)}, {StringToVariant("A"), Variant()}});
    // Long keys that differ in their beginnings only.
    dictionary.SetValue(StringToVariant("1 and the same end"), Int32ToVariant(1));
    dictionary.SetValue(StringToVariant("2 and the same end"), Int32ToVariant(2));
    EXPECT_EQ(VariantToInt32(dictionary.Value("1 and the same end")), 1);
    for (int i = 0; i < count; ++i) {
      dictionary.SetValue(Int32ToVariant(i), Int32ToVariant(i));
      dictionary.SetValue(StringToVariant(std::to_string(i)), Variant());
      dictionary.SetValue(Int32ToVariant(i), Int32ToVariant(i + 1));
    }
    EXPECT_EQ(dictionary.Count(), 2U * static_cast<unsigned>(count) + 4);
    for (int i = 0; i < count; ++i) {
      ASSERT_EQ(VariantToInt32(dictionary.Value(Int32ToVariant(i))), i + 1);
      ASSERT_TRUE(dictionary.Value(StringToVariant(std::to_string(i))).IsNil());
    }
    EXPECT_EQ(VariantToInt32(dictionary.Lookup("a", Variant())), 1);
    EXPECT_TRUE(dictionary.HasKey("0") && dictionary.If("0")->IsNil());  // Nil is a value
    EXPECT_FALSE(dictionary.HasKey("00") || dictionary.HasKey(Int32ToVariant(count)));
    EXPECT_EQ(VariantToInt32(dictionary.Lookup("x", Int32ToVariant(7))), 7);
    EXPECT_THROW(dictionary.Value("x"), KeyNotFoundException);
    EXPECT_THROW(dictionary.HasKey(Variant()), IllegalCastException);
  }
}

}  // namespace
}  // namespace tollmere::testing
