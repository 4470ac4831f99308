// Windows named objects: the kernel's own events, mutexes and page-file-backed
// sections, in the session's namespace.

#include <windows.h>

#include <string>

#include "app/named_objects.h"
#include "base/text.h"

namespace tessaroven {
namespace {

enum class Kind { Event, Mutex, Block };

DWORD TimeoutMs(std::chrono::milliseconds timeout) {
  if (timeout.count() < 0) return INFINITE;
  if (timeout.count() >= static_cast<long long>(INFINITE)) return INFINITE - 1;
  return static_cast<DWORD>(timeout.count());
}

}  // namespace

struct NamedObject::Impl {
  HANDLE handle = nullptr;
  std::uint8_t* view = nullptr;
  std::size_t size = 0;
  Kind kind = Kind::Event;
  bool existedBefore = false;
  int held = 0;
  std::u16string error;

  // Clears the last error before the creating call, so that ERROR_ALREADY_EXISTS
  // afterwards is reliable; records a failure in words.
  template <typename CreateCall>
  bool Create(Kind wanted, std::u16string_view name, const char* what, CreateCall create) {
    kind = wanted;
    error.clear();
    if (name.empty()) {
      // The kernel would make a private, unnamed object: not what a caller of a
      // named one means.
      error = u"The object name is empty.";
      return false;
    }
    const std::wstring wide = ToOsString(name);
    SetLastError(0);
    handle = create(wide.c_str());
    const DWORD code = GetLastError();
    if (!handle) {
      error = Utf8ToUtf16(std::string("Cannot create the named ") + what + " \"" + Utf16ToUtf8(name) + "\" (error " +
                          std::to_string(code) + ").");
      return false;
    }
    existedBefore = code == ERROR_ALREADY_EXISTS;
    return true;
  }

  void CloseHandles() {
    if (view) UnmapViewOfFile(view);
    view = nullptr;
    size = 0;
    if (handle) {
      for (; kind == Kind::Mutex && held > 0; --held) ReleaseMutex(handle);
      CloseHandle(handle);
    }
    handle = nullptr;
    held = 0;
  }
};

NamedObject::NamedObject() : impl_(std::make_unique<Impl>()) {}
NamedObject::~NamedObject() { Close(); }
bool NamedObject::IsOpen() const { return impl_->handle != nullptr && (impl_->kind != Kind::Block || impl_->view); }
bool NamedObject::ExistedBefore() const { return impl_->existedBefore; }
const std::u16string& NamedObject::Error() const { return impl_->error; }

void NamedObject::Close() {
  impl_->CloseHandles();
  impl_->existedBefore = false;
}

bool NamedEvent::Create(std::u16string_view name) {
  Close();
  return impl_->Create(Kind::Event, name, "event",
                       [](const wchar_t* n) { return CreateEventW(nullptr, TRUE, FALSE, n); });
}

bool NamedEvent::Set() { return impl_->handle && SetEvent(impl_->handle); }
bool NamedEvent::Reset() { return impl_->handle && ResetEvent(impl_->handle); }

bool NamedEvent::Wait(std::chrono::milliseconds timeout) const {
  return impl_->handle && WaitForSingleObject(impl_->handle, TimeoutMs(timeout)) == WAIT_OBJECT_0;
}

bool NamedMutex::Create(std::u16string_view name) {
  Close();
  return impl_->Create(Kind::Mutex, name, "mutex", [](const wchar_t* n) { return CreateMutexW(nullptr, FALSE, n); });
}

bool NamedMutex::Wait(std::chrono::milliseconds timeout) {
  if (!impl_->handle) return false;
  // An abandoned mutex (its owner ended holding it) now belongs to this thread.
  const DWORD result = WaitForSingleObject(impl_->handle, TimeoutMs(timeout));
  if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) return false;
  ++impl_->held;
  return true;
}

bool NamedMutex::Release() {
  if (!impl_->handle || impl_->held == 0 || !ReleaseMutex(impl_->handle)) return false;
  --impl_->held;
  return true;
}

bool NamedSharedBlock::Create(std::u16string_view name, std::size_t size) {
  Close();
  if (!impl_->Create(Kind::Block, name, "shared block", [size](const wchar_t* n) {
        return CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, static_cast<DWORD>(size), n);
      })) {
    return false;
  }
  impl_->view = static_cast<std::uint8_t*>(MapViewOfFile(impl_->handle, FILE_MAP_WRITE, 0, 0, 0));
  MEMORY_BASIC_INFORMATION region{};
  if (impl_->view && (VirtualQuery(impl_->view, &region, sizeof(region)) == 0 || region.RegionSize < size)) {
    // An existing section of another (smaller) size: using it would read past its end.
    UnmapViewOfFile(impl_->view);
    impl_->view = nullptr;
  }
  if (!impl_->view) {
    impl_->error = Utf8ToUtf16("Cannot map the named shared block \"" + Utf16ToUtf8(name) + "\" (error " +
                               std::to_string(GetLastError()) + ").");
    return false;
  }
  impl_->size = size;
  return true;
}

std::uint8_t* NamedSharedBlock::Data() const { return impl_->view; }
std::size_t NamedSharedBlock::Size() const { return impl_->size; }

std::u16string NamedObjectFolder() { return {}; }

namespace {

std::uint64_t CreationTime(HANDLE process) {
  FILETIME created{}, exited{}, kernel{}, user{};
  if (!GetProcessTimes(process, &created, &exited, &kernel, &user)) return 0;
  return (static_cast<std::uint64_t>(created.dwHighDateTime) << 32) | created.dwLowDateTime;
}

}  // namespace

ProcessIdentity CurrentProcessIdentity() {
  return ProcessIdentity{GetCurrentProcessId(), CreationTime(GetCurrentProcess())};
}

bool ProcessIsRunning(const ProcessIdentity& process) {
  if (!process.Known()) return true;
  HANDLE handle = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, static_cast<DWORD>(process.id));
  if (handle == nullptr) return GetLastError() == ERROR_ACCESS_DENIED;  // someone else's: still there
  const bool running = WaitForSingleObject(handle, 0) == WAIT_TIMEOUT && CreationTime(handle) == process.started;
  CloseHandle(handle);
  return running;
}

}  // namespace tessaroven
