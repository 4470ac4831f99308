// The settings store on Linux: one registry-export file, $XDG_CONFIG_HOME/tessaroven/
// user.reg, shared by every thread and every process of the user.
//
// Exclusion has two layers. flock() cannot keep apart two threads of one process
// that share the lock file's descriptor, so a process-wide mutex orders the threads;
// flock() on "user.reg.lock" beside the file orders the processes (shared to read,
// exclusive to write). A writer always re-reads the file under the exclusive lock,
// edits that, writes a temporary file in the same folder and renames it over
// user.reg, so a reader sees the old file or the new one, never a torn one, and no
// writer undoes another's value.
//
// The parsed file is kept and reused while it is unchanged. stat() alone cannot tell:
// the renamed temporary file may get the inode just freed by the old file, with the
// same size and, on a coarse clock, the same time stamps. So every writer also bumps
// a generation counter held in the first 8 bytes of the lock file, and a reader
// reloads when either the counter or the file's identity (device, inode, size,
// change and modification times) differs from what it parsed; the latter catches a
// hand edit, which does not know about the counter.
//
// A key opened to read looks at the current file under the lock and keeps that
// parsed copy for its short life: a query through the key reads that copy, as a
// registry query would have seen the value at that moment. A key opened only to write
// does not read the file at all; its first value creates it.
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

#include "base/reg_file.h"
#include "base/settings_internal.h"
#include "base/text.h"

