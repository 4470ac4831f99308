// The three walks over the file system behind the selection: loading a tree node's
// sub-folders, listing the audio files of the current folder, and collecting every
// chosen file for the converter.
//
// All three use FolderEnumeration and one notion of an audio file (AudioFileTest).
// Expanding and listing run on the user-interface thread; the collector runs its
// walk on a worker while the user-interface thread waits in CollectSelectedFiles
// (showing progress after a grace period), so the walk may read the selection
// lists and the filters without locks: nobody changes them meanwhile.
//
// Links on Linux: a symbolic link to a folder is walked like a folder, but each
// folder (device and inode) is entered once per walk from a start folder: a link
// loop ends, and links that lead back into the tree cost nothing more, however many
// paths they make. A folder excluded, or collected on its own without sub-folders,
// stays out of the walk by identity too, so a link to it does not bring it back.
// A link to a file counts as the file it leads to.
//
// Only regular files (and links to them) are listed and collected: a dangling link,
// a named pipe or a device with an audio name is left out.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/event.h"
#include "decode/decoder.h"
#include "filters/filter_state.h"
#include "selection/folder_enumeration.h"
#include "selection/selection_model.h"

namespace tessaroven {

// Sub-folders with these names (ASCII case fold) never appear in the tree: the
// recycle bins and the index folders that network storage keeps in every share.
inline constexpr std::u16string_view kSkippedFolderNames[] = {u"@Recycle", u"#recycle", u"$RECYCLE.BIN", u"@tmp",
                                                              u"@eaDir"};

// Whether a file is of an accepted audio type: its extension belongs to a type
// filter record that is not excluded. The last extension that matched is
// remembered, so a run of files of one type costs one comparison each; clear it
// whenever the type filter changes (the filter dialog closes, Reset).
class AudioFileTest {
 public:
  explicit AudioFileTest(const TypeFilter& types) : types_(&types) {}
  bool IsAudioFile(std::u16string_view name);
  void ClearCache() { lastMatch_.clear(); }

 private:
  const TypeFilter* types_;
  std::u16string lastMatch_;
};

// One row of the file list, before the metadata reader adds properties and tags.
struct FileEntry {
  std::u16string path;
  std::uint64_t modified = 0;  // file times: 100-ns ticks since 1601, UTC
  std::uint64_t created = 0;
  std::uint64_t accessed = 0;
  std::uint64_t size = 0;
};

// The order of sub-folders in the tree: the ASCII fold, and names equal under it
// ("ROCK", "Rock", "rock") by code unit, so the order never depends on how the
// folder was read.
bool FolderNameLess(std::u16string_view a, std::u16string_view b);

// Loads the sub-folders of `node` into the tree: visible folders not in
// kSkippedFolderNames, sorted by FolderNameLess, each with its check state. A node
// that already has children, or the network entry, is left alone. When nothing is
// found the node loses its expand button. Returns the number of folders added.
std::size_t ExpandFolderNode(SelectionModel& model, NodeId node);
// ExpandFolderNode in its two halves, for a folder read away from the tree: the
// sub-folder paths of `folder` (sorted, ending in the separator), then adding them
// below `node` (left alone when it has children already).
std::vector<std::u16string> ReadSubFolders(const std::u16string& folder);
std::size_t AddSubFolders(SelectionModel& model, NodeId node, std::vector<std::u16string> paths);

// The audio files of `folder` (ending in the separator) that pass the date filter
// and, when a metadata slot is active, the metadata filters (read through
// `decoder`), in enumeration order; hidden and system files included.
std::vector<FileEntry> ListFolderFiles(const std::u16string& folder, FilterState& filters, AudioFileTest& audio,
                                       clQzDecoder& decoder);

// The progress text the collector's dialog shows, shared between the worker and
// the user-interface thread under one mutex.
class CollectProgress {
 public:
  std::u16string Text() const;
  void SetText(std::u16string text);
  // Incremented with every change, so a dialog can redraw only when it moved.
  std::uint64_t Generation() const;

