// Read access to the main application's preference domain. The agent never writes it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/dictionary.h"
#include "foundation/object.h"
#include "foundation/property_list/stored_objects.h"
#include "foundation/system/file_item.h"
#include "foundation/system/preference_service.h"

// Every reader takes the value from the view that the last Sync refreshed, then from dPreferenceDefaults, and
// otherwise gives "", False, Nil or an empty array: an absent preference is never an error. A reader that is
// called before Load throws NilObjectException.
namespace tollmere::CorePreferencesModified {

// The handle on the preference service; Nil before Load.
inline Ref<CFPreferencesMBS> xPreferences;
// Values for keys that the domain lacks. Empty; Nil before Load.
inline Ref<Dictionary> dPreferenceDefaults;

// The name of the domain; a new object at each call.
Ref<CFStringMBS> TLMDomain();

// Creates xPreferences and dPreferenceDefaults. Reads nothing.
void Load();
// Refreshes the view of the domain. A failure leaves the view as it is.
void Sync();

// The value as a text, as ToStringZDN makes it. `flag` is without effect.
std::string GetPrefsStrValue(std::string_view key, bool flag);
// The value as a boolean, as ToBooleanZDN makes it.
bool GetPrefsBoolValue(std::string_view key);
// The file that the value, a stored location, leads to. It need not exist. Nil for no usable value.
Ref<FolderItem> GetPrefsFileValue(std::string_view key);
// The bytes of a binary value; empty for a value of any other kind.
std::string GetPrefsBinaryValue(std::string_view key);
// The dictionaries of an array; what else the array holds is skipped. Empty for a value of any other kind.
// Throws IllegalCastException as RBDictFromCFDict does.
std::vector<Ref<Dictionary>> GetPrefsDictionariesValue(std::string_view key);

// A new dictionary with the stored entries: texts, numbers (all as doubles), booleans, dictionaries, arrays
// of dictionaries. A value of another kind is left out and logged. An array item that is no dictionary throws
// IllegalCastException.
Ref<Dictionary> RBDictFromCFDict(const CFDictionaryListMBS& list);

}  // namespace tollmere::CorePreferencesModified
