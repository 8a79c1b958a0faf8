#include "platform/thread.h"

#include <pthread.h>

#include <atomic>
#include <new>
#include <thread>

#include "platform/error.h"

namespace rv::os {

struct Thread::State {
  ThreadStart start;
  void *parameter;
  Event *done;
  std::atomic<bool> finished{false};
  uint32_t code = 0;
  ~State() {
    if (done) done->release();
  }
};

Thread::Thread(std::shared_ptr<State> state) noexcept
    : Object(ObjectType::Thread), state_(std::move(state)) {}

Thread::~Thread() = default;

Thread *Thread::start(ThreadStart start, void *parameter, uint32_t *thread_id) noexcept {
  if (start == nullptr) {
    set_last_error(kErrInvalidParameter);
    return nullptr;
  }
  static std::atomic<uint32_t> next_id{1};
  try {
    auto state = std::make_shared<State>();
    state->start = start;
    state->parameter = parameter;
    state->done = Event::create(true, false);
    if (state->done == nullptr) throw std::bad_alloc();
    auto *thread = new Thread(state);
    try {
      std::thread([state] {
        state->code = state->start(state->parameter);
        state->finished.store(true, std::memory_order_release);
        state->done->set();
      }).detach();
    } catch (...) {
      thread->release();
      throw;
    }
    if (thread_id) *thread_id = next_id.fetch_add(1, std::memory_order_relaxed);
    return thread;
  } catch (...) {
    set_last_error(kErrNotEnoughMemory);
    return nullptr;
  }
}

WaitResult Thread::wait(uint32_t milliseconds) noexcept { return state_->done->wait(milliseconds); }

bool Thread::exit_code(uint32_t *code) const noexcept {
  if (!state_->finished.load(std::memory_order_acquire)) return false;
  *code = state_->code;
  return true;
}

uint32_t slot_alloc() noexcept {
  pthread_key_t key;
  if (pthread_key_create(&key, nullptr) != 0) {
    set_last_error(kErrNotEnoughMemory);
    return kNoSlot;
  }
  return static_cast<uint32_t>(key);
}

bool slot_free(uint32_t index) noexcept {
  if (index == kNoSlot || pthread_key_delete(static_cast<pthread_key_t>(index)) != 0) {
    set_last_error(kErrInvalidParameter);
    return false;
  }
  return true;
}

bool slot_set(uint32_t index, void *value) noexcept {
  if (index == kNoSlot || pthread_setspecific(static_cast<pthread_key_t>(index), value) != 0) {
    set_last_error(kErrInvalidParameter);
    return false;
  }
  return true;
}

void *slot_get(uint32_t index) noexcept {
  if (index == kNoSlot) {
    set_last_error(kErrInvalidParameter);
    return nullptr;
  }
  set_last_error(kErrNone);
  return pthread_getspecific(static_cast<pthread_key_t>(index));
}

}  // namespace rv::os
