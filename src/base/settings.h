// The settings store: named values under registry-style keys.
//
// On Windows these are the registry itself. On Linux they live in one text file in
// the registry-export format ($XDG_CONFIG_HOME/tessaroven/user.reg) that several
// threads and processes share safely. Both behave alike: each call opens the key,
// does one thing and closes it; a missing key is created, even by a read; a value
// of another type than asked for reads as absent; an empty key path makes every
// call a no-op. Errors are never reported: a failed read yields 0 or empty text,
// a failed write false.
//
// Key paths are written with backslashes on every platform, as in the registry
// ("Software\Orvandelle\Tessaroven\Ref"). Every function may be called from any
// thread once the two defaults are set at start-up.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessaroven {

enum class SettingsRoot { Default, CurrentUser, LocalMachine, ClassesRoot };

// Registry value types; only these are written by the program.
inline constexpr std::uint32_t kRegSz = 1;
inline constexpr std::uint32_t kRegExpandSz = 2;
inline constexpr std::uint32_t kRegBinary = 3;
inline constexpr std::uint32_t kRegDword = 4;

// Access masks of SettingsOpenKey.
inline constexpr std::uint32_t kKeyQueryValue = 0x0001;
inline constexpr std::uint32_t kKeyWrite = 0x20006;

inline constexpr std::u16string_view kDefaultSettingsKeyPath = u"Software\\Orvandelle\\Tessaroven";

// Set once at start-up, before any other thread runs.
void SetDefaultSettingsRoot(SettingsRoot root);
void SetDefaultSettingsKeyPath(std::u16string_view keyPath);
SettingsRoot DefaultSettingsRoot();
std::u16string DefaultSettingsKeyPath();

// An open key; closed when destroyed. Empty (false) when the open failed.
class SettingsKey {
 public:
  struct Impl;
  SettingsKey();
  explicit SettingsKey(std::unique_ptr<Impl> impl);
  SettingsKey(SettingsKey&&) noexcept;
  SettingsKey& operator=(SettingsKey&&) noexcept;
  ~SettingsKey();
  explicit operator bool() const { return impl_ != nullptr; }
  Impl* impl() const { return impl_.get(); }

 private:
  std::unique_ptr<Impl> impl_;
};

// `keyPath` absent means the default key path; an empty one means "no key".
using SettingsKeyPath = std::optional<std::u16string_view>;

SettingsKey SettingsOpenKey(std::uint32_t access, SettingsRoot root = SettingsRoot::Default,
                            SettingsKeyPath keyPath = std::nullopt);
std::uint32_t SettingsGetDword(std::u16string_view name, SettingsRoot root = SettingsRoot::Default,
                               SettingsKeyPath keyPath = std::nullopt);
std::u16string SettingsGetString(std::u16string_view name, SettingsRoot root = SettingsRoot::Default,
                                 SettingsKeyPath keyPath = std::nullopt);
bool SettingsSetDword(std::uint32_t value, std::u16string_view name, SettingsRoot root = SettingsRoot::Default,
                      SettingsKeyPath keyPath = std::nullopt);
bool SettingsSetValue(const void* data, std::uint32_t byteCount, std::uint32_t type, std::u16string_view name,
                      SettingsRoot root = SettingsRoot::Default, SettingsKeyPath keyPath = std::nullopt);

// Stores text as REG_SZ with its terminating NUL, the way every text setting is kept.
bool SettingsSetString(std::u16string_view text, std::u16string_view name, SettingsRoot root = SettingsRoot::Default,
                       SettingsKeyPath keyPath = std::nullopt);

// Where the current user's settings live, for messages and diagnostics: the
// settings file on Linux, the registry key on Windows.
std::u16string SettingsStoreLocation();

// Linux: why the settings file (or its lock file) was last refused because it is not
// a regular file (a named pipe, a device, a symbolic link, a folder), in one
// sentence; empty when it was not. The store then reads as empty and writes
// nothing, and the program runs on its defaults. Said once on stderr as well.
// Windows: always empty.
std::u16string SettingsStoreProblem();

}  // namespace tessaroven