namespace tessaroven::settings_platform {

struct KeyState {
  std::shared_ptr<const RegFile> file;        // the file as it was when the key was opened (for queries)
  std::u16string keyPath;                     // with its root, as the file names it
  bool createOnClose = false;                 // a key opened only to write, into which nothing was written
  const RegFile::KeyIndex* values = nullptr;  // the key's values in `file`
};

namespace {

// Whether to fdatasync() the temporary file before renaming it over user.reg: no.
// Measured on ext4, a changed value takes about 0.25 ms without it and 5-6 ms with it,
// well over the 2 ms a settings write may cost (the window writes several on close,
// the decoder cache one per new extension). Without it, a power cut right after a
// write could leave an empty user.reg on a file system that commits the rename before
// the data; ext4 (auto_da_alloc) and btrfs flush the data of a file renamed over
// another first, and an empty file reads as "no settings yet", never as a torn one.
// Window positions and column layouts are worth less than a stall on every change.
constexpr bool kSyncBeforeRename = false;

constexpr std::size_t kGenerationBytes = 8;

template <typename Call>
auto Retrying(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

// What identifies one version of the file on disk.
struct FileIdentity {
  bool exists = false;
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  timespec modified{};
  timespec changed{};

  static FileIdentity Of(const struct stat& st) {
    return FileIdentity{true, st.st_dev, st.st_ino, st.st_size, st.st_mtim, st.st_ctim};
  }
  bool operator==(const FileIdentity& o) const {
    return exists == o.exists && device == o.device && inode == o.inode && size == o.size &&
           modified.tv_sec == o.modified.tv_sec && modified.tv_nsec == o.modified.tv_nsec &&
           changed.tv_sec == o.changed.tv_sec && changed.tv_nsec == o.changed.tv_nsec;
  }
};

// Holds an flock() for one scope.
class FileLock {
 public:
  FileLock(int fd, int operation) : fd_(fd) {
    if (Retrying([&] { return flock(fd_, operation); }) != 0) fd_ = -1;
  }
  ~FileLock() {
    if (fd_ >= 0) flock(fd_, LOCK_UN);
  }
  FileLock(FileLock&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_;
};

// What a file at `st` is, for the message when it is not a regular file.
const char* KindOf(const struct stat& st) {
  if (S_ISLNK(st.st_mode)) return "a symbolic link";
  if (S_ISFIFO(st.st_mode)) return "a named pipe";
  if (S_ISDIR(st.st_mode)) return "a folder";
  if (S_ISCHR(st.st_mode) || S_ISBLK(st.st_mode)) return "a device";
  if (S_ISSOCK(st.st_mode)) return "a socket";
  return "not a regular file";
}

// Why the store is refused, once per process and file: on stderr at once (the
// store has no other way to tell; the program goes on with its defaults), and for
// SettingsStoreProblem().
std::mutex g_problemMutex;
std::string g_problem;

void Refuse(const std::string& path, const struct stat& st) {
  const std::string text = "tessaroven: the settings file " + path + " is " + KindOf(st) +
                           ", not a regular file; it is left alone and the default settings are used.";
  std::lock_guard lock(g_problemMutex);
  if (g_problem == text) return;
  g_problem = text;
  std::fprintf(stderr, "%s\n", text.c_str());
}

void NoProblem() {
  std::lock_guard lock(g_problemMutex);
  g_problem.clear();
}

// Opens `path` only when it is a regular file itself (no link followed, a named
// pipe or a device neither waited on nor read); refuses anything else with the
// message above. -1 with errno ENOENT when there is nothing at the path.
int OpenRegularFile(const std::string& path, int flags, mode_t mode = 0) {
  const int fd = Retrying([&] { return open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, mode); });
  struct stat st {};
  if (fd < 0) {
    // O_NOFOLLOW fails on a link with ELOOP; say what is there.
    if (errno == ELOOP && lstat(path.c_str(), &st) == 0) Refuse(path, st);
    return -1;
  }
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    Refuse(path, st);
    close(fd);
    errno = EINVAL;
    return -1;
  }
  // Regular files never block; reads and writes go as usual.
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  return fd;
}

bool MakeFolders(const std::string& folder) {
  struct stat st {};
  if (stat(folder.c_str(), &st) == 0) return S_ISDIR(st.st_mode);
  const std::size_t slash = folder.find_last_of('/');
  if (slash != std::string::npos && slash > 0 && !MakeFolders(folder.substr(0, slash))) return false;
  return mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST;
}

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = Retrying([&] { return write(fd, bytes.data(), bytes.size()); });
    if (n <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

bool ReadAll(int fd, std::string& bytes) {
  char buffer[65536];
  for (;;) {
    const ssize_t n = Retrying([&] { return read(fd, buffer, sizeof buffer); });
    if (n < 0) return false;
    if (n == 0) return true;
    bytes.append(buffer, static_cast<std::size_t>(n));
  }
}

std::string HomeFolder() {
  if (const char* home = std::getenv("HOME"); home && *home) return home;
  struct passwd entry {};
  struct passwd* found = nullptr;
  char buffer[4096];
  if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found && found->pw_dir) return found->pw_dir;
  return {};
}

// $XDG_CONFIG_HOME/tessaroven (an XDG_CONFIG_HOME that is not absolute is ignored,
// as the XDG rules say), else ~/.config/tessaroven; empty when there is no home.
std::string SettingsFolder() {
  std::string config;
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && xdg[0] == '/') {
    config = xdg;
  } else {
    const std::string home = HomeFolder();
    if (home.empty()) return {};
    config = home + "/.config";
  }
  while (config.size() > 1 && config.back() == '/') config.pop_back();
  return config + "/tessaroven";
}

class SettingsFile {
 public:
  static SettingsFile& Instance() {
    static SettingsFile* file = new SettingsFile();  // never destroyed: used until the very end
    return *file;
  }

  struct OpenedKey {
    std::shared_ptr<const RegFile> file;  // null on failure
    const RegFile::KeyIndex* values = nullptr;
  };

  OpenedKey OpenKey(const std::u16string& keyPath) {
    std::lock_guard guard(mutex_);
    if (!Prepare()) return {};
    const KnownKey& known = Know(keyPath);
    if (!known.valid) return {};
    if (known.exists && CacheIsCurrent()) return {file_, known.values};
    {
      FileLock shared = Lock(LOCK_SH);
      if (!shared || !Load()) return {};
      if (const KnownKey& loaded = Know(keyPath); loaded.exists) return {file_, loaded.values};
    }
    // The key is new: create it, once, under the exclusive lock (another process may
    // have done so in between).
    FileLock exclusive = Lock(LOCK_EX);
    if (!exclusive || !Load()) return {};
    if (const KnownKey& loaded = Know(keyPath); loaded.exists) return {file_, loaded.values};
    if (!ReplaceBadFile()) return {};
    Editable().AddKey(keyPath);
    if (!Write()) return {};
    return {file_, Know(keyPath).values};
  }

