// The user's and the system's well-known folders: documents, music, videos, the
// application-data folder, and on Windows the program and system folders.
//
// Ids are those of the Windows shell (CSIDL values) plus four private ones, so the
// same numbers mean the same folders on both platforms. On Windows the shell
// answers. On Linux the XDG base and user directories stand in for them:
//   application data    $XDG_DATA_HOME, else ~/.local/share
//   user profile        $HOME
//   documents, music,   $XDG_CONFIG_HOME/user-dirs.dirs (DOCUMENTS, MUSIC, VIDEOS,
//   videos, desktop     DESKTOP), else ~/Documents, ~/Music, ~/Videos, ~/Desktop
//   public documents    the PUBLICSHARE folder (else ~/Public), when it exists
//   public music/videos PUBLICSHARE/Music and PUBLICSHARE/Videos, when they exist
// A user directory that user-dirs.dirs sets to $HOME itself is disabled and yields
// no folder. Ids with no Linux meaning (the program-files, Windows and system
// folders) yield no folder either: Linux returns the caller's fallback, else an
// empty string, never a made-up Windows path.
//
// Reads the environment and the file on every call; any thread may call.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tessaroven {

inline constexpr int kFolderDocuments = 0x05;        // CSIDL_PERSONAL
inline constexpr int kFolderMyMusic = 0x0D;          // CSIDL_MYMUSIC
inline constexpr int kFolderMyVideos = 0x0E;         // CSIDL_MYVIDEO
inline constexpr int kFolderDesktop = 0x10;          // CSIDL_DESKTOPDIRECTORY
inline constexpr int kFolderAppData = 0x1A;          // CSIDL_APPDATA (roaming)
inline constexpr int kFolderUserProfile = 0x28;      // CSIDL_PROFILE
inline constexpr int kFolderPublicDocuments = 0x2E;  // CSIDL_COMMON_DOCUMENTS
inline constexpr int kFolderPublicMusic = 0x35;      // CSIDL_COMMON_MUSIC
inline constexpr int kFolderPublicVideos = 0x37;     // CSIDL_COMMON_VIDEO
// Private ids, served without the shell.
inline constexpr int kFolderProgramFiles = 0x5000;    // "ProgramFilesDir"
inline constexpr int kFolderWindows = 0x5001;         // GetWindowsDirectoryW
inline constexpr int kFolderSystem = 0x5002;          // GetSystemDirectoryW
inline constexpr int kFolderProgramFiles64 = 0x5003;  // "ProgramW6432Dir", else "ProgramFilesDir"

// The folder for `id`, ending in the separator. When the platform has none, the
// result is `fallback` as given; without a fallback it is "C:\Error" on Windows
// and an empty string on Linux.
std::u16string GetSpecialFolder(int id, std::optional<std::u16string_view> fallback = std::nullopt);

// Parses the text of an XDG user-dirs.dirs file: lines such as
//   XDG_MUSIC_DIR="$HOME/Music"
// Keys are the names between "XDG_" and "_DIR" ("MUSIC"); values are absolute
// paths without a trailing separator, with "$HOME" expanded to `home` and
// backslash escapes resolved. A value equal to `home` disables the folder and is
// returned as an empty string. Comments, malformed lines and relative paths are
// skipped; a later line overrides an earlier one. The file is UTF-8 as far as it
// is valid; other bytes survive as in FromOsString.
std::map<std::string, std::u16string> ParseXdgUserDirs(std::string_view content, std::u16string_view home);

}  // namespace tessaroven
