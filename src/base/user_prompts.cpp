#include "base/user_prompts.h"

#include <atomic>

namespace tessaroven {
namespace {

std::atomic<UserPrompts*> g_prompts{nullptr};

}  // namespace

void InstallUserPrompts(UserPrompts* prompts) { g_prompts.store(prompts, std::memory_order_release); }

int ShowPrompt(std::u16string_view text, std::u16string_view caption, std::uint32_t style) {
  if (UserPrompts* prompts = g_prompts.load(std::memory_order_acquire)) return prompts->Show(text, caption, style);
  return (style & kPromptButtonMask) == kPromptOk ? kAnswerOk : kAnswerCancel;
}

}  // namespace tessaroven
