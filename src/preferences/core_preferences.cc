#include "preferences/core_preferences.h"

#include "foundation/system/debug_log.h"
#include "foundation/yield.h"
#include "launch/folder_item_extension.h"
#include "preferences/global_methods.h"

namespace tollmere::CorePreferencesModified {
namespace {

Ref<CFObjectMBS> StoredValue(std::string_view key) {
  return xPreferences->CopyAppValue(NewCFStringMBS(std::string(key)), TLMDomain());
}

// The key as ToStringZDN gives it. A stored text is shared and not copied.
Variant TextOf(const Ref<CFObjectMBS>& key) {
  const auto* text = If<CFStringMBS>(key);
  return StringToVariant(text != nullptr
                             ? SharedText(key, *text)
                             : std::make_shared<const std::string>(GlobalMethods::ToStringZDN(key, "")));
}

Variant ArrayFromCFArray(const CFArrayMBS& stored) {
  Ref<DictionaryArray> array = New<DictionaryArray>();
  array->Items.reserve(stored.Count());
  for (std::size_t i = 0; i < stored.Count(); ++i) {
    array->Items.push_back(RBDictFromCFDict(Cast<CFDictionaryMBS>(stored.Item(i))->List()));
    Yield();
  }
  return ObjectToVariant(std::move(array));
}

}  // namespace

Ref<CFStringMBS> TLMDomain() { return NewCFStringMBS("com.vendrel.Tollmere9"); }

void Load() {
  xPreferences = New<CFPreferencesMBS>();
  dPreferenceDefaults = New<Dictionary>();
}

void Sync() {
  xPreferences->Synchronize(TLMDomain(), xPreferences->kCFPreferencesCurrentUser(),
                            xPreferences->kCFPreferencesAnyHost());
}

std::string GetPrefsStrValue(std::string_view key, bool) {
  if (const Ref<CFObjectMBS> value = StoredValue(key); value != nullptr) {
    return GlobalMethods::ToStringZDN(value, key);
  }
  return dPreferenceDefaults->HasKey(key) ? VariantToString(dPreferenceDefaults->Value(key)) : std::string();
}

bool GetPrefsBoolValue(std::string_view key) {
  if (const Ref<CFObjectMBS> value = StoredValue(key); value != nullptr) {
    return GlobalMethods::ToBooleanZDN(value, key);
  }
  return dPreferenceDefaults->HasKey(key) && VariantToBoolean(dPreferenceDefaults->Value(key));
}

Ref<FolderItem> GetPrefsFileValue(std::string_view key) {
  const std::string location = GetPrefsBinaryValue(key);
  return location.empty() ? nullptr : FolderItemExtensionModified::GetRelFolderItemZDN(location);
}

std::string GetPrefsBinaryValue(std::string_view key) {
  const Ref<CFObjectMBS> value = StoredValue(key);
  if (value == nullptr) {
    return dPreferenceDefaults->HasKey(key) ? VariantToString(dPreferenceDefaults->Value(key))
                                            : std::string();
  }
  return IsA<CFBinaryDataMBS>(value) ? Cast<CFBinaryDataMBS>(value)->Str() : std::string();
}

std::vector<Ref<Dictionary>> GetPrefsDictionariesValue(std::string_view key) {
  std::vector<Ref<Dictionary>> dictionaries;
  const Ref<CFObjectMBS> value = StoredValue(key);
  if (value == nullptr) {
    return dPreferenceDefaults->HasKey(key) ? VariantToDictionaryArray(dPreferenceDefaults->Value(key))
                                            : dictionaries;
  }
  if (!IsA<CFArrayMBS>(value)) {
    return dictionaries;
  }
  const CFArrayMBS& array = *Cast<CFArrayMBS>(value);
  dictionaries.reserve(array.Count());
  for (std::size_t i = 0; i < array.Count(); ++i) {
    // Unlike within a dictionary, a foreign element is skipped here.
    if (const auto* stored = If<CFDictionaryMBS>(array.Item(i))) {
      dictionaries.push_back(RBDictFromCFDict(stored->List()));
    }
    Yield();
  }
  return dictionaries;
}

Ref<Dictionary> RBDictFromCFDict(const CFDictionaryListMBS& list) {
  Ref<Dictionary> dictionary = New<Dictionary>();
  const std::size_t count = list.Count();
  dictionary->Reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const Variant key = TextOf(list.Key(i));
    const Ref<CFObjectMBS>& value = list.Value(i);
    if (const auto* text = If<CFStringMBS>(value)) {
      dictionary->SetValue(key, StringToVariant(SharedText(value, *text)));
    } else if (const auto* number = If<CFNumberMBS>(value)) {
      dictionary->SetValue(key, DoubleToVariant(number->doubleValue()));
    } else if (const auto* flag = If<CFBooleanMBS>(value)) {
      dictionary->SetValue(key, BooleanToVariant(flag->Value()));
    } else if (const auto* nested = If<CFDictionaryMBS>(value)) {
      dictionary->SetValue(key, ObjectToVariant(RBDictFromCFDict(nested->List())));
    } else if (const auto* array = If<CFArrayMBS>(value)) {
      dictionary->SetValue(key, ArrayFromCFArray(*array));
    } else {
      System::DebugLog("Unhandled RBDictFromCFDict() of type: " + value->TypeDescription());
    }
    Yield();
  }
  return dictionary;
}

}  // namespace tollmere::CorePreferencesModified
