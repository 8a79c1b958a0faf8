// `rvimg demo`: shows the kernel at work without any input. A test picture is
// drawn in memory (smooth colour fields, sharp edges, fine lines, a gray ramp)
// and written into a gallery: the picture at each depth a BMP file holds, then
// the result of each operation of `convert`, each file read back to check it.
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "bmpfile.h"
#include "operations.h"
#include "rvimg.h"

namespace rvimg {

namespace {

constexpr int32_t kWidth = 320;
constexpr int32_t kHeight = 200;

// Blue, green, red of the test picture at (x, y), y from the top.
void picture_pixel(int32_t x, int32_t y, uint8_t *bgr) {
  uint8_t r, g, b;
  if (y < 120 && x < 160) {
    // Smooth colour: the hue turns across, the light falls down.
    const double hue = x / 160.0 * 6.0;
    const double light = 1.0 - y / 150.0;
    const double f = hue - std::floor(hue);
    const double ramp[6][3] = {{1, f, 0}, {1 - f, 1, 0}, {0, 1, f}, {0, 1 - f, 1}, {f, 0, 1}, {1, 0, 1 - f}};
    const double *c = ramp[static_cast<int>(hue) % 6];
    r = static_cast<uint8_t>(255 * c[0] * light);
    g = static_cast<uint8_t>(255 * c[1] * light);
    b = static_cast<uint8_t>(255 * c[2] * light);
  } else if (y < 120) {
    // Sharp edges: a checkerboard with a red disc.
    const int32_t dx = x - 240, dy = y - 60;
    const bool disc = dx * dx + dy * dy < 40 * 40;
    const bool light = ((x / 20) + (y / 20)) % 2 == 0;
    r = disc ? 220 : light ? 255 : 0;
    g = disc ? 30 : r;
    b = disc ? 40 : r;
  } else if (y < 160) {
    // Fine lines: one-pixel columns, rows and diagonals.
    bool ink;
    if (x < 106) {
      ink = x % 2 == 0;
    } else if (x < 213) {
      ink = y % 2 == 0;
    } else {
      ink = (x + y) % 4 == 0;
    }
    r = g = b = ink ? 0 : 255;
  } else {
    // The gray ramp.
    r = g = b = static_cast<uint8_t>(x * 255 / (kWidth - 1));
  }
  bgr[0] = b;
  bgr[1] = g;
  bgr[2] = r;
}

int32_t draw_picture(BITMAPRECORD *bitmap) {
  int32_t status = Rv_CreateBitmap(bitmap, RV_BITMAPRECORD_SIZE, BITMAPMEM_CONVENTIONAL, kWidth, kHeight, 24,
                                   ORDER_BGR, nullptr, VIEW_TOP_LEFT, nullptr, 0);
  if (status != SUCCESS) return status;
  bitmap->nXResolution = bitmap->nYResolution = 96;
  std::vector<uint8_t> row(static_cast<size_t>(bitmap->nBytesPerLine));
  for (int32_t y = 0; y < kHeight && status == SUCCESS; ++y) {
    for (int32_t x = 0; x < kWidth; ++x) picture_pixel(x, y, &row[3 * static_cast<size_t>(x)]);
    const int32_t put = Rv_PutBitmapRow(bitmap, row.data(), y, static_cast<uint32_t>(row.size()));
    if (put < 0) status = put;
  }
  return status;
}

// A copy of the picture at another depth and order through the kernel's plain
// conversion: nearest colours of a fixed (or gray) palette, no dithering.
int32_t convert_plain(BITMAPRECORD *src, BITMAPRECORD *dst, int32_t bits, int32_t order) {
  int32_t status = Rv_CreateBitmap(dst, RV_BITMAPRECORD_SIZE, BITMAPMEM_CONVENTIONAL, src->nWidth, src->nHeight,
                                   bits, order, nullptr, src->nViewPerspective, nullptr, 0);
  if (status != SUCCESS) return status;
  dst->nXResolution = src->nXResolution;
  dst->nYResolution = src->nYResolution;
  const uint32_t width = static_cast<uint32_t>(src->nWidth);
  std::vector<uint8_t> row(Rv_CalcConvertSize(width, src->nBitsPerPixel, width, bits));
  for (int32_t y = 0; y < src->nHeight && status == SUCCESS; ++y) {
    status = Rv_GetBitmapRow(src, row.data(), y, static_cast<uint32_t>(src->nBytesPerLine));
    if (status < 0) break;
    status = Rv_ConvertBuffer(row.data(), src->nWidth, src->nBitsPerPixel, bits, src->nOrder, order, nullptr,
                              dst->pPalette);
    if (status != SUCCESS) break;
    status = Rv_PutBitmapRow(dst, row.data(), y, static_cast<uint32_t>(dst->nBytesPerLine));
    if (status > 0) status = SUCCESS;
  }
  return status;
}

std::string file_line(const std::string &dir, const std::string &name, BITMAPRECORD *bitmap,
                      const std::string &what) {
  const std::string path = dir + "/" + name;
  int32_t status = write_bmp_file(path.c_str(), bitmap);
  if (status == SUCCESS) {
    Picture back;
    status = read_bmp_file(path.c_str(), back.get());
    if (status == SUCCESS) {
      struct stat st {};
      stat(path.c_str(), &st);
      char size[32];
      std::snprintf(size, sizeof size, "%lld bytes", static_cast<long long>(st.st_size));
      return describe_picture(back.get()) + ", " + size + ": " + what;
    }
  }
  return "not written: " + kernel_message(status);
}

struct Depth {
  const char *name;
  int32_t bits;
  int32_t order;
  const char *what;
};

const Depth kDepths[] = {
    {"picture-32.bmp", 32, ORDER_BGR, "32 bits with an alpha byte"},
    {"picture-16.bmp", 16, ORDER_BGR, "5-5-5 colour"},
    {"picture-565.bmp", 16, ORDER_BGR565, "5-6-5 colour, written with its bit fields"},
    {"picture-8-gray.bmp", 8, ORDER_GRAY, "8-bit gray palette"},
    {"picture-8-fixed.bmp", 8, ORDER_RGB, "fixed 8-bit palette, nearest colours"},
    {"picture-4-fixed.bmp", 4, ORDER_RGB, "fixed 16-colour palette, nearest colours"},
    {"picture-1-fixed.bmp", 1, ORDER_RGB, "black and white, nearest colours"},
};

struct Result {
  const char *name;
  const char *operations;
};

const Result kResults[] = {
    {"bits-8-optimized-floyd.bmp", "--bits 8 --palette optimized --dither floyd"},
    {"bits-4-fixed-ordered.bmp", "--bits 4 --palette fixed --dither ordered"},
    {"bits-1-stucki.bmp", "--bits 1 --dither stucki"},
    {"resize-half-linear.bmp", "--resize 160x100 --resample linear"},
    {"resize-double-cubic.bmp", "--resize 640x400 --resample cubic"},
    {"rotate-17.5-grow.bmp", "--rotate 17.5 --grow --interpolate linear --fill ffffff"},
    {"flip.bmp", "--flip"},
    {"reverse.bmp", "--reverse"},
    {"perspective-6.bmp", "--perspective 6"},
};

std::vector<std::string> words_of(const char *text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string w; in >> w;) words.push_back(w);
  return words;
}

// The result of a line of operations on a copy of the picture.
std::string result_line(const std::string &dir, const Result &result, BITMAPRECORD *picture) {
  std::vector<Step> steps;
  std::string error;
  if (!parse_steps(words_of(result.operations), &steps, &error)) return "not made: " + error;
  Picture copy;
  int32_t status = Rv_CopyBitmap(copy.get(), picture, RV_BITMAPRECORD_SIZE);
  for (size_t i = 0; i < steps.size() && status == SUCCESS; ++i) {
    ProgressBar bar(steps[i].op->name + 2);
    status = steps[i].op->run(copy.get(), steps[i]);
  }
  if (status != SUCCESS) return "not made: " + kernel_message(status);
  return file_line(dir, result.name, copy.get(), result.operations);
}

}  // namespace

