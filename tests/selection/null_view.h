// A window for the selection model when a test needs neither rows nor a current node.
#pragma once

#include "selection/selection_model.h"

namespace tessaroven::test {

class NullView : public SelectionView {
 public:
  NodeId CurrentNode() const override { return kNoNode; }
  std::size_t FileRowCount() const override { return 0; }
  std::u16string_view FileRowPath(std::size_t) const override { return {}; }
  int FileRowImage(std::size_t) const override { return kFileImageUnticked; }
  void SetFileRowImage(std::size_t, int) override {}
  void UpdateStatusLine() override {}
  void RefillFileList() override {}
  void ClearFilters() override {}
};

}  // namespace tessaroven::test
