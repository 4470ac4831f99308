// The window's UserPrompts: the core's questions and messages as Qt message boxes.
//
// Show may be called from any thread: a worker's question is asked on the thread of
// the event loop, and the worker waits for the answer, as it would for MessageBoxW.
#pragma once

#include "base/user_prompts.h"

namespace tessaroven {

class MessageBoxPrompts : public UserPrompts {
 public:
  int Show(std::u16string_view text, std::u16string_view caption, std::uint32_t style) override;
};

}  // namespace tessaroven