  // Stores a value; with `value` null, only makes sure the key exists.
  //
  // Threads that want to write while another one holds the store leave their value
  // in a queue; whoever gets the store next writes every queued value with one
  // reading and one rewrite of the file, and each caller returns once its own value
  // is on disk (or has failed). Many threads writing at once then cost one rewrite
  // per round, not one each.
  bool Set(const std::u16string& keyPath, std::u16string_view name, const RegValue* value) {
    if (!RegFile::IsValidKeyPath(keyPath) || !RegFile::IsValidName(name)) return false;
    PendingWrite mine{keyPath, name, value};
    {
      std::lock_guard queued(queueMutex_);
      queue_.push_back(&mine);
    }
    std::lock_guard guard(mutex_);
    std::vector<PendingWrite*> batch;
    {
      std::lock_guard queued(queueMutex_);
      if (mine.done) return mine.result;
      batch.swap(queue_);
    }
    WriteBatch(batch);
    std::lock_guard queued(queueMutex_);
    for (PendingWrite* write : batch) write->done = true;
    return mine.result;
  }

 private:
  struct PendingWrite {
    std::u16string_view keyPath;
    std::u16string_view name;
    const RegValue* value;  // null: create the key only
    bool result = false;
    bool done = false;  // under queueMutex_
  };

  bool IsStored(const PendingWrite& write) {
    const KnownKey& key = Know(write.keyPath);
    if (!write.value) return key.exists;
    const RegValue* stored = file_ ? file_->Find(key.values, write.name) : nullptr;
    return stored != nullptr && *stored == *write.value;
  }

  // What file_ says of a key path, remembered for the few paths the program uses over
  // and over (the decoder cache, "Ref"): checking and hashing a long path costs more
  // than the rest of a read from the parsed copy. Under mutex_.
  struct KnownKey {
    std::uint64_t version = 0;  // documentVersion_ when looked up
    std::u16string keyPath;
    bool valid = false;  // a path the file format can carry
    bool exists = false;
    const RegFile::KeyIndex* values = nullptr;
  };

  // The reference stays good until the next call.
  const KnownKey& Know(std::u16string_view keyPath) {
    for (const KnownKey& known : known_) {
      if (known.version == documentVersion_ && known.keyPath.size() == keyPath.size() &&
          std::memcmp(known.keyPath.data(), keyPath.data(), keyPath.size() * sizeof(char16_t)) == 0)
        return known;
    }
    KnownKey& known = known_[nextKnown_++ % known_.size()];
    known.version = documentVersion_;
    known.keyPath = keyPath;
    known.valid = RegFile::IsValidKeyPath(keyPath);
    known.exists = known.valid && file_ && file_->HasKey(keyPath);
    known.values = known.exists ? file_->FindKey(keyPath) : nullptr;
    return known;
  }

  // Under mutex_: stores the values and sets each one's result.
  void WriteBatch(const std::vector<PendingWrite*>& batch) {
    if (!Prepare()) return;
    // Storing what is already there must not touch the file: some values are
    // written again on every use (the decoder cache on every change of extension).
    const auto allStored = [&] {
      return std::all_of(batch.begin(), batch.end(), [&](const PendingWrite* write) { return IsStored(*write); });
    };
    if (CacheIsCurrent() && allStored()) {
      for (PendingWrite* write : batch) write->result = true;
      return;
    }
    {
      FileLock shared = Lock(LOCK_SH);
      if (!shared || !Load()) return;
      if (allStored()) {
        for (PendingWrite* write : batch) write->result = true;
        return;
      }
    }
    FileLock exclusive = Lock(LOCK_EX);
    if (!exclusive || !Load() || !ReplaceBadFile()) return;
    bool changed = false;
    for (PendingWrite* write : batch) {
      if (IsStored(*write)) {
        write->result = true;
        continue;
      }
      if (!write->value) {
        write->result = Editable().AddKey(write->keyPath);
      } else {
        write->result = Editable().Set(write->keyPath, write->name, *write->value) == RegFile::Change::kChanged;
      }
      changed = changed || write->result;
    }
    // Nothing changed happens when another process stored the same values first;
    // the cache then reloads on the next call.
    if (changed && !Write()) {
      for (PendingWrite* write : batch) write->result = false;
    }
  }

  SettingsFile() = default;

