// Status messages and progress, as the user sees them.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "rvimg.h"

namespace rvimg {

std::string kernel_message(int32_t status) {
  char16_t wide[1024];
  Rv_GetFriendlyErrorMessage(status, wide, 1024, FALSE);
  char *narrow = Rv_W2AHelper(wide);
  std::string text = narrow != nullptr ? narrow : "";
  Rv_W2AHelperFree(narrow);
  // Messages of several lines become one.
  std::string line;
  for (char c : text) {
    if (c == '\r') continue;
    if (c == '\n') {
      line += ' ';
    } else {
      line += c;
    }
  }
  return line;
}

int report(const std::string &what, int32_t status) {
  std::fprintf(stderr, "rvimg: %s: %s (%s, %d)\n", what.c_str(), kernel_message(status).c_str(),
               status_name(status), status);
  return kExitFailed;
}

std::string describe_picture(const BITMAPRECORD *b) {
  char text[96];
  std::snprintf(text, sizeof text, "%d x %d, %d bit%s", b->nWidth, b->nHeight, b->nBitsPerPixel,
                b->nBitsPerPixel == 1 ? "" : "s");
  return text;
}

ProgressBar::ProgressBar(const std::string &label) : label_(label) {
  if (isatty(STDERR_FILENO) == 0) return;
  shown_ = true;
  Rv_SetStatusCallBack(&ProgressBar::draw, this, &former_, &former_user_);
}

ProgressBar::~ProgressBar() {
  if (!shown_) return;
  Rv_SetStatusCallBack(former_, former_user_, nullptr, nullptr);
  if (drawn_) std::fputs("\r\033[K", stderr);
}

int32_t ProgressBar::draw(int32_t percent, void *user) {
  auto *bar = static_cast<ProgressBar *>(user);
  constexpr int kWidth = 30;
  const int filled = percent < 0 ? 0 : percent > 100 ? kWidth : percent * kWidth / 100;
  std::fprintf(stderr, "\r%-14s [%s%s] %3d%%", bar->label_.c_str(), std::string(filled, '#').c_str(),
               std::string(kWidth - filled, ' ').c_str(), percent);
  std::fflush(stderr);
  bar->drawn_ = true;
  return SUCCESS;
}

}  // namespace rvimg
