// The commands of rvimg and what they share.
#pragma once
#include <cstdint>
#include <string>

#include "ruvokit/rvkrn.h"

namespace rvimg {

int run_info(int argc, char **argv);
int run_convert(int argc, char **argv);
int run_demo(int argc, char **argv);

// Exit codes: 0 done, 1 the kernel refused (its message was printed), 2 a
// command line it can't take.
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

// The name of a status code, from the kernel's table of codes.
const char *status_name(int code);
// The kernel's own message for a status code, on one line.
std::string kernel_message(int32_t status);
// Prints "rvimg: WHAT: MESSAGE (NAME)" to standard error and gives kExitFailed.
int report(const std::string &what, int32_t status);

// A full-form bitmap record freed at the end of its scope.
struct Picture {
  BITMAPRECORD record{};
  Picture() = default;
  Picture(const Picture &) = delete;
  Picture &operator=(const Picture &) = delete;
  ~Picture() { Rv_FreeBitmap(&record); }
  BITMAPRECORD *get() { return &record; }
};

// A progress bar on standard error, drawn from the kernel's status callback
// while it lives, when standard error is a terminal.
class ProgressBar {
 public:
  explicit ProgressBar(const std::string &label);
  ~ProgressBar();
  ProgressBar(const ProgressBar &) = delete;
  ProgressBar &operator=(const ProgressBar &) = delete;

 private:
  static int32_t draw(int32_t percent, void *user);
  std::string label_;
  bool shown_ = false;
  bool drawn_ = false;
  STATUSCALLBACK former_ = nullptr;
  void *former_user_ = nullptr;
};

// One line about a bitmap: "320 x 200, 24 bits".
std::string describe_picture(const BITMAPRECORD *bitmap);

}  // namespace rvimg
