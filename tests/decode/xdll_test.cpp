#include "decode/xdll.h"

#include <gtest/gtest.h>

#include "decode/fake_plugins.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

TEST(XDLLTest, LoadsResolvesAndFrees) {
  XDLL dll;
  EXPECT_EQ(dll.Symbol("Create"), nullptr);
  ASSERT_TRUE(dll.OpenLibrary(test::FakePluginPath(u"alpha")));
  EXPECT_NE(dll.Symbol("Create"), nullptr);
  EXPECT_NE(dll.Function<TsvOpenFn>("Open"), nullptr);
  EXPECT_EQ(dll.Symbol("NoSuchExport"), nullptr);
  // Helpers of the plug-in are hidden; only the exports are visible.
  EXPECT_EQ(dll.Symbol("AddEntry"), nullptr);
  dll.ReleaseLibrary();
  EXPECT_FALSE(dll.HasModule());
  EXPECT_EQ(dll.Symbol("Create"), nullptr);
}

TEST(XDLLTest, FilesThatAreNoLibraryDoNotLoad) {
  test::TempDir dir;
  const std::u16string text = dir / (u"text" + std::u16string(test::kLibrarySuffix));
  ASSERT_TRUE(test::WriteBytes(text, "plain text, not a library"));
  XDLL dll;
  EXPECT_FALSE(dll.OpenLibrary(text));
  EXPECT_FALSE(dll.OpenLibrary(dir / u"missing.so"));
  EXPECT_FALSE(dll.OpenLibrary(u""));
  EXPECT_FALSE(dll.HasModule());
}

}  // namespace
}  // namespace tessaroven