  // Follows XDG_CONFIG_HOME and HOME: when they change (tests point them at fresh
  // folders), everything known about the old file is dropped.
  bool Prepare() {
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    if (!resolved_ || resolvedXdg_ != (xdg ? xdg : "") || resolvedHome_ != (home ? home : "")) {
      CloseLock();
      resolved_ = true;
      resolvedXdg_ = xdg ? xdg : "";
      resolvedHome_ = home ? home : "";
      folder_ = SettingsFolder();
      filePath_ = folder_ + "/user.reg";
    }
    if (folder_.empty()) return false;
    return lockFd_ >= 0 || OpenLock();
  }

  bool OpenLock() {
    if (!MakeFolders(folder_)) return false;
    lockFd_ = OpenRegularFile(folder_ + "/user.reg.lock", O_RDWR | O_CREAT, 0600);
    if (lockFd_ < 0) return false;
    MapGeneration();
    return true;
  }

  void CloseLock() {
    if (generationMap_ != nullptr) munmap(const_cast<void*>(generationMap_), kGenerationBytes);
    generationMap_ = nullptr;
    if (lockFd_ >= 0) close(lockFd_);
    lockFd_ = -1;
    cacheValid_ = false;
    file_.reset();
    ++documentVersion_;
  }

  // Takes the inter-process lock. When the lock file has been deleted under us (the
  // folder removed while the program runs) the folder and the lock file are made
  // again, so that this process and the next agree on one lock.
  FileLock Lock(int operation) {
    for (int attempt = 0; attempt < 2; ++attempt) {
      {
        FileLock lock(lockFd_, operation);
        struct stat st {};
        if (!lock || fstat(lockFd_, &st) != 0) return FileLock(-1, 0);
        if (st.st_nlink > 0) return FileLock(std::move(lock));
      }
      CloseLock();
      if (!OpenLock()) break;
    }
    return FileLock(-1, 0);
  }

  const std::string& FilePath() const { return filePath_; }

  // The generation is read for every cached read, so the lock file's first bytes are
  // mapped and read with a plain load instead of a pread() each time (as SQLite reads
  // its shared-memory file). The file is made at least that long first: a mapped page
  // wholly past the end of the file would fault. Without a mapping, pread() it is.
  void MapGeneration() {
    struct stat st {};
    if (fstat(lockFd_, &st) != 0) return;
    if (st.st_size < static_cast<off_t>(kGenerationBytes) && ftruncate(lockFd_, kGenerationBytes) != 0) return;
    void* map = mmap(nullptr, kGenerationBytes, PROT_READ, MAP_SHARED, lockFd_, 0);
    if (map != MAP_FAILED) generationMap_ = map;
  }

  std::uint64_t ReadGeneration() const {
    if (generationMap_ != nullptr) {
      // A load that races a writer's pwrite() may see a mix of old and new bytes;
      // such a mix never equals the generation held, so it only sends the read down
      // the locked path.
      std::uint64_t generation = __atomic_load_n(static_cast<const std::uint64_t*>(generationMap_), __ATOMIC_ACQUIRE);
      if constexpr (std::endian::native == std::endian::big) generation = __builtin_bswap64(generation);
      return generation;
    }
    unsigned char bytes[kGenerationBytes] = {};
    if (Retrying([&] { return pread(lockFd_, bytes, sizeof bytes, 0); }) != static_cast<ssize_t>(sizeof bytes))
      return 0;
    std::uint64_t generation = 0;
    for (int i = kGenerationBytes - 1; i >= 0; --i) generation = (generation << 8) | bytes[i];
    return generation;
  }

  void WriteGeneration(std::uint64_t generation) const {
    unsigned char bytes[kGenerationBytes];
    for (std::size_t i = 0; i < kGenerationBytes; ++i) bytes[i] = static_cast<unsigned char>(generation >> (8 * i));
    Retrying([&] { return pwrite(lockFd_, bytes, sizeof bytes, 0); });
  }

  // Whether the parsed copy is still the file on disk, asked without the file lock:
  // the decoder reads a value for every file it opens, and two flock() calls would
  // cost more than the rest of the read. A writer renames its file into place first
  // and bumps the generation after, and a write counts as done once it has bumped.
  // So a read that starts after a write is done sees the new generation and reloads;
  // a read that sees the old one overlaps every write it misses, and the old values
  // are as right for it as the new ones (even if a second write got the old inode
  // back with the same size and times). The stat catches hand edits, which do not
  // know about the counter.
  bool CacheIsCurrent() const {
    if (!cacheValid_ || ReadGeneration() != generation_) return false;
    struct stat st {};
    return lstat(FilePath().c_str(), &st) == 0 && FileIdentity::Of(st) == identity_;
  }

