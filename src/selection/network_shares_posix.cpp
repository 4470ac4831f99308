// Linux: the computers are first the servers of the mounted network file systems
// (network_mounts_posix.h), then, where GLib's GIO can be loaded, those of the
// desktop's network browser ("network:///") with the shares not already mounted.
// GIO is opened at run time so that the command-line program does not need GLib.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <mutex>

#include "base/path.h"
#include "base/text.h"
#include "selection/network_mounts_posix.h"
#include "selection/network_shares.h"

extern char** environ;

namespace tessaroven {
namespace {

// The desktop share mounts below one FUSE mount: its folder names, read without
// looking into any of them (a share that stopped answering would hang a stat).
void AddDesktopShares(const std::u16string& root, std::vector<NetworkMount>& mounts) {
  DIR* folder = opendir(Utf16ToUtf8(root).c_str());
  if (!folder) return;
  while (const dirent* entry = readdir(folder)) {
    const std::u16string name = Utf8ToUtf16(entry->d_name);
    if (name == u"." || name == u"..") continue;
    if (auto mount = NetworkMountOfDesktopFolder(name, root)) mounts.push_back(std::move(*mount));
  }
  closedir(folder);
}

std::vector<STServer> MountedServers() {
  std::vector<NetworkMount> mounts;
  for (const MountEntry& entry : TopMounts(ReadMountTable())) {
    if (IsDesktopShareMount(entry)) {
      AddDesktopShares(WithTrailingSeparator(entry.mountPoint), mounts);
    } else if (auto mount = NetworkMountOf(entry)) {
      mounts.push_back(std::move(*mount));
    }
  }
  return GroupByServer(mounts);
}

// Shares the network browser offered whose folder is not there yet, by the path
// they will have once mounted: what PrepareShareFolder mounts.
std::mutex& UnmountedSharesMutex() {
  static std::mutex mutex;
  return mutex;
}
std::map<std::u16string, std::string>& UnmountedShares() {
  static std::map<std::u16string, std::string> shares;
  return shares;
}

bool FolderExists(const std::u16string& path) {
  struct stat info {};
  return stat(Utf16ToUtf8(path).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// The few GIO calls the browser needs, looked up once. All of them take and
// return GLib's objects as opaque pointers.
class Gio {
 public:
  static const Gio* Get() {
    static const Gio gio;
    return gio.ok_ ? &gio : nullptr;
  }

  void* (*newForUri)(const char* uri) = nullptr;
  void* (*enumerateChildren)(void* file, const char* attributes, int flags, void* cancellable,
                             void** error) = nullptr;
  void* (*nextFile)(void* enumerator, void* cancellable, void** error) = nullptr;
  const char* (*displayName)(void* info) = nullptr;
  const char* (*attributeString)(void* info, const char* attribute) = nullptr;
  char* (*path)(void* file) = nullptr;
  void (*unref)(void* object) = nullptr;
  void (*freeError)(void* error) = nullptr;
  void (*freeMemory)(void* memory) = nullptr;

 private:
  Gio() {
    void* library = dlopen("libgio-2.0.so.0", RTLD_NOW | RTLD_LOCAL);
    if (!library) return;
    ok_ = Find(library, "g_file_new_for_uri", newForUri) &&
          Find(library, "g_file_enumerate_children", enumerateChildren) &&
          Find(library, "g_file_enumerator_next_file", nextFile) &&
          Find(library, "g_file_info_get_display_name", displayName) &&
          Find(library, "g_file_info_get_attribute_string", attributeString) &&
          Find(library, "g_file_get_path", path) && Find(library, "g_object_unref", unref) &&
          Find(library, "g_error_free", freeError) && Find(library, "g_free", freeMemory);
  }
  template <typename Function>
  static bool Find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
  }
  bool ok_ = false;
};

constexpr char kAttributes[] = "standard::display-name,standard::target-uri,standard::name";

// One enumeration of a GIO folder's children, as (display name, target URI).
class GioListing {
 public:
  GioListing(const Gio& gio, const std::string& uri) : gio_(gio) {
    folder_ = gio.newForUri(uri.c_str());
    void* error = nullptr;
    if (folder_) enumerator_ = gio.enumerateChildren(folder_, kAttributes, 0, nullptr, &error);
    if (error) gio.freeError(error);
  }
  ~GioListing() {
    if (enumerator_) gio_.unref(enumerator_);
    if (folder_) gio_.unref(folder_);
  }
  GioListing(const GioListing&) = delete;
  GioListing& operator=(const GioListing&) = delete;

  bool Next(std::string& name, std::string& target) {
    if (!enumerator_) return false;
    void* error = nullptr;
    void* info = gio_.nextFile(enumerator_, nullptr, &error);
    if (error) gio_.freeError(error);
    if (!info) return false;
    const char* display = gio_.displayName(info);
    const char* uri = gio_.attributeString(info, "standard::target-uri");
    name = display ? display : "";
    target = uri ? uri : "";
    gio_.unref(info);
    return true;
  }

  std::u16string PathOf(const std::string& uri) const {
    void* file = gio_.newForUri(uri.c_str());
    if (!file) return {};
    char* path = gio_.path(file);
    std::u16string result = path ? Utf8ToUtf16(path) : std::u16string();
    if (path) gio_.freeMemory(path);
    gio_.unref(file);
    return result;
  }

 private:
  const Gio& gio_;
  void* folder_ = nullptr;
  void* enumerator_ = nullptr;
};

// Where the desktop will mount an SMB share it has not mounted yet.
std::u16string ExpectedSmbSharePath(const std::string& uri) {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (!runtime || uri.rfind("smb://", 0) != 0) return {};
  const std::string rest = uri.substr(6);
  const std::size_t slash = rest.find('/');
  if (slash == std::string::npos) return {};
  std::string share = rest.substr(slash + 1);
  while (!share.empty() && share.back() == '/') share.pop_back();
  if (share.empty() || share.find('/') != std::string::npos) return {};
  return Utf8ToUtf16(std::string(runtime) + "/gvfs/smb-share:server=" + rest.substr(0, slash) + ",share=" + share);
}

}  // namespace

struct clFindNetShares::Impl {
  std::vector<STServer> mounted;
  std::size_t nextMounted = 0;
  std::vector<std::u16string> knownPaths;
  std::unique_ptr<GioListing> network;
};

clFindNetShares::clFindNetShares() : impl_(std::make_unique<Impl>()) {}
clFindNetShares::~clFindNetShares() = default;

bool clFindNetShares::Open() {
  impl_->mounted = MountedServers();
  for (const STServer& server : impl_->mounted)
    impl_->knownPaths.insert(impl_->knownPaths.end(), server.sharePaths.begin(), server.sharePaths.end());
  if (const Gio* gio = Gio::Get()) impl_->network = std::make_unique<GioListing>(*gio, "network:///");
  return true;
}

bool clFindNetShares::NextComputer(STServer& server) {
  if (impl_->nextMounted < impl_->mounted.size()) {
    server = std::move(impl_->mounted[impl_->nextMounted++]);
    return true;
  }
  const Gio* gio = Gio::Get();
  std::string name, target;
  while (gio && impl_->network && impl_->network->Next(name, target)) {
    if (target.empty()) continue;
    server = STServer{Utf8ToUtf16(name), {}, {}};
    GioListing shares(*gio, target);
    std::string shareName, shareUri;
    while (shares.Next(shareName, shareUri)) {
      std::u16string path = shares.PathOf(shareUri);
      const bool mounted = !path.empty() && FolderExists(path);
      if (path.empty()) path = ExpectedSmbSharePath(shareUri);
      if (path.empty()) continue;  // a share no folder path can ever reach
      path = WithTrailingSeparator(path);
      if (std::find(impl_->knownPaths.begin(), impl_->knownPaths.end(), path) != impl_->knownPaths.end()) continue;
      if (!mounted) RememberUnmountedShare(path, shareUri);
      impl_->knownPaths.push_back(path);
      server.sharePaths.push_back(path);
      server.shareNames.push_back(Utf8ToUtf16(shareName));
    }
    // A computer whose every share is already listed under its mounted name is
    // there already.
    if (!server.sharePaths.empty()) return true;
  }
  return false;
}

void RememberUnmountedShare(const std::u16string& path, const std::string& uri) {
  std::lock_guard lock(UnmountedSharesMutex());
  UnmountedShares()[WithTrailingSeparator(path)] = uri;
}

bool PrepareShareFolder(const std::u16string& path, std::u16string& message) {
  std::string uri;
  {
    std::lock_guard lock(UnmountedSharesMutex());
    const auto found = UnmountedShares().find(WithTrailingSeparator(path));
    if (found == UnmountedShares().end()) return true;
    uri = found->second;
  }
  if (FolderExists(path)) return true;
  // The desktop's own mount tool asks the same daemon the file manager does; it
  // gets no terminal, so a share that wants a password fails instead of waiting.
  int output[2];
  if (pipe2(output, O_CLOEXEC) != 0) return false;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output[1], 1);
  posix_spawn_file_actions_adddup2(&actions, output[1], 2);
  char program[] = "gio";
  char command[] = "mount";
  std::vector<char> uriText(uri.begin(), uri.end());
  uriText.push_back('\0');
  char* argv[] = {program, command, uriText.data(), nullptr};
  pid_t child = 0;
  const int spawned = posix_spawnp(&child, program, &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  close(output[1]);
  if (spawned != 0) {
    close(output[0]);
    message = u"The share " + Utf8ToUtf16(uri) +
              u" could not be mounted: the desktop's \"gio\" tool was not found (package libglib2.0-bin).";
    return false;
  }
  std::string said;
  char buffer[512];
  for (ssize_t got; (got = read(output[0], buffer, sizeof buffer)) > 0;) said.append(buffer, static_cast<std::size_t>(got));
  close(output[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0 && FolderExists(path)) {
    std::lock_guard lock(UnmountedSharesMutex());
    UnmountedShares().erase(WithTrailingSeparator(path));
    return true;
  }
  while (!said.empty() && (said.back() == '\n' || said.back() == '\r')) said.pop_back();
  message = u"The share " + Utf8ToUtf16(uri) + u" could not be mounted." +
            (said.empty() ? std::u16string() : u"\n\n" + Utf8ToUtf16(said));
  return false;
}

}  // namespace tessaroven