 private:
  mutable std::mutex mutex_;
  std::u16string text_;
  std::uint64_t generation_ = 0;
};

// What the collector asks of its front-end while it waits.
class CollectUi {
 public:
  virtual ~CollectUi() = default;
  // The wait cursor, on during the grace period (and the dialog).
  virtual void SetBusy(bool busy) = 0;
  // Shows the progress of a collection that outlasted the grace period until
  // `finished` is set; a cancel control sets `cancel`. Returns once `finished` is
  // set, or once the user cancelled: the caller then waits for the walk itself, up
  // to its stop time-out.
  virtual void ShowProgress(const CollectProgress& progress, XEvent& cancel, const XEvent& finished) = 0;
  // After a walk that ended: the folders and files it left out because their path
  // is longer than the system can open (never lost without a word). Nothing by
  // default.
  virtual void ReportPathsTooLong(const std::vector<std::u16string>& /*paths*/) {}
};

inline constexpr std::chrono::milliseconds kCollectGracePeriod{2000};
inline constexpr std::chrono::milliseconds kCollectPollStep{50};
// How long a cancelled walk may take to stop before it is left behind.
inline constexpr std::chrono::milliseconds kCollectStopTimeout{60000};
inline constexpr std::u16string_view kIndexingFilesText = u"Indexing files...";

// Everything one collection reads and writes. The walk takes it by reference: the
// caller outlives the walk.
struct CollectContext {
  const SelectionLists& lists;
  FilterState& filters;
  AudioFileTest& audio;
  clQzDecoder& decoder;  // used only when metadata filters apply
  bool applyMetadata = false;
  std::u16string prefix;
  const XEvent& cancel;
  CollectProgress& progress;
  std::uint64_t now = 0;  // the date filter's "now", fixed for the whole walk
  // Folders and files left out because their path is longer than the system can
  // open (PathTooLongForSystem), in the order met.
  std::vector<std::u16string> tooLong = {};
};

// One folder of the walk, in enumeration order: sub-folders recursively (when
// `recurse`; not those excluded or collected on their own without sub-folders,
// by path or by identity; each folder once), audio files that pass every filter
// appended to `out`; paths too long for the system go to `context.tooLong`. Stops as soon as the cancel
// event is set; returns false then.
bool WalkFolder(const std::u16string& folder, bool recurse, std::vector<std::u16string>& out, CollectContext& context);

// The whole collection on the calling thread: folders with sub-folders, then
// folders without, then single files (taken as they stand). What a cancelled
// collection gathered so far is returned.
std::vector<std::u16string> CollectFiles(CollectContext& context);

// What the window and the collector's worker share for one collection. The worker
// holds it by shared ownership, so a worker left behind never touches freed state.
struct CollectRun {
  CollectProgress progress;
  XEvent cancel;
  XEvent finished;
};

// Runs `body` on a worker (which sets `run->finished` after it), waits up to
// `grace` with the busy cursor, then shows the progress until the worker ends or
// the user cancels. A cancelled worker is asked to stop (`run->cancel`) and waited
// for in 25 ms steps up to `stopTimeout`; one still busy after that (a walk stuck
// on a hung network mount) is left behind. `body` must own (capture by value or
// shared pointer) everything it touches. True when the worker ended.
bool RunCollectWorker(const std::shared_ptr<CollectRun>& run, std::function<void()> body, CollectUi& ui,
                      std::chrono::milliseconds grace, std::chrono::milliseconds stopTimeout);

// The collector as the window and the CLI call it: CollectFiles on a worker
// through RunCollectWorker. The worker walks with its own copy of the lists, of the
// filters and its own decoder (`decoder` is not borrowed); a walk that ends hands
// the filters back to `filters` (the metadata catalogues grew). Metadata filters
// apply when `forceMetadata` is set or a slot is active. An empty `prefix` shows
// "Indexing files..." at first. Paths too long for the system go to the front-end's
// ReportPathsTooLong. `grace` is there for tests; the program always waits
// kCollectGracePeriod. A walk left behind returns nothing (its cancel is set, so
// the caller sees a cancelled collection).
std::vector<std::u16string> CollectSelectedFiles(const SelectionLists& lists, FilterState& filters,
                                                 clQzDecoder& decoder, bool forceMetadata, std::u16string_view prefix,
                                                 CollectUi& ui, std::chrono::milliseconds grace = kCollectGracePeriod);

// How long a cancelled read of a share is waited for before it is left behind: a
// read has nothing to finish, and one stuck on a server that stopped answering
// must not hold the window.
inline constexpr std::chrono::milliseconds kShareReadStopTimeout{250};

// Reads of a folder that may not answer (a network share): ReadSubFolders and
// ListFolderFiles on a worker, with the collector's busy cursor, progress dialog
// and cancel (RunCollectWorker). A share the desktop has not mounted yet is
// mounted first (PrepareShareFolder); when that fails, `failure` says why and the
// result is empty. Nothing when the user cancelled or the read was left behind.
// The listing uses a copy of `filters` and hands it back once it ended.
std::optional<std::vector<std::u16string>> ReadSubFoldersOnWorker(const std::u16string& folder, CollectUi& ui,
                                                                  std::u16string& failure,
                                                                  std::chrono::milliseconds grace = kCollectGracePeriod);
std::optional<std::vector<FileEntry>> ListFolderFilesOnWorker(const std::u16string& folder, FilterState& filters,
                                                              CollectUi& ui, std::u16string& failure,
                                                              std::chrono::milliseconds grace = kCollectGracePeriod);

}  // namespace tessaroven
