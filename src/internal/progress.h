// The row progress rule of every long loop. The loop takes the thread's
// callback once; if there is one it is called with 0 before the first row.
// A whole step 100 / rows and a rest 100 % rows are kept: after each row the
// percent grows by the step and the rest goes into an accumulator; when that
// reaches the row count the percent grows by one more and the count is taken
// off. The callback hears a row only when the percent changed. A result other
// than SUCCESS ends the loop, and is the operation's result.
#pragma once
#include <cstdint>

#include "ruvokit/rvplatform.h"
#include "ruvokit/rvstatus.h"

namespace rv {

class RowProgress {
 public:
  enum class Source { Status, CopyStatus };

  // Takes the thread's progress (or copy progress) callback.
  explicit RowProgress(int32_t rows, Source source = Source::Status) noexcept
      : RowProgress(rows, nullptr, nullptr) {
    callback_ = source == Source::Status ? Rv_GetStatusCallBack(&user_)
                                         : Rv_GetCopyStatusCallBack(&user_);
  }
  RowProgress(int32_t rows, STATUSCALLBACK callback, void *user) noexcept
      : callback_(callback),
        user_(user),
        rows_(rows > 0 ? rows : 1),
        step_(100 / rows_),
        rest_(100 % rows_) {}

  bool active() const noexcept { return callback_ != nullptr; }
  int32_t percent() const noexcept { return percent_; }

  // Before the first row: 0 to the callback.
  int32_t start() noexcept { return callback_ ? callback_(0, user_) : SUCCESS; }

  // After a row: the new percent to the callback when it changed.
  int32_t row_done() noexcept {
    if (callback_ == nullptr) return SUCCESS;
    const int32_t before = percent_;
    percent_ += step_;
    accumulated_ += rest_;
    if (accumulated_ >= rows_) {
      ++percent_;
      accumulated_ -= rows_;
    }
    return percent_ != before ? callback_(percent_, user_) : SUCCESS;
  }

 private:
  STATUSCALLBACK callback_;
  void *user_ = nullptr;
  int32_t rows_;
  int32_t step_;
  int32_t rest_;
  int32_t accumulated_ = 0;
  int32_t percent_ = 0;
};

}  // namespace rv
