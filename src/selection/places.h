// The places: the top-level entries of the folder tree. In this order: the music
// folders, the drives, the video folders and the network.
//
//   ListPlaces()       reads them from the system (known folders, then the drives of
//                      ListDrives(), then the network entry).
//   AddPlacesToTree()  turns them into the tree's top-level nodes and records each
//                      folder's path in SelectionLists::lstTreeRoots.
//   RefreshDrives()    brings the drive nodes in line with ListDrives() after the
//                      drives changed (a stick plugged in, a share mounted), leaving
//                      the nodes of drives still there alone, so their expansion and
//                      check states stay. DriveChangeWatcher says when to call it.
//
// Drives: on Windows the drive letters, on Linux the mount table (see
// mount_table_posix.h for which mounts count and of what type they are). A drive
// node's text is "NAME (WHERE)": NAME is the volume name, or when there is none the
// label of its drive type ("Hard Disk"); WHERE is the drive as the user knows it:
// "C:" on Windows, the mount point on Linux ("Hard Disk (/)",
// "Removable Disk (/media/anna/STICK)"). Linux has no volume names here, so the
// type label is always shown there. The node's path is exact: "C:\", "/",
// "/media/anna/STICK/".
//
// Labels: FolderTree keeps paths only, so PlaceNodes remembers each place node's
// text (and the network placeholder's), keyed by NodeId, for the window to show.
//
// Threads: everything here runs on the user-interface thread; ListPlaces and
// ListDrives may also run on a worker (they only read the system).
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "selection/folder_tree.h"
#include "selection/selection_lists.h"

namespace tessaroven {

enum class PlaceKind { kMusic, kDrive, kVideo, kNetwork };

// GetDriveTypeW's numbers, which the Linux mount table is mapped onto.
inline constexpr int kDriveUnknown = 0;
inline constexpr int kDriveRemovable = 2;
inline constexpr int kDriveFixed = 3;
inline constexpr int kDriveRemote = 4;
inline constexpr int kDriveCdRom = 5;
inline constexpr int kDriveRamDisk = 6;

// "Removable Disk", "Hard Disk", "Network Drive", "CD-ROM Drive", "RAM Disk", or
// empty for any other number.
std::u16string_view DriveTypeLabel(int driveType);

// A drive node's text: `volumeName` or, when that is empty, the type label, then
// " (" `where` ")". With neither a volume name nor a label it is `where` alone.
std::u16string DriveNodeText(std::u16string_view volumeName, int driveType, std::u16string_view where);

inline constexpr std::u16string_view kNetworkLabel = u"Network";
inline constexpr std::u16string_view kNetworkSearchingLabel = u"Searching...";
inline constexpr std::u16string_view kNoComputersFoundLabel = u"No computers found";

struct Place {
  PlaceKind kind = PlaceKind::kDrive;
  std::u16string label;           // the node's text
  std::u16string path;            // a folder path ending in the separator, or "{ Network }"
  int driveType = kDriveUnknown;  // drives only
};

// The drives, in the order the tree shows them: drive letters A: to Z: on Windows;
// on Linux "/" first, then the other mounts sorted by path. Critical-error boxes
// are off while a Windows drive is read, so an empty card reader stays silent.
std::vector<Place> ListDrives();

// Music ("Music", "Public Music"), the drives, video ("Video", "Public Video"), and
// "Network". A known folder is offered only when it exists.
std::vector<Place> ListPlaces();

// ListPlaces without the system calls: the places in the tree's order from the known
// folders ("" for one that is missing) and the drives, so the order can be checked
// with folders of a test's own.
struct KnownPlaceFolders {
  std::u16string music, publicMusic, video, publicVideo;  // "" when there is none
};
std::vector<Place> ComposePlaces(const KnownPlaceFolders& folders, std::vector<Place> drives);

class TopLevelNodeEditor;
struct DriveRefreshResult;

// The place nodes of one tree: which top-level node stands for which place, in row
// order, and the text of each. Owned by the window beside its FolderTree.
class PlaceNodes {
 public:
  struct Entry {
    NodeId node = kNoNode;
    Place place;
  };

