#include "preferences/core_preferences.h"

#include "foundation/debug_log.h"
#include "foundation/event_loop.h"
#include "launch/folder_item_extension.h"
#include "preferences/global_methods.h"

namespace tollmere::CorePreferencesModified {
namespace {

Ref<CFObjectMBS> StoredValue(std::string_view key) {
  return xPreferences->CopyAppValue(NewCFStringMBS(std::string(key)), TLMDomain());
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
  for (std::size_t i = 0; i < array.Count(); ++i) {
    // Unlike within a dictionary, a foreign element is skipped here.
    if (IsA<CFDictionaryMBS>(array.Item(i))) {
      dictionaries.push_back(RBDictFromCFDict(Cast<CFDictionaryMBS>(array.Item(i))->List()));
    }
    Yield();
  }
  return dictionaries;
}

Ref<Dictionary> RBDictFromCFDict(const Ref<CFDictionaryListMBS>& list) {
  Ref<Dictionary> dictionary = New<Dictionary>();
  dictionary->Reserve(list->Count());
  for (std::size_t i = 0; i < list->Count(); ++i) {
    Variant key = StringToVariant(GlobalMethods::ToStringZDN(list->Key(i), ""));
    const Ref<CFObjectMBS>& value = list->Value(i);
    if (IsA<CFStringMBS>(value)) {
      dictionary->SetValue(std::move(key), StringToVariant(Cast<CFStringMBS>(value)->str()));
    } else if (IsA<CFNumberMBS>(value)) {
      dictionary->SetValue(std::move(key), DoubleToVariant(Cast<CFNumberMBS>(value)->doubleValue()));
    } else if (IsA<CFBooleanMBS>(value)) {
      dictionary->SetValue(std::move(key), BooleanToVariant(Cast<CFBooleanMBS>(value)->Value()));
    } else if (IsA<CFDictionaryMBS>(value)) {
      dictionary->SetValue(std::move(key),
                           ObjectToVariant(RBDictFromCFDict(Cast<CFDictionaryMBS>(value)->List())));
    } else if (IsA<CFArrayMBS>(value)) {
      dictionary->SetValue(std::move(key), ArrayFromCFArray(*Cast<CFArrayMBS>(value)));
    } else {
      System::DebugLog("Unhandled RBDictFromCFDict() of type: " + value->TypeDescription());
    }
    Yield();
  }
  return dictionary;
}

}  // namespace tollmere::CorePreferencesModified
