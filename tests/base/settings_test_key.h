// A key of the real settings store that belongs to one test and is removed after it.
//
// The settings tests run against the real store: the registry under Wine and on
// Windows, the settings file on Linux. Each test works under its own key below
// "Software\Orvandelle\TessarovenTest" so that tests running at the same time, or
// left over from an aborted run, never meet.
#pragma once

#include <string>

namespace tessaroven::test {

class ScopedSettingsKey {
 public:
  ScopedSettingsKey();
  ~ScopedSettingsKey();  // deletes the key with everything below it
  ScopedSettingsKey(const ScopedSettingsKey&) = delete;
  ScopedSettingsKey& operator=(const ScopedSettingsKey&) = delete;

  // Below HKEY_CURRENT_USER, e.g. "Software\Orvandelle\TessarovenTest\4711-3".
  const std::u16string& Path() const { return path_; }

 private:
  std::u16string path_;
};

}  // namespace tessaroven::test
