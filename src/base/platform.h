// Facts about the platform that portable code branches on with `if constexpr`, so
// that platform differences stay visible in one place instead of as #ifs in logic.
#pragma once

namespace tessaroven {

#ifdef _WIN32
inline constexpr bool kIsWindows = true;
inline constexpr char16_t kPathSeparator = u'\\';
#else
inline constexpr bool kIsWindows = false;
inline constexpr char16_t kPathSeparator = u'/';
#endif

// Windows file systems ignore case (the program folds ASCII only, as Explorer's
// comparisons of the original did); Linux file names are case-sensitive.
inline constexpr bool kPathsFoldCase = kIsWindows;

}  // namespace tessaroven