  // Under the lock: makes file_ the file as it is on disk (null when it cannot be
  // parsed at all), re-reading it only when it changed.
  bool Load() {
    const std::uint64_t generation = ReadGeneration();
    const std::string path = FilePath();
    struct stat st {};
    FileIdentity identity;
    if (lstat(path.c_str(), &st) == 0)
      identity = FileIdentity::Of(st);
    else if (errno != ENOENT)
      return false;
    if (cacheValid_ && generation == generation_ && identity == identity_) return true;

    cacheValid_ = false;
    std::string bytes;
    if (identity.exists) {
      // Only a regular file is read: a named pipe would block every program for
      // ever, a link to a device would be read until memory runs out.
      const int fd = OpenRegularFile(path, O_RDONLY);
      if (fd < 0 && errno != ENOENT) return false;
      if (fd >= 0) {
        const bool read = fstat(fd, &st) == 0 && ReadAll(fd, bytes);
        close(fd);
        if (!read) return false;
        identity = FileIdentity::Of(st);
      } else {
        identity = FileIdentity{};
      }
    }
    NoProblem();
    if (!identity.exists) {
      file_ = std::make_shared<RegFile>();
    } else if (auto parsed = RegFile::Parse(bytes)) {
      file_ = std::make_shared<RegFile>(std::move(*parsed));
    } else {
      file_.reset();
    }
    ++documentVersion_;
    generation_ = generation;
    identity_ = identity;
    cacheValid_ = true;
    return true;
  }

  // Under the exclusive lock, before anything is written over a file that cannot be
  // parsed: the file is kept as user.reg.YYYYMMDD-HHMMSS.bad (with -N when taken).
  bool ReplaceBadFile() {
    if (file_) return true;
    const std::string path = FilePath();
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
    for (int n = 0; n < 1000; ++n) {
      std::string aside = path + '.' + stamp;
      if (n > 0) aside += '-' + std::to_string(n);
      aside += ".bad";
      // A link leaves user.reg in place until the new file replaces it, so the old
      // content exists under one name or the other at every moment.
      if (link(path.c_str(), aside.c_str()) == 0) break;
      if (errno == EEXIST) continue;
      if (errno == ENOENT) break;  // gone meanwhile: nothing to keep
      // File systems without hard links: rename, checking first that the name is free
      // (every writer of ours holds the exclusive lock, so nobody races us for it).
      struct stat st {};
      if (lstat(aside.c_str(), &st) == 0) continue;
      if (rename(path.c_str(), aside.c_str()) != 0) return false;
      break;
    }
    file_ = std::make_shared<RegFile>();
    ++documentVersion_;
    return true;
  }

  // The cached file, ready for editing. Keys that are still open share it, so it is
  // copied unless the cache is its only owner.
  RegFile& Editable() {
    if (file_.use_count() != 1) {
      file_ = std::make_shared<RegFile>(*file_);
    } else {
      // Pairs with the release of the last other owner, whose reads must be over.
      std::atomic_thread_fence(std::memory_order_acquire);
    }
    cacheValid_ = false;  // until Write() has put the edit on disk
    ++documentVersion_;   // the caller is about to change it
    return *file_;
  }

  // Under the exclusive lock: puts file_ on disk through a temporary file and a rename.
  bool Write() {
    const std::string path = FilePath();
    const std::string temp = path + ".tmp";
    const std::string bytes = file_->Serialize();
    const int fd =
        Retrying([&] { return open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600); });
    if (fd < 0) return false;
    bool ok = WriteAll(fd, bytes);
    if (ok && kSyncBeforeRename) ok = fdatasync(fd) == 0;
    ok = close(fd) == 0 && ok;
    if (!ok || rename(temp.c_str(), path.c_str()) != 0) {
      unlink(temp.c_str());
      return false;
    }
    // The rename changed the inode's change time, so the identity is taken after it.
    struct stat st {};
    const std::uint64_t generation = ReadGeneration() + 1;
    WriteGeneration(generation);
    if (stat(path.c_str(), &st) == 0) {
      identity_ = FileIdentity::Of(st);
      generation_ = generation;
      cacheValid_ = true;
    }
    return true;
  }

