// Windows crash handling: the unhandled-exception filter writes the dump with
// dbghelp's MiniDumpWriteDump and restarts the program through ShellExecuteW.
//
// std::abort (and so an uncaught exception, through the terminate handler) never
// reaches the exception filter on its own: the C runtime ends the process with
// exit code 3. A SIGABRT handler turns it into a non-continuable exception, so
// those crashes leave a dump as well.
#include <windows.h>
// dbghelp.h and shellapi.h need windows.h first.
#include <dbghelp.h>
#include <shellapi.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "base/text.h"
#include "crash/crash_handler_internal.h"

namespace tessaroven {
namespace crash_internal {
namespace {

constexpr MINIDUMP_TYPE kDumpType = static_cast<MINIDUMP_TYPE>(0x20);  // MiniDumpWithUnloadedModules
constexpr DWORD kAbortExceptionCode = 0x40000015;                      // STATUS_FATAL_APP_EXIT

struct Prepared {
  std::wstring dumpPath;
  std::wstring program;
  std::wstring parameters;
};
const Prepared* gPrepared = nullptr;
LONG gEntered = 0;
std::terminate_handler gPreviousTerminate = nullptr;

// The MSVC runtime's rules, so that the restarted program sees the same words.
std::wstring QuoteIfNeeded(const std::wstring& argument) {
  if (!argument.empty() && argument.find_first_of(L" \t\"") == std::wstring::npos) return argument;
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : argument) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    quoted.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
    backslashes = 0;
    quoted.push_back(c);
  }
  quoted.append(backslashes * 2, L'\\');
  quoted.push_back(L'"');
  return quoted;
}

bool IsReadable(std::uint64_t address) {
  MEMORY_BASIC_INFORMATION info;
  if (VirtualQuery(reinterpret_cast<const void*>(address), &info, sizeof info) == 0) return false;
  if (info.State != MEM_COMMIT || (info.Protect & (PAGE_GUARD | PAGE_NOACCESS))) return false;
  return (info.Protect & (PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE |
                          PAGE_EXECUTE_WRITECOPY)) != 0;
}

// The stack above Rsp belongs to the frames that crashed and is intact: the filter
// runs below it, on the same thread.
std::uint64_t ReadStackWord(std::uint64_t address) { return *reinterpret_cast<const std::uint64_t*>(address); }

// The callback's parameter carries the cursor, so each memory callback offers the
// next block.
BOOL CALLBACK OnDumpCallback(PVOID parameter, const PMINIDUMP_CALLBACK_INPUT input, PMINIDUMP_CALLBACK_OUTPUT output) {
  if (input->CallbackType != MemoryCallback) return TRUE;
  const std::optional<std::uint64_t> address = static_cast<DumpBlockCursor*>(parameter)->Next();
  if (!address) return FALSE;
  output->MemoryBase = DumpBlockStart(*address);
  output->MemorySize = static_cast<ULONG>(kDumpBlockSize);
  return TRUE;
}

LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* pointers) {
  // One dump per process: a second thread failing meanwhile waits for the end.
  if (InterlockedExchange(&gEntered, 1) != 0) Sleep(INFINITE);
  const Prepared* prepared = gPrepared;
  if (!prepared || prepared->dumpPath.empty()) return EXCEPTION_EXECUTE_HANDLER;
  // CreateFileW rather than XFile: XFile would copy the path into a new string,
  // and the heap is the first suspect after a crash. The path was built at start-up.
  const HANDLE file =
      CreateFileW(prepared->dumpPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  // No dump file, no restart: the crash ends the process without a report.
  if (file == INVALID_HANDLE_VALUE) return EXCEPTION_EXECUTE_HANDLER;

  const CONTEXT& context = *pointers->ContextRecord;
  const std::uint64_t registers[15] = {context.Rax, context.Rbx, context.Rcx, context.Rdx, context.Rsi,
                                       context.Rdi, context.Rsp, context.Rbp, context.R8,  context.R9,
                                       context.R10, context.R11, context.R12, context.R13, context.R14};
  const auto stackEnd = reinterpret_cast<std::uint64_t>(reinterpret_cast<const NT_TIB*>(NtCurrentTeb())->StackBase);
  DumpBlockCursor cursor(registers, context.Rsp, stackEnd, ReadStackWord, IsReadable);
  MINIDUMP_EXCEPTION_INFORMATION exception{};
  exception.ThreadId = GetCurrentThreadId();
  exception.ExceptionPointers = pointers;
  exception.ClientPointers = FALSE;
  MINIDUMP_CALLBACK_INFORMATION callback{};
  callback.CallbackRoutine = OnDumpCallback;
  callback.CallbackParam = &cursor;
  MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, kDumpType, &exception, nullptr, &callback);
  CloseHandle(file);

  if (!prepared->parameters.empty())
    ShellExecuteW(nullptr, L"open", prepared->program.c_str(), prepared->parameters.c_str(), nullptr, SW_SHOW);
  return EXCEPTION_EXECUTE_HANDLER;
}

void OnAbortSignal(int) { RaiseException(kAbortExceptionCode, EXCEPTION_NONCONTINUABLE, 0, nullptr); }

void OnTerminate() {
  if (gPreviousTerminate) gPreviousTerminate();
  std::abort();
}

}  // namespace

std::u16string RunningProgramPath() {
  std::wstring buffer(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0) return {};
    if (length < buffer.size()) {
      buffer.resize(length);
      return FromOsString(buffer);
    }
    buffer.resize(buffer.size() * 2);
  }
}

void InstallPlatformHandler(const CrashPreparation& prepared) {
  // Never freed: a crash on another thread may read an earlier preparation.
  auto* next = new Prepared;
  next->dumpPath = ToOsString(prepared.dumpPath);
  next->program = ToOsString(prepared.programPath);
  for (const auto& argument : prepared.restartArguments) {
    if (!next->parameters.empty()) next->parameters += L' ';
    next->parameters += QuoteIfNeeded(ToOsString(argument));
  }
  gPrepared = next;
  SetUnhandledExceptionFilter(OnUnhandledException);
  std::signal(SIGABRT, OnAbortSignal);
  const std::terminate_handler previous = std::set_terminate(OnTerminate);
  if (previous != OnTerminate) gPreviousTerminate = previous;
}

bool PlatformHandlerActive() {
  const LPTOP_LEVEL_EXCEPTION_FILTER current = SetUnhandledExceptionFilter(OnUnhandledException);
  SetUnhandledExceptionFilter(current);
  return current == OnUnhandledException && std::get_terminate() == OnTerminate;
}

}  // namespace crash_internal

std::uint32_t CurrentProcessId() { return GetCurrentProcessId(); }

}  // namespace tessaroven
