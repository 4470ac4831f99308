// What a crash dump shows on Linux, read back by the tests' own reader and by lldb.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>

#include "base/text.h"
#include "crash/crash_handler.h"
#include "crash/crash_handler_internal.h"
#include "minidump_reader.h"

namespace tessaroven {
namespace {

// Where lldb is: found at configure time, else the place ./test installs it.
std::string LldbPath() {
  const std::string configured = TESSAROVEN_LLDB;
  struct stat info {};
  if (configured.find("NOTFOUND") == std::string::npos && stat(configured.c_str(), &info) == 0) return configured;
  if (stat("/usr/bin/lldb", &info) == 0) return "/usr/bin/lldb";
  return {};
}

std::string RunAndCapture(const std::string& command) {
  std::string output;
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  if (!pipe) return output;
  std::array<char, 4096> buffer;
  while (std::size_t n = fread(buffer.data(), 1, buffer.size(), pipe.get())) output.append(buffer.data(), n);
  return output;
}

}  // namespace

// The signal would also leave a core file; the dump is all that is wanted.
void SuppressCoreFile() {
  const struct rlimit noCore { 0, 0 };
  setrlimit(RLIMIT_CORE, &noCore);
}

// Linux dumps also carry the system, the crashed thread, the modules with their
// build ids and the blocks around rsp; lldb opens them and unwinds to the crash,
// which needs rip to lie in the right module.
void ExpectPlatformDump(const std::string& mode, const char* function, const std::string& pid,
                        const std::u16string& dumpPath, const test::MinidumpReader& dump) {
  const auto system = dump.Find(test::kMinidumpSystemInfo);
  ASSERT_TRUE(system);
  EXPECT_EQ(dump.U16(system->rva), 9) << "AMD64";
  EXPECT_EQ(dump.U32(system->rva + 20), 0x8201u) << "Linux";
  const auto exception = dump.ExceptionInfo();
  if (exception->code == SIGSEGV) {
    EXPECT_EQ(exception->address, 16u) << "the faulting address";
  }

  const auto threads = dump.Threads();
  ASSERT_EQ(threads.size(), 1u);
  EXPECT_EQ(threads[0].id, exception->threadId);
  // On Linux the main thread's id is the pid: the dump names the thread that crashed.
  const bool onWorker = mode.find("-worker") != std::string::npos;
  EXPECT_EQ(std::to_string(exception->threadId) == pid, !onWorker);
  EXPECT_EQ(threads[0].stack.start, exception->rsp) << "the stack is dumped from rsp up";
  EXPECT_GT(threads[0].stack.size, 0u);

  const std::string self = Utf16ToUtf8(crash_internal::RunningProgramPath());
  // Every module the debugger must match carries its build id.
  int matched = 0;
  for (const auto& m : dump.Modules()) {
    if (m.name != self && m.name.find("libc.so") == std::string::npos) continue;
    ++matched;
    ASSERT_GT(m.codeView.size(), 4u) << m.name;
    EXPECT_EQ(m.codeView.substr(0, 4), "LEpB") << m.name;
  }
  EXPECT_EQ(matched, 2) << "the executable and the C library";

  const auto memory = dump.MemoryRanges();
  bool rspBlock = false;
  for (const auto& range : memory) {
    EXPECT_LE(std::uint64_t{range.rva} + range.size, dump.Size());
    rspBlock = rspBlock || (range.start == exception->rsp - 512 && range.size == kDumpBlockSize);
  }
  EXPECT_TRUE(rspBlock) << "no 1024-byte block at rsp - 512";
  EXPECT_LE(memory.size(), 4096u);

  const std::string lldb = LldbPath();
  ASSERT_FALSE(lldb.empty()) << "lldb is needed to check the dump: install it (Debian package lldb)";
  const std::string output =
      RunAndCapture(lldb + " --no-lldbinit --batch -c '" + Utf16ToUtf8(dumpPath) + "' -o 'thread backtrace' 2>&1");
  EXPECT_NE(output.find(function), std::string::npos) << output;
}

}  // namespace tessaroven
