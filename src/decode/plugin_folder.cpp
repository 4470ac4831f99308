#include "decode/plugin_folder.h"

#include "base/path.h"

namespace tessaroven {

std::u16string DefaultPluginFolder();  // per platform

namespace {
std::optional<std::u16string>& Override() {
  static std::optional<std::u16string> folder;
  return folder;
}
}  // namespace

std::u16string PluginFolder() {
  if (Override()) return *Override();
  return DefaultPluginFolder();
}

void SetPluginFolderOverride(std::optional<std::u16string> folder) {
  if (folder) folder = WithTrailingSeparator(*folder);
  Override() = std::move(folder);
}

}  // namespace tessaroven
