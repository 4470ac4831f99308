#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "base/path.h"
#include "base/text.h"
#include "selection/profile_files.h"

namespace tessaroven {

bool FlushProfileFile(XFile& file) { return file.IsOpen() && ::fsync(static_cast<int>(file.Handle())) == 0; }

bool ReplaceProfileFile(const std::u16string& from, const std::u16string& to) {
  if (std::rename(ToOsString(from).c_str(), ToOsString(to).c_str()) != 0) return false;
  // The rename lives in the folder: flush it too, or a crash may forget the new
  // name. Failing here changes nothing for the running program, so it is not an
  // error.
  const int folder = ::open(ToOsString(FolderOf(to)).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder >= 0) {
    ::fsync(folder);
    ::close(folder);
  }
  return true;
}

}  // namespace tessaroven
