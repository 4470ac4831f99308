#include "selection/folder_scanning.h"

#include "selection/network_shares.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <thread>
#include <unordered_set>

#include "base/format.h"
#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"
#include "base/worker_thread.h"
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

struct FolderIdentityHash {
  std::size_t operator()(const FolderIdentity& id) const noexcept {
    return std::hash<std::uint64_t>()(id.index * 0x9E3779B97F4A7C15ull ^ id.device);
  }
};

// What one walk from a start folder remembers (Linux; Windows reports no
// identities, so nothing is remembered there).
struct WalkState {
  // Every folder entered so far: a folder reached again, through a link or a loop
  // back up, is not walked twice, so the cost follows the number of real folders.
  std::unordered_set<FolderIdentity, FolderIdentityHash> visited;
  // The folders excluded or collected on their own without sub-folders, by
  // identity: reached through a link from inside the walk they stay out as they do
  // by path.
  std::unordered_set<FolderIdentity, FolderIdentityHash> skipped;
};

bool Walk(const std::u16string& folder, bool recurse, std::vector<std::u16string>& out, CollectContext& context,
          WalkState& state, bool start) {
  if (PathTooLongForSystem(folder)) {
    context.tooLong.push_back(folder);
    return true;
  }
  FolderEnumeration entries(folder);
  if (!entries.IsOpen()) return true;  // unreadable or gone: nothing, and no message
  const FolderIdentity identity = entries.Identity();
  if (identity.Known()) {
    if (!start && state.skipped.contains(identity)) return true;
    if (!state.visited.insert(identity).second) return true;
  }
  std::u16string path;
  while (entries.Next()) {
    if (context.cancel.IsSet()) return false;
    path.assign(folder).append(entries.Name());
    if (entries.IsFolder() && !entries.IsHidden()) {
      if (!recurse) continue;
      path.push_back(kPathSeparator);
      if (ContainsPath(context.lists.lstFoldersExclude, path) || ContainsPath(context.lists.lstFoldersNoSub, path))
        continue;
      if (!Walk(path, true, out, context, state, false)) return false;
      continue;
    }
    // Only regular files (and links to them) can be converted; a hidden folder,
    // a dangling link or a named pipe with an audio name is left out, as the file
    // list leaves it out.
    if (!entries.IsRegularFile() || !context.audio.IsAudioFile(entries.Name())) continue;
    if (ContainsPath(context.lists.lstSingleFilesExclude, path)) continue;
    if (PathTooLongForSystem(path)) {
      context.tooLong.push_back(path);
      continue;
    }
    if (context.filters.Date().IsOn()) {
      EntryDetails details;
      if (!entries.Details(details)) continue;  // gone since it was listed
      if (!context.filters.Date().PassesDateFilter(details.times.lastWrite, details.times.creation, context.now))
        continue;
    }
    if (context.applyMetadata && context.filters.IsMetadataExcluded(path, context.decoder)) continue;
    AppendWithProgress(out, path, context, u" Files Added");
  }
  return true;
}

}  // namespace

bool FolderNameLess(std::u16string_view a, std::u16string_view b) {
  const int folded = AsciiFoldCompare(a, b);
  return folded != 0 ? folded < 0 : a < b;
}

bool AudioFileTest::IsAudioFile(std::u16string_view name) {
  const std::u16string_view extension = ExtensionOf(name);
  if (extension.empty()) return false;
  if (!lastMatch_.empty() && AsciiFoldEquals(extension, lastMatch_)) return true;
  if (!types_->IsAcceptedType(extension)) return false;
  lastMatch_.assign(extension);
  return true;
}

std::vector<std::u16string> ReadSubFolders(const std::u16string& folder) {
  std::vector<std::u16string> names;
  {
    CriticalErrorBoxesOff quiet;
    FolderEnumeration entries(folder);
    while (entries.Next()) {
      if (!entries.IsFolder() || entries.IsHidden() || IsSkippedFolderName(entries.Name())) continue;
      names.emplace_back(entries.Name());
    }
  }
  std::sort(names.begin(), names.end(), FolderNameLess);
  std::vector<std::u16string> paths;
  paths.reserve(names.size());
  for (const std::u16string& name : names) paths.push_back(WithTrailingSeparator(folder + name));
  return paths;
}

std::size_t AddSubFolders(SelectionModel& model, NodeId node, std::vector<std::u16string> paths) {
  FolderTree& tree = model.Tree();
  if (!tree.IsNode(node) || !tree.ChildrenOf(node).empty()) return 0;
  if (paths.empty()) {
    tree.SetHasChildren(node, false);
    return 0;
  }
  const std::size_t count = paths.size();
  model.AddExpandedChildren(node, std::move(paths));
  return count;
}

std::size_t ExpandFolderNode(SelectionModel& model, NodeId node) {
  FolderTree& tree = model.Tree();
  if (!tree.IsNode(node) || !tree.ChildrenOf(node).empty()) return 0;
  const std::u16string folder = tree.PathOf(node);
  if (folder.empty() || folder.front() == u'{') return 0;
  return AddSubFolders(model, node, ReadSubFolders(folder));
}

std::optional<std::vector<std::u16string>> ReadSubFoldersOnWorker(const std::u16string& folder, CollectUi& ui,
                                                                  std::u16string& failure,
                                                                  std::chrono::milliseconds grace) {
  struct Job {
    std::vector<std::u16string> paths;
    std::u16string failure;
  };
  auto run = std::make_shared<CollectRun>();
  run->progress.SetText(u"Reading " + folder);
  auto job = std::make_shared<Job>();
  const bool ended = RunCollectWorker(
      run,
      [job, folder] {
        if (PrepareShareFolder(folder, job->failure)) job->paths = ReadSubFolders(folder);
      },
      ui, grace, kShareReadStopTimeout);
  if (!ended || run->cancel.IsSet()) return std::nullopt;
  failure = std::move(job->failure);
  return std::move(job->paths);
}

