// Linux named objects: one small file per object in the user's private folder,
// mapped shared into every process that has the object open.
//
// Lifetime follows Windows, where an object lives while any process holds a handle:
// every holder keeps a shared flock on the object's file. Creating tries an
// exclusive flock first; when that succeeds no live process has the object, so it
// is initialised afresh (whatever a killed process left there is discarded) and
// the lock is turned into a shared one. A folder-wide creation lock serialises that
// test with every other open and close, so no process can slip in between another
// one's test and its downgrade, and the last one to close can remove the file.

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "app/named_objects.h"
#include "base/text.h"

namespace tessaroven {
namespace {

enum class Kind : std::uint32_t { Event = 1, Mutex = 2, Block = 3 };

// "TSNO" plus a layout version; written last, so a file whose creator died half-way
// through is never taken for a live object.
constexpr std::uint32_t kMagic = 0x4F4E5354;
constexpr std::uint32_t kLayoutVersion = 1;
constexpr std::size_t kPayloadOffset = 64;

struct Header {
  std::uint32_t magic;
  std::uint32_t version;
  std::uint32_t kind;
  std::uint32_t reserved;
  std::uint64_t payloadSize;
};
static_assert(sizeof(Header) <= kPayloadOffset);

struct EventState {
  pthread_mutex_t lock;
  pthread_cond_t changed;
  std::uint32_t signalled;
};

std::u16string Text(const std::string& utf8) { return Utf8ToUtf16(utf8); }

// Object names are Windows names: anything but a backslash goes. File names keep
// letters, digits, "-", "_" and inner dots; every other byte is written as %XX,
// so two names never share a file and none can be "." or ".." or a hidden file.
std::string FileNameFor(std::u16string_view name) {
  const std::string bytes = Utf16ToUtf8(name);
  std::string out;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto c = static_cast<unsigned char>(bytes[i]);
    const bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
                       c == '_' || (c == '.' && i > 0);
    if (plain) {
      out.push_back(static_cast<char>(c));
    } else {
      static const char kHex[] = "0123456789ABCDEF";
      out += {'%', kHex[c >> 4], kHex[c & 15]};
    }
  }
  return out;
}

std::string FolderPath() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime && runtime[0] == '/') {
    std::string folder = runtime;
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    return (folder == "/" ? "" : folder) + "/tessaroven";
  }
  return "/tmp/tessaroven-" + std::to_string(geteuid());
}

// Opens the object folder, creating it private to the user, and refuses it when
// anyone else could place or change files in it.
int OpenFolder(std::u16string& error) {
  const std::string folder = FolderPath();
  if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    error = Text("Cannot create the folder " + folder + ": " + std::strerror(errno));
    return -1;
  }
  struct stat info {};
  if (lstat(folder.c_str(), &info) != 0) {
    error = Text("Cannot examine the folder " + folder + ": " + std::strerror(errno));
    return -1;
  }
  if (!S_ISDIR(info.st_mode)) {
    error = Text("The folder " + folder + " is a link or not a folder; the named objects in it are not opened.");
    return -1;
  }
  if (info.st_uid != geteuid()) {
    error = Text("The folder " + folder + " belongs to another user; the named objects in it are not opened.");
    return -1;
  }
  if ((info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    error = Text("The folder " + folder + " can be written by other users; the named objects in it are not opened.");
    return -1;
  }
  const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  struct stat opened {};
  if (fd < 0 || fstat(fd, &opened) != 0 || opened.st_dev != info.st_dev || opened.st_ino != info.st_ino) {
    if (fd >= 0) close(fd);
    error = Text("The folder " + folder + " changed while it was opened; the named objects in it are not opened.");
    return -1;
  }
  return fd;
}

// Holds the folder's creation lock for its lifetime (see the top of the file).
class CreationLock {
 public:
  explicit CreationLock(int folder)
      : fd_(openat(folder, ".creation-lock", O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600)) {
    if (fd_ >= 0) {
      while (flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
      }
    }
  }
  ~CreationLock() {
    if (fd_ >= 0) close(fd_);
  }
  CreationLock(const CreationLock&) = delete;
  CreationLock& operator=(const CreationLock&) = delete;
  bool Held() const { return fd_ >= 0; }

