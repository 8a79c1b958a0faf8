// Synchronisation objects: events, mutexes and a reader-writer lock.
#pragma once
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <shared_mutex>

#include "platform/object.h"

namespace rv::os {

constexpr uint32_t kInfinite = 0xFFFFFFFFu;
enum class WaitResult : uint32_t { Signaled = 0, Timeout = 258, Failed = 0xFFFFFFFFu };

// A manual- or auto-reset event.
class Event final : public Object {
 public:
  static Event *create(bool manual_reset, bool initially_set) noexcept;
  void set() noexcept;
  void reset() noexcept;
  // Waits up to `milliseconds` (kInfinite: forever) for the event.
  WaitResult wait(uint32_t milliseconds) noexcept;

 private:
  Event(bool manual, bool state) noexcept : Object(ObjectType::Event), manual_(manual), state_(state) {}
  ~Event() override = default;
  std::mutex mutex_;
  std::condition_variable cv_;
  bool manual_;
  bool state_;
};

// A recursive mutex that a thread owns between wait and release.
class MutexObject final : public Object {
 public:
  static MutexObject *create(bool initially_owned) noexcept;
  WaitResult wait(uint32_t milliseconds) noexcept;
  bool release() noexcept;

 private:
  MutexObject() noexcept : Object(ObjectType::Mutex) {}
  ~MutexObject() override = default;
  std::recursive_timed_mutex mutex_;
};

// Reader-writer lock. Made with the fallback (or while the fallback is forced
// for the process), it is a plain mutex: a reader then excludes other readers.
class RwLock {
 public:
  RwLock() noexcept;
  void lock_shared() noexcept;
  void unlock_shared() noexcept;
  void lock() noexcept;
  void unlock() noexcept;
  bool uses_fallback() const noexcept { return fallback_; }

  // Makes every lock created from now on use the fallback; for tests.
  static void force_fallback(bool force) noexcept;

 private:
  bool fallback_;
  std::shared_mutex shared_;
  std::mutex plain_;
};

}  // namespace rv::os
