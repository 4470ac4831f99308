#include "cli/terminal_prompts.h"

#include <cstdio>
#include <iostream>
#include <mutex>
#include <string>

#include "base/text.h"
#include "cli/terminal.h"

namespace tessaroven::cli {

int TerminalPrompts::Show(std::u16string_view text, std::u16string_view caption, std::uint32_t style) {
  static std::mutex mutex;  // one question at a time, even from workers
  std::lock_guard lock(mutex);
  std::cerr << Utf16ToUtf8(caption) << ": " << Utf16ToUtf8(text) << '\n';
  if ((style & kPromptButtonMask) != kPromptRetryCancel) return kAnswerOk;
  if (!StdinIsTerminal()) return kAnswerCancel;
  std::cerr << "[r]etry or [c]ancel? " << std::flush;
  std::string answer;
  if (!std::getline(std::cin, answer)) return kAnswerCancel;
  return !answer.empty() && (answer[0] == 'r' || answer[0] == 'R') ? kAnswerRetry : kAnswerCancel;
}

}  // namespace tessaroven::cli
