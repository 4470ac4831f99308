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

#include "filters/filter_state.h"
#include "selection/selection_model.h"

namespace tessaroven::cli {

// What an --exclude-folder step came to.
enum class ExcludeOutcome {
  kExcluded,      // the folder is now excluded from the folder ticked above it
  kNotInside,     // no folder above it is ticked with its sub-folders: nothing changed
  kTickedItself,  // it is the ticked folder itself, not one inside it: nothing changed
};

class CliSelection : private SelectionView {
 public:
  // `filters` (when given) is what a reset clears, as the window's Reset and every
  // profile load do; it must outlive the object.
  explicit CliSelection(FilterState* filters = nullptr) : model_(*this), filters_(filters) {}

  SelectionModel& Model() { return model_; }
  // The window side the model was made with (profiles refill "the file list" through it).
  SelectionView& View() { return *this; }
  const SelectionLists& Lists() const { return model_.Lists(); }

  // `folder` is absolute and ends in the separator; `file` is absolute.
  // TickFolder and TickFile return false when the step could not be made (the
  // caller reports it); ExcludeFolder changes nothing unless the folder lies inside
  // a folder ticked with its sub-folders.
  bool TickFolder(const std::u16string& folder, bool withSubFolders);
  ExcludeOutcome ExcludeFolder(const std::u16string& folder);
  bool TickFile(const std::u16string& file, bool selected);

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
  void ClearFilters() override {
    if (filters_ != nullptr) filters_->Clear();
  }

  SelectionModel model_;
  FilterState* filters_;
  std::map<std::u16string, NodeId> nodes_;
  NodeId current_ = kNoNode;
  std::u16string row_;
  int rowImage_ = kFileImageUnticked;
};

}  // namespace tessaroven::cli
