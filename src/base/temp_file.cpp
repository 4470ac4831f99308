#include "base/temp_file.h"

#include <chrono>
#include <mutex>
#include <random>

namespace tessaroven {

std::uint32_t SharedRandomNumber(std::uint32_t limit) {
  static std::mutex mutex;
  static std::mt19937 generator = [] {
    // random_device alone is not trusted to differ between runs on every C++
    // runtime, so the clock and an address of this run are mixed in.
    std::random_device device;
    const auto now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    const auto where = reinterpret_cast<std::uintptr_t>(&mutex);
    std::seed_seq seed{device(),
                       device(),
                       static_cast<std::uint32_t>(now),
                       static_cast<std::uint32_t>(now >> 32),
                       static_cast<std::uint32_t>(where),
                       static_cast<std::uint32_t>(static_cast<std::uint64_t>(where) >> 32)};
    return std::mt19937(seed);
  }();
  std::uniform_int_distribution<std::uint32_t> distribution(0, limit);
  std::lock_guard lock(mutex);
  return distribution(generator);
}

}  // namespace tessaroven