 private:
  int fd_;
};

// The monotonic clock's time `timeout` from now, so that a change of the wall
// clock neither cuts a wait short nor stretches it.
timespec DeadlineAfter(std::chrono::milliseconds timeout) {
  timespec deadline{};
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += static_cast<time_t>(timeout.count() / 1000);
  deadline.tv_nsec += static_cast<long>(timeout.count() % 1000) * 1000000L;
  if (deadline.tv_nsec >= 1000000000L) {
    deadline.tv_sec += 1;
    deadline.tv_nsec -= 1000000000L;
  }
  return deadline;
}

// Locks a robust mutex; a lock whose owner died is made consistent and counts as
// taken, as Windows hands an abandoned mutex to the next waiter. `timeout` as in
// the header.
int LockRobust(pthread_mutex_t* mutex, std::chrono::milliseconds timeout) {
  int result;
  if (timeout.count() < 0) {
    result = pthread_mutex_lock(mutex);
  } else if (timeout.count() == 0) {
    result = pthread_mutex_trylock(mutex);
  } else {
    const timespec deadline = DeadlineAfter(timeout);
    result = pthread_mutex_clocklock(mutex, CLOCK_MONOTONIC, &deadline);
  }
  if (result == EOWNERDEAD) {
    pthread_mutex_consistent(mutex);
    result = 0;
  }
  return result;
}

void InitMutex(pthread_mutex_t* mutex, bool recursive) {
  pthread_mutexattr_t attr;
  pthread_mutexattr_init(&attr);
  pthread_mutexattr_setpshared(&attr, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setrobust(&attr, PTHREAD_MUTEX_ROBUST);
  if (recursive) pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(mutex, &attr);
  pthread_mutexattr_destroy(&attr);
}

}  // namespace

struct NamedObject::Impl {
  int folder = -1;
  int fd = -1;
  std::string fileName;
  std::uint8_t* map = nullptr;
  std::size_t mapSize = 0;
  std::size_t payloadSize = 0;
  Kind kind = Kind::Event;
  bool existedBefore = false;
  int held = 0;
  std::u16string error;

  std::uint8_t* Payload() const { return map ? map + kPayloadOffset : nullptr; }
  EventState* Event() const { return reinterpret_cast<EventState*>(Payload()); }
  pthread_mutex_t* Mutex() const { return reinterpret_cast<pthread_mutex_t*>(Payload()); }

  void Initialise() {
    switch (kind) {
      case Kind::Event: {
        auto* state = new (Payload()) EventState{};
        InitMutex(&state->lock, false);
        pthread_condattr_t attr;
        pthread_condattr_init(&attr);
        pthread_condattr_setpshared(&attr, PTHREAD_PROCESS_SHARED);
        pthread_condattr_setclock(&attr, CLOCK_MONOTONIC);
        pthread_cond_init(&state->changed, &attr);
        pthread_condattr_destroy(&attr);
        state->signalled = 0;
        break;
      }
      case Kind::Mutex:
        InitMutex(new (Payload()) pthread_mutex_t{}, true);
        break;
      case Kind::Block:
        break;  // the file starts zeroed
    }
    auto* header = reinterpret_cast<Header*>(map);
    header->version = kLayoutVersion;
    header->kind = static_cast<std::uint32_t>(kind);
    header->payloadSize = payloadSize;
    __atomic_store_n(&header->magic, kMagic, __ATOMIC_RELEASE);
  }

  bool Valid() const {
    const auto* header = reinterpret_cast<const Header*>(map);
    return __atomic_load_n(&header->magic, __ATOMIC_ACQUIRE) == kMagic && header->version == kLayoutVersion &&
           header->kind == static_cast<std::uint32_t>(kind) && header->payloadSize == payloadSize;
  }

