// A UserPrompts fake that answers from a script and records what was shown.
#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "base/user_prompts.h"

namespace tessaroven::test {

struct ShownPrompt {
  std::u16string text;
  std::u16string caption;
  std::uint32_t style = 0;
};

// Installed for its lifetime. Answers in the order given; once the script runs out
// it answers Cancel (OK for OK-only boxes), so a retry loop under test always ends.
class ScriptedPrompts : public UserPrompts {
 public:
  explicit ScriptedPrompts(std::deque<int> answers = {}) : answers_(std::move(answers)) { InstallUserPrompts(this); }
  ~ScriptedPrompts() override { InstallUserPrompts(nullptr); }

  int Show(std::u16string_view text, std::u16string_view caption, std::uint32_t style) override {
    std::lock_guard lock(mutex_);
    shown_.push_back({std::u16string(text), std::u16string(caption), style});
    if (!answers_.empty()) {
      const int answer = answers_.front();
      answers_.pop_front();
      return answer;
    }
    return (style & kPromptButtonMask) == kPromptOk ? kAnswerOk : kAnswerCancel;
  }

  std::vector<ShownPrompt> Shown() const {
    std::lock_guard lock(mutex_);
    return shown_;
  }

 private:
  mutable std::mutex mutex_;
  std::deque<int> answers_;
  std::vector<ShownPrompt> shown_;
};

}  // namespace tessaroven::test
