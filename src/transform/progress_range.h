// The row progress rule over a share of the percent range, so that a sequence
// of operations reports as one: the rule's percent p goes to the thread's
// callback as start + (end - start) x p / 100, and only when that number
// changed. A result other than SUCCESS stops the loop, as in the rule.
#pragma once
#include <cstdint>

#include "internal/progress.h"

namespace rv::xform {

class RangeProgress {
 public:
  RangeProgress(int32_t rows, int32_t start_percent, int32_t end_percent) noexcept
      : callback_(Rv_GetStatusCallBack(&user_)),
        start_(start_percent),
        end_(end_percent),
        rule_(rows, callback_ ? &RangeProgress::relay : nullptr, this) {}
  RangeProgress(const RangeProgress &) = delete;
  RangeProgress &operator=(const RangeProgress &) = delete;

  int32_t start() noexcept { return rule_.start(); }
  int32_t row_done() noexcept { return rule_.row_done(); }

  // The whole range at once, for work that has no rows: the start, then the
  // end if it differs.
  static int32_t report_range(int32_t start_percent, int32_t end_percent) noexcept {
    void *user = nullptr;
    const STATUSCALLBACK callback = Rv_GetStatusCallBack(&user);
    if (callback == nullptr) return SUCCESS;
    const int32_t status = callback(start_percent, user);
    if (status != SUCCESS || end_percent == start_percent) return status;
    return callback(end_percent, user);
  }

 private:
  static int32_t relay(int32_t percent, void *self) {
    auto *p = static_cast<RangeProgress *>(self);
    const auto scaled = static_cast<int32_t>(p->start_ + (static_cast<int64_t>(p->end_) - p->start_) * percent / 100);
    if (p->reported_ && scaled == p->last_) return SUCCESS;
    p->reported_ = true;
    p->last_ = scaled;
    return p->callback_(scaled, p->user_);
  }

  void *user_ = nullptr;
  STATUSCALLBACK callback_;
  int32_t start_;
  int32_t end_;
  int32_t last_ = 0;
  bool reported_ = false;
  RowProgress rule_;
};

// Holds the thread's progress callback off for a scope, so that the inner
// steps of an operation report nothing, and puts it back on every way out.
class QuietProgress {
 public:
  QuietProgress() noexcept { Rv_SetStatusCallBack(nullptr, nullptr, &callback_, &user_); }
  QuietProgress(const QuietProgress &) = delete;
  QuietProgress &operator=(const QuietProgress &) = delete;
  ~QuietProgress() { Rv_SetStatusCallBack(callback_, user_, nullptr, nullptr); }

 private:
  STATUSCALLBACK callback_ = nullptr;
  void *user_ = nullptr;
};

}  // namespace rv::xform
