// Platform objects behind handles: files, sections, events, mutexes, threads.
// Each is reference counted so that a duplicated handle keeps it alive; the
// last release destroys it (closing the file, unmapping the section, ...).
#pragma once
#include <atomic>
#include <cstdint>

namespace rv::os {

enum class ObjectType : uint32_t { File = 1, Section, Event, Mutex, Thread };

class Object {
 public:
  explicit Object(ObjectType type) noexcept : type_(type) {}
  Object(const Object &) = delete;
  Object &operator=(const Object &) = delete;

  ObjectType type() const noexcept { return type_; }
  void add_ref() noexcept { refs_.fetch_add(1, std::memory_order_relaxed); }
  // Drops one reference; the last one deletes the object.
  void release() noexcept {
    if (refs_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

 protected:
  virtual ~Object() = default;

 private:
  ObjectType type_;
  std::atomic<uint32_t> refs_{1};
};

}  // namespace rv::os
