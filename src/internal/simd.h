// The vector instruction level that fast paths may use. It is read from the
// processor once; tests and benchmarks can lower it (down to the plain path)
// to compare results and speeds. A fast path gives the same bytes as the
// plain path at every level.
#pragma once
#include <atomic>
#include <cstdint>

namespace rv::simd {

enum class Level : int32_t {
  Plain = 0,  // no vector code
  Ssse3 = 1,  // SSE2 and the byte shuffle
  Avx2 = 2,
};

namespace detail {
inline Level probe() noexcept {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx2")) return Level::Avx2;
  if (__builtin_cpu_supports("ssse3")) return Level::Ssse3;
#endif
  return Level::Plain;
}
inline std::atomic<int32_t> g_forced{-1};
}  // namespace detail

// What the processor offers.
inline Level detected() noexcept {
  static const Level level = detail::probe();
  return level;
}

// What fast paths use now: the processor's level, or the lower one forced.
inline Level level() noexcept {
  const int32_t forced = detail::g_forced.load(std::memory_order_relaxed);
  const Level offered = detected();
  if (forced < 0 || forced >= static_cast<int32_t>(offered)) return offered;
  return static_cast<Level>(forced);
}

// Caps the level (Level::Plain forces the plain path); returns the former cap.
// A negative value removes the cap.
inline int32_t force_level(int32_t level) noexcept {
  return detail::g_forced.exchange(level, std::memory_order_relaxed);
}

// Sets a cap for the life of a scope.
class ScopedLevel {
 public:
  explicit ScopedLevel(Level level) noexcept
      : former_(force_level(static_cast<int32_t>(level))) {}
  ~ScopedLevel() { force_level(former_); }
  ScopedLevel(const ScopedLevel &) = delete;
  ScopedLevel &operator=(const ScopedLevel &) = delete;

 private:
  int32_t former_;
};

}  // namespace rv::simd
