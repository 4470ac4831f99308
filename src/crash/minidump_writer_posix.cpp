#include "crash/minidump_writer_posix.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "crash/crash_handler.h"

namespace tessaroven::crash_internal {
namespace {

// --- Sizes of the static storage ------------------------------------------------

constexpr std::size_t kMapsCapacity = 1 << 20;
constexpr std::size_t kMaxRegions = 16384;
constexpr std::size_t kMaxRanges = 4096;
constexpr std::size_t kMaxModules = 1024;
constexpr std::size_t kArenaCapacity = 4 << 20;
constexpr std::size_t kMaxBuildId = 64;
constexpr std::uint64_t kMaxStackBytes = 1 << 20;
constexpr std::size_t kPage = 4096;

// --- Minidump constants (minidumpapiset.h) -----------------------------------------

constexpr std::uint32_t kSignature = 0x504D444D;  // "MDMP"
constexpr std::uint32_t kVersion = 0xA793;
constexpr std::uint32_t kThreadListStream = 3;
constexpr std::uint32_t kModuleListStream = 4;
constexpr std::uint32_t kMemoryListStream = 5;
constexpr std::uint32_t kExceptionStream = 6;
constexpr std::uint32_t kSystemInfoStream = 7;
constexpr std::uint32_t kMiscInfoStream = 15;
constexpr std::uint32_t kLinuxMapsStream = 0x47670009;
constexpr std::uint32_t kStreamCount = 7;
constexpr std::uint32_t kMiscInfoSize = 24;
constexpr std::uint32_t kMiscProcessId = 1;  // MINIDUMP_MISC1_PROCESS_ID: only the pid is filled
constexpr std::uint16_t kArchitectureAmd64 = 9;
constexpr std::uint32_t kPlatformLinux = 0x8201;
constexpr std::uint32_t kCodeViewElf = 0x4270454C;  // "BpEL": an ELF build id follows

constexpr std::uint32_t kHeaderSize = 32;
constexpr std::uint32_t kDirectoryEntrySize = 12;
constexpr std::uint32_t kSystemInfoSize = 56;
constexpr std::uint32_t kThreadSize = 48;
constexpr std::uint32_t kExceptionStreamSize = 168;
constexpr std::uint32_t kModuleSize = 108;
constexpr std::uint32_t kMemoryDescriptorSize = 16;

// CONTEXT for AMD64: 1232 bytes; the offsets of the fields we fill.
constexpr std::uint32_t kContextSize = 1232;
constexpr std::uint32_t kContextFlagsAt = 0x30;
constexpr std::uint32_t kMxCsrAt = 0x34;
constexpr std::uint32_t kSegCsAt = 0x38;
constexpr std::uint32_t kSegFsAt = 0x3E;
constexpr std::uint32_t kSegGsAt = 0x40;
constexpr std::uint32_t kSegSsAt = 0x42;
constexpr std::uint32_t kEFlagsAt = 0x44;
constexpr std::uint32_t kRaxAt = 0x78;  // then Rcx, Rdx, Rbx, Rsp, Rbp, Rsi, Rdi, R8..R15, Rip
constexpr std::uint32_t kFltSaveAt = 0x100;
constexpr std::uint32_t kFltSaveSize = 512;
// CONTEXT_AMD64 | CONTROL | INTEGER | SEGMENTS | FLOATING_POINT.
constexpr std::uint32_t kContextFlags = 0x0010000F;
constexpr std::uint16_t kUserStackSegment = 0x2B;  // the x86-64 Linux user ss

// --- Static state -------------------------------------------------------------------

struct Region {
  std::uint64_t start;
  std::uint64_t end;
  std::uint64_t offset;
  std::uint32_t pathAt;  // into gMaps
  std::uint32_t pathLength;
  bool readable;
};

struct Range {
  std::uint64_t start;
  std::uint64_t end;
};

struct Module {
  std::uint64_t base;
  std::uint64_t end;
  std::uint32_t pathAt;
  std::uint32_t pathLength;
  std::uint8_t buildId[kMaxBuildId];
  std::uint32_t buildIdLength;
};

char gMaps[kMapsCapacity];
std::size_t gMapsLength = 0;
Region gRegions[kMaxRegions];
std::size_t gRegionCount = 0;
Range gRanges[kMaxRanges];
std::size_t gRangeCount = 0;
Module gModules[kMaxModules];
std::size_t gModuleCount = 0;
alignas(16) std::uint8_t gArena[kArenaCapacity];
std::size_t gArenaLength = 0;
alignas(16) std::uint8_t gCopy[kPage];
const std::uint8_t gZeros[kPage] = {};

int gPipe[2] = {-1, -1};
bool gPrepared = false;
char16_t gSystemText[256];
std::size_t gSystemTextLength = 0;
std::uint32_t gKernelVersion[3] = {};
std::uint8_t gProcessorCount = 1;

// --- System calls without libc wrappers that sanitizers intercept --------------------

long RawWrite(int fd, const void* data, std::size_t count) { return syscall(SYS_write, fd, data, count); }
long RawRead(int fd, void* data, std::size_t count) { return syscall(SYS_read, fd, data, count); }

bool WriteAll(int fd, const void* data, std::size_t count) {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  while (count > 0) {
    const long written = RawWrite(fd, bytes, count);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
  return true;
}

// Process memory straight into the file; pages the kernel cannot read become zeros.
bool WriteMemory(int fd, std::uint64_t address, std::uint64_t count) {
  while (count > 0) {
    const std::size_t chunk = static_cast<std::size_t>(std::min<std::uint64_t>(count, 1 << 16));
    const long written = RawWrite(fd, reinterpret_cast<const void*>(address), chunk);
    if (written > 0) {
      address += static_cast<std::uint64_t>(written);
      count -= static_cast<std::uint64_t>(written);
      continue;
    }
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && errno != EFAULT) return false;
    const std::uint64_t toPageEnd = kPage - (address % kPage);
    const std::uint64_t zeros = std::min(count, toPageEnd);
    if (!WriteAll(fd, gZeros, static_cast<std::size_t>(zeros))) return false;
    address += zeros;
    count -= zeros;
  }
  return true;
}

// Copies up to one page of process memory into `target` without any risk of a
// fault: the kernel reads the source for the pipe, and says EFAULT when it cannot.
bool SafeCopy(void* target, std::uint64_t address, std::size_t count) {
  if (gPipe[0] < 0 || count > kPage) return false;
  const long written = RawWrite(gPipe[1], reinterpret_cast<const void*>(address), count);
  std::size_t pending = written > 0 ? static_cast<std::size_t>(written) : 0;
  auto* bytes = static_cast<std::uint8_t*>(target);
  std::size_t got = 0;
  while (got < pending) {
    const long n = RawRead(gPipe[0], bytes + got, pending - got);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    got += static_cast<std::size_t>(n);
  }
  return written == static_cast<long>(count) && got == count;
}

// --- /proc/self/maps ----------------------------------------------------------------

bool ReadMaps() {
  gMapsLength = 0;
  const long fd = syscall(SYS_openat, AT_FDCWD, "/proc/self/maps", O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  while (gMapsLength < kMapsCapacity) {
    const long n = RawRead(static_cast<int>(fd), gMaps + gMapsLength, kMapsCapacity - gMapsLength);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    gMapsLength += static_cast<std::size_t>(n);
  }
  syscall(SYS_close, fd);
  // A text cut by a full buffer ends at its last whole line.
  if (gMapsLength == kMapsCapacity)
    while (gMapsLength > 0 && gMaps[gMapsLength - 1] != '\n') --gMapsLength;
  return gMapsLength > 0;
}

std::uint64_t ParseHex(std::size_t& at, std::size_t end) {
  std::uint64_t value = 0;
  for (; at < end; ++at) {
    const char c = gMaps[at];
    int digit;
    if (c >= '0' && c <= '9')
      digit = c - '0';
    else if (c >= 'a' && c <= 'f')
      digit = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F')
      digit = c - 'A' + 10;
    else
      break;
    value = value * 16 + static_cast<std::uint64_t>(digit);
  }
  return value;
}

void SkipField(std::size_t& at, std::size_t end) {
  while (at < end && gMaps[at] != ' ') ++at;
  while (at < end && gMaps[at] == ' ') ++at;
}

bool StartsWith(const char* text, std::size_t length, const char* prefix) {
  const std::size_t n = std::strlen(prefix);
  return length >= n && std::memcmp(text, prefix, n) == 0;
}

// Lines read "start-end perms offset dev inode   path".
void ParseMaps() {
  gRegionCount = 0;
  std::size_t at = 0;
  while (at < gMapsLength && gRegionCount < kMaxRegions) {
    std::size_t lineEnd = at;
    while (lineEnd < gMapsLength && gMaps[lineEnd] != '\n') ++lineEnd;
    Region region{};
    std::size_t p = at;
    region.start = ParseHex(p, lineEnd);
    if (p < lineEnd && gMaps[p] == '-') ++p;
    region.end = ParseHex(p, lineEnd);
    while (p < lineEnd && gMaps[p] == ' ') ++p;
    const bool readPermission = p < lineEnd && gMaps[p] == 'r';
    SkipField(p, lineEnd);  // perms
    region.offset = ParseHex(p, lineEnd);
    while (p < lineEnd && gMaps[p] == ' ') ++p;
    SkipField(p, lineEnd);  // device
    SkipField(p, lineEnd);  // inode
    region.pathAt = static_cast<std::uint32_t>(p);
    region.pathLength = static_cast<std::uint32_t>(lineEnd - p);
    const char* path = gMaps + p;
    // Device mappings may have side effects when read; [vvar] holds kernel pages
    // that are not worth a dump.
    region.readable = readPermission && !StartsWith(path, region.pathLength, "/dev/") &&
                      !StartsWith(path, region.pathLength, "[vvar]");
    if (region.end > region.start) gRegions[gRegionCount++] = region;
    at = lineEnd + 1;
  }
}

const Region* FindRegion(std::uint64_t address) {
  // The kernel lists mappings in ascending order.
  std::size_t low = 0, high = gRegionCount;
  while (low < high) {
    const std::size_t mid = low + (high - low) / 2;
    if (gRegions[mid].start <= address)
      low = mid + 1;
    else
      high = mid;
  }
  if (low == 0) return nullptr;
  const Region& region = gRegions[low - 1];
  return address < region.end ? &region : nullptr;
}

// --- Memory ranges --------------------------------------------------------------------

void AddRange(std::uint64_t start, std::uint64_t end) {
  if (start >= end || gRangeCount == kMaxRanges) return;
  for (std::size_t i = 0; i < gRangeCount; ++i)
    if (gRanges[i].start <= start && end <= gRanges[i].end) return;
  gRanges[gRangeCount++] = {start, end};
}

void AddBlockAround(std::uint64_t address) {
  const Region* region = FindRegion(address);
  if (!region || !region->readable) return;
  const std::uint64_t start = DumpBlockStart(address);
  const std::uint64_t end = start + kDumpBlockSize < start ? ~std::uint64_t{0} : start + kDumpBlockSize;
  AddRange(std::max(start, region->start), std::min(end, region->end));
}

void AddStackValueBlocks(std::uint64_t from, std::uint64_t to) {
  std::uint64_t at = (from + 7) & ~std::uint64_t{7};
  while (at < to && gRangeCount < kMaxRanges) {
    const std::size_t chunk =
        static_cast<std::size_t>(std::min<std::uint64_t>(to - at, kPage - at % kPage)) & ~std::size_t{7};
    if (chunk == 0 || !SafeCopy(gCopy, at, chunk)) return;
    for (std::size_t i = 0; i + 8 <= chunk; i += 8) {
      std::uint64_t value;
      std::memcpy(&value, gCopy + i, 8);
      if (value >= kLowestDumpedAddress) AddBlockAround(value);
    }
    at += chunk;
  }
}

// --- Modules ------------------------------------------------------------------------

bool SamePath(const Region& a, const Region& b) {
  return a.pathLength == b.pathLength && std::memcmp(gMaps + a.pathAt, gMaps + b.pathAt, a.pathLength) == 0;
}

// The GNU build id from the module's program headers as loaded in memory.
void ReadBuildId(Module& module) {
  module.buildIdLength = 0;
  Elf64_Ehdr header;
  if (!SafeCopy(&header, module.base, sizeof header)) return;
  if (header.e_phentsize != sizeof(Elf64_Phdr) || header.e_phnum == 0 || header.e_phnum > 64) return;
  Elf64_Phdr headers[64];
  const std::size_t tableSize = header.e_phnum * sizeof(Elf64_Phdr);
  for (std::size_t done = 0; done < tableSize;) {
    const std::size_t chunk = std::min(kPage, tableSize - done);
    if (!SafeCopy(reinterpret_cast<std::uint8_t*>(headers) + done, module.base + header.e_phoff + done, chunk)) return;
    done += chunk;
  }
  // The load bias: where the lowest loadable segment landed.
  std::uint64_t lowest = ~std::uint64_t{0};
  for (std::size_t i = 0; i < header.e_phnum; ++i)
    if (headers[i].p_type == PT_LOAD) lowest = std::min<std::uint64_t>(lowest, headers[i].p_vaddr & ~(kPage - 1));
  if (lowest == ~std::uint64_t{0}) return;
  const std::uint64_t bias = module.base - lowest;
  for (std::size_t i = 0; i < header.e_phnum; ++i) {
    if (headers[i].p_type != PT_NOTE) continue;
    const std::size_t size = static_cast<std::size_t>(std::min<std::uint64_t>(headers[i].p_memsz, kPage));
    if (!SafeCopy(gCopy, bias + headers[i].p_vaddr, size)) continue;
    for (std::size_t at = 0; at + 12 <= size;) {
      std::uint32_t nameSize, descSize, type;
      std::memcpy(&nameSize, gCopy + at, 4);
      std::memcpy(&descSize, gCopy + at + 4, 4);
      std::memcpy(&type, gCopy + at + 8, 4);
      const std::size_t nameAt = at + 12;
      const std::size_t descAt = nameAt + ((nameSize + 3) & ~3u);
      const std::size_t next = descAt + ((descSize + 3) & ~3u);
      if (next > size || next <= at) break;
      if (type == NT_GNU_BUILD_ID && nameSize == 4 && std::memcmp(gCopy + nameAt, "GNU", 4) == 0 &&
          descSize <= kMaxBuildId) {
        std::memcpy(module.buildId, gCopy + descAt, descSize);
        module.buildIdLength = descSize;
        return;
      }
      at = next;
    }
  }
}

void FindModules() {
  gModuleCount = 0;
  for (std::size_t i = 0; i < gRegionCount && gModuleCount < kMaxModules; ++i) {
    const Region& first = gRegions[i];
    if (first.offset != 0 || !first.readable || first.pathLength == 0 || gMaps[first.pathAt] != '/') continue;
    std::uint8_t magic[4];
    if (!SafeCopy(magic, first.start, 4) || std::memcmp(magic, ELFMAG, 4) != 0) continue;
    Module& module = gModules[gModuleCount];
    module.base = first.start;
    module.end = first.end;
    module.pathAt = first.pathAt;
    module.pathLength = first.pathLength;
    // The module's other segments follow, with anonymous mappings (.bss, guard
    // gaps) between them; another file ends it.
    for (std::size_t j = i + 1; j < gRegionCount; ++j) {
      if (SamePath(gRegions[j], first))
        module.end = gRegions[j].end;
      else if (gRegions[j].pathLength != 0)
        break;
    }
    ReadBuildId(module);
    ++gModuleCount;
  }
}

// --- The arena: everything but the memory contents, built in place --------------------

void Put16(std::size_t at, std::uint16_t value) { std::memcpy(gArena + at, &value, 2); }
void Put32(std::size_t at, std::uint32_t value) { std::memcpy(gArena + at, &value, 4); }
void Put64(std::size_t at, std::uint64_t value) { std::memcpy(gArena + at, &value, 8); }

// Reserves `size` zeroed bytes, 4-aligned; 0 when the arena is full (offset 0 is
// the header, never a valid answer).
std::uint32_t Reserve(std::size_t size) {
  const std::size_t at = (gArenaLength + 3) & ~std::size_t{3};
  if (at + size > kArenaCapacity) return 0;
  std::memset(gArena + at, 0, size);
  gArenaLength = at + size;
  return static_cast<std::uint32_t>(at);
}

void PutDirectory(std::uint32_t index, std::uint32_t type, std::uint32_t size, std::uint32_t rva) {
  const std::size_t at = kHeaderSize + index * kDirectoryEntrySize;
  Put32(at, type);
  Put32(at + 4, size);
  Put32(at + 8, rva);
}

// UTF-8 bytes into a MINIDUMP_STRING (byte length, UTF-16 units, a zero unit). A
// byte that is not valid UTF-8 becomes U+DC80 + byte, as everywhere in the core.
std::uint32_t PutString(const char* bytes, std::size_t length) {
  const std::uint32_t at = Reserve(4 + length * 2 + 2);
  if (at == 0) return 0;
  std::size_t units = 0;
  auto put = [&](std::uint32_t unit) { Put16(at + 4 + 2 * units++, static_cast<std::uint16_t>(unit)); };
  for (std::size_t i = 0; i < length;) {
    const auto b0 = static_cast<std::uint8_t>(bytes[i]);
    std::size_t need = 0;
    std::uint32_t cp = b0;
    std::uint32_t minimum = 0;
    if (b0 >= 0xC2 && b0 <= 0xDF)
      need = 1, cp = b0 & 0x1F, minimum = 0x80;
    else if (b0 >= 0xE0 && b0 <= 0xEF)
      need = 2, cp = b0 & 0x0F, minimum = 0x800;
    else if (b0 >= 0xF0 && b0 <= 0xF4)
      need = 3, cp = b0 & 0x07, minimum = 0x10000;
    bool valid = b0 < 0x80 || need > 0;
    for (std::size_t k = 1; valid && k <= need; ++k) {
      const auto b = i + k < length ? static_cast<std::uint8_t>(bytes[i + k]) : 0;
      if ((b & 0xC0) != 0x80) valid = false;
      cp = (cp << 6) | (b & 0x3F);
    }
    if (valid && (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))) valid = false;
    if (!valid) {
      put(0xDC00u + b0);
      ++i;
      continue;
    }
    if (cp >= 0x10000) {
      put(0xD800u + ((cp - 0x10000) >> 10));
      put(0xDC00u + ((cp - 0x10000) & 0x3FF));
    } else {
      put(cp);
    }
    i += need + 1;
  }
  Put32(at, static_cast<std::uint32_t>(units * 2));
  gArenaLength = at + 4 + units * 2 + 2;  // give back the room surrogate pairs saved
  return at;
}

std::uint32_t PutUtf16(const char16_t* text, std::size_t length) {
  const std::uint32_t at = Reserve(4 + length * 2 + 2);
  if (at == 0) return 0;
  Put32(at, static_cast<std::uint32_t>(length * 2));
  for (std::size_t i = 0; i < length; ++i) Put16(at + 4 + 2 * i, text[i]);
  return at;
}

void PutContext(std::uint32_t at, const ucontext_t& context) {
  const greg_t* gregs = context.uc_mcontext.gregs;
  Put32(at + kContextFlagsAt, kContextFlags);
  // CSGSFS packs cs, gs and fs, 16 bits each, lowest first.
  const auto segments = static_cast<std::uint64_t>(gregs[REG_CSGSFS]);
  Put16(at + kSegCsAt, static_cast<std::uint16_t>(segments));
  Put16(at + kSegGsAt, static_cast<std::uint16_t>(segments >> 16));
  Put16(at + kSegFsAt, static_cast<std::uint16_t>(segments >> 32));
  Put16(at + kSegSsAt, kUserStackSegment);
  Put32(at + kEFlagsAt, static_cast<std::uint32_t>(gregs[REG_EFL]));
  // CONTEXT order: Rax, Rcx, Rdx, Rbx, Rsp, Rbp, Rsi, Rdi, R8..R15, Rip.
  const int order[] = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP, REG_RSI, REG_RDI, REG_R8,
                       REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15, REG_RIP};
  for (std::size_t i = 0; i < sizeof order / sizeof order[0]; ++i)
    Put64(at + kRaxAt + 8 * i, static_cast<std::uint64_t>(gregs[order[i]]));
  if (context.uc_mcontext.fpregs) {
    // The kernel saves the FXSAVE image, which is CONTEXT's FltSave byte for byte.
    std::memcpy(gArena + at + kFltSaveAt, context.uc_mcontext.fpregs, kFltSaveSize);
    Put32(at + kMxCsrAt, context.uc_mcontext.fpregs->mxcsr);
  }
}

void Cpuid(std::uint32_t leaf, std::uint32_t out[4]) {
  __asm__ volatile("cpuid" : "=a"(out[0]), "=b"(out[1]), "=c"(out[2]), "=d"(out[3]) : "a"(leaf), "c"(0));
}

std::uint32_t PutSystemInfo() {
  const std::uint32_t at = Reserve(kSystemInfoSize);
  std::uint32_t vendor[4], version[4];
  Cpuid(0, vendor);
  Cpuid(1, version);
  const std::uint32_t family = (version[0] >> 8) & 0xF;
  const std::uint32_t model = ((version[0] >> 4) & 0xF) | (family >= 6 ? ((version[0] >> 16) & 0xF) << 4 : 0);
  Put16(at, kArchitectureAmd64);
  Put16(at + 2, static_cast<std::uint16_t>(family == 0xF ? family + ((version[0] >> 20) & 0xFF) : family));
  Put16(at + 4, static_cast<std::uint16_t>((model << 8) | (version[0] & 0xF)));
  gArena[at + 6] = gProcessorCount;
  gArena[at + 7] = 1;  // workstation
  Put32(at + 8, gKernelVersion[0]);
  Put32(at + 12, gKernelVersion[1]);
  Put32(at + 16, gKernelVersion[2]);
  Put32(at + 20, kPlatformLinux);
  // CPU_INFORMATION as X86CpuInfo: the vendor (ebx, edx, ecx), version and features.
  Put32(at + 32, vendor[1]);
  Put32(at + 36, vendor[3]);
  Put32(at + 40, vendor[2]);
  Put32(at + 44, version[0]);
  Put32(at + 48, version[3]);
  Put32(at + 24, PutUtf16(gSystemText, gSystemTextLength));  // CSDVersionRva
  return at;
}

std::uint32_t PutModuleList(std::uint32_t& count) {
  count = 0;
  const std::uint32_t at = Reserve(4 + gModuleCount * kModuleSize);
  if (at == 0) return 0;
  std::size_t written = 0;
  for (std::size_t i = 0; i < gModuleCount; ++i) {
    const Module& module = gModules[i];
    const std::uint32_t name = PutString(gMaps + module.pathAt, module.pathLength);
    std::uint32_t cv = 0;
    if (module.buildIdLength > 0 && (cv = Reserve(4 + module.buildIdLength)) != 0) {
      Put32(cv, kCodeViewElf);
      std::memcpy(gArena + cv + 4, module.buildId, module.buildIdLength);
    }
    if (name == 0) break;
    const std::size_t entry = at + 4 + written * kModuleSize;
    Put64(entry, module.base);
    Put32(entry + 8, static_cast<std::uint32_t>(std::min<std::uint64_t>(module.end - module.base, 0xFFFFFFFFu)));
    Put32(entry + 20, name);  // after CheckSum and TimeDateStamp, both 0
    // VS_FIXEDFILEINFO (52 bytes) stays zero: ELF files carry no version resource.
    if (cv != 0) {
      Put32(entry + 76, 4 + module.buildIdLength);
      Put32(entry + 80, cv);
    }
    ++written;
  }
  count = static_cast<std::uint32_t>(written);
  Put32(at, count);
  return at;
}

}  // namespace

