// --diagnostics: where this machine keeps the program's settings and data, the
// folders it would offer, and how numbers, sizes and durations are worded here.
#pragma once

namespace tessaroven::cli {

inline constexpr char kVersion[] = "0.1.0";

void PrintDiagnostics();

}  // namespace tessaroven::cli
