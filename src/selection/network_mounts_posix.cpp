#include "selection/network_mounts_posix.h"

#include <algorithm>

#include "base/path.h"
#include "base/text.h"

namespace tessaroven {
namespace {

constexpr std::string_view kDesktopFuseTypes[] = {"fuse.gvfsd-fuse", "fuse.gvfs-fuse-daemon"};

// The desktop's mounts of network locations; its other mounts (phones, cameras,
// the trash) carry a "host" too but are no network.
constexpr std::u16string_view kDesktopNetworkKinds[] = {u"smb-share", u"sftp", u"ftp",  u"ftps",
                                                        u"dav",       u"davs", u"nfs", u"afp-volume"};

std::u16string Text(std::string_view bytes) { return Utf8ToUtf16(bytes); }

std::u16string MountPath(const MountEntry& entry) { return WithTrailingSeparator(entry.mountPoint); }

std::string_view TrimSlashes(std::string_view text) {
  while (!text.empty() && text.back() == '/') text.remove_suffix(1);
  return text;
}

// "//host/share[/more]" (also with backslashes, as some mount helpers write it).
std::optional<NetworkMount> FromUncSource(std::string_view source) {
  if (source.size() < 3 || (source.substr(0, 2) != "//" && source.substr(0, 2) != "\\\\")) return std::nullopt;
  std::string unc(source.substr(2));
  std::replace(unc.begin(), unc.end(), '\\', '/');
  const std::size_t slash = unc.find('/');
  if (slash == 0 || slash == std::string::npos) return std::nullopt;
  const std::string_view share = TrimSlashes(std::string_view(unc).substr(slash + 1));
  if (share.empty()) return std::nullopt;
  return NetworkMount{Text(unc.substr(0, slash)), Text(share), {}};
}

// "scheme://[user@]host[:port]/path".
std::optional<NetworkMount> FromUrlSource(std::string_view source) {
  const std::size_t scheme = source.find("://");
  if (scheme == std::string_view::npos) return std::nullopt;
  std::string_view rest = source.substr(scheme + 3);
  const std::size_t slash = rest.find('/');
  std::string_view authority = rest.substr(0, slash);
  const std::string_view path = slash == std::string_view::npos ? std::string_view("/") : rest.substr(slash);
  if (const std::size_t at = authority.rfind('@'); at != std::string_view::npos) authority.remove_prefix(at + 1);
  if (!authority.empty() && authority.front() == '[') {
    const std::size_t close = authority.find(']');
    if (close == std::string_view::npos) return std::nullopt;
    authority = authority.substr(1, close - 1);
  } else if (const std::size_t colon = authority.find(':'); colon != std::string_view::npos) {
    authority = authority.substr(0, colon);
  }
  if (authority.empty()) return std::nullopt;
  const std::string_view share = TrimSlashes(path);
  return NetworkMount{Text(authority), Text(share.empty() ? "/" : share), {}};
}

// "[user@]host:path" (sshfs and most FUSE network mounts), "host:/export" and
// "[v6 address]:/export" (nfs). An empty path is the user's home folder there.
std::optional<NetworkMount> FromHostPathSource(std::string_view source) {
  std::string_view host;
  std::string_view path;
  if (const std::size_t at = source.find('@'); at != std::string_view::npos && at < source.find(':'))
    source.remove_prefix(at + 1);
  if (!source.empty() && source.front() == '[') {
    const std::size_t close = source.find("]:");
    if (close == std::string_view::npos) return std::nullopt;
    host = source.substr(1, close - 1);
    path = source.substr(close + 2);
  } else {
    const std::size_t colon = source.find(':');
    if (colon == std::string_view::npos) return std::nullopt;
    host = source.substr(0, colon);
    path = source.substr(colon + 1);
  }
  if (host.empty() || host.find('/') != std::string_view::npos) return std::nullopt;
  const std::string_view share = path == "/" ? path : TrimSlashes(path);
  return NetworkMount{Text(host), share.empty() ? std::u16string(u"~") : Text(share), {}};
}

int HexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// The %-escapes of a value in a share mount's folder name (UTF-8 bytes).
std::u16string Unescape(std::u16string_view value) {
  std::string bytes;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] == u'%' && i + 2 < value.size() && HexValue(value[i + 1]) >= 0 && HexValue(value[i + 2]) >= 0) {
      bytes += static_cast<char>(HexValue(value[i + 1]) * 16 + HexValue(value[i + 2]));
      i += 2;
    } else {
      AppendUtf8(bytes, value.substr(i, 1));
    }
  }
  return Utf8ToUtf16(bytes);
}

}  // namespace

bool IsDesktopShareMount(const MountEntry& entry) {
  return std::find(std::begin(kDesktopFuseTypes), std::end(kDesktopFuseTypes), entry.fsType) !=
         std::end(kDesktopFuseTypes);
}

std::optional<NetworkMount> NetworkMountOf(const MountEntry& entry) {
  if (!IsNetworkFileSystem(entry.fsType) || IsDesktopShareMount(entry) || entry.mountPoint.empty())
    return std::nullopt;
  const std::string_view source = entry.source;
  std::optional<NetworkMount> mount = FromUncSource(source);
  if (!mount) mount = FromUrlSource(source);
  if (!mount) mount = FromHostPathSource(source);
  if (mount) mount->path = MountPath(entry);
  return mount;
}

std::optional<NetworkMount> NetworkMountOfDesktopFolder(std::u16string_view name, std::u16string_view root) {
  const std::size_t colon = name.find(u':');
  if (colon == 0 || colon == std::u16string_view::npos) return std::nullopt;
  const std::u16string_view kind = name.substr(0, colon);
  if (std::find(std::begin(kDesktopNetworkKinds), std::end(kDesktopNetworkKinds), kind) ==
      std::end(kDesktopNetworkKinds))
    return std::nullopt;
  std::u16string server;
  std::u16string share;
  for (const std::u16string& field : Split(name.substr(colon + 1), u",")) {
    const std::size_t equals = field.find(u'=');
    if (equals == std::u16string::npos) continue;
    const std::u16string_view key = std::u16string_view(field).substr(0, equals);
    const std::u16string value = Unescape(std::u16string_view(field).substr(equals + 1));
    if (key == u"server" || key == u"host") server = value;
    if (key == u"share" || key == u"volume" || key == u"prefix") share = value;
  }
  if (server.empty()) return std::nullopt;
  if (share.empty()) share = std::u16string(kind);
  return NetworkMount{std::move(server), std::move(share), WithTrailingSeparator(std::u16string(root) + std::u16string(name))};
}

std::vector<STServer> GroupByServer(const std::vector<NetworkMount>& mounts) {
  std::vector<STServer> servers;
  std::vector<std::u16string> seenPaths;
  for (const NetworkMount& mount : mounts) {
    if (std::find(seenPaths.begin(), seenPaths.end(), mount.path) != seenPaths.end()) continue;
    seenPaths.push_back(mount.path);
    auto server = std::find_if(servers.begin(), servers.end(),
                               [&](const STServer& s) { return AsciiFoldEquals(s.name, mount.server); });
    if (server == servers.end()) {
      servers.push_back(STServer{mount.server, {}, {}});
      server = servers.end() - 1;
    }
    server->sharePaths.push_back(mount.path);
    server->shareNames.push_back(mount.share);
  }
  return servers;
}

}  // namespace tessaroven
