// Where decoder plug-ins live and which files there are plug-ins.
//
// The folder is "decoder" beside the executable; an installed Linux build falls back
// to ../lib/tessaroven/decoder/ relative to it. Tests point it elsewhere with
// SetPluginFolderOverride before any other thread uses it.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tessaroven {

// The folder of the running executable, ending in the separator.
std::u16string ExecutableFolder();

// The plug-in folder, ending in the separator.
std::u16string PluginFolder();
// Replaces the folder (tests); nullopt restores the default. Not thread-safe.
void SetPluginFolderOverride(std::optional<std::u16string> folder);

// Full paths of the plug-in libraries in `folder` ("*.so" on Linux, "*.dll" on
// Windows), in the order the file system lists them: directories are skipped, no
// sub-folder is searched, nothing is sorted.
std::vector<std::u16string> ListPluginLibraries(const std::u16string& folder);

}  // namespace tessaroven