  bool Open(std::u16string_view name, Kind wanted, std::size_t size) {
    kind = wanted;
    payloadSize = size;
    fileName = FileNameFor(name);
    if (name.empty() || fileName.size() > 255) {
      error = u"The object name is empty or too long.";
      return false;
    }
    folder = OpenFolder(error);
    if (folder < 0) return false;
    CreationLock creation(folder);
    if (!creation.Held()) return Fail("Cannot lock the folder of the named objects");
    fd = openat(folder, fileName.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) return Fail("Cannot open the named object " + fileName);
    struct stat info {};
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != geteuid()) {
      errno = 0;
      return Fail("The named object " + fileName + " is not a file of this user");
    }
    mapSize = kPayloadOffset + payloadSize;
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
      // Nobody alive has it: start from zero bytes, whatever was left behind.
      existedBefore = false;
      if (ftruncate(fd, 0) != 0 || ftruncate(fd, static_cast<off_t>(mapSize)) != 0)
        return Fail("Cannot size the named object " + fileName);
      if (!Map()) return false;
      Initialise();
      if (flock(fd, LOCK_SH) != 0) return Fail("Cannot share the named object " + fileName);
      return true;
    }
    if (errno != EWOULDBLOCK) return Fail("Cannot lock the named object " + fileName);
    existedBefore = true;
    if (flock(fd, LOCK_SH) != 0) return Fail("Cannot share the named object " + fileName);
    if (fstat(fd, &info) != 0 || static_cast<std::size_t>(info.st_size) != mapSize) {
      errno = 0;
      return Fail("The named object " + fileName + " exists as another kind or size of object");
    }
    if (!Map()) return false;
    if (!Valid()) {
      errno = 0;
      return Fail("The named object " + fileName + " exists as another kind or size of object");
    }
    return true;
  }

  bool Map() {
    void* p = mmap(nullptr, mapSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (p == MAP_FAILED) return Fail("Cannot map the named object " + fileName);
    map = static_cast<std::uint8_t*>(p);
    return true;
  }

  // Failures inside Open, where the creation lock is already held: nothing is
  // removed, a file left half-made is initialised afresh by the next open.
  bool Fail(const std::string& what) {
    error = Text(what + (errno ? std::string(": ") + std::strerror(errno) : std::string(".")));
    if (map) munmap(map, mapSize);
    map = nullptr;
    if (fd >= 0) close(fd);
    fd = -1;
    if (folder >= 0) close(folder);
    folder = -1;
    return false;
  }

  void CloseHandles() {
    if (map) {
      if (kind == Kind::Mutex) {
        for (; held > 0; --held) pthread_mutex_unlock(Mutex());
      }
      munmap(map, mapSize);
      map = nullptr;
    }
    held = 0;
    if (fd >= 0) {
      // The last holder removes the file, so objects with made-up names (one per
      // conversion) do not pile up.
      CreationLock creation(folder);
      if (creation.Held() && flock(fd, LOCK_EX | LOCK_NB) == 0) unlinkat(folder, fileName.c_str(), 0);
      close(fd);
      fd = -1;
    }
    if (folder >= 0) {
      close(folder);
      folder = -1;
    }
  }
};

NamedObject::NamedObject() : impl_(std::make_unique<Impl>()) {}
NamedObject::~NamedObject() { Close(); }
bool NamedObject::IsOpen() const { return impl_->map != nullptr; }
bool NamedObject::ExistedBefore() const { return impl_->existedBefore; }
const std::u16string& NamedObject::Error() const { return impl_->error; }

void NamedObject::Close() {
  impl_->CloseHandles();
  impl_->existedBefore = false;
}

bool NamedEvent::Create(std::u16string_view name) {
  Close();
  impl_->error.clear();
  return impl_->Open(name, Kind::Event, sizeof(EventState));
}

bool NamedEvent::Set() {
  EventState* state = impl_->Event();
  if (!state || LockRobust(&state->lock, std::chrono::milliseconds(-1)) != 0) return false;
  state->signalled = 1;
  pthread_cond_broadcast(&state->changed);
  pthread_mutex_unlock(&state->lock);
  return true;
}

bool NamedEvent::Reset() {
  EventState* state = impl_->Event();
  if (!state || LockRobust(&state->lock, std::chrono::milliseconds(-1)) != 0) return false;
  state->signalled = 0;
  pthread_mutex_unlock(&state->lock);
  return true;
}

