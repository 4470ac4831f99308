// The Linux minidump writer: a dump of the crashing thread in Microsoft's minidump
// format, so that the same tools read dumps from both platforms (lldb opens them
// with `lldb -c FILE`).
//
// What goes in:
//   SystemInfo   AMD64 (9), platform id 0x8201 (the value Linux minidump readers,
//                lldb among them, take for Linux), CPU id, kernel version text
//   ThreadList   the crashing thread only: its CONTEXT_AMD64 from the signal's
//                ucontext and its stack from rsp to the end of its mapping (at
//                most 1 MiB). Other threads are not stopped or dumped: that would
//                need ptrace, which a process cannot do to its own threads
//   Exception    the signal number as exception code, si_code as flags, the
//                faulting address (rip for SIGABRT), the same thread context
//   ModuleList   every ELF file mapped from offset 0, with its extent, its path
//                (UTF-16) and a CodeView record "BpEL" + GNU build id, which is
//                how readers match the dump to the files on disk
//   MemoryList   the stack, then 1024-byte blocks (DumpBlockStart) around the 15
//                integer registers Rax, Rbx, Rcx, Rdx, Rsi, Rdi, Rsp, Rbp, R8..R14
//                and around every stack value from rsp up that points into
//                readable memory; a block is cut to the mapping it points into,
//                blocks already covered are skipped, at most 4096 ranges
//   LinuxMaps    /proc/self/maps as read at the crash
//   MiscInfo     the process id
//
// Everything WriteMinidump touches is static storage sized at compile time, and
// it makes system calls directly (never through libc wrappers that a sanitizer
// intercepts): it is async-signal-safe. Memory is copied into the file by the
// kernel (write from the address itself), so an address that turns out to be
// unreadable costs zeros in the dump, never a second fault. Reading memory that
// the handler itself needs (stack words, ELF headers) goes through a pipe for the
// same reason.
#pragma once

#include <signal.h>
#include <sys/types.h>
#include <ucontext.h>

namespace tessaroven::crash_internal {

// Start-up: the pipe for safe reads and the system facts. Main thread; repeated
// calls keep the first preparation.
bool PrepareMinidumpWriter();

// In the signal handler: writes the dump of thread `threadId` to `fd`, which is
// open for writing at offset 0. False when the file could not be written whole.
bool WriteMinidump(int fd, int signal, const siginfo_t& info, const ucontext_t& context, pid_t threadId);

}  // namespace tessaroven::crash_internal
