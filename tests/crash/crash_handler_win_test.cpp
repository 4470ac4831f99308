// Real crashes on Windows (run under Wine here): the unhandled-exception filter
// writes a dump through dbghelp and starts the restart through the shell.
#include <windows.h>

#include <gtest/gtest.h>

#include "crash/crash_handler.h"
#include "crash_test_support.h"
#include "minidump_reader.h"
#include "support/child_process.h"

namespace tessaroven {
namespace {

// Wine's dbghelp issues only the module and thread callbacks, never the memory
// callback, so the extra blocks appear only in dumps that Windows itself writes.
// (The order of the blocks is checked on every platform through DumpBlockCursor.)
bool RunningUnderWine() {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

struct CrashCase {
  const char* mode;
  std::uint32_t code;  // the exception code: exit code of the process and code in the dump
};

class WindowsCrashTest : public testing::TestWithParam<CrashCase> {};

TEST_P(WindowsCrashTest, WritesADumpAndRestarts) {
  const CrashCase& c = GetParam();
  test::TempDir base;
  const std::u16string record = base / u"probe.txt";
  const std::u16string pidFile = base / u"pid.txt";
  test::ChildProcess child("crash_child", test::CrashChildArgs(base.Path(), c.mode, record, pidFile));
  EXPECT_EQ(static_cast<std::uint32_t>(child.Wait()), c.code);

  const std::string pid = test::ReadBytes(pidFile);
  ASSERT_FALSE(pid.empty());
  const std::string dumpName = "crash-" + pid + ".dmp";
  const std::u16string dumpPath = CrashFolder(base.Path()) + Utf8ToUtf16(dumpName);
  ASSERT_TRUE(test::FileExists(dumpPath));

  EXPECT_EQ(test::WaitForProbeRecord(record, std::chrono::seconds(60)),
            (std::vector<std::string>{"-crashed", dumpName}));

  const test::MinidumpReader dump(test::ReadBytes(dumpPath));
  ASSERT_TRUE(dump.HeaderValid());
  EXPECT_TRUE(dump.StreamsInsideFile());
  EXPECT_EQ(dump.ProcessId(), static_cast<std::uint32_t>(std::stoul(pid))) << "the dump is of the crashed process";
  const auto exception = dump.ExceptionInfo();
  ASSERT_TRUE(exception);
  EXPECT_EQ(exception->code, c.code);
  if (RunningUnderWine()) return;
  // The memory callback's first blocks: around the registers, Rsp among them.
  bool rspBlock = false;
  for (const auto& range : dump.MemoryRanges())
    rspBlock = rspBlock || (range.start == exception->rsp - 512 && range.size >= kDumpBlockSize);
  EXPECT_TRUE(rspBlock) << "no 1024-byte block at Rsp - 512";
}

INSTANTIATE_TEST_SUITE_P(Crashes, WindowsCrashTest,
                         testing::Values(CrashCase{"segv", 0xC0000005u}, CrashCase{"abort", 0x40000015u},
                                         CrashCase{"throw", 0x40000015u}),
                         [](const auto& p) { return std::string(p.param.mode); });

}  // namespace
}  // namespace tessaroven
