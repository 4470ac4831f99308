#include "base/xfile.h"

#include "base/path.h"
#include "base/user_prompts.h"

namespace tessaroven {
namespace {

constexpr std::uint32_t kRetryCancelStyle = kPromptRetryCancel | kPromptIconInformation;  // 0x45
constexpr std::uint32_t kOkStyle = kPromptOk | kPromptIconInformation;                    // 0x40

std::u16string Quoted(std::u16string_view lead, const std::u16string& path) {
  std::u16string text(lead);
  text += path;
  text += u'\'';
  return text;
}

bool AskRetry(std::u16string_view text, std::u16string_view caption) {
  return ShowPrompt(text, caption, kRetryCancelStyle) == kAnswerRetry;
}

}  // namespace

XFile::XFile(XFile&& other) noexcept
    : path_(std::move(other.path_)),
      handle_(std::exchange(other.handle_, kInvalidFileHandle)),
      interactive_(other.interactive_),
      ownsHandle_(std::exchange(other.ownsHandle_, false)) {}

XFile& XFile::operator=(XFile&& other) noexcept {
  if (this != &other) {
    Close();
    path_ = std::move(other.path_);
    handle_ = std::exchange(other.handle_, kInvalidFileHandle);
    interactive_ = other.interactive_;
    ownsHandle_ = std::exchange(other.ownsHandle_, false);
  }
  return *this;
}

bool XFile::Open(std::uint32_t access, std::uint32_t disposition, bool interactive) {
  Close();
  interactive_ = interactive;
  ownsHandle_ = true;
  const std::u16string osPath = MakeLongPath(path_);
  // Truncating is a write. Windows documents the refusal without GENERIC_WRITE,
  // but not every implementation of it enforces it, so it is enforced here.
  const bool allowed = !osPath.empty() && (disposition != TRUNCATE_EXISTING || (access & GENERIC_WRITE));
  for (;;) {
    if (allowed) handle_ = OsOpen(osPath, access, disposition);
    if (IsOpen() || !interactive_) return IsOpen();
    // Any request that may change the file counts as a write for the caption.
    const std::u16string_view caption = (access & GENERIC_WRITE) ? kFileWriteErrorCaption : kFileReadErrorCaption;
    if (!AskRetry(Quoted(u"Unable to open '", path_), caption)) return false;
  }
}

void XFile::Attach(NativeFileHandle handle, bool ownsHandle, bool interactive) {
  Close();
  handle_ = handle;
  ownsHandle_ = ownsHandle;
  interactive_ = interactive;
}

std::uint32_t XFile::Read(void* buffer, std::uint32_t count) {
  if (!IsOpen() || buffer == nullptr) return 0;
  auto* bytes = static_cast<std::uint8_t*>(buffer);
  std::uint32_t total = 0;
  for (;;) {
    std::uint32_t done = 0;
    const bool ok = OsRead(bytes + total, count - total, done);
    total += done;
    // A short count without an error is the end of the file: no prompt.
    if (ok || total == count || !interactive_) return total;
    // A retry continues after the bytes that did arrive, so nothing is read twice.
    if (!AskRetry(Quoted(u"Unable to read from '", path_), kFileReadErrorCaption)) return total;
  }
}

bool XFile::Write(const void* buffer, std::uint32_t count) {
  if (buffer == nullptr) {
    if (count == 0) return true;
    if (interactive_) ShowPrompt(kNullBufferWriteText, kFileWriteErrorCaption, kOkStyle);
    return false;
  }
  if (!IsOpen()) return false;
  const auto* bytes = static_cast<const std::uint8_t*>(buffer);
  std::uint32_t total = 0;
  for (;;) {
    std::uint32_t done = 0;
    OsWrite(bytes + total, count - total, done);
    total += done;
    if (total == count) return true;
    if (!interactive_) return false;
    if (!AskRetry(Quoted(u"Unable to write to '", path_), kFileWriteErrorCaption)) return false;
  }
}

bool XFile::Seek(std::int64_t offset, int mode) {
  if (!IsOpen()) return false;
  return OsSeek(offset, mode == kSeekFromCurrent);
}

std::uint64_t XFile::Size() const { return IsOpen() ? OsSize() : 0; }

void XFile::Close() {
  if (!IsOpen()) return;
  if (ownsHandle_) OsClose();
  handle_ = kInvalidFileHandle;
}

}  // namespace tessaroven
