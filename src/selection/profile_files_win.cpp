#include <windows.h>

#include "base/path.h"
#include "base/text.h"
#include "selection/profile_files.h"

namespace tessaroven {

bool FlushProfileFile(XFile& file) {
  return file.IsOpen() && FlushFileBuffers(reinterpret_cast<HANDLE>(file.Handle())) != 0;
}

bool ReplaceProfileFile(const std::u16string& from, const std::u16string& to) {
  return MoveFileExW(ToOsString(MakeLongPath(from)).c_str(), ToOsString(MakeLongPath(to)).c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

}  // namespace tessaroven
