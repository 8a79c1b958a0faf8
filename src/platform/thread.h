// Threads started for callers, and thread-local slots for sibling modules.
#pragma once
#include <cstdint>
#include <memory>

#include "platform/object.h"
#include "platform/sync.h"

namespace rv::os {

using ThreadStart = uint32_t (*)(void *parameter);

// A thread running `start(parameter)`. Closing the last handle lets the
// thread run on by itself.
class Thread final : public Object {
 public:
  static Thread *start(ThreadStart start, void *parameter, uint32_t *thread_id) noexcept;
  WaitResult wait(uint32_t milliseconds) noexcept;
  // The thread's result once it has ended.
  bool exit_code(uint32_t *code) const noexcept;

  struct State;

 private:
  explicit Thread(std::shared_ptr<State> state) noexcept;
  ~Thread() override;
  std::shared_ptr<State> state_;
};

// Slots for values per thread. Index 0xFFFFFFFF means no slot.
constexpr uint32_t kNoSlot = 0xFFFFFFFFu;
uint32_t slot_alloc() noexcept;
bool slot_free(uint32_t index) noexcept;
bool slot_set(uint32_t index, void *value) noexcept;
void *slot_get(uint32_t index) noexcept;

}  // namespace rv::os
