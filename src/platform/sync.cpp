#include "platform/sync.h"

#include <atomic>
#include <chrono>
#include <new>

namespace rv::os {

Event *Event::create(bool manual_reset, bool initially_set) noexcept {
  return new (std::nothrow) Event(manual_reset, initially_set);
}

void Event::set() noexcept {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    state_ = true;
  }
  if (manual_) {
    cv_.notify_all();
  } else {
    cv_.notify_one();
  }
}

void Event::reset() noexcept {
  std::lock_guard<std::mutex> lock(mutex_);
  state_ = false;
}

WaitResult Event::wait(uint32_t milliseconds) noexcept {
  std::unique_lock<std::mutex> lock(mutex_);
  auto ready = [this] { return state_; };
  if (milliseconds == kInfinite) {
    cv_.wait(lock, ready);
  } else if (!cv_.wait_for(lock, std::chrono::milliseconds(milliseconds), ready)) {
    return WaitResult::Timeout;
  }
  if (!manual_) state_ = false;
  return WaitResult::Signaled;
}

MutexObject *MutexObject::create(bool initially_owned) noexcept {
  auto *m = new (std::nothrow) MutexObject();
  if (m != nullptr && initially_owned) m->mutex_.lock();
  return m;
}

WaitResult MutexObject::wait(uint32_t milliseconds) noexcept {
  if (milliseconds == kInfinite) {
    mutex_.lock();
    return WaitResult::Signaled;
  }
  return mutex_.try_lock_for(std::chrono::milliseconds(milliseconds)) ? WaitResult::Signaled
                                                                      : WaitResult::Timeout;
}

bool MutexObject::release() noexcept {
  mutex_.unlock();
  return true;
}

namespace {
std::atomic<bool> g_force_fallback{false};
}

RwLock::RwLock() noexcept : fallback_(g_force_fallback.load(std::memory_order_relaxed)) {}

void RwLock::force_fallback(bool force) noexcept {
  g_force_fallback.store(force, std::memory_order_relaxed);
}

void RwLock::lock_shared() noexcept {
  if (fallback_) {
    plain_.lock();
  } else {
    shared_.lock_shared();
  }
}

void RwLock::unlock_shared() noexcept {
  if (fallback_) {
    plain_.unlock();
  } else {
    shared_.unlock_shared();
  }
}

void RwLock::lock() noexcept {
  if (fallback_) {
    plain_.lock();
  } else {
    shared_.lock();
  }
}

void RwLock::unlock() noexcept {
  if (fallback_) {
    plain_.unlock();
  } else {
    shared_.unlock();
  }
}

}  // namespace rv::os
