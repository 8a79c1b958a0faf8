#include "platform/clock.h"

#include <time.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace rv::os {

namespace {
std::atomic<TickSource> g_source{nullptr};
}

uint64_t tick_count_ms() noexcept {
  if (TickSource source = g_source.load(std::memory_order_acquire)) return source();
  struct timespec ts {};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
}

void sleep_ms(uint32_t milliseconds) noexcept {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void set_tick_source(TickSource source) noexcept { g_source.store(source, std::memory_order_release); }

}  // namespace rv::os
