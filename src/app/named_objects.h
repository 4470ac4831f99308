// Named kernel objects shared between processes of the same user: manual-reset
// events, a mutex and a shared memory block, found by name the way Windows names
// them ("evtBCCanAcceptFiles", "SMutex_ShrPassNewFolderSel", ...).
//
// On Windows these are the kernel's own objects. On Linux each object is a small
// file in the user's private folder ($XDG_RUNTIME_DIR/tessaroven/, else
// /tmp/tessaroven-<uid>/) mapped into every process that opens it; it holds a
// process-shared robust mutex and condition variable beside its state. Both sides
// behave alike where the program depends on it:
//  - "existed before" is true only while another live process (or another handle
//    in this one) has the object open; an object whose last holder ended, even by
//    SIGKILL, starts afresh on the next open, with its old state discarded;
//  - a mutex whose owner ended without releasing it is handed to the next waiter
//    (Windows calls it abandoned), never left locked for ever;
//  - one name is one object: opening a name as another kind of object fails.
// On Linux the folder must be the user's own and writable by nobody else; if it
// is not, every open fails and Error() says why, so no other user can signal the
// selector or put a path into its block.
//
// Time-outs: negative waits for ever, zero only looks.
//
// Each object is owned by one thread at a time; the mutex, like a Windows mutex,
// belongs to the thread that waited for it and must be released by that thread.
// Destroying or re-opening an object closes it; a mutex still held is released.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tessaroven {

// What every named object has in common: the open handle, whether the object
// existed before this open, and why the last open failed.
class NamedObject {
 public:
  NamedObject();
  virtual ~NamedObject();
  NamedObject(const NamedObject&) = delete;
  NamedObject& operator=(const NamedObject&) = delete;

  bool IsOpen() const;
  // True when the creating call found the object already there.
  bool ExistedBefore() const;
  // Why the last Create failed, in words for a diagnostics report; empty on success.
  const std::u16string& Error() const;
  // Closes the handle; a mutex this handle still holds is released first.
  void Close();

  struct Impl;

 protected:
  std::unique_ptr<Impl> impl_;
};

// A manual-reset event, not signalled when first created.
class NamedEvent : public NamedObject {
 public:
  // Creates the event or opens the existing one, closing any earlier handle first.
  bool Create(std::u16string_view name);
  bool Set();
  bool Reset();
  // True when the event is (or becomes, within `timeout`) signalled.
  bool Wait(std::chrono::milliseconds timeout) const;
};

// A mutex, not owned when first created. Recursive, as on Windows.
class NamedMutex : public NamedObject {
 public:
  bool Create(std::u16string_view name);
  // True when this thread now owns the mutex (also when its last owner died
  // holding it).
  bool Wait(std::chrono::milliseconds timeout);
  bool Release();
};

// A block of shared memory of a fixed size, zero when first created. Its bytes
// have no lock of their own: the users agree on a mutex.
class NamedSharedBlock : public NamedObject {
 public:
  // True only when the block exists and is mapped whole into this process.
  bool Create(std::u16string_view name, std::size_t size);
  std::uint8_t* Data() const;
  std::size_t Size() const;
};

// Linux: the folder that holds the objects, as Create would use it now (not
// checked); empty on Windows, where the kernel keeps them.
std::u16string NamedObjectFolder();

// A process as another process can recognise it later: its id and its start time
// (so that a new process that got the id of an ended one is not taken for it).
// All zero: nobody.
struct ProcessIdentity {
  std::uint64_t id = 0;
  std::uint64_t started = 0;
  bool Known() const { return id != 0; }
  bool operator==(const ProcessIdentity&) const = default;
};

// This process.
ProcessIdentity CurrentProcessIdentity();
// Whether that process still runs (a process that has ended but was not yet waited
// for by its parent counts as ended). True for an unknown identity, so that nobody
// is declared gone on no evidence.
bool ProcessIsRunning(const ProcessIdentity& process);

}  // namespace tessaroven
