#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

#include "base/path.h"
#include "base/known_folders.h"
#include "base/text.h"

namespace tessaroven {
namespace {

// An environment variable that holds an absolute path; the XDG rules say a
// relative one is to be ignored.
std::u16string AbsoluteFromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  if (!value || value[0] != '/') return {};
  return FromOsString(value);
}

std::u16string WithoutTrailingSlashes(std::u16string path) {
  while (path.size() > 1 && path.back() == u'/') path.pop_back();
  return path;
}

std::u16string HomeFolder() {
  std::u16string home = AbsoluteFromEnvironment("HOME");
  if (home.empty()) {
    // No usable $HOME (a service or a stripped environment): ask the user database.
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found && found->pw_dir &&
        found->pw_dir[0] == '/')
      home = FromOsString(found->pw_dir);
  }
  return WithoutTrailingSlashes(std::move(home));
}

std::u16string Below(const std::u16string& folder, std::u16string_view name) {
  if (folder.empty()) return {};
  return WithTrailingSeparator(folder) + std::u16string(name);
}

bool IsFolder(const std::u16string& path) {
  struct stat info {};
  return !path.empty() && ::stat(ToOsString(path).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

class UserDirs {
 public:
  UserDirs() : home_(HomeFolder()) {
    std::u16string config = AbsoluteFromEnvironment("XDG_CONFIG_HOME");
    if (config.empty()) config = Below(home_, u".config");
    if (config.empty()) return;
    std::ifstream file(ToOsString(Below(config, u"user-dirs.dirs")), std::ios::binary);
    if (!file) return;
    std::ostringstream content;
    content << file.rdbuf();
    folders_ = ParseXdgUserDirs(content.str(), home_);
  }

  const std::u16string& Home() const { return home_; }

  // The folder the file names for `key`, else ~/`defaultName`; empty when the
  // file switches it off.
  std::u16string Get(const std::string& key, std::u16string_view defaultName) const {
    const auto found = folders_.find(key);
    if (found != folders_.end()) return found->second;
    return Below(home_, defaultName);
  }

 private:
  std::u16string home_;
  std::map<std::string, std::u16string> folders_;
};

std::u16string ExistingFolder(std::u16string path) { return IsFolder(path) ? path : std::u16string(); }

std::u16string FindFolder(int id) {
  switch (id) {
    case kFolderAppData: {
      const std::u16string data = AbsoluteFromEnvironment("XDG_DATA_HOME");
      return data.empty() ? Below(HomeFolder(), u".local/share") : data;
    }
    case kFolderUserProfile:
      return HomeFolder();
    case kFolderDocuments:
      return UserDirs().Get("DOCUMENTS", u"Documents");
    case kFolderMyMusic:
      return UserDirs().Get("MUSIC", u"Music");
    case kFolderMyVideos:
      return UserDirs().Get("VIDEOS", u"Videos");
    case kFolderDesktop:
      return UserDirs().Get("DESKTOP", u"Desktop");
    // The shared folders are offered only where the user keeps them.
    case kFolderPublicDocuments:
      return ExistingFolder(UserDirs().Get("PUBLICSHARE", u"Public"));
    case kFolderPublicMusic:
      return ExistingFolder(Below(UserDirs().Get("PUBLICSHARE", u"Public"), u"Music"));
    case kFolderPublicVideos:
      return ExistingFolder(Below(UserDirs().Get("PUBLICSHARE", u"Public"), u"Videos"));
    default:
      return {};  // program files, Windows and system folders: no Linux counterpart
  }
}

}  // namespace

std::u16string GetSpecialFolder(int id, std::optional<std::u16string_view> fallback) {
  const std::u16string folder = FindFolder(id);
  if (!folder.empty()) return WithTrailingSeparator(folder);
  return fallback ? std::u16string(*fallback) : std::u16string();
}

}  // namespace tessaroven
