#include <objbase.h>
#include <windows.h>

#include "app/startup.h"
#include "base/text.h"

namespace tessaroven {

std::u16string ProcessCommandLine(int, char**) { return FromOsString(GetCommandLineW()); }

void InitialiseCom() { CoInitialize(nullptr); }
void UninitialiseCom() { CoUninitialize(); }

}  // namespace tessaroven
