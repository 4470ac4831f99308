#include "selection/places.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/known_folders.h"
#include "base/path.h"
#include "base/text.h"
#include "selection/folder_enumeration.h"
#include "selection/selection_model.h"

namespace tessaroven {
namespace {

std::u16string ExistingKnownFolder(int id) {
  // An empty fallback: on Windows the default one is a made-up "C:\Error".
  std::u16string folder = GetSpecialFolder(id, std::u16string_view());
  if (folder.empty()) return {};
  std::error_code error;
  return std::filesystem::is_directory(std::filesystem::path(ToOsString(folder)), error) ? folder : std::u16string();
}

void AddFolderPlace(std::vector<Place>& places, PlaceKind kind, std::u16string_view label, std::u16string path) {
  if (path.empty()) return;
  places.push_back(Place{kind, std::u16string(label), std::move(path), kDriveUnknown});
}

// Whether some place other than `except` still stands for `path`: a music folder
// may well be a mount point too, and its root entry must outlive the drive's.
bool OtherPlaceHasPath(const std::vector<PlaceNodes::Entry>& entries, NodeId except, std::u16string_view path) {
  return std::any_of(entries.begin(), entries.end(), [&](const PlaceNodes::Entry& e) {
    return e.node != except && e.place.kind != PlaceKind::kNetwork && SamePath(e.place.path, path);
  });
}

}  // namespace

std::u16string_view DriveTypeLabel(int driveType) {
  switch (driveType) {
    case kDriveRemovable:
      return u"Removable Disk";
    case kDriveFixed:
      return u"Hard Disk";
    case kDriveRemote:
      return u"Network Drive";
    case kDriveCdRom:
      return u"CD-ROM Drive";
    case kDriveRamDisk:
      return u"RAM Disk";
    default:
      return {};
  }
}

std::u16string DriveNodeText(std::u16string_view volumeName, int driveType, std::u16string_view where) {
  const std::u16string_view name = volumeName.empty() ? DriveTypeLabel(driveType) : volumeName;
  if (name.empty()) return std::u16string(where);
  std::u16string text(name);
  text += u" (";
  text += where;
  text += u")";
  return text;
}

std::vector<Place> ComposePlaces(const KnownPlaceFolders& folders, std::vector<Place> drives) {
  std::vector<Place> places;
  AddFolderPlace(places, PlaceKind::kMusic, u"Music", folders.music);
  AddFolderPlace(places, PlaceKind::kMusic, u"Public Music", folders.publicMusic);
  for (auto& drive : drives) places.push_back(std::move(drive));
  AddFolderPlace(places, PlaceKind::kVideo, u"Video", folders.video);
  AddFolderPlace(places, PlaceKind::kVideo, u"Public Video", folders.publicVideo);
  places.push_back(Place{PlaceKind::kNetwork, std::u16string(kNetworkLabel), std::u16string(kNetworkEntry)});
  return places;
}

std::vector<Place> ListPlaces() {
  // A known folder may live on a card or a share that is not there today.
  CriticalErrorBoxesOff quiet;
  KnownPlaceFolders folders;
  folders.music = ExistingKnownFolder(kFolderMyMusic);
  folders.publicMusic = ExistingKnownFolder(kFolderPublicMusic);
  folders.video = ExistingKnownFolder(kFolderMyVideos);
  folders.publicVideo = ExistingKnownFolder(kFolderPublicVideos);
  return ComposePlaces(folders, ListDrives());
}

const Place* PlaceNodes::Find(NodeId node) const {
  for (const auto& entry : entries_)
    if (entry.node == node && node != kNoNode) return &entry.place;
  return nullptr;
}

std::u16string_view PlaceNodes::Label(NodeId node) const {
  if (node != kNoNode && node == searching_) return searchingLabel_;
  if (const auto found = networkLabels_.find(node); found != networkLabels_.end()) return found->second;
  const Place* place = Find(node);
  return place ? std::u16string_view(place->label) : std::u16string_view();
}

void AddPlacesToTree(FolderTree& tree, SelectionLists& lists, PlaceNodes& nodes, const std::vector<Place>& places) {
  for (const Place& place : places) {
    const NodeId node = tree.AddNode(kNoNode, place.path, true);
    nodes.entries_.push_back(PlaceNodes::Entry{node, place});
    if (place.kind == PlaceKind::kNetwork) {
      // The search fills the node later; until then the placeholder makes the tree
      // show an expand button and keeps the expansion from reading the disk.
      nodes.searching_ = tree.AddNode(node, std::u16string(kNetworkSearchingEntry), false);
    } else {
      lists.lstTreeRoots.push_back(place.path);
    }
  }
}

DriveRefreshResult RefreshDrives(TopLevelNodeEditor& tree, SelectionLists& lists, PlaceNodes& nodes,
                                 const std::vector<Place>& drives) {
  DriveRefreshResult result;
  auto& entries = nodes.entries_;
  const auto findDrive = [&](std::u16string_view path) {
    return std::find_if(drives.begin(), drives.end(), [&](const Place& d) { return SamePath(d.path, path); });
  };

  // Vanished drives first, so the rows computed below are the final ones.
  for (std::size_t row = entries.size(); row-- > 0;) {
    if (entries[row].place.kind != PlaceKind::kDrive || findDrive(entries[row].place.path) != drives.end()) continue;
    const PlaceNodes::Entry gone = entries[row];
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(row));
    tree.RemoveTopLevelNode(gone.node);
    if (!OtherPlaceHasPath(entries, gone.node, gone.place.path)) RemovePath(lists.lstTreeRoots, gone.place.path);
    result.removed.push_back(gone.node);
  }

  // Walk the new drives in order; `insertAt` is the row just after the last drive
  // seen so far, so a new drive lands after its predecessor in `drives`. With no
  // drive before it, it goes where the drive block starts: after the music places.
  std::size_t insertAt = 0;
  while (insertAt < entries.size() && entries[insertAt].place.kind == PlaceKind::kMusic) ++insertAt;
  for (const Place& drive : drives) {
    const auto existing = std::find_if(entries.begin(), entries.end(), [&](const PlaceNodes::Entry& e) {
      return e.place.kind == PlaceKind::kDrive && SamePath(e.place.path, drive.path);
    });
    if (existing != entries.end()) {
      if (existing->place.label != drive.label || existing->place.driveType != drive.driveType) {
        existing->place.label = drive.label;
        existing->place.driveType = drive.driveType;
        result.relabeled.push_back(existing->node);
      }
      insertAt = std::max(insertAt, static_cast<std::size_t>(existing - entries.begin()) + 1);
      continue;
    }
    const NodeId node = tree.InsertTopLevelNode(insertAt, drive.path);
    if (node == kNoNode) continue;
    entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(insertAt), PlaceNodes::Entry{node, drive});
    ++insertAt;
    lists.lstTreeRoots.push_back(drive.path);
    result.added.push_back(node);
  }
  return result;
}

}  // namespace tessaroven
