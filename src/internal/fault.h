// Failure injection for tests. Every acquisition of memory the library makes
// (heap blocks through the allocation functions, mapped sections and views)
// asks here first. A test arms a countdown on its own thread: the acquisition
// after `n` successful ones fails, once, and the countdown disarms itself.
// Disarmed, the check is one thread-local load.
#pragma once
#include <cstdint>

namespace rv::fault {

namespace detail {
inline thread_local int64_t t_countdown = -1;
inline thread_local bool t_fired = false;
inline bool take() noexcept {
  if (t_countdown < 0) return false;
  if (t_countdown-- > 0) return false;
  t_fired = true;
  return true;
}
}  // namespace detail

// Arms (n >= 0) or disarms (n < 0) the countdown of the calling thread.
inline void fail_after(int64_t n) noexcept {
  detail::t_countdown = n;
  detail::t_fired = false;
}
// Whether the armed failure has happened since fail_after.
inline bool fired() noexcept { return detail::t_fired; }

// Consulted by the library before a heap allocation and before a mapping.
inline bool fail_allocation() noexcept { return detail::take(); }
inline bool fail_mapping() noexcept { return detail::take(); }

}  // namespace rv::fault
