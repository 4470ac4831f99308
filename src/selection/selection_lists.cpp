#include "selection/selection_lists.h"

#include <algorithm>

#include "base/path.h"

namespace tessaroven {
namespace {

// Erases the entries that match, walking backwards so that the indices of the
// entries still to be visited do not move.
template <typename Match>
std::size_t RemoveMatching(PathList& list, Match match) {
  std::size_t removed = 0;
  for (std::size_t i = list.size(); i-- > 0;) {
    if (match(list[i])) {
      list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
      ++removed;
    }
  }
  return removed;
}

}  // namespace

std::array<PathList*, 5> SelectionLists::SelectionListsInOrder() {
  return {&lstFoldersAndSub, &lstFoldersNoSub, &lstFoldersExclude, &lstSingleFiles, &lstSingleFilesExclude};
}

std::array<const PathList*, 5> SelectionLists::SelectionListsInOrder() const {
  return {&lstFoldersAndSub, &lstFoldersNoSub, &lstFoldersExclude, &lstSingleFiles, &lstSingleFilesExclude};
}

void SelectionLists::ClearSelections() {
  for (PathList* list : SelectionListsInOrder()) list->clear();
}

bool SelectionLists::HasSelections() const {
  const auto lists = SelectionListsInOrder();
  return std::any_of(lists.begin(), lists.end(), [](const PathList* list) { return !list->empty(); });
}

bool PathEqualsNoCase(std::u16string_view a, std::u16string_view b, std::size_t n) { return SamePath(a, b, n); }

std::size_t RemovePathsBelow(PathList& list, std::u16string_view prefix) {
  return RemoveMatching(list,
                        [&](const std::u16string& entry) { return PathEqualsNoCase(entry, prefix, prefix.size()); });
}

std::size_t RemovePath(PathList& list, std::u16string_view path) {
  return RemoveMatching(list, [&](const std::u16string& entry) { return PathEqualsNoCase(entry, path); });
}

bool ContainsPath(const PathList& list, std::u16string_view path) {
  return std::any_of(list.begin(), list.end(),
                     [&](const std::u16string& entry) { return PathEqualsNoCase(entry, path); });
}

std::u16string_view FolderPartOf(std::u16string_view path) { return FolderOf(path); }

bool HasFileDirectlyIn(const PathList& files, std::u16string_view folder) {
  return std::any_of(files.begin(), files.end(),
                     [&](const std::u16string& file) { return PathEqualsNoCase(FolderPartOf(file), folder); });
}

}  // namespace tessaroven
