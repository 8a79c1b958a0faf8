#include "internal/progress.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Recorder {
  std::vector<int32_t> seen;
  int32_t stop_at = -1;  // percent at which to answer with an error
  static int32_t callback(int32_t percent, void *user) {
    auto *self = static_cast<Recorder *>(user);
    self->seen.push_back(percent);
    return percent == self->stop_at ? ERROR_USER_ABORT : SUCCESS;
  }
};

// Runs the rule over `rows` rows, stopping at the first error like a loop.
int32_t run_rows(int32_t rows, Recorder &rec) {
  rv::RowProgress progress(rows, &Recorder::callback, &rec);
  int32_t status = progress.start();
  for (int32_t row = 0; row < rows && status == SUCCESS; ++row) status = progress.row_done();
  return status;
}

TEST(RowProgress, ExactSequences) {
  struct Case {
    int32_t rows;
    std::vector<int32_t> expected;
  };
  std::vector<int32_t> every;  // 100 rows: 0..100
  for (int i = 0; i <= 100; ++i) every.push_back(i);
  const Case cases[] = {
      {1, {0, 100}},
      {3, {0, 33, 66, 100}},
      {7, {0, 14, 28, 42, 57, 71, 85, 100}},
      {100, every},
  };
  for (const Case &c : cases) {
    Recorder rec;
    EXPECT_EQ(run_rows(c.rows, rec), SUCCESS);
    EXPECT_EQ(rec.seen, c.expected) << c.rows << " rows";
  }
}

TEST(RowProgress, MoreRowsThanPercentsReportsEachPercentOnce) {
  Recorder rec;
  EXPECT_EQ(run_rows(250, rec), SUCCESS);
  ASSERT_EQ(rec.seen.size(), 101u);
  for (int i = 0; i <= 100; ++i) EXPECT_EQ(rec.seen[i], i);
  // The percent moves after rows 3, 5, 8, 10, ... (100/250 per row).
  Recorder first;
  rv::RowProgress p(250, &Recorder::callback, &first);
  p.start();
  std::vector<int> rows_reported;
  for (int row = 1; row <= 10; ++row) {
    size_t before = first.seen.size();
    p.row_done();
    if (first.seen.size() != before) rows_reported.push_back(row);
  }
  EXPECT_EQ(rows_reported, (std::vector<int>{3, 5, 8, 10}));
}

TEST(RowProgress, CallbackErrorEndsTheLoopWithItsValue) {
  Recorder rec;
  rec.stop_at = 28;
  EXPECT_EQ(run_rows(7, rec), ERROR_USER_ABORT);
  EXPECT_EQ(rec.seen, (std::vector<int32_t>{0, 14, 28}));
  Recorder at_start;
  at_start.stop_at = 0;
  EXPECT_EQ(run_rows(5, at_start), ERROR_USER_ABORT);
  EXPECT_EQ(at_start.seen.size(), 1u);
}

TEST(RowProgress, TakesTheThreadCallbacks) {
  Recorder status, copy;
  STATUSCALLBACK old_status, old_copy;
  void *old_status_user, *old_copy_user;
  Rv_SetStatusCallBack(&Recorder::callback, &status, &old_status, &old_status_user);
  Rv_SetCopyStatusCallBack(&Recorder::callback, &copy, &old_copy, &old_copy_user);
  rv::RowProgress a(1), b(1, rv::RowProgress::Source::CopyStatus);
  a.start();
  b.start();
  b.row_done();
  EXPECT_EQ(status.seen, (std::vector<int32_t>{0}));
  EXPECT_EQ(copy.seen, (std::vector<int32_t>{0, 100}));
  Rv_SetStatusCallBack(old_status, old_status_user, nullptr, nullptr);
  Rv_SetCopyStatusCallBack(old_copy, old_copy_user, nullptr, nullptr);
  rv::RowProgress none(10);
  EXPECT_FALSE(none.active());
  EXPECT_EQ(none.start(), SUCCESS);
  EXPECT_EQ(none.row_done(), SUCCESS);
}

}  // namespace
