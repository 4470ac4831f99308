// The network's computers and shares as the Linux mount table shows them: every
// mounted network file system belongs to the server its source names, and the
// desktop's share mounts (gvfs, one folder per mount below its FUSE mount) say
// theirs in the folder's name.
//
//   source of the mount                  server      share
//   //nas/music (cifs, smb3, smbfs)      nas         music
//   nas:/srv/music (nfs, nfs4)           nas         /srv/music
//   [fe80::2]:/export (nfs)              fe80::2     /export
//   anna@box:Music (sshfs, other FUSE)   box         Music ("~" for the home folder)
//   https://box/dav (davfs)              box         /dav
//   gvfs folder smb-share:server=nas,share=music      nas   music
//   gvfs folder sftp:host=box,user=anna               box   sftp
//
// Each share's path is its mount point. Pure functions over parsed entries, so any
// table can be tested; network_shares_posix.cpp feeds them the live one.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "selection/mount_table_posix.h"
#include "selection/network_shares.h"

namespace tessaroven {

struct NetworkMount {
  std::u16string server;
  std::u16string share;  // display name
  std::u16string path;   // the mount point, ending in "/"
};

// The server and share of a mount of a network file system; nothing for any other
// mount, for the desktop's FUSE mount itself (its folders are the shares) and for
// a source that names no server.
std::optional<NetworkMount> NetworkMountOf(const MountEntry& entry);

// Whether a mount is the desktop's FUSE mount whose folders are its share mounts.
bool IsDesktopShareMount(const MountEntry& entry);

// The server and share a folder of the desktop's FUSE mount stands for, from its
// name ("smb-share:server=nas,share=music", values %-escaped); `root` is the FUSE
// mount's path ending in "/". Nothing for a name of another form.
std::optional<NetworkMount> NetworkMountOfDesktopFolder(std::u16string_view name, std::u16string_view root);

// A share the desktop's network browser offered by `uri` that is not mounted yet;
// `path` is where it will appear once mounted. PrepareShareFolder mounts it on
// its first read.
void RememberUnmountedShare(const std::u16string& path, const std::string& uri);

// One computer per server (names compared without ASCII case), in the order first
// met; its shares in the order met, each path once.
std::vector<STServer> GroupByServer(const std::vector<NetworkMount>& mounts);

}  // namespace tessaroven
