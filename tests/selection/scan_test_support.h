// The fixture the folder scanning tests share: a sample tree on disk and the
// collector's context.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/text.h"
#include "null_view.h"
#include "selection/folder_scanning.h"
#include "support/native_path.h"
#include "support/test_env.h"

namespace tessaroven::test {

using Paths = std::vector<std::u16string>;

// A folder tree on disk below a fresh temporary folder; every path in a test is
// relative to it and written with "/".
class ScanTest : public ::testing::Test {
 protected:
  ScanTest() : filters_(FilterFieldNames{}) {
    for (const char16_t* extension : {u".mp3", u".flac", u".ogg", u".wav"}) {
      filters_.Types().Records().Add(DecoderTypeRecord{extension, u"audio", false});
    }
  }

  std::u16string At(std::u16string_view relative) const { return root_.Path() + Native(relative); }
  Paths At(std::initializer_list<std::u16string_view> relative) const {
    Paths paths;
    for (const auto path : relative) paths.push_back(At(path));
    return paths;
  }

  // Paths ending in "/" are folders, the others files (their folders made first).
  void Make(std::initializer_list<std::u16string_view> paths) {
    for (std::u16string_view path : paths) {
      for (std::size_t slash = path.find(u'/'); slash != std::u16string_view::npos; slash = path.find(u'/', slash + 1))
        MakeFolder(At(path.substr(0, slash + 1)));
      if (path.back() != u'/') {
        ASSERT_TRUE(WriteBytes(At(path), "not really audio")) << Utf16ToUtf8(path);
      }
    }
  }

  Paths Collect(const SelectionLists& lists, std::u16string_view prefix = u"") {
    AudioFileTest audio(filters_.Types());
    CollectContext context{lists, filters_, audio, decoder_, false, std::u16string(prefix), cancel_, progress_};
    return CollectFiles(context);
  }
  // The files ListFolderFiles shows, sorted.
  Paths Listed(std::u16string_view folder) {
    AudioFileTest audio(filters_.Types());
    Paths paths;
    for (const FileEntry& entry : ListFolderFiles(At(folder), filters_, audio, decoder_)) paths.push_back(entry.path);
    std::sort(paths.begin(), paths.end());
    return paths;
  }
  Paths Children(NodeId node) {
    Paths paths;
    for (NodeId child : model_.Tree().ChildrenOf(node)) paths.push_back(model_.Tree().PathOf(child));
    return paths;
  }

  TempDir root_;
  FilterState filters_;
  clQzDecoder decoder_;
  XEvent cancel_;
  CollectProgress progress_;
  NullView view_;
  SelectionModel model_{view_};
};
}  // namespace tessaroven::test