  // The top-level place nodes in row order.
  const std::vector<Entry>& Entries() const { return entries_; }
  // The place a top-level node stands for, or null.
  const Place* Find(NodeId node) const;
  // The text to show for `node`: a place's label, "Searching..." for the network
  // placeholder, empty for any other node (the window names folders itself).
  std::u16string_view Label(NodeId node) const;
  // The placeholder child of the network node while the search has found nothing.
  NodeId SearchingNode() const { return searching_; }
  // For the network search (network_shares.h): the placeholder node (kNoNode once
  // the first computer replaced it) and its text.
  void SetSearchingNode(NodeId node, std::u16string_view label = kNetworkSearchingLabel) {
    searching_ = node;
    searchingLabel_ = label;
  }
  // The texts of the computer and share nodes, which their paths do not give.
  void SetNetworkLabel(NodeId node, std::u16string label) { networkLabels_[node] = std::move(label); }
  void ForgetNetworkLabels() { networkLabels_.clear(); }

 private:
  friend void AddPlacesToTree(FolderTree&, SelectionLists&, PlaceNodes&, const std::vector<Place>&);
  friend DriveRefreshResult RefreshDrives(TopLevelNodeEditor&, SelectionLists&, PlaceNodes&, const std::vector<Place>&);
  std::vector<Entry> entries_;
  NodeId searching_ = kNoNode;
  std::u16string_view searchingLabel_ = kNetworkSearchingLabel;
  std::unordered_map<NodeId, std::u16string> networkLabels_;
};

// Adds one top-level node per place, each able to expand; the network node gets its
// one "Searching..." child with the path "{ Network Searching }". Every place with a
// folder (music, drives, video: all but the network) is appended to lstTreeRoots.
// Meant for an empty tree: the rows of PlaceNodes are the tree's rows.
void AddPlacesToTree(FolderTree& tree, SelectionLists& lists, PlaceNodes& nodes, const std::vector<Place>& places);

// What RefreshDrives needs of the tree: to put a top-level node at a given row and
// to take one out with everything loaded below it (FolderTreeEditor below, or a
// test's own).
class TopLevelNodeEditor {
 public:
  virtual ~TopLevelNodeEditor() = default;
  // A new top-level node at `row` (0 = first) that offers to expand.
  virtual NodeId InsertTopLevelNode(std::size_t row, std::u16string path) = 0;
  virtual void RemoveTopLevelNode(NodeId node) = 0;
};

// The editor over the window's own folder tree.
class FolderTreeEditor : public TopLevelNodeEditor {
 public:
  explicit FolderTreeEditor(FolderTree& tree) : tree_(tree) {}
  NodeId InsertTopLevelNode(std::size_t row, std::u16string path) override {
    return tree_.InsertNode(kNoNode, row, std::move(path));
  }
  void RemoveTopLevelNode(NodeId node) override { tree_.RemoveNode(node); }

 private:
  FolderTree& tree_;
};

struct DriveRefreshResult {
  std::vector<NodeId> added;      // new drive nodes
  std::vector<NodeId> removed;    // drive nodes taken out (their ids are dead now)
  std::vector<NodeId> relabeled;  // drive nodes kept whose text or type changed
  bool Changed() const { return !added.empty() || !removed.empty() || !relabeled.empty(); }
};

// Brings the drive nodes in line with `drives` (as ListDrives gives them): a drive
// whose path is gone loses its node and its lstTreeRoots entry; a new one gets a node
// among the drives at the place its order in `drives` gives it and is appended to
// lstTreeRoots; a drive still there keeps its node untouched, only its text follows
// (a CD inserted on Windows brings its volume name). The selection lists keep
// whatever was chosen on a vanished drive: it is still chosen when the drive returns.
DriveRefreshResult RefreshDrives(TopLevelNodeEditor& tree, SelectionLists& lists, PlaceNodes& nodes,
                                 const std::vector<Place>& drives);

// Tells when the drives may have changed, for a window that has no device messages
// to go by. Linux: the mount table changed (/proc/self/mountinfo polls with
// POLLPRI). Windows: the set of drive letters changed; the window's WM_DEVICECHANGE
// is the quicker signal there and should call RefreshDrives as well.
// One thread at a time.
class DriveChangeWatcher {
 public:
  DriveChangeWatcher();
  ~DriveChangeWatcher();
  DriveChangeWatcher(const DriveChangeWatcher&) = delete;
  DriveChangeWatcher& operator=(const DriveChangeWatcher&) = delete;

  // Whether the drives changed since the watcher was made or since this last said so,
  // waiting up to `timeout` for a change (zero only looks). A watcher that could not
  // start never reports.
  bool WaitForChange(std::chrono::milliseconds timeout);
  // A descriptor that polls with POLLPRI when the mount table changes, for an event
  // loop (a QSocketNotifier of type Exception); -1 on Windows or when not started.
  // The kernel reports each change to the first poll that sees it, so when the
  // event loop's notifier fires the change is already taken: refresh right away,
  // and do not also wait on the watcher.
  int PollDescriptor() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tessaroven