  std::mutex queueMutex_;  // guards queue_ and the done flags of its writes
  std::vector<PendingWrite*> queue_;
  std::mutex mutex_;       // orders the threads of this process; everything below is under it
  bool resolved_ = false;  // resolvedXdg_ and resolvedHome_ hold what folder_ was made from
  std::string resolvedXdg_;
  std::string resolvedHome_;
  std::string folder_;
  std::string filePath_;
  int lockFd_ = -1;
  const void* generationMap_ = nullptr;  // the lock file's first kGenerationBytes, when mapped
  bool cacheValid_ = false;
  std::uint64_t generation_ = 0;
  FileIdentity identity_;
  std::shared_ptr<RegFile> file_;      // null: the file on disk cannot be parsed
  std::uint64_t documentVersion_ = 1;  // changes with every change of file_ (or of its content)
  std::array<KnownKey, 4> known_;
  std::size_t nextKnown_ = 0;
};

std::u16string_view RootName(SettingsRoot root) {
  switch (root) {
    case SettingsRoot::LocalMachine:
      return u"HKEY_LOCAL_MACHINE";
    case SettingsRoot::ClassesRoot:
      return u"HKEY_CLASSES_ROOT";
    case SettingsRoot::Default:
    case SettingsRoot::CurrentUser:
      break;
  }
  return u"HKEY_CURRENT_USER";
}

}  // namespace

void CloseKeyState(KeyState* state) {
  if (state != nullptr && state->createOnClose) SettingsFile::Instance().Set(state->keyPath, {}, nullptr);
  delete state;
}

std::unique_ptr<SettingsKey::Impl> CreateKey(SettingsRoot root, std::u16string_view keyPath, std::uint32_t access) {
  std::u16string fullPath(RootName(root));
  fullPath.push_back(u'\\');
  fullPath.append(keyPath);
  auto impl = std::make_unique<SettingsKey::Impl>();
  impl->access = access;
  if ((access & kKeyQueryValue) == 0) {
    if (!RegFile::IsValidKeyPath(fullPath)) return nullptr;
    // A key opened only to write is created with its first value, in the same
    // rewrite of the file, or else when it is closed: the file is read and written
    // once per value, not twice.
    impl->state = new KeyState{nullptr, std::move(fullPath), true};
    return impl;
  }
  auto opened = SettingsFile::Instance().OpenKey(fullPath);
  if (!opened.file) return nullptr;
  impl->state = new KeyState{std::move(opened.file), std::move(fullPath), false, opened.values};
  return impl;
}

bool QueryValue(const SettingsKey::Impl& key, std::u16string_view name, std::uint32_t* type, std::uint8_t* data,
                std::uint32_t* size) {
  if ((key.access & kKeyQueryValue) == 0) return false;
  const RegValue* value = key.state->file->Find(key.state->values, name);
  if (value == nullptr) return false;
  const auto needed = static_cast<std::uint32_t>(value->data.size());
  *type = value->type;
  if (data != nullptr) {
    if (*size < needed) {
      *size = needed;
      return false;
    }
    if (needed > 0) std::memcpy(data, value->data.data(), needed);
  }
  *size = needed;
  return true;
}

bool SetValue(const SettingsKey::Impl& key, std::u16string_view name, std::uint32_t type, const std::uint8_t* data,
              std::uint32_t size) {
  constexpr std::uint32_t kKeySetValue = 0x0002;
  if ((key.access & kKeySetValue) == 0) return false;
  RegValue value;
  value.type = type;
  if (size > 0) value.data.assign(data, data + size);
  const bool stored = SettingsFile::Instance().Set(key.state->keyPath, name, &value);
  if (stored) key.state->createOnClose = false;
  return stored;
}

}  // namespace tessaroven::settings_platform

namespace tessaroven {

std::u16string SettingsStoreLocation() {
  const std::string folder = settings_platform::SettingsFolder();
  return folder.empty() ? std::u16string() : FromOsString(folder + "/user.reg");
}

std::u16string SettingsStoreProblem() {
  std::lock_guard lock(settings_platform::g_problemMutex);
  return FromOsString(settings_platform::g_problem);
}

}  // namespace tessaroven
