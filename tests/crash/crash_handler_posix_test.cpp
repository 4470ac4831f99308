// Real crashes on Linux: a child installs the handler and crashes; the dump must be
// a minidump that lldb opens and unwinds to the function that crashed.
#include <signal.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>

#include "crash/crash_handler.h"
#include "crash_test_support.h"
#include "minidump_reader.h"
#include "support/child_process.h"

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

struct CrashCase {
  const char* mode;
  int signal;
  const char* function;  // the provoking function, which the backtrace must name
  bool ripInExecutable;  // a fault in our code; abort stops inside the C library
};

class LinuxCrashTest : public testing::TestWithParam<CrashCase> {};

TEST_P(LinuxCrashTest, WritesAMinidumpRestartsAndDiesOfTheSignal) {
  const CrashCase& c = GetParam();
  test::TempDir base;
  const std::u16string record = base / u"probe.txt";
  const std::u16string pidFile = base / u"pid.txt";
  test::ChildProcess child("crash_child", test::CrashChildArgs(base.Path(), c.mode, record, pidFile));
  ASSERT_EQ(child.Wait(), 128 + c.signal) << "the child did not die of the signal";

  // The dump is named by the rule after the child's pid.
  const std::string pid = test::ReadBytes(pidFile);
  ASSERT_FALSE(pid.empty());
  const std::string dumpName = "crash-" + pid + ".dmp";
  const std::u16string dumpPath = CrashFolder(base.Path()) + Utf8ToUtf16(dumpName);
  ASSERT_TRUE(test::FileExists(dumpPath));

  // The restart ran the probe with "-crashed NAME".
  EXPECT_EQ(test::WaitForProbeRecord(record, std::chrono::seconds(30)),
            (std::vector<std::string>{"-crashed", dumpName}));

  const test::MinidumpReader dump(test::ReadBytes(dumpPath));
  ASSERT_TRUE(dump.HeaderValid());
  EXPECT_TRUE(dump.StreamsInsideFile());
  const auto system = dump.Find(test::kMinidumpSystemInfo);
  ASSERT_TRUE(system);
  EXPECT_EQ(dump.U16(system->rva), 9) << "AMD64";
  EXPECT_EQ(dump.U32(system->rva + 20), 0x8201u) << "Linux";

  EXPECT_EQ(dump.ProcessId(), static_cast<std::uint32_t>(std::stoul(pid))) << "the dump is of the crashed process";
  const auto exception = dump.ExceptionInfo();
  ASSERT_TRUE(exception);
  EXPECT_EQ(exception->code, static_cast<std::uint32_t>(c.signal));
  if (c.signal == SIGSEGV) {
    EXPECT_EQ(exception->address, 16u) << "the faulting address";
  }

  const auto threads = dump.Threads();
  ASSERT_EQ(threads.size(), 1u);
  EXPECT_EQ(threads[0].id, exception->threadId);
  // On Linux the main thread's id is the pid: the dump names the thread that crashed.
  const bool onWorker = std::string(c.mode).find("-worker") != std::string::npos;
  EXPECT_EQ(std::to_string(exception->threadId) == pid, !onWorker);
  EXPECT_EQ(threads[0].stack.start, exception->rsp) << "the stack is dumped from rsp up";
  EXPECT_GT(threads[0].stack.size, 0u);

  const auto modules = dump.Modules();
  const auto* ripModule = dump.ModuleAt(modules, exception->rip);
  ASSERT_NE(ripModule, nullptr) << "rip lies in no module";
  const std::string self = Utf16ToUtf8(crash_internal::RunningProgramPath());
  if (c.ripInExecutable) {
    EXPECT_EQ(ripModule->name, self);
  } else {
    EXPECT_NE(ripModule->name.find("libc.so"), std::string::npos) << ripModule->name;
  }
  // Every module the debugger must match carries its build id.
  for (const auto& m : modules) {
    if (m.name != self && m.name.find("libc.so") == std::string::npos) continue;
    ASSERT_GT(m.codeView.size(), 4u) << m.name;
    EXPECT_EQ(m.codeView.substr(0, 4), "LEpB") << m.name;
  }

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
  EXPECT_NE(output.find(c.function), std::string::npos) << output;
}

INSTANTIATE_TEST_SUITE_P(Crashes, LinuxCrashTest,
                         testing::Values(CrashCase{"segv", SIGSEGV, "ProvokeSegvCrash", true},
                                         CrashCase{"abort", SIGABRT, "ProvokeAbortCrash", false},
                                         CrashCase{"throw", SIGABRT, "ProvokeUncaughtException", false},
                                         CrashCase{"segv-worker", SIGSEGV, "ProvokeSegvCrash", true}),
                         [](const auto& p) {
                           std::string name = p.param.mode;
                           for (auto& ch : name)
                             if (ch == '-') ch = '_';
                           return name;
                         });

}  // namespace
}  // namespace tessaroven
