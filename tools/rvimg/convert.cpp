// `rvimg info` and `rvimg convert`.
#include <cstdio>
#include <string>
#include <vector>

#include "bmpfile.h"
#include "operations.h"
#include "rvimg.h"

namespace rvimg {

namespace {

const char *order_name(const BITMAPRECORD *b) {
  if (b->nBitsPerPixel <= 8) return "palette indexes";
  switch (b->nOrder) {
    case ORDER_RGB: return "red-green-blue";
    case ORDER_BGR: return "blue-green-red";
    case ORDER_GRAY: return "gray";
    case ORDER_WIDE_GAMUT: return "wide gamut";
    case ORDER_BGR565: return "blue-green-red 5-6-5";
    default: return "unknown";
  }
}

int32_t read_reporting(const char *path, BITMAPRECORD *bitmap) {
  ProgressBar bar("reading");
  return read_bmp_file(path, bitmap);
}

}  // namespace

int run_info(int argc, char **argv) {
  if (argc < 1) {
    std::fprintf(stderr, "usage: rvimg info FILE...\n");
    return kExitUsage;
  }
  int result = 0;
  for (int i = 0; i < argc; ++i) {
    Picture picture;
    const int32_t status = read_reporting(argv[i], picture.get());
    if (status != SUCCESS) {
      result = report(argv[i], status);
      continue;
    }
    const BITMAPRECORD *b = picture.get();
    std::printf("%s\n", argv[i]);
    std::printf("  size        %d x %d pixels\n", b->nWidth, b->nHeight);
    std::printf("  depth       %d bits per pixel\n", b->nBitsPerPixel);
    std::printf("  order       %s, rows %s\n", order_name(b),
                b->nViewPerspective == VIEW_TOP_LEFT ? "top-down" : "bottom-up");
    if (b->nBitsPerPixel <= 8) {
      std::printf("  palette     %d colours\n", b->nColors);
    } else {
      std::printf("  palette     none\n");
    }
    std::printf("  resolution  %d x %d dots per inch\n", b->nXResolution, b->nYResolution);
  }
  return result;
}

int run_convert(int argc, char **argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: rvimg convert IN OUT [operations...]  (rvimg --help lists them)\n");
    return kExitUsage;
  }
  std::vector<Step> steps;
  std::string error;
  if (!parse_steps(std::vector<std::string>(argv + 2, argv + argc), &steps, &error)) {
    std::fprintf(stderr, "rvimg: %s\n", error.c_str());
    return kExitUsage;
  }
  Picture picture;
  int32_t status = read_reporting(argv[0], picture.get());
  if (status != SUCCESS) return report(argv[0], status);
  for (const Step &step : steps) {
    ProgressBar bar(step.op->name + 2);
    status = step.op->run(picture.get(), step);
    if (status != SUCCESS) return report(step.op->name, status);
  }
  status = write_bmp_file(argv[1], picture.get());
  if (status != SUCCESS) return report(argv[1], status);
  std::printf("%s: %s\n", argv[1], describe_picture(picture.get()).c_str());
  return 0;
}

}  // namespace rvimg
