// Path rules shared by every part of the program.
//
// Paths are UTF-16 with the platform's separator (kPathSeparator: "\" on Windows,
// "/" on Linux). A folder path always ends in exactly one separator; "/" alone is
// the Linux root. Extensions keep their leading dot.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessaroven {

bool IsPathSeparator(char16_t c);

// `path` with every trailing separator replaced by exactly one. An empty path stays
// empty (it names no folder); a path of separators only becomes the root.
std::u16string WithTrailingSeparator(std::u16string_view path);

// The part after the last separator ("" for a folder path).
std::u16string_view FileNameOf(std::u16string_view path);
// Everything up to and including the last separator ("" when there is none).
std::u16string_view FolderOf(std::u16string_view path);
// From the last "." after the last separator, dot kept: "a.b/c.tar.gz" -> ".gz",
// "a.b/c" -> "". A name that starts with its only dot (".flac") is all extension.
std::u16string_view ExtensionOf(std::u16string_view path);

// Whether two paths name the same file as the platform's file system sees names:
// ASCII case fold on Windows (accented letters still compare exactly), exact on
// Linux, where "Music" and "music" are two folders. No normalisation of separators,
// "." or ".." is done: two spellings of one folder are two paths.
// With n > 0 only the first n characters are compared (a prefix test).
bool SamePath(std::u16string_view a, std::u16string_view b, std::size_t n = 0);
// Whether `path` begins with `prefix` under the same rule (prefix "/a/" covers
// "/a/" itself and everything below it).
bool PathStartsWith(std::u16string_view path, std::u16string_view prefix);

// The Windows long-path rule: a path of `limit` characters or more that does not
// start with two backslashes gets "\\?\" in front; network and already-prefixed
// paths ("\\...") never do. Pure text, so it is testable everywhere.
std::u16string AddLongPathPrefix(std::u16string_view path, std::size_t limit = 260);
// The rule where it applies: Windows. Linux has no such limit; the path is kept.
std::u16string MakeLongPath(std::u16string_view path, std::size_t limit = 260);

// Whether `path` is absolute: it begins with a root ("/" on Linux; "C:\",
// "\\server\share\", "\\?\", or a lone separator for the current drive's root
// on Windows). A relative path ("music/", "") or a drive-relative one ("C:music")
// is not.
bool IsAbsolutePath(std::u16string_view path);

// Whether `path` is only a root: "/" on Linux; "C:\", "\\server\share\" or a bare
// "\\?\" prefixed drive on Windows.
bool IsRootPath(std::u16string_view path);

// Turns user-typed text into a name the file system accepts (profile names):
// characters that Windows forbids become look-alikes (" ' < « > » ? ¿ : ; and
// / * | -), every component is cut to 255 characters, the reserved device names
// con, aux, prn and nul get "_" appended, dots and spaces that end a component
// before a separator are removed, and a trailing separator is dropped unless it
// belongs to the root. With `keepSeparators` the platform's separator divides
// components and a leading root ("C:\", "\\server\share\", "/") is left as it is;
// without it the separator is replaced like the other forbidden characters. On
// Linux "/" is the separator and "\" is the forbidden look-alike, so both
// platforms give names that are valid on both.
std::u16string MakeValidFileName(std::u16string_view text, bool keepSeparators = false);

}  // namespace tessaroven