int run_demo(int argc, char **argv) {
  const std::string dir = argc > 0 ? argv[0] : "rvimg-demo";
  if (mkdir(dir.c_str(), 0777) != 0 && errno != EEXIST) {
    std::perror(("rvimg: " + dir).c_str());
    return kExitFailed;
  }
  Picture picture;
  const int32_t status = draw_picture(picture.get());
  if (status != SUCCESS) return report("drawing the test picture", status);
  std::printf("Ruvokit imaging kernel: a gallery in %s/\n\n", dir.c_str());
  auto print = [](const std::string &name, const std::string &line) {
    std::printf("  %-28s %s\n", name.c_str(), line.c_str());
  };
  print("picture.bmp", file_line(dir, "picture.bmp", picture.get(),
                                 "the test picture: colour fields, edges, fine lines, a gray ramp"));
  for (const Depth &d : kDepths) {
    Picture copy;
    const int32_t converted = convert_plain(picture.get(), copy.get(), d.bits, d.order);
    print(d.name, converted == SUCCESS ? file_line(dir, d.name, copy.get(), d.what)
                                       : "not made: " + kernel_message(converted));
  }
  std::printf("\n");
  for (const Result &r : kResults) print(r.name, result_line(dir, r, picture.get()));
  return 0;
}

}  // namespace rvimg
