// The temporary folder and new, empty temporary files in it.
//
// Temporary files carry the list of files handed to the converter and staging
// copies; the caller owns the file and deletes it when done. Every function may be
// called from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tessaroven {

// The folder for temporary files, ending in the separator. Windows: the system's
// temporary folder (GetTempPathW), "C:\Temp\" when there is none. Linux: $TMPDIR,
// else /tmp. The folder need not exist; CreateTempFile creates it.
std::u16string TempFolder();

// Creates a new empty file in TempFolder() and stores its full path in `path`.
// When `path` is not empty on entry, the file it names is deleted first (the
// read-only attribute is cleared on Windows), so a caller can hand back its last
// temporary file and get a fresh one. The name is the temporary folder, `prefix`
// ("TMP" when empty), a unique part and ".tmp". On Windows the system names the
// file (GetTempFileNameW: the first three characters of the prefix and up to four
// hex digits); only when it cannot, the name is the whole prefix and a random
// number of up to four decimal digits. On Linux the unique part is eight hex
// digits and the name is claimed atomically (O_EXCL). A missing temporary folder
// is created with its missing parents. Returns false when no file could be made;
// `path` then holds the last name tried.
bool CreateTempFile(std::u16string& path, std::u16string_view prefix = u"TMP");

// The process-wide pseudo-random source (a Mersenne twister seeded once per
// process): a number from 0 to `limit`, both included. Thread-safe.
std::uint32_t SharedRandomNumber(std::uint32_t limit);

}  // namespace tessaroven
