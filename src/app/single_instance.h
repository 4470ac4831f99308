// The single-instance hand-off: a second start of the selector with a path passes
// that path to the selector already running and ends, instead of opening a window.
//
// Four named objects make the channel (see named_objects.h for how they behave):
//   accept event   "evtBCCanAcceptFiles"  set by the first selector while it can
//                  take paths (reset while it hands files to the converter);
//   pick-up event  "evtPickupNewShr"      set by a sender, reset by the receiver;
//   channel mutex  "SMutex_ShrPassNewFolderSel" orders senders and receivers;
//   channel block  "NSharedData_ShrPassNewFolderSel", 520 bytes: one path as
//                  UTF-16LE, ended by a 0 unit unless it fills all 260 units.
// A sender waits, in 50 ms steps and for as long as it takes, until the previous
// path was collected; so paths are handed over one at a time, in the order the
// senders got the mutex, and none is overwritten.
//
// All of this runs on the main thread of each process: the receiver on the main
// window's 50 ms tick.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/named_objects.h"

namespace tessaroven {

inline constexpr std::u16string_view kAcceptEventName = u"evtBCCanAcceptFiles";
inline constexpr std::u16string_view kPickupEventName = u"evtPickupNewShr";
inline constexpr std::u16string_view kChannelName = u"ShrPassNewFolderSel";
inline constexpr std::size_t kChannelBlockSize = 520;
inline constexpr std::size_t kChannelBlockUnits = kChannelBlockSize / 2;

// Only the space character counts as white space here; tabs stay.
std::u16string TrimSpaces(std::u16string_view text);

// The argument of a full command line: the program's own path dropped (a quoted
// one up to and including its closing quote, otherwise up to the first space
// after the first character), the rest trimmed of spaces.
std::u16string ExtractArgument(std::u16string_view commandLine);

// The command line as Windows would hand it over: the program path in quotes,
// then the arguments joined by single spaces. Linux builds one from argv so that
// the same extraction serves both.
std::u16string JoinCommandLine(std::u16string_view program, const std::vector<std::u16string>& arguments);

// This process's command line: GetCommandLineW on Windows (argc and argv are not
// used there), argv through the lossless UTF-8 conversion on Linux.
std::u16string ProcessCommandLine(int argc, char** argv);

// The mutex and the block. Open closes what an earlier Open left.
class InstanceChannel {
 public:
  // True only when the block exists and is mapped; the mutex alone is not enough.
  bool Open();
  void Close();

  // Waits for the mutex with no time-out; false only when it cannot be had at all
  // (the mutex could not be created).
  bool Lock();
  void Unlock();
  bool HoldsMutex() const { return holdsMutex_; }
  bool BlockLocked() const { return blockLocked_; }

  // Whole-block copies; nothing happens when the block is missing. Call with the
  // mutex held.
  void Write(const std::array<std::uint8_t, kChannelBlockSize>& bytes);
  void Read(std::array<std::uint8_t, kChannelBlockSize>& bytes) const;

 private:
  NamedMutex mutex_;
  NamedSharedBlock block_;
  bool holdsMutex_ = false;
  bool blockLocked_ = false;
};

// The process's end of the hand-off: both events and the channel, from start-up
// until the process ends.
class SingleInstance {
 public:
  // Creates both events (noting whether each existed) and opens the channel.
  void Open();
  void Close();

  NamedEvent& AcceptEvent() { return accept_; }
  NamedEvent& PickupEvent() { return pickup_; }
  InstanceChannel& Channel() { return channel_; }

  // Sender: waits until any earlier path was collected, then puts `text` into the
  // block (cut to 520 bytes) and signals the pick-up event. Never gives up.
  // `whileHeld` runs with the mutex still held, right after the block was written.
  void Send(std::u16string_view text, const std::function<void()>& whileHeld = {});

  // Receiver, once per tick: when this selector accepts paths and one is waiting,
  // collects it and passes it, trimmed of spaces, to `goToPath`; paths shorter than
  // three characters are dropped. True when a path was passed on.
  bool Receive(const std::function<void(const std::u16string& path)>& goToPath);

 private:
  NamedEvent accept_;
  NamedEvent pickup_;
  InstanceChannel channel_;
};

}  // namespace tessaroven
