#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "base/path.h"
#include "base/text.h"
#include "decode/plugin_folder.h"

namespace tessaroven {

std::u16string ExecutableFolder() {
  std::string buffer(4096, '\0');
  const ssize_t n = readlink("/proc/self/exe", buffer.data(), buffer.size());
  if (n <= 0 || static_cast<std::size_t>(n) >= buffer.size()) return {};
  buffer.resize(static_cast<std::size_t>(n));
  return std::u16string(FolderOf(FromOsString(buffer)));
}

namespace {
bool IsFolder(const std::string& path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}
}  // namespace

std::u16string DefaultPluginFolder() {
  const std::u16string exe = ExecutableFolder();
  std::u16string beside = exe + u"decoder/";
  if (IsFolder(ToOsString(beside))) return beside;
  return exe + u"../lib/tessaroven/decoder/";
}

std::vector<std::u16string> ListPluginLibraries(const std::u16string& folder) {
  std::vector<std::u16string> result;
  const std::string osFolder = ToOsString(WithTrailingSeparator(folder));
  DIR* dir = opendir(osFolder.c_str());
  if (dir == nullptr) return result;
  while (const dirent* entry = readdir(dir)) {
    const std::string name = entry->d_name;
    if (name.size() <= 3 || name.compare(name.size() - 3, 3, ".so") != 0) continue;
    const std::string full = osFolder + name;
    // d_type is not filled on every file system; stat decides then. A link to a
    // library counts as a library.
    const bool folderEntry =
        entry->d_type == DT_DIR || ((entry->d_type == DT_UNKNOWN || entry->d_type == DT_LNK) && IsFolder(full));
    if (folderEntry) continue;
    result.push_back(FromOsString(full));
  }
  closedir(dir);
  return result;
}

}  // namespace tessaroven
