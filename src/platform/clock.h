// Monotonic time in milliseconds. Tests can replace the source to drive time.
#pragma once
#include <cstdint>

namespace rv::os {

uint64_t tick_count_ms() noexcept;
void sleep_ms(uint32_t milliseconds) noexcept;

using TickSource = uint64_t (*)();
// Installs a replacement clock (nullptr restores the real one); for tests.
void set_tick_source(TickSource source) noexcept;

}  // namespace rv::os
