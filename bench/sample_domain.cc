#include "sample_domain.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "foundation/dictionary.h"
#include "preferences/core_preferences.h"
#include "preferences/local_preferences.h"
#include "watch/app.h"

namespace tollmere {

void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) {
    throw std::runtime_error("cannot write " + path);
  }
}

SampleDomain::SampleDomain(const PropertyListValue::Dictionary& domain) : SampleDomain(WriteBinary(domain)) {}

SampleDomain::SampleDomain(std::string_view bytes)
    : folder_(std::filesystem::temp_directory_path() / "tollmere-bench.XXXXXX") {
  if (mkdtemp(folder_.data()) == nullptr) {
    throw std::runtime_error("cannot make " + folder_);
  }
  setenv("XDG_CONFIG_HOME", folder_.c_str(), 1);
  WriteFile(folder_ + "/com.vendrel.Tollmere9.plist", bytes);
  // What start-up makes, but for the timer: here ticks come from the benchmark.
  LocalPreferences::RememberedNextRingDates = New<Dictionary>();
  LocalPreferences::MasteRingHistory = New<Dictionary>();
  CorePreferencesModified::Load();
}

SampleDomain::~SampleDomain() {
  ReleaseGlobals();
  std::filesystem::remove_all(folder_);
}

}  // namespace tollmere