// A process killed inside a blocking wait can leave glibc's condition variable
// counting it as a waiter, which may later hold up a Set. The program itself only
// ever looks (time-out 0), and looking never touches the condition variable.
bool NamedEvent::Wait(std::chrono::milliseconds timeout) const {
  EventState* state = impl_->Event();
  if (!state || LockRobust(&state->lock, std::chrono::milliseconds(-1)) != 0) return false;
  const timespec deadline = timeout.count() > 0 ? DeadlineAfter(timeout) : timespec{};
  while (!state->signalled && timeout.count() != 0) {
    const int result = timeout.count() < 0 ? pthread_cond_wait(&state->changed, &state->lock)
                                           : pthread_cond_timedwait(&state->changed, &state->lock, &deadline);
    if (result == EOWNERDEAD) {
      pthread_mutex_consistent(&state->lock);
    } else if (result != 0) {
      break;
    }
  }
  const bool signalled = state->signalled != 0;
  pthread_mutex_unlock(&state->lock);
  return signalled;
}

bool NamedMutex::Create(std::u16string_view name) {
  Close();
  impl_->error.clear();
  return impl_->Open(name, Kind::Mutex, sizeof(pthread_mutex_t));
}

bool NamedMutex::Wait(std::chrono::milliseconds timeout) {
  pthread_mutex_t* mutex = impl_->map ? impl_->Mutex() : nullptr;
  if (!mutex || LockRobust(mutex, timeout) != 0) return false;
  ++impl_->held;
  return true;
}

bool NamedMutex::Release() {
  pthread_mutex_t* mutex = impl_->map ? impl_->Mutex() : nullptr;
  if (!mutex || impl_->held == 0 || pthread_mutex_unlock(mutex) != 0) return false;
  --impl_->held;
  return true;
}

bool NamedSharedBlock::Create(std::u16string_view name, std::size_t size) {
  Close();
  impl_->error.clear();
  return impl_->Open(name, Kind::Block, size);
}

std::uint8_t* NamedSharedBlock::Data() const { return impl_->Payload(); }
std::size_t NamedSharedBlock::Size() const { return impl_->map ? impl_->payloadSize : 0; }

std::u16string NamedObjectFolder() { return Text(FolderPath() + "/"); }

namespace {

// The state and the start time (in clock ticks since boot) from /proc/PID/stat;
// false when there is no such process.
bool ReadProcessStat(std::uint64_t pid, char& state, std::uint64_t& started) {
  const std::string path = "/proc/" + std::to_string(pid) + "/stat";
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  char buffer[1024];
  const ssize_t n = read(fd, buffer, sizeof buffer - 1);
  close(fd);
  if (n <= 0) return false;
  buffer[n] = 0;
  // "pid (comm) state ppid ...": the name may hold anything, so read after its last ")".
  const char* at = std::strrchr(buffer, ')');
  if (at == nullptr || at[1] != ' ') return false;
  at += 2;
  state = *at;
  // Field 22, the start time, is the 20th after the state.
  for (int field = 0; field < 19 && at != nullptr; ++field) {
    at = std::strchr(at, ' ');
    if (at != nullptr) ++at;
  }
  if (at == nullptr) return false;
  started = std::strtoull(at, nullptr, 10);
  return true;
}

}  // namespace

ProcessIdentity CurrentProcessIdentity() {
  ProcessIdentity self{static_cast<std::uint64_t>(getpid()), 0};
  char state = 0;
  ReadProcessStat(self.id, state, self.started);
  return self;
}

bool ProcessIsRunning(const ProcessIdentity& process) {
  if (!process.Known()) return true;
  char state = 0;
  std::uint64_t started = 0;
  if (!ReadProcessStat(process.id, state, started)) {
    // No /proc to ask: the signal test alone (a zombie still answers it).
    return kill(static_cast<pid_t>(process.id), 0) == 0 || errno == EPERM;
  }
  return state != 'Z' && state != 'X' && started == process.started;
}

}  // namespace tessaroven
