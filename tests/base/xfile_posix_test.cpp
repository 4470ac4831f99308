#include <sys/stat.h>

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"
#include "base/xfile.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

TEST(XFilePosix, FifoOpensWithoutWaitingForAWriter) {
  test::TempDir dir;
  const std::u16string path = dir / u"pipe.mp3";
  ASSERT_EQ(::mkfifo(Utf16ToUtf8(path).c_str(), 0600), 0);
  XFile file(path);
  // Would block forever if the open waited for the other end.
  ASSERT_TRUE(file.Open(GENERIC_READ, OPEN_EXISTING, true));
  char buffer[8];
  EXPECT_EQ(file.Read(buffer, sizeof(buffer)), 0u);
}

}  // namespace
}  // namespace tessaroven
