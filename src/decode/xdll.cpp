#include "decode/xdll.h"

namespace tessaroven {

XDLL::~XDLL() { ReleaseLibrary(); }

}  // namespace tessaroven
