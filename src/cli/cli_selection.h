// The command line's ticks, made as the window's clicks would make them.
//
// The folder tree here holds only the folders on the way from the root to each path
// named on the command line; a step clicks its node (or ticks its file) until it
// has the wanted state, through the same selection model the window uses. So every
// rule holds as in the window: ticking a folder clears what lies below it, a folder
// below a ticked one is covered by it, an exclusion counts only inside a ticked
// folder.
#pragma once

#include <map>
#include <string>

#include "selection/selection_model.h"

namespace tessaroven::cli {

class CliSelection : private SelectionView {
 public:
  CliSelection() : model_(*this) {}

  SelectionModel& Model() { return model_; }
  // The window side the model was made with (profiles refill "the file list" through it).
  SelectionView& View() { return *this; }
  const SelectionLists& Lists() const { return model_.Lists(); }

  // `folder` is absolute and ends in the separator; `file` is absolute. Each returns
  // false when the step changed nothing that the collection would see (an exclusion
  // outside every ticked folder), so the caller can warn.
  bool TickFolder(const std::u16string& folder, bool withSubFolders);
  bool ExcludeFolder(const std::u16string& folder);
  bool TickFile(const std::u16string& file, bool selected);

  // After the lists were replaced (a profile): the nodes made so far take their
  // states from the lists again.
  void ListsReplaced() { model_.InitialStatesForLoadedNodes(); }

 private:
  NodeId NodeFor(const std::u16string& folder);
  bool ClickUntil(NodeId node, TreeCheckState wanted);

  // SelectionView: one file row, the file being ticked, in the folder being shown.
  NodeId CurrentNode() const override { return current_; }
  std::size_t FileRowCount() const override { return row_.empty() ? 0 : 1; }
  std::u16string_view FileRowPath(std::size_t) const override { return row_; }
  int FileRowImage(std::size_t) const override { return rowImage_; }
  void SetFileRowImage(std::size_t, int image) override { rowImage_ = image; }
  void UpdateStatusLine() override {}
  void RefillFileList() override {}
  void ClearFilters() override {}

  SelectionModel model_;
  std::map<std::u16string, NodeId> nodes_;
  NodeId current_ = kNoNode;
  std::u16string row_;
  int rowImage_ = kFileImageUnticked;
};

}  // namespace tessaroven::cli
