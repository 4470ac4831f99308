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
// Links on Linux: a symbolic link to a folder is walked like a folder, but never
// into a folder that is already open on the way down from the walk's start (same
// device and inode), so a link loop ends instead of running until paths grow too
// long. A link to a file counts as the file it leads to.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
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

// Loads the sub-folders of `node` into the tree: visible folders not in
// kSkippedFolderNames, sorted with the ASCII fold, each with its check state. A node
// that already has children, or the network entry, is left alone. When nothing is
// found the node loses its expand button. Returns the number of folders added.
std::size_t ExpandFolderNode(SelectionModel& model, NodeId node);

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
  // `finished` is set; a cancel control sets `cancel`. Returns once `finished` is set.
  virtual void ShowProgress(const CollectProgress& progress, XEvent& cancel, const XEvent& finished) = 0;
};

inline constexpr std::chrono::milliseconds kCollectGracePeriod{2000};
inline constexpr std::chrono::milliseconds kCollectPollStep{50};
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
};

// One folder of the walk, in enumeration order: sub-folders recursively (when
// `recurse`; not those excluded or collected on their own without sub-folders),
// audio files that pass every filter appended to `out`. Stops as soon as the cancel
// event is set; returns false then.
bool WalkFolder(const std::u16string& folder, bool recurse, std::vector<std::u16string>& out, CollectContext& context);

// The whole collection on the calling thread: folders with sub-folders, then
// folders without, then single files (taken as they stand). What a cancelled
// collection gathered so far is returned.
std::vector<std::u16string> CollectFiles(CollectContext& context);

// The collector as the window and the CLI call it: runs CollectFiles on a worker,
// waits up to the grace period with the busy cursor, then shows the progress until
// the worker ends. Metadata filters apply when `forceMetadata` is set or a slot is
// active. An empty `prefix` shows "Indexing files..." at first.
// `grace` is there for tests; the program always waits kCollectGracePeriod.
std::vector<std::u16string> CollectSelectedFiles(const SelectionLists& lists, FilterState& filters,
                                                 clQzDecoder& decoder, bool forceMetadata, std::u16string_view prefix,
                                                 CollectUi& ui, std::chrono::milliseconds grace = kCollectGracePeriod);

}  // namespace tessaroven
