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
// A receiver that no longer exists is another matter: a fifth object, the receiver
// record "NReceiver_ShrPassNewFolderSel" (the process id and start time of the
// selector that last signalled the accept event or collected a path), lets a
// waiting sender notice within its 50 ms step that the receiver is gone (killed
// while a path waited in the block). That sender then takes over as the first
// selector and opens its own path; the path left in the block is collected by its
// window. A receiver that lives but hangs still keeps its senders waiting.
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
inline constexpr std::size_t kReceiverRecordSize = 16;

// Only the space character counts as white space here; tabs stay.
std::u16string TrimSpaces(std::u16string_view text);

// The argument of a full command line: the program's own path dropped (a quoted
// one up to and including its closing quote, otherwise up to the first space
// after the first character), the rest trimmed of spaces. When that rest is one
// quoted word by the Windows rules ("D:\My Music"), the word without its quotes.
std::u16string ExtractArgument(std::u16string_view commandLine);

// The command line as Windows would hand it over: the program path in quotes,
// then the arguments joined by single spaces, each quoted by the Windows rules
// where it needs it, so that every argument stays one word. Linux builds one from
// argv so that the same extraction (and the crash restart's look for its switch)
// serves both.
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

  // Whole-block copies; nothing happens when the block is missing. Call with the
  // mutex held.
  void Write(const std::array<std::uint8_t, kChannelBlockSize>& bytes);
  void Read(std::array<std::uint8_t, kChannelBlockSize>& bytes) const;

  // The receiver record (unknown when missing). Call with the mutex held.
  ProcessIdentity Receiver() const;
  void SetReceiver(const ProcessIdentity& receiver);

 private:
  NamedMutex mutex_;
  NamedSharedBlock block_;
  NamedSharedBlock receiver_;
  bool holdsMutex_ = false;
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

  // The first selector: records this process as the receiver and signals the
  // accept event.
  void BecomeReceiver();

  // Sender: waits until any earlier path was collected, then puts `text` into the
  // block (cut to 520 bytes) and signals the pick-up event, and returns true. It
  // gives up only when the recorded receiver no longer runs: it then records this
  // process as the receiver and returns false, and this process must go on as the
  // first selector (opening `text` itself). `whileHeld` runs with the mutex still
  // held, right after the block was written.
  bool Send(std::u16string_view text, const std::function<void()>& whileHeld = {});

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
