#include "base/path.h"

#include <gtest/gtest.h>

#include "base/platform.h"
#include "base/text.h"
#include "support/native_path.h"

namespace tessaroven {
namespace {

using test::Native;

TEST(Path, TrailingSeparatorEndsInExactlyOne) {
  for (const auto& [in, out] : {std::pair{u"/music", u"/music/"}, std::pair{u"/music///", u"/music/"},
                                std::pair{u"///", u"/"}, std::pair{u"", u""}})
    EXPECT_EQ(WithTrailingSeparator(Native(in)), Native(out)) << Utf16ToUtf8(in);
}

TEST(Path, SamePathFoldsCaseOnlyWhereTheFileSystemDoes) {
  EXPECT_TRUE(SamePath(Native(u"/Music/A.flac"), Native(u"/Music/A.flac")));
  EXPECT_EQ(SamePath(Native(u"/Music/A.flac"), Native(u"/music/a.FLAC")), kPathsFoldCase);
  // Accented letters are never folded, not even on Windows.
  EXPECT_FALSE(SamePath(u"\u00C9t\u00E9", u"\u00E9t\u00E9"));
  // No normalisation: two spellings of one folder are two paths.
  EXPECT_FALSE(SamePath(Native(u"/a/./b/"), Native(u"/a/b/")));
  // With a length only the prefix counts, but a string that ends inside it only
  // matches one ending there too.
  EXPECT_TRUE(SamePath(u"abcdef", u"abcxyz", 3));
  EXPECT_FALSE(SamePath(u"abcdef", u"abcxyz", 4));
  EXPECT_FALSE(SamePath(u"ab", u"abc", 3));
  EXPECT_TRUE(SamePath(u"ab", u"ab", 3));
}

TEST(Path, PrefixCoversTheFolderAndWhatLiesBelow) {
  struct {
    std::u16string path, prefix;
    bool expected;
  } const cases[] = {{u"/a/b/", u"/a/", true}, {u"/a/", u"/a/", true}, {u"/ab/", u"/a/", false},
                     {u"/a", u"/a/", false},   {u"/a/b", u"", false},  {u"/A/b", u"/a/", kPathsFoldCase}};
  for (const auto& c : cases)
    EXPECT_EQ(PathStartsWith(Native(c.path), Native(c.prefix)), c.expected) << Utf16ToUtf8(c.path + u" " + c.prefix);
}

TEST(Path, LongPathPrefixGoesOnlyBeforeLongLocalPaths) {
  struct {
    std::size_t length;
    std::u16string start;
    bool prefixed;
  } const cases[] = {{259, u"C:\\", false},
                     {260, u"C:\\", true},
                     {0, u"", false},
                     // Network paths and already-prefixed paths are never prefixed.
                     {300, u"\\\\server\\share\\", false},
                     {300, u"\\\\?\\C:\\", false}};
  for (const auto& c : cases) {
    std::u16string path = c.start;
    path.resize(c.length, u'x');
    const std::u16string result = AddLongPathPrefix(path, 260);
    EXPECT_EQ(result, c.prefixed ? u"\\\\?\\" + path : path) << c.length;
    EXPECT_EQ(MakeLongPath(path), kIsWindows ? result : path) << c.length;
  }
}

TEST(Path, ValidFileNameIsANameEveryPlatformAccepts) {
  struct {
    std::u16string in;
    bool keepSeparators;
    std::u16string out;
  } const cases[] = {{u"a:b?", false, u"a;b\u00BF"},
                     {u"\"q\" <x> a*b|c", false, u"'q' \u00ABx\u00BB a-b-c"},
                     // The separator is replaced unless asked to keep it; the other slash always is.
                     {u"rock/pop", false, u"rock-pop"},
                     {u"rock/pop", true, u"rock/pop"},
                     {u"rock\\pop", true, u"rock-pop"},
                     // Reserved names only as a whole component, in any case; others are left alone.
                     {u"Aux", false, u"Aux_"},
                     {u"nul/prn", true, u"nul_/prn_"},
                     {u"console", false, u"console"},
                     {u"com1", false, u"com1"},
                     // Dots and spaces that end a component before a separator go; at the very end they stay.
                     {u"a. . /b", true, u"a/b"},
                     {u"a...", false, u"a..."},
                     {u"folder/", true, u"folder"},
                     {u"", false, u""}};
  for (const auto& c : cases)
    EXPECT_EQ(MakeValidFileName(Native(c.in), c.keepSeparators), Native(c.out)) << Utf16ToUtf8(c.in);
}

// Roots look different on each platform; each row gives both spellings.
TEST(Path, RootsAreRecognisedAndKeptByValidFileName) {
  struct {
    std::u16string posix, windows;
    bool isRoot;
    std::u16string posixValid, windowsValid;  // MakeValidFileName keeping separators
  } const cases[] = {
      {u"/", u"C:\\", true, u"/", u"C:\\"},
      {u"/", u"\\\\srv\\share\\", true, u"/", u"\\\\srv\\share\\"},
      {u"/home/u/a:b/", u"C:\\Users\\a:b\\", false, u"/home/u/a;b", u"C:\\Users\\a;b"},
      {u"/x?", u"\\\\srv\\share\\x?", false, u"/x\u00BF", u"\\\\srv\\share\\x\u00BF"},
      {u"", u"", false, u"", u""},
  };
  for (const auto& c : cases) {
    const std::u16string& path = kIsWindows ? c.windows : c.posix;
    EXPECT_EQ(IsRootPath(path), c.isRoot) << Utf16ToUtf8(path);
    EXPECT_EQ(MakeValidFileName(path, true), kIsWindows ? c.windowsValid : c.posixValid) << Utf16ToUtf8(path);
  }
  // Not keeping separators, the root is a name like any other.
  EXPECT_EQ(MakeValidFileName(Native(u"/"), false), u"-");
}

}  // namespace
}  // namespace tessaroven
