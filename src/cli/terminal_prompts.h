// The command line's message boxes: the text goes to stderr; a question is asked on
// the terminal when there is one, and answered with Cancel (or No) when there is none (a
// script must never hang on a prompt nobody sees).
#pragma once

#include "base/user_prompts.h"

namespace tessaroven::cli {

class TerminalPrompts : public UserPrompts {
 public:
  int Show(std::u16string_view text, std::u16string_view caption, std::uint32_t style) override;
};

}  // namespace tessaroven::cli
