#include "app/single_instance.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

#include "base/command_line.h"

namespace tessaroven {
namespace {

constexpr std::chrono::milliseconds kForever{-1};
constexpr std::chrono::milliseconds kJustLook{0};
constexpr std::chrono::milliseconds kSenderRetry{50};

std::u16string ObjectName(std::u16string_view prefix) { return std::u16string(prefix) + std::u16string(kChannelName); }

}  // namespace

std::u16string TrimSpaces(std::u16string_view text) {
  while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
  while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
  return std::u16string(text);
}

std::u16string ExtractArgument(std::u16string_view commandLine) {
  std::size_t rest;
  if (!commandLine.empty() && commandLine.front() == u'"') {
    const std::size_t closing = commandLine.find(u'"', 1);
    rest = closing == std::u16string_view::npos ? commandLine.size() : closing + 1;
  } else {
    rest = commandLine.find(u' ', 1);
    if (rest == std::u16string_view::npos) rest = commandLine.size();
  }
  std::u16string argument = TrimSpaces(commandLine.substr(rest));
  // One argument in quotes (a folder with spaces, as a shell verb or the Linux
  // command line passes it) is that argument without its quotes.
  if (!argument.empty() && argument.front() == u'"') {
    std::vector<std::u16string> words = SplitWindowsCommandLine(argument);
    if (words.size() == 1) return std::move(words.front());
  }
  return argument;
}

std::u16string JoinCommandLine(std::u16string_view program, const std::vector<std::u16string>& arguments) {
  // A quote inside the program path would end the quoted part early and leak the
  // rest of the path into the argument; the path itself is dropped anyway.
  std::u16string path;
  for (char16_t c : program) {
    if (c != u'"') path.push_back(c);
  }
  std::u16string line = u"\"";
  AppendQuotedCommandValue(line, path);
  line.push_back(u'"');
  // Each argument stays one word: a folder named "x -crashed crash-1.dmp" must not
  // read as the crash restart's switch.
  for (const auto& argument : arguments) line += u" " + QuoteCommandWord(argument);
  return line;
}

bool InstanceChannel::Open() {
  Close();
  mutex_.Create(ObjectName(u"SMutex_"));
  receiver_.Create(ObjectName(u"NReceiver_"), kReceiverRecordSize);
  return block_.Create(ObjectName(u"NSharedData_"), kChannelBlockSize);
}

void InstanceChannel::Close() {
  if (holdsMutex_) Unlock();
  receiver_.Close();
  block_.Close();
  mutex_.Close();
}

bool InstanceChannel::Lock() {
  if (!mutex_.Wait(kForever)) return false;
  holdsMutex_ = true;
  return true;
}

void InstanceChannel::Unlock() {
  mutex_.Release();
  holdsMutex_ = false;
}

ProcessIdentity InstanceChannel::Receiver() const {
  ProcessIdentity receiver;
  if (!receiver_.IsOpen()) return receiver;
  std::memcpy(&receiver.id, receiver_.Data(), sizeof receiver.id);
  std::memcpy(&receiver.started, receiver_.Data() + sizeof receiver.id, sizeof receiver.started);
  return receiver;
}

void InstanceChannel::SetReceiver(const ProcessIdentity& receiver) {
  if (!receiver_.IsOpen()) return;
  std::memcpy(receiver_.Data(), &receiver.id, sizeof receiver.id);
  std::memcpy(receiver_.Data() + sizeof receiver.id, &receiver.started, sizeof receiver.started);
}

void InstanceChannel::Write(const std::array<std::uint8_t, kChannelBlockSize>& bytes) {
  if (block_.IsOpen()) std::memcpy(block_.Data(), bytes.data(), kChannelBlockSize);
}

void InstanceChannel::Read(std::array<std::uint8_t, kChannelBlockSize>& bytes) const {
  if (block_.IsOpen()) std::memcpy(bytes.data(), block_.Data(), kChannelBlockSize);
}

void SingleInstance::Open() {
  accept_.Create(kAcceptEventName);
  pickup_.Create(kPickupEventName);
  channel_.Open();
}

void SingleInstance::Close() {
  channel_.Close();
  pickup_.Close();
  accept_.Close();
}

void SingleInstance::BecomeReceiver() {
  const bool locked = channel_.Lock();
  channel_.SetReceiver(CurrentProcessIdentity());
  if (locked) channel_.Unlock();
  accept_.Set();
}

bool SingleInstance::Send(std::u16string_view text, const std::function<void()>& whileHeld) {
  for (;;) {
    // Without a mutex there is nothing to queue on; the path is still offered.
    const bool locked = channel_.Lock();
    if (!pickup_.Wait(kJustLook)) break;
    // The previous path has not been collected yet. A receiver that hangs keeps us
    // waiting (deliberately, without a time-out); one that is gone never collects.
    if (locked && !ProcessIsRunning(channel_.Receiver())) {
      channel_.SetReceiver(CurrentProcessIdentity());
      channel_.Unlock();
      return false;
    }
    if (locked) channel_.Unlock();
    std::this_thread::sleep_for(kSenderRetry);
  }
  std::array<std::uint8_t, kChannelBlockSize> staging{};
  const std::size_t units = std::min(text.size() + 1, kChannelBlockUnits);
  for (std::size_t i = 0; i < units; ++i) {
    const char16_t unit = i < text.size() ? text[i] : u'\0';
    staging[2 * i] = static_cast<std::uint8_t>(unit & 0xFF);
    staging[2 * i + 1] = static_cast<std::uint8_t>(unit >> 8);
  }
  channel_.Write(staging);
  if (whileHeld) whileHeld();
  pickup_.Set();
  if (channel_.HoldsMutex()) channel_.Unlock();
  return true;
}

bool SingleInstance::Receive(const std::function<void(const std::u16string& path)>& goToPath) {
  if (!accept_.Wait(kJustLook)) return false;
  const bool locked = channel_.Lock();
  // Whoever answers is the receiver a waiting sender looks for.
  if (locked) {
    const ProcessIdentity self = CurrentProcessIdentity();
    if (channel_.Receiver() != self) channel_.SetReceiver(self);
  }
  if (!pickup_.Wait(kJustLook)) {
    if (locked) channel_.Unlock();
    return false;
  }
  std::array<std::uint8_t, kChannelBlockSize> buffer{};
  channel_.Read(buffer);
  pickup_.Reset();
  if (locked) channel_.Unlock();

  // At most the block's 260 units, whether or not a terminator came with them.
  std::u16string path;
  for (std::size_t i = 0; i < kChannelBlockUnits; ++i) {
    const auto unit = static_cast<char16_t>(buffer[2 * i] | (buffer[2 * i + 1] << 8));
    if (unit == u'\0') break;
    path.push_back(unit);
  }
  path = TrimSpaces(path);
  if (path.size() < 3) return false;
  if (goToPath) goToPath(path);
  return true;
}

}  // namespace tessaroven
