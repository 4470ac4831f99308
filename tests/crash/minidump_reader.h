// A minimal minidump reader for the tests: independent of the writer, it walks
// the header, the stream directory and the streams the tests look at. Every read
// is bounds-checked and yields 0 outside the file, so a malformed dump fails the
// test's expectations instead of crashing it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessaroven::test {

inline constexpr std::uint32_t kMinidumpThreadList = 3;
inline constexpr std::uint32_t kMinidumpModuleList = 4;
inline constexpr std::uint32_t kMinidumpMemoryList = 5;
inline constexpr std::uint32_t kMinidumpException = 6;
inline constexpr std::uint32_t kMinidumpSystemInfo = 7;
inline constexpr std::uint32_t kMinidumpMiscInfo = 15;

class MinidumpReader {
 public:
  struct Stream {
    std::uint32_t type = 0, size = 0, rva = 0;
  };
  struct Module {
    std::uint64_t base = 0, size = 0;
    std::string name;  // UTF-16 narrowed to ASCII ('?' for anything else)
    std::string codeView;
  };
  struct Memory {
    std::uint64_t start = 0, size = 0;
    std::uint32_t rva = 0;
  };
  struct Exception {
    std::uint32_t threadId = 0, code = 0;
    std::uint64_t address = 0, rsp = 0;
  };
  struct Thread {
    std::uint32_t id = 0;
    Memory stack;
  };

  explicit MinidumpReader(std::string bytes) : bytes_(std::move(bytes)) {}

  std::uint16_t U16(std::uint64_t at) const { return static_cast<std::uint16_t>(Read(at, 2)); }
  std::uint32_t U32(std::uint64_t at) const { return static_cast<std::uint32_t>(Read(at, 4)); }
  std::uint64_t U64(std::uint64_t at) const { return Read(at, 8); }
  std::size_t Size() const { return bytes_.size(); }

  // "MDMP" and the format's version in the low 16 bits.
  bool HeaderValid() const { return U32(0) == 0x504D444D && (U32(4) & 0xFFFF) == 0xA793; }

  std::vector<Stream> Streams() const {
    std::vector<Stream> streams;
    const std::uint32_t count = U32(8), at = U32(12);
    for (std::uint32_t i = 0; i < count && i < 1000; ++i)
      streams.push_back({U32(at + 12ull * i), U32(at + 12ull * i + 4), U32(at + 12ull * i + 8)});
    return streams;
  }

  std::optional<Stream> Find(std::uint32_t type) const {
    for (const auto& s : Streams())
      if (s.type == type) return s;
    return std::nullopt;
  }

  // Whether every stream lies inside the file.
  bool StreamsInsideFile() const {
    for (const auto& s : Streams())
      if (std::uint64_t{s.rva} + s.size > bytes_.size()) return false;
    return true;
  }

  std::optional<Exception> ExceptionInfo() const {
    const auto s = Find(kMinidumpException);
    if (!s) return std::nullopt;
    Exception e;
    e.threadId = U32(s->rva);
    e.code = U32(s->rva + 8);
    e.address = U64(s->rva + 24);
    const std::uint32_t context = U32(s->rva + 164);
    e.rsp = U64(context + 0x98);
    return e;
  }

  // The process id from the MiscInfo stream, when the dump has one.
  std::optional<std::uint32_t> ProcessId() const {
    const auto s = Find(kMinidumpMiscInfo);
    if (!s || (U32(s->rva + 4) & 1) == 0) return std::nullopt;
    return U32(s->rva + 8);
  }

  std::vector<Thread> Threads() const {
    std::vector<Thread> threads;
    const auto s = Find(kMinidumpThreadList);
    if (!s) return threads;
    for (std::uint32_t i = 0, n = U32(s->rva); i < n && i < 10000; ++i) {
      const std::uint64_t at = s->rva + 4 + 48ull * i;
      threads.push_back({U32(at), {U64(at + 24), U32(at + 32), U32(at + 36)}});
    }
    return threads;
  }

  std::vector<Module> Modules() const {
    std::vector<Module> modules;
    const auto s = Find(kMinidumpModuleList);
    if (!s) return modules;
    for (std::uint32_t i = 0, n = U32(s->rva); i < n && i < 10000; ++i) {
      const std::uint64_t at = s->rva + 4 + 108ull * i;
      Module m;
      m.base = U64(at);
      m.size = U32(at + 8);
      const std::uint32_t name = U32(at + 20);
      for (std::uint32_t k = 0, bytes = U32(name); k < bytes / 2; ++k) {
        const std::uint16_t unit = U16(name + 4 + 2ull * k);
        m.name.push_back(unit < 0x80 ? static_cast<char>(unit) : '?');
      }
      const std::uint32_t cvSize = U32(at + 76), cvAt = U32(at + 80);
      if (std::uint64_t{cvAt} + cvSize <= bytes_.size()) m.codeView = bytes_.substr(cvAt, cvSize);
      modules.push_back(std::move(m));
    }
    return modules;
  }

  std::vector<Memory> MemoryRanges() const {
    std::vector<Memory> ranges;
    const auto s = Find(kMinidumpMemoryList);
    if (!s) return ranges;
    for (std::uint32_t i = 0, n = U32(s->rva); i < n && i < 100000; ++i) {
      const std::uint64_t at = s->rva + 4 + 16ull * i;
      ranges.push_back({U64(at), U32(at + 8), U32(at + 12)});
    }
    return ranges;
  }

 private:
  std::uint64_t Read(std::uint64_t at, int width) const {
    if (at + static_cast<std::uint64_t>(width) > bytes_.size()) return 0;
    std::uint64_t value = 0;
    for (int i = width - 1; i >= 0; --i) value = value << 8 | static_cast<std::uint8_t>(bytes_[at + i]);
    return value;
  }

  std::string bytes_;
};

}  // namespace tessaroven::test
