// The store of preferences: one property list a domain, which other programs write.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "foundation/object.h"
#include "foundation/property_list/stored_objects.h"

namespace tollmere {

// The file of the domain "a.b.c": "a.b.c.plist" in $XDG_CONFIG_HOME, or in "~/.config" where that
// variable is unset or no absolute path.
std::string DomainPath(const std::string& domain);

// What the last refresh of a domain found.
struct DomainState {
  enum class Kind { kAbsent, kUnreadable, kRead };
  Kind kind = Kind::kAbsent;
  std::string path;     // of the domain's file
  std::string problem;  // why the file is unreadable, in words; else empty
};

// A handle on the store of the current user, with a view of each domain as it was when it was last
// refreshed.
class CFPreferencesMBS final : public Object {
 public:
  // Where settings of the user on every machine lie. There is no other place here.
  Ref<CFStringMBS> kCFPreferencesCurrentUser() const { return NewCFStringMBS("kCFPreferencesCurrentUser"); }
  Ref<CFStringMBS> kCFPreferencesAnyHost() const { return NewCFStringMBS("kCFPreferencesAnyHost"); }

  // The value stored under `key`, or Nil when the key is absent. A domain that has never been refreshed
  // is refreshed now.
  Ref<CFObjectMBS> CopyAppValue(const Ref<CFStringMBS>& key, const Ref<CFStringMBS>& application_id);

  // Refreshes the view of the domain from its file. No file is an empty domain. False when the file cannot
  // be read, is no property list, holds no dictionary, or is over a limit: the present view then stays,
  // so that a half-written file loses nothing. The bytes are read each time, since no time stamp
  // tells for sure, and parsed when they differ from those seen last.
  bool Synchronize(const Ref<CFStringMBS>& application_id, const Ref<CFStringMBS>& user,
                   const Ref<CFStringMBS>& host);

  // How the last refresh of the domain went; before any, that there is no file.
  DomainState StateOf(const Ref<CFStringMBS>& application_id) const;
  // From now on the domain is the file at `path`, which has not been read yet.
  void SetPath(const Ref<CFStringMBS>& application_id, std::string path);

 private:
  struct View {
    std::string path;            // empty: where the domain's name leads
    int error = 0;               // the errno of the last refresh
    std::string problem;         // what the reader said of the bytes
    std::string bytes;           // of the file as it was seen last, good or not
    std::string read;            // room for the next reading of the file
    bool bytes_are_good = true;  // an empty domain, to begin with
    bool exists = false;         // there was a file
    Ref<CFDictionaryMBS> root;   // Nil: no file
    // The objects of `root` by their keys, which it holds. Of equal keys the last one counts.
    std::map<std::string_view, const Ref<CFObjectMBS>*> values;
  };

  static bool Refresh(View& view, const std::string& domain);
  static void Show(View& view, Ref<CFDictionaryMBS> root);

  std::map<std::string, View> views_;
};

}  // namespace tollmere
