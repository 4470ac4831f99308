// What a crash dump shows on Windows, written through dbghelp (under Wine here).
#include <windows.h>

#include <gtest/gtest.h>

#include "crash/crash_handler.h"
#include "minidump_reader.h"

namespace tessaroven {

void SuppressCoreFile() {}  // Windows writes no core files

// The memory callback's first blocks lie around the registers, Rsp among them.
// Wine's dbghelp issues only the module and thread callbacks, never the memory
// callback, so the extra blocks appear only in dumps that Windows itself writes.
// (The order of the blocks is checked on every platform through DumpBlockCursor.)
void ExpectPlatformDump(const std::string&, const char*, const std::string&, const std::u16string&,
                        const test::MinidumpReader& dump) {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  if (ntdll && GetProcAddress(ntdll, "wine_get_version") != nullptr) return;
  const auto exception = dump.ExceptionInfo();
  bool rspBlock = false;
  for (const auto& range : dump.MemoryRanges())
    rspBlock = rspBlock || (range.start == exception->rsp - 512 && range.size >= kDumpBlockSize);
  EXPECT_TRUE(rspBlock) << "no 1024-byte block at Rsp - 512";
}

}  // namespace tessaroven
