// Message boxes of the core, without a window.
//
// The core never opens a window. Every message the program shows (file retry
// prompts, refusals, errors) goes through the one UserPrompts object installed by
// the front-end: the window installs message boxes, the CLI a terminal version,
// tests a scripted fake. With none installed every prompt answers as if the user
// had pressed Cancel (or OK where that is the only button), so batch work never
// blocks on a question nobody can see.
#pragma once

#include <cstdint>
#include <string_view>

namespace tessaroven {

// Styles and answers carry the Win32 MessageBox values, so the window can hand them
// straight to the platform on Windows.
inline constexpr std::uint32_t kPromptOk = 0x00;
inline constexpr std::uint32_t kPromptYesNo = 0x04;
inline constexpr std::uint32_t kPromptRetryCancel = 0x05;
inline constexpr std::uint32_t kPromptIconError = 0x10;
inline constexpr std::uint32_t kPromptIconQuestion = 0x20;
inline constexpr std::uint32_t kPromptIconWarning = 0x30;
inline constexpr std::uint32_t kPromptIconInformation = 0x40;
inline constexpr std::uint32_t kPromptButtonMask = 0x0F;

inline constexpr int kAnswerOk = 1;
inline constexpr int kAnswerCancel = 2;
inline constexpr int kAnswerRetry = 4;
inline constexpr int kAnswerYes = 6;
inline constexpr int kAnswerNo = 7;

// The title of every message box the program shows.
inline constexpr std::u16string_view kMessageTitle = u"Tessaroven Batch Converter";

class UserPrompts {
 public:
  virtual ~UserPrompts() = default;
  // Shows `text` under `caption` with the buttons and icon of `style`; returns
  // the button pressed. May be called from any thread.
  virtual int Show(std::u16string_view text, std::u16string_view caption, std::uint32_t style) = 0;
};

// Installs the front-end's prompts (null restores the silent default). The object
// must outlive every prompt; install it before worker threads start.
void InstallUserPrompts(UserPrompts* prompts);

// Shows a prompt through the installed object, or answers silently.
int ShowPrompt(std::u16string_view text, std::u16string_view caption, std::uint32_t style);

}  // namespace tessaroven
