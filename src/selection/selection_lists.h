// The selection lists: the only persistent record of what the user has chosen.
//
// Five ordered path lists say which folders (with or without their sub-folders),
// which excluded folders, which single files and which excluded files make up the
// selection; the tree's check images are always derived from them, and profiles and
// the file collector read and write these lists only. A sixth list names the tree's
// top-level entries, which the tree-state rules need to tell a shortcut from a drive
// branch.
//
// Owned by the selection model (and so by the main window). Changed only on the
// user-interface thread; the file collector reads them from its worker while the
// user-interface thread waits for it, so no lock is needed.
//
// Every test is a linear scan: the lists hold tens to hundreds of entries, and
// insertion order matters (it is the order of collection and of saved profiles).
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tessaroven {

using PathList = std::vector<std::u16string>;

struct SelectionLists {
  PathList lstFoldersAndSub;       // folders chosen with all their sub-folders
  PathList lstFoldersNoSub;        // folders chosen for their own files only
  PathList lstFoldersExclude;      // folders cut out of a folder chosen with sub-folders
  PathList lstSingleFiles;         // files chosen one by one
  PathList lstSingleFilesExclude;  // files removed one by one from a chosen folder
  // Paths of the tree's top-level entries in insertion order; filled when the tree
  // is built, not part of the selection (reset and profiles leave it alone).
  PathList lstTreeRoots;

  // The five selection lists, in the order above (the order profiles store them).
  std::array<PathList*, 5> SelectionListsInOrder();
  std::array<const PathList*, 5> SelectionListsInOrder() const;

  // Empties the five selection lists; the tree roots stay.
  void ClearSelections();
  bool HasSelections() const;
};

// The one comparison for paths of the selection: the platform's path rule (ASCII
// case fold on Windows, exact on Linux). With n > 0 only the first n characters of
// `a` are compared with `b`, and an `a` shorter than n matches only a `b` of the same
// length: the prefix test that, with a folder path ending in its separator, covers
// the folder and everything below it.
bool PathEqualsNoCase(std::u16string_view a, std::u16string_view b, std::size_t n = 0);

// Removes every entry that begins with `prefix`, scanning from the last entry to the
// first. Returns how many were removed.
std::size_t RemovePathsBelow(PathList& list, std::u16string_view prefix);
// Removes every entry equal to `path`, scanning from the last to the first.
std::size_t RemovePath(PathList& list, std::u16string_view path);
bool ContainsPath(const PathList& list, std::u16string_view path);

// `path` cut after its last separator: the folder a file lies directly in ("" when
// there is no separator).
std::u16string_view FolderPartOf(std::u16string_view path);
// Whether some entry of `files` lies directly in `folder` (not deeper).
bool HasFileDirectlyIn(const PathList& files, std::u16string_view folder);

}  // namespace tessaroven
