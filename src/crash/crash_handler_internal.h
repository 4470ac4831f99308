// The platform half of crash_handler.h, implemented once per platform.
#pragma once

#include <string>

#include "crash/crash_handler.h"

namespace tessaroven::crash_internal {

// The full path of the running executable.
std::u16string RunningProgramPath();

// Copies what a crash needs out of `prepared` into storage the handler may use
// without allocating, then installs the handler. Called on the main thread; a
// second call replaces the earlier preparation.
void InstallPlatformHandler(const CrashPreparation& prepared);

bool PlatformHandlerActive();

}  // namespace tessaroven::crash_internal
