// Test helpers: a private plug-in folder per test, filled with copies of the fake
// plug-ins (tests/plugins) so that each test controls which libraries exist there.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>

#include "base/platform.h"
#include "base/settings.h"
#include "base/text.h"
#include "decode/decoder.h"
#include "decode/plugin_folder.h"
#include "support/test_env.h"

namespace tessaroven::test {

inline constexpr std::u16string_view kLibrarySuffix = kIsWindows ? u".dll" : u".so";

// Where the build put the fakes: beside this test executable.
inline std::u16string FakePluginPath(std::u16string_view fake) {
  return ExecutableFolder() + u"fake_plugins" + kPathSeparator + std::u16string(fake) + std::u16string(kLibrarySuffix);
}

inline std::filesystem::path FsPath(const std::u16string& path) { return std::filesystem::path(ToOsString(path)); }

// The decoder cache entry for `extension`, as stored.
inline std::u16string CachedLibrary(std::u16string_view extension) {
  return SettingsGetString(extension, SettingsRoot::CurrentUser, kDecoderCacheKey);
}
inline void SetCachedLibrary(std::u16string_view extension, std::u16string_view library) {
  SettingsSetString(library, extension, SettingsRoot::CurrentUser, kDecoderCacheKey);
}

class PluginFolderFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    SetPluginFolderOverride(folder_.Path());
    // All tests of a Windows run share one settings store: start each from an empty cache.
    for (const char16_t* extension : {u".fka", u".FKA", u".fkb", u".fko", u".fkw", u".fki"}) {
      SetCachedLibrary(extension, u"");
    }
  }
  void TearDown() override { SetPluginFolderOverride(std::nullopt); }

  const std::u16string& Folder() const { return folder_.Path(); }

  // Copies the fake `fake` into the folder under `name` (default: its own name plus the
  // library suffix) and returns the copy's full path.
  std::u16string Install(std::u16string_view fake, std::u16string_view name = {}) {
    const std::u16string target =
        Folder() + (name.empty() ? std::u16string(fake) + std::u16string(kLibrarySuffix) : std::u16string(name));
    std::filesystem::copy_file(FsPath(FakePluginPath(fake)), FsPath(target),
                               std::filesystem::copy_options::overwrite_existing);
    return target;
  }

  void InstallAll(std::initializer_list<std::u16string_view> fakes) {
    for (auto fake : fakes) Install(fake);
  }

 private:
  TempDir folder_;
};

}  // namespace tessaroven::test
