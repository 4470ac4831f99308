// XFile: the one file object through which the program reads and writes files.
//
// An XFile holds a path and an OS file handle. It is opened with a Win32-style
// access mask and creation disposition (the same values on every platform), and
// then read, written and positioned. Errors are returned, never thrown. An object
// opened as interactive answers failures with a retry/cancel prompt through
// ShowPrompt (base/user_prompts.h) and repeats the operation while the user picks
// Retry; a non-interactive one fails silently, which is what batch work (scanning,
// temporary files, list files) wants.
//
// Reading past the end of the file is not a failure: Read returns the short count
// and shows nothing, even when interactive.
//
// Ownership: an XFile closes its handle when closed or destroyed, unless the handle
// was attached without ownership (Attach with ownsHandle = false). One object
// belongs to one thread at a time; distinct objects may be used on distinct threads.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace tessaroven {

// Access masks and creation dispositions carry the Win32 values under the Win32
// names. A translation unit that has already included <windows.h> sees the
// platform's macros of the same names and values instead of these constants, so
// either spelling works whatever the include order.
#ifndef GENERIC_READ
inline constexpr std::uint32_t GENERIC_READ = 0x80000000u;
#endif
#ifndef GENERIC_WRITE
inline constexpr std::uint32_t GENERIC_WRITE = 0x40000000u;
#endif
#ifndef CREATE_NEW
inline constexpr std::uint32_t CREATE_NEW = 1;  // fails if the file exists
#endif
#ifndef CREATE_ALWAYS
inline constexpr std::uint32_t CREATE_ALWAYS = 2;  // creates, or truncates an existing file
#endif
#ifndef OPEN_EXISTING
inline constexpr std::uint32_t OPEN_EXISTING = 3;  // fails if the file does not exist
#endif
#ifndef OPEN_ALWAYS
inline constexpr std::uint32_t OPEN_ALWAYS = 4;  // opens, or creates a missing file
#endif
#ifndef TRUNCATE_EXISTING
inline constexpr std::uint32_t TRUNCATE_EXISTING = 5;  // truncates; needs GENERIC_WRITE
#endif

// Seek modes. Mode 2 moves relative to the current position; every other value
// moves from the start. There is deliberately no end-relative mode.
inline constexpr int kSeekFromStart = 0;
inline constexpr int kSeekFromCurrent = 2;

// The OS handle as an integer: a file descriptor on Linux, a HANDLE on Windows.
// All bits set means "no handle" on both (-1 and INVALID_HANDLE_VALUE).
using NativeFileHandle = std::intptr_t;
inline constexpr NativeFileHandle kInvalidFileHandle = -1;

// The prompt texts, shared with the tests.
inline constexpr std::u16string_view kFileReadErrorCaption = u"File Read Error";
inline constexpr std::u16string_view kFileWriteErrorCaption = u"File Write Error";
inline constexpr std::u16string_view kNullBufferWriteText = u"Error writing a NULL buffer to file";

class XFile {
 public:
  XFile() = default;
  explicit XFile(std::u16string path) : path_(std::move(path)) {}
  ~XFile() { Close(); }

  XFile(const XFile&) = delete;
  XFile& operator=(const XFile&) = delete;
  XFile(XFile&& other) noexcept;
  XFile& operator=(XFile&& other) noexcept;

  const std::u16string& Path() const { return path_; }
  // Takes effect with the next Open; an open handle is not touched.
  void SetPath(std::u16string path) { path_ = std::move(path); }

  // Opens Path() (an open handle is closed first). On Linux a folder never opens
  // as a file, and the descriptor is not inherited by child processes. When
  // `interactive`, a failure prompts "Unable to open '<path>'" (caption by the
  // access mask) and Retry tries again. Returns whether the object is open.
  bool Open(std::uint32_t access, std::uint32_t disposition, bool interactive);
  bool Open(std::u16string path, std::uint32_t access, std::uint32_t disposition, bool interactive) {
    path_ = std::move(path);
    return Open(access, disposition, interactive);
  }

  // Wraps a handle opened elsewhere. With ownsHandle = false, Close only forgets
  // it; the caller stays responsible for closing it.
  void Attach(NativeFileHandle handle, bool ownsHandle, bool interactive = false);

  bool IsOpen() const { return handle_ != kInvalidFileHandle; }
  bool OwnsHandle() const { return ownsHandle_; }
  bool IsInteractive() const { return interactive_; }
  NativeFileHandle Handle() const { return handle_; }

  // Reads up to `count` bytes; returns the number read. Fewer than asked means the
  // end of the file, or a failure the user cancelled (or that was not prompted).
  // A closed object reads nothing.
  std::uint32_t Read(void* buffer, std::uint32_t count);
  // Writes all `count` bytes; true when every byte reached the file. A null buffer
  // is refused unless `count` is 0, which succeeds without touching the file.
  bool Write(const void* buffer, std::uint32_t count);
  // Moves the position (see kSeekFromStart / kSeekFromCurrent). False when closed
  // or when the result would lie before the start.
  bool Seek(std::int64_t offset, int mode);
  // The file's size in bytes; 0 when closed.
  std::uint64_t Size() const;
  // Closes an owned handle; closing a closed object does nothing.
  void Close();

 private:
  // Platform parts. They report failure without prompting; the retry loops are
  // shared.
  static NativeFileHandle OsOpen(const std::u16string& osPath, std::uint32_t access, std::uint32_t disposition);
  // Transfer as much as possible into/from [buffer, buffer + count). `done`
  // receives the bytes moved; false on an OS error (end of file is not one).
  bool OsRead(std::uint8_t* buffer, std::uint32_t count, std::uint32_t& done);
  bool OsWrite(const std::uint8_t* buffer, std::uint32_t count, std::uint32_t& done);
  bool OsSeek(std::int64_t offset, bool fromCurrent);
  std::uint64_t OsSize() const;
  void OsClose();

  std::u16string path_;
  NativeFileHandle handle_ = kInvalidFileHandle;
  bool interactive_ = false;
  bool ownsHandle_ = false;
};

}  // namespace tessaroven
