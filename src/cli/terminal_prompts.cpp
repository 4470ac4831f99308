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
  const std::uint32_t buttons = style & kPromptButtonMask;
  if (buttons != kPromptRetryCancel && buttons != kPromptYesNo) return kAnswerOk;
  // The cautious answer when nobody can answer: Cancel, or No.
  const int cautious = buttons == kPromptYesNo ? kAnswerNo : kAnswerCancel;
  if (!StdinIsTerminal()) return cautious;
  std::cerr << (buttons == kPromptYesNo ? "[y]es or [n]o? " : "[r]etry or [c]ancel? ") << std::flush;
  std::string answer;
  if (!std::getline(std::cin, answer) || answer.empty()) return cautious;
  const char first = static_cast<char>(answer[0] | 0x20);
  if (buttons == kPromptYesNo) return first == 'y' ? kAnswerYes : kAnswerNo;
  return first == 'r' ? kAnswerRetry : kAnswerCancel;
}

}  // namespace tessaroven::cli