bool PrepareMinidumpWriter() {
  if (gPrepared) return true;
  if (pipe2(gPipe, O_CLOEXEC | O_NONBLOCK) != 0) gPipe[0] = gPipe[1] = -1;
  struct utsname names;
  if (uname(&names) == 0) {
    const char* parts[] = {names.sysname, " ", names.release, " ", names.version, " ", names.machine};
    for (const char* part : parts)
      for (const char* c = part; *c && gSystemTextLength < sizeof gSystemText / 2; ++c)
        gSystemText[gSystemTextLength++] = static_cast<unsigned char>(*c);
    const char* c = names.release;
    for (auto& number : gKernelVersion) {
      while (*c >= '0' && *c <= '9') number = number * 10 + static_cast<std::uint32_t>(*c++ - '0');
      if (*c == '.')
        ++c;
      else
        break;
    }
  }
  const long processors = sysconf(_SC_NPROCESSORS_ONLN);
  gProcessorCount = static_cast<std::uint8_t>(std::clamp<long>(processors, 1, 255));
  gPrepared = true;
  return gPipe[0] >= 0;
}

bool WriteMinidump(int fd, int signal, const siginfo_t& info, const ucontext_t& context, pid_t threadId) {
  const greg_t* gregs = context.uc_mcontext.gregs;
  const auto rsp = static_cast<std::uint64_t>(gregs[REG_RSP]);
  const auto rip = static_cast<std::uint64_t>(gregs[REG_RIP]);

  ReadMaps();
  ParseMaps();

  // The stack first: range 0 is also the thread's stack descriptor.
  gRangeCount = 0;
  std::uint64_t stackEnd = rsp;
  if (const Region* stack = FindRegion(rsp); stack && stack->readable)
    stackEnd = std::min(stack->end, rsp + kMaxStackBytes);
  gRanges[gRangeCount++] = {rsp, stackEnd};
  const int registers[] = {REG_RAX, REG_RBX, REG_RCX, REG_RDX, REG_RSI, REG_RDI, REG_RSP, REG_RBP,
                           REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14};
  for (const int reg : registers) AddBlockAround(static_cast<std::uint64_t>(gregs[reg]));
  AddStackValueBlocks(rsp, stackEnd);

  FindModules();

  gArenaLength = kHeaderSize + kStreamCount * kDirectoryEntrySize;
  const std::uint32_t contextAt = Reserve(kContextSize);
  PutContext(contextAt, context);

  const std::uint32_t systemAt = PutSystemInfo();

  const std::uint32_t threadsAt = Reserve(4 + kThreadSize);
  Put32(threadsAt, 1);
  const std::uint32_t thread = threadsAt + 4;
  Put32(thread, static_cast<std::uint32_t>(threadId));
  // Stack descriptor (filled with the memory list below), then the context.
  Put32(thread + 40, kContextSize);
  Put32(thread + 44, contextAt);

  const std::uint32_t exceptionAt = Reserve(kExceptionStreamSize);
  Put32(exceptionAt, static_cast<std::uint32_t>(threadId));
  Put32(exceptionAt + 8, static_cast<std::uint32_t>(signal));
  Put32(exceptionAt + 12, static_cast<std::uint32_t>(info.si_code));
  const bool faultAddress = signal == SIGSEGV || signal == SIGBUS || signal == SIGILL || signal == SIGFPE;
  Put64(exceptionAt + 24, faultAddress ? reinterpret_cast<std::uint64_t>(info.si_addr) : rip);
  Put32(exceptionAt + 160, kContextSize);
  Put32(exceptionAt + 164, contextAt);

  const std::uint32_t miscAt = Reserve(kMiscInfoSize);
  Put32(miscAt, kMiscInfoSize);
  Put32(miscAt + 4, kMiscProcessId);
  Put32(miscAt + 8, static_cast<std::uint32_t>(syscall(SYS_getpid)));

  std::uint32_t moduleCount = 0;
  const std::uint32_t modulesAt = PutModuleList(moduleCount);
  const std::uint32_t modulesSize = modulesAt == 0 ? 0 : 4 + moduleCount * kModuleSize;

  std::uint32_t mapsAt = Reserve(gMapsLength);
  if (mapsAt != 0) std::memcpy(gArena + mapsAt, gMaps, gMapsLength);

  const std::uint32_t memoryAt = Reserve(4 + gRangeCount * kMemoryDescriptorSize);
  if (memoryAt == 0) return false;
  // Memory contents follow the arena, in the order of the ranges.
  std::uint64_t rva = (gArenaLength + 15) & ~std::uint64_t{15};
  const std::uint64_t dataStart = rva;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < gRangeCount; ++i) {
    const std::uint64_t size = gRanges[i].end - gRanges[i].start;
    if (rva + size > 0xFFFFFFFFu) break;  // RVAs are 32-bit
    const std::size_t entry = memoryAt + 4 + kept * kMemoryDescriptorSize;
    Put64(entry, gRanges[i].start);
    Put32(entry + 8, static_cast<std::uint32_t>(size));
    Put32(entry + 12, static_cast<std::uint32_t>(rva));
    if (i == 0) {
      Put64(thread + 24, gRanges[0].start);
      Put32(thread + 32, static_cast<std::uint32_t>(size));
      Put32(thread + 36, static_cast<std::uint32_t>(rva));
    }
    rva += size;
    ++kept;
  }
  Put32(memoryAt, static_cast<std::uint32_t>(kept));

  Put32(0, kSignature);
  Put32(4, kVersion);
  Put32(8, kStreamCount);
  Put32(12, kHeaderSize);
  struct timespec now {};
  clock_gettime(CLOCK_REALTIME, &now);
  Put32(20, static_cast<std::uint32_t>(now.tv_sec));
  PutDirectory(0, kSystemInfoStream, kSystemInfoSize, systemAt);
  PutDirectory(1, kThreadListStream, 4 + kThreadSize, threadsAt);
  PutDirectory(2, kExceptionStream, kExceptionStreamSize, exceptionAt);
  PutDirectory(3, kModuleListStream, modulesSize, modulesAt);
  PutDirectory(4, kMemoryListStream, static_cast<std::uint32_t>(4 + kept * kMemoryDescriptorSize), memoryAt);
  PutDirectory(5, kLinuxMapsStream, mapsAt == 0 ? 0 : static_cast<std::uint32_t>(gMapsLength), mapsAt);
  PutDirectory(6, kMiscInfoStream, kMiscInfoSize, miscAt);

  if (!WriteAll(fd, gArena, gArenaLength)) return false;
  if (!WriteAll(fd, gZeros, static_cast<std::size_t>(dataStart - gArenaLength))) return false;
  for (std::size_t i = 0; i < kept; ++i)
    if (!WriteMemory(fd, gRanges[i].start, gRanges[i].end - gRanges[i].start)) return false;
  return true;
}

}  // namespace tessaroven::crash_internal