std::optional<std::vector<FileEntry>> ListFolderFilesOnWorker(const std::u16string& folder, FilterState& filters,
                                                              CollectUi& ui, std::u16string& failure,
                                                              std::chrono::milliseconds grace) {
  // Like the collector: the worker's filters and decoder are its own, handed back
  // only when it ended.
  struct Job {
    explicit Job(const FilterState& f) : filters(f.Copy()), audio(filters.Types()) {}
    FilterState filters;
    clQzDecoder decoder;
    AudioFileTest audio;
    std::vector<FileEntry> entries;
    std::u16string failure;
  };
  auto run = std::make_shared<CollectRun>();
  run->progress.SetText(u"Reading " + folder);
  auto job = std::make_shared<Job>(filters);
  const bool ended = RunCollectWorker(
      run,
      [job, folder] {
        if (PrepareShareFolder(folder, job->failure))
          job->entries = ListFolderFiles(folder, job->filters, job->audio, job->decoder);
      },
      ui, grace, kShareReadStopTimeout);
  if (!ended || run->cancel.IsSet()) return std::nullopt;
  filters.Adopt(std::move(job->filters));
  failure = std::move(job->failure);
  return std::move(job->entries);
}

std::vector<FileEntry> ListFolderFiles(const std::u16string& folder, FilterState& filters, AudioFileTest& audio,
                                       clQzDecoder& decoder) {
  std::vector<FileEntry> result;
  CriticalErrorBoxesOff quiet;
  FolderEnumeration entries(folder);
  const bool metadata = filters.AnyMetadataSlotActive();
  const std::uint64_t now = CurrentFileTime();
  while (entries.Next()) {
    if (!entries.IsRegularFile() || !audio.IsAudioFile(entries.Name())) continue;
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
  WalkState state;
  if (recurse) {
    for (const PathList* list : {&context.lists.lstFoldersExclude, &context.lists.lstFoldersNoSub}) {
      for (const std::u16string& skipped : *list) {
        // One open each; tens of entries at most.
        const FolderIdentity id = FolderEnumeration(skipped).Identity();
        if (id.Known()) state.skipped.insert(id);
      }
    }
  }
  return Walk(folder, recurse, out, context, state, true);
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

bool RunCollectWorker(const std::shared_ptr<CollectRun>& run, std::function<void()> body, CollectUi& ui,
                      std::chrono::milliseconds grace, std::chrono::milliseconds stopTimeout) {
  // The worker holds the run (and whatever `body` captured) for as long as it
  // lives, so it never touches anything of the caller's once it has been left
  // behind.
  XWorkerThread worker;
  worker.Start(
      [run, body = std::move(body)](const WorkerStop&) {
        body();
        run->finished.Set();
      },
      stopTimeout);
  ui.SetBusy(true);
  const auto deadline = std::chrono::steady_clock::now() + grace;
  for (auto now = std::chrono::steady_clock::now(); !run->finished.IsSet() && now < deadline;
       now = std::chrono::steady_clock::now()) {
    run->finished.Wait(std::min<std::chrono::milliseconds>(
        kCollectPollStep, std::chrono::ceil<std::chrono::milliseconds>(deadline - now)));
  }
  if (!run->finished.IsSet()) ui.ShowProgress(run->progress, run->cancel, run->finished);
  // Ended, or cancelled while the walk is busy: the walk stops at its next entry;
  // one stuck in the system (a hung network mount) is left behind after the stop
  // time-out.
  if (!run->finished.IsSet()) run->cancel.Set();
  const bool ended = worker.Stop();
  ui.SetBusy(false);
  return ended;
}

std::vector<std::u16string> CollectSelectedFiles(const SelectionLists& lists, FilterState& filters,
                                                 clQzDecoder& /*decoder*/, bool forceMetadata,
                                                 std::u16string_view prefix, CollectUi& ui,
                                                 std::chrono::milliseconds grace) {
  // Everything the walk reads or changes is its own: the lists, a copy of the
  // filters (their catalogues grow as tags are read) and a decoder. A walk that
  // ends hands the filters back; one left behind keeps them to itself.
  struct Job {
    Job(const SelectionLists& l, const FilterState& f) : lists(l), filters(f.Copy()), audio(filters.Types()) {}
    SelectionLists lists;
    FilterState filters;
    clQzDecoder decoder;
    AudioFileTest audio;
    std::vector<std::u16string> result;
    std::vector<std::u16string> tooLong;
  };
  auto run = std::make_shared<CollectRun>();
  run->progress.SetText(prefix.empty() ? std::u16string(kIndexingFilesText) : std::u16string(prefix));
  auto job = std::make_shared<Job>(lists, filters);
  const bool applyMetadata = forceMetadata || filters.AnyMetadataSlotActive();
  const bool ended = RunCollectWorker(
      run,
      [run, job, applyMetadata, prefix = std::u16string(prefix)] {
        CollectContext context{job->lists,    job->filters, job->audio,  job->decoder,
                               applyMetadata, prefix,       run->cancel, run->progress};
        job->result = CollectFiles(context);
        job->tooLong = std::move(context.tooLong);
      },
      ui, grace, kCollectStopTimeout);
  if (!ended) return {};
  filters.Adopt(std::move(job->filters));
  if (!job->tooLong.empty()) ui.ReportPathsTooLong(job->tooLong);
  return std::move(job->result);
}

}  // namespace tessaroven
