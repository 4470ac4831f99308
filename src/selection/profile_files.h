// The two file operations a profile save needs beyond XFile, one implementation per
// platform: pushing a written file to the disk, and putting it in place of the old
// profile in one step.
#pragma once

#include <string>

#include "base/xfile.h"

namespace tessaroven {

// Forces the bytes written through `file` onto the disk, so that a rename that
// survives a power cut never names a file whose contents did not.
bool FlushProfileFile(XFile& file);

// Renames `from` to `to`, replacing an existing `to` atomically: readers see the old
// file or the new one, never neither and never a mix.
bool ReplaceProfileFile(const std::u16string& from, const std::u16string& to);

}  // namespace tessaroven
