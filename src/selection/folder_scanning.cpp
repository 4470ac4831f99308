#include "selection/folder_scanning.h"

#include <algorithm>
#include <thread>

#include "base/format.h"
#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"
#include "filters/file_times.h"

namespace tessaroven {

namespace {

bool IsSkippedFolderName(std::u16string_view name) {
  return std::any_of(std::begin(kSkippedFolderNames), std::end(kSkippedFolderNames),
                     [&](std::u16string_view skipped) { return AsciiFoldEquals(name, skipped); });
}

void AppendWithProgress(std::vector<std::u16string>& out, std::u16string path, CollectContext& context,
                        std::u16string_view suffix) {
  out.push_back(std::move(path));
  if (out.size() % 50 == 0) {
    context.progress.SetText(context.prefix + FormatInteger(static_cast<std::int64_t>(out.size())) +
                             std::u16string(suffix));
  }
}

// The folders open on the way down from where the walk started (Linux), so that a
// link back up is not followed.
struct DescentPath {
  std::vector<FolderIdentity> open;
  bool Contains(const FolderIdentity& id) const {
    return id.Known() && std::find(open.begin(), open.end(), id) != open.end();
  }
};

bool Walk(const std::u16string& folder, bool recurse, std::vector<std::u16string>& out, CollectContext& context,
          DescentPath& descent) {
  FolderEnumeration entries(folder);
  if (!entries.IsOpen()) return true;  // unreadable or gone: nothing, and no message
  const FolderIdentity identity = entries.Identity();
  if (descent.Contains(identity)) return true;
  descent.open.push_back(identity);
  bool goOn = true;
  std::u16string path;
  while (entries.Next()) {
    if (context.cancel.IsSet()) {
      goOn = false;
      break;
    }
    path.assign(folder).append(entries.Name());
    if (entries.IsFolder() && !entries.IsHidden()) {
      if (!recurse) continue;
      path.push_back(kPathSeparator);
      if (ContainsPath(context.lists.lstFoldersExclude, path) || ContainsPath(context.lists.lstFoldersNoSub, path))
        continue;
      if (!Walk(path, true, out, context, descent)) {
        goOn = false;
        break;
      }
      continue;
    }
    if (!context.audio.IsAudioFile(entries.Name())) continue;
    if (ContainsPath(context.lists.lstSingleFilesExclude, path)) continue;
    if (context.filters.Date().IsOn()) {
      EntryDetails details;
      if (!entries.Details(details)) continue;  // gone since it was listed
      if (!context.filters.Date().PassesDateFilter(details.times.lastWrite, details.times.creation, context.now))
        continue;
    }
    if (context.applyMetadata && context.filters.IsMetadataExcluded(path, context.decoder)) continue;
    AppendWithProgress(out, path, context, u" Files Added");
  }
  descent.open.pop_back();
  return goOn;
}

}  // namespace

bool AudioFileTest::IsAudioFile(std::u16string_view name) {
  const std::u16string_view extension = ExtensionOf(name);
  if (extension.empty()) return false;
  if (!lastMatch_.empty() && AsciiFoldEquals(extension, lastMatch_)) return true;
  if (!types_->IsAcceptedType(extension)) return false;
  lastMatch_.assign(extension);
  return true;
}

std::size_t ExpandFolderNode(SelectionModel& model, NodeId node) {
  FolderTree& tree = model.Tree();
  if (!tree.IsNode(node) || !tree.ChildrenOf(node).empty()) return 0;
  const std::u16string folder = tree.PathOf(node);
  if (folder.empty() || folder == kNetworkEntry) return 0;

  std::vector<std::u16string> names;
  {
    CriticalErrorBoxesOff quiet;
    FolderEnumeration entries(folder);
    while (entries.Next()) {
      if (!entries.IsFolder() || entries.IsHidden() || IsSkippedFolderName(entries.Name())) continue;
      names.emplace_back(entries.Name());
    }
  }
  std::sort(names.begin(), names.end(),
            [](const std::u16string& a, const std::u16string& b) { return AsciiFoldCompare(a, b) < 0; });
  std::vector<std::u16string> paths;
  paths.reserve(names.size());
  for (const std::u16string& name : names) paths.push_back(WithTrailingSeparator(folder + name));
  if (paths.empty()) {
    tree.SetHasChildren(node, false);
    return 0;
  }
  model.AddExpandedChildren(node, std::move(paths));
  return names.size();
}

std::vector<FileEntry> ListFolderFiles(const std::u16string& folder, FilterState& filters, AudioFileTest& audio,
                                       clQzDecoder& decoder) {
  std::vector<FileEntry> result;
  CriticalErrorBoxesOff quiet;
  FolderEnumeration entries(folder);
  const bool metadata = filters.AnyMetadataSlotActive();
  const std::uint64_t now = CurrentFileTime();
  while (entries.Next()) {
    if (entries.IsFolder() || !audio.IsAudioFile(entries.Name())) continue;
    EntryDetails details;
    if (!entries.Details(details)) continue;
    if (!filters.Date().PassesDateFilter(details.times.lastWrite, details.times.creation, now)) continue;
    FileEntry entry;
    entry.path = folder + std::u16string(entries.Name());
    if (metadata && filters.IsMetadataExcluded(entry.path, decoder)) continue;
    entry.modified = details.times.lastWrite;
    entry.created = details.times.creation;
    entry.accessed = details.times.lastAccess;
    entry.size = details.size;
    result.push_back(std::move(entry));
  }
  return result;
}

std::u16string CollectProgress::Text() const {
  std::lock_guard lock(mutex_);
  return text_;
}

void CollectProgress::SetText(std::u16string text) {
  std::lock_guard lock(mutex_);
  text_ = std::move(text);
  ++generation_;
}

std::uint64_t CollectProgress::Generation() const {
  std::lock_guard lock(mutex_);
  return generation_;
}

bool WalkFolder(const std::u16string& folder, bool recurse, std::vector<std::u16string>& out, CollectContext& context) {
  DescentPath descent;
  return Walk(folder, recurse, out, context, descent);
}

std::vector<std::u16string> CollectFiles(CollectContext& context) {
  std::vector<std::u16string> out;
  CriticalErrorBoxesOff quiet;
  if (context.now == 0) context.now = CurrentFileTime();
  for (const std::u16string& folder : context.lists.lstFoldersAndSub) {
    if (!WalkFolder(folder, true, out, context)) return out;
  }
  for (const std::u16string& folder : context.lists.lstFoldersNoSub) {
    if (!WalkFolder(folder, false, out, context)) return out;
  }
  for (const std::u16string& file : context.lists.lstSingleFiles) {
    if (context.cancel.IsSet()) return out;
    AppendWithProgress(out, file, context, u" added");
  }
  return out;
}

std::vector<std::u16string> CollectSelectedFiles(const SelectionLists& lists, FilterState& filters,
                                                 clQzDecoder& decoder, bool forceMetadata, std::u16string_view prefix,
                                                 CollectUi& ui, std::chrono::milliseconds grace) {
  CollectProgress progress;
  progress.SetText(prefix.empty() ? std::u16string(kIndexingFilesText) : std::u16string(prefix));
  XEvent cancel;
  XEvent finished;
  AudioFileTest audio(filters.Types());
  CollectContext context{
      lists,  filters, audio, decoder, forceMetadata || filters.AnyMetadataSlotActive(), std::u16string(prefix),
      cancel, progress};
  std::vector<std::u16string> result;
  // The caller waits for the worker in every case, so the worker may borrow all of
  // the above.
  std::jthread worker([&] {
    result = CollectFiles(context);
    finished.Set();
  });
  ui.SetBusy(true);
  const auto deadline = std::chrono::steady_clock::now() + grace;
  for (auto now = std::chrono::steady_clock::now(); !finished.IsSet() && now < deadline;
       now = std::chrono::steady_clock::now()) {
    finished.Wait(std::min<std::chrono::milliseconds>(kCollectPollStep,
                                                      std::chrono::ceil<std::chrono::milliseconds>(deadline - now)));
  }
  if (!finished.IsSet()) ui.ShowProgress(progress, cancel, finished);
  worker.join();
  ui.SetBusy(false);
  return result;
}

}  // namespace tessaroven
