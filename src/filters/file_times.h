// File times as the filters compare them: 64-bit counts of 100-nanosecond ticks since
// 1 January 1601 UTC (the Windows FILETIME scale), whatever the platform.
//
// Windows reports these values directly. Linux reports seconds and nanoseconds since
// 1970; they are moved onto the same scale here, so a date threshold computed from the
// clock and a time read from the disk always compare tick for tick.
//
// "Creation" on Linux is the birth time (statx btime) where the file system records
// one. Where it does not (older kernels, many network file systems), the creation
// time is the earlier of the last-write and the status-change time: the earliest
// moment the system can vouch that the file existed. A file is then never created
// after it was last written (as on Windows), and renaming or re-permissioning an old
// file does not make it look new; a modification time set into the future is capped
// by the status change.
//
// Pure functions and a stat call: any thread may call.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tessaroven {

// Ticks between 1601-01-01 and 1970-01-01, both UTC.
inline constexpr std::uint64_t kUnixEpochAsFileTime = 116444736000000000ull;
inline constexpr std::uint64_t kFileTimeTicksPerSecond = 10000000ull;
inline constexpr std::uint64_t kFileTimeTicksPerMillisecond = 10000ull;
inline constexpr std::uint64_t kFileTimeTicksPerDay = 86400ull * kFileTimeTicksPerSecond;

// A Unix time (seconds may be negative, nanoseconds 0..999999999) on the file-time
// scale; times before 1601 give 0, times beyond the scale its largest value.
std::uint64_t FileTimeFromUnix(std::int64_t seconds, std::int64_t nanoseconds);

// CompareFileTime: -1, 0 or 1.
inline int CompareFileTime(std::uint64_t a, std::uint64_t b) { return a < b ? -1 : (a > b ? 1 : 0); }

// The current UTC time as the system clock gives it (GetSystemTime on Windows, which
// counts whole milliseconds; the Linux clock is cut to milliseconds the same way).
std::uint64_t CurrentFileTime();

// The three times of a file entry.
struct FileTimes {
  std::uint64_t lastWrite = 0;
  std::uint64_t creation = 0;
  std::uint64_t lastAccess = 0;
  // False when the file system has no birth time and `creation` was derived.
  bool creationIsBirthTime = true;
};

// The Linux creation rule above, on file-time values: the birth time when known,
// else the earlier of last write and status change.
std::uint64_t CreationTimeFrom(std::optional<std::uint64_t> birth, std::uint64_t lastWrite, std::uint64_t statusChange);

// Reads the times of the file or folder at `path`. False when it cannot be read
// (missing, no permission); `times` is then untouched.
bool ReadFileTimes(std::u16string_view path, FileTimes& times);

}  // namespace tessaroven
