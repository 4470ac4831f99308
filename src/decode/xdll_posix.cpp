#include <dlfcn.h>

#include "base/text.h"
#include "decode/xdll.h"

namespace tessaroven {

bool XDLL::OpenLibrary(std::u16string_view path) {
  if (path.empty()) return false;
  module_ = dlopen(ToOsString(path).c_str(), RTLD_NOW | RTLD_LOCAL);
  return module_ != nullptr;
}

void XDLL::ReleaseLibrary() {
  if (module_ != nullptr) dlclose(module_);
  module_ = nullptr;
}

void* XDLL::Symbol(const char* name) const {
  if (module_ == nullptr) return nullptr;
  return dlsym(module_, name);
}

}  // namespace tessaroven
