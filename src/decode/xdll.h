// XDLL: one loaded shared library (".so" via dlopen on Linux, ".dll" via LoadLibraryW
// on Windows), released when the object goes away.
//
// Not thread-safe; the owner uses it from one thread. Libraries are loaded with all
// symbols resolved at once and kept local, so two plug-ins exporting the same names
// never see each other's functions.
#pragma once

#include <cstring>
#include <string_view>

namespace tessaroven {

class XDLL {
 public:
  XDLL() = default;
  XDLL(const XDLL&) = delete;
  XDLL& operator=(const XDLL&) = delete;
  virtual ~XDLL();

  // Loads the library at `path`; false when it cannot be loaded. Does not release a
  // module already held: callers free first.
  bool OpenLibrary(std::u16string_view path);
  // Releases the module, if one is held.
  void ReleaseLibrary();
  bool HasModule() const { return module_ != nullptr; }
  // The address of an exported symbol, or null (also when nothing is loaded).
  void* Symbol(const char* name) const;

  // A symbol as a function pointer of type Fn.
  template <class Fn>
  Fn Function(const char* name) const {
    void* address = Symbol(name);
    Fn fn = nullptr;
    static_assert(sizeof(fn) == sizeof(address));
    std::memcpy(&fn, &address, sizeof(fn));
    return fn;
  }

 private:
  void* module_ = nullptr;
};

}  // namespace tessaroven
