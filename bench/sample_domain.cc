#include "sample_domain.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "foundation/dictionary.h"
#include "preferences/core_preferences.h"
#include "preferences/local_preferences.h"
#include "watch/app.h"

namespace tollmere {
namespace {

std::string Folder(const std::string& name) { return BENCH_LISTS "/" + name; }

}  // namespace

std::string DomainBytes(const std::string& name) {
  std::ifstream file(Folder(name) + "/com.vendrel.Tollmere9.plist", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

SampleDomain::SampleDomain(const std::string& name) {
  setenv("XDG_CONFIG_HOME", Folder(name).c_str(), 1);
  // What start-up makes, but for the timer: here ticks come from the benchmark.
  LocalPreferences::RememberedNextRingDates = New<Dictionary>();
  LocalPreferences::MasteRingHistory = New<Dictionary>();
  CorePreferencesModified::Load();
  CorePreferencesModified::Sync();
}

SampleDomain::~SampleDomain() { ReleaseGlobals(); }

}  // namespace tollmere
