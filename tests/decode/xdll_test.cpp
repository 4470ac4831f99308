#include "decode/xdll.h"

#include <gtest/gtest.h>

#include "decode/fake_plugins.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

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
