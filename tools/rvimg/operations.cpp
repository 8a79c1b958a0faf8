// The operations table: each operation is one row with the kernel call it makes.
#include "operations.h"

#include "bmpfile.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace rvimg {

namespace {

bool to_int(const std::string &s, long lo, long hi, long *out) {
  if (s.empty()) return false;
  char *end = nullptr;
  const long v = std::strtol(s.c_str(), &end, 10);
  if (*end != '\0' || v < lo || v > hi) return false;
  *out = v;
  return true;
}

bool is_depth(const std::string &s) {
  long v;
  if (!to_int(s, 1, 64, &v)) return false;
  return v <= 8 || v == 12 || v == 16 || v == 24 || v == 32 || v == 48 || v == 64;
}

bool is_pair(const std::string &s, char between, long lo) {
  const size_t at = s.find(between);
  long a, b;
  return at != std::string::npos && to_int(s.substr(0, at), lo, 0x7FFFFFFF, &a) &&
         to_int(s.substr(at + 1), lo, 0x7FFFFFFF, &b);
}

bool is_size(const std::string &s) { return is_pair(s, 'x', 1); }
bool is_point(const std::string &s) { return is_pair(s, ',', 0); }
bool is_view(const std::string &s) {
  long v;
  return to_int(s, 1, 8, &v);
}
bool is_colors(const std::string &s) {
  long v;
  return to_int(s, 1, 256, &v);
}
bool is_angle(const std::string &s) {
  char *end = nullptr;
  const double v = std::strtod(s.c_str(), &end);
  return !s.empty() && *end == '\0' && v > -360.0 && v < 360.0;
}
bool is_colour(const std::string &s) {
  return s.size() == 6 && s.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

// --- the calls -------------------------------------------------------------------------

// Two numbers of an argument such as "800x600" or "3,4" (checked when parsed).
std::pair<int32_t, int32_t> pair_of(const std::string &s, char between) {
  const size_t at = s.find(between);
  return {static_cast<int32_t>(std::strtol(s.c_str(), nullptr, 10)),
          static_cast<int32_t>(std::strtol(s.c_str() + at + 1, nullptr, 10))};
}

int32_t run_rotate(BITMAPRECORD *picture, const Step &step) {
  const auto angle = static_cast<int32_t>(std::lround(std::strtod(step.arg.c_str(), nullptr) * 100));
  COLORREF fill = 0;
  if (const std::string *hex = step.option("--fill")) {
    const auto rgb = static_cast<uint32_t>(std::strtoul(hex->c_str(), nullptr, 16));
    fill = RV_RGB(rgb >> 16, rgb >> 8, rgb);
  }
  if (const std::string *center = step.option("--center")) {
    const auto [x, y] = pair_of(*center, ',');
    return Rv_IntRotateBitmap(picture, angle, step.flags(), fill, 0, 100, x, y);
  }
  return Rv_RotateBitmap(picture, angle, step.flags(), fill);
}

int32_t run_resize(BITMAPRECORD *picture, const Step &step) {
  const auto [width, height] = pair_of(step.arg, 'x');
  return Rv_SizeBitmap(picture, width, height, step.flags());
}

bool is_palette_word(const std::string &word);

// A palette taken from a BMP file of up to 8 bits, for --palette FILE.
struct FilePalette {
  BITMAPRECORD bitmap{};
  ~FilePalette() { Rv_FreeBitmap(&bitmap); }
};

int32_t run_bits(BITMAPRECORD *picture, const Step &step) {
  const auto bits = static_cast<int32_t>(std::strtol(step.arg.c_str(), nullptr, 10));
  const uint32_t flags = step.flags();
  uint32_t colors = 0;
  if (const std::string *count = step.option("--colors")) colors = static_cast<uint32_t>(std::strtoul(count->c_str(), nullptr, 10));
  RGBQUAD *palette = nullptr;
  HRVPALETTE object = nullptr;
  FilePalette from_file;
  const std::string *word = step.option("--palette");
  if (word != nullptr && !is_palette_word(*word)) {
    const int32_t status = read_bmp_file(word->c_str(), &from_file.bitmap);
    if (status != SUCCESS) return status;
    if (from_file.bitmap.pPalette == nullptr) return ERROR_INVALID_PARAMETER;
    // A palette comes with its count: all of the file's, unless --colors says fewer.
    if (colors == 0) colors = static_cast<uint32_t>(from_file.bitmap.nColors);
    if (flags & 0x100u) {
      object = Rv_CreatePalette(from_file.bitmap.pPalette, from_file.bitmap.nColors);
      if (object == nullptr) return ERROR_NO_MEMORY;
    } else {
      palette = from_file.bitmap.pPalette;
    }
  }
  const int32_t status =
      Rv_ColorResBitmap(picture, picture, picture->uStructSize, bits, flags, palette, object, colors, nullptr, nullptr);
  if (object != nullptr) Rv_WinDeleteObject(object);
  return status;
}

int32_t run_flip(BITMAPRECORD *picture, const Step &) { return Rv_FlipBitmap(picture); }
int32_t run_reverse(BITMAPRECORD *picture, const Step &) { return Rv_ReverseBitmap(picture); }

int32_t run_perspective(BITMAPRECORD *picture, const Step &step) {
  const auto view = static_cast<int32_t>(std::strtol(step.arg.c_str(), nullptr, 10));
  return Rv_ChangeBitmapViewPerspective(nullptr, picture, RV_BITMAPRECORD_SIZE, view);
}

// --- the table ---------------------------------------------------------------------------

// Colour resolution.
constexpr Choice kPalettes[] = {{"fixed", 0x1}, {"optimized", 0x2}, {"identity", 0xA}, {"netscape", 0x40}};
constexpr Choice kOrders[] = {{"rgb", 0},          {"bgr", 0x4},         {"gray", 0x80},
                              {"gray-bgr", 0x84}, {"wide-gamut", 0x800}, {"bgr565", 0x4000}};
constexpr Choice kDithering[] = {{"none", 0},           {"floyd", 1u << 16},   {"stucki", 2u << 16},
                                 {"burkes", 3u << 16},  {"sierra", 4u << 16},  {"stevenson-arce", 5u << 16},
                                 {"jarvis", 6u << 16},  {"ordered", 7u << 16}, {"clustered", 8u << 16}};
// Resize.
constexpr Choice kResampling[] = {{"nearest", 0}, {"black-preserve", 0x1}, {"linear", 0x2},
                                  {"cubic", 0x4}, {"coarse-linear", 0x10}};
// Rotation.
constexpr Choice kInterpolation[] = {{"nearest", 0}, {"linear", 0x2}, {"cubic", 0x4}};

#define CHOICES(table) table, std::size(table)

bool is_palette_word(const std::string &word) {
  for (const Choice &c : kPalettes) {
    if (word == c.word) return true;
  }
  return false;
}

const Operation kOperations[] = {
    {"--bits", "N", 1, is_depth, run_bits, "Rv_ColorResBitmap",
     "colour resolution to N bits per pixel (1-8, 12, 16, 24, 32, 48, 64)"},
    {"--resize", "WxH", 1, is_size, run_resize, "Rv_SizeBitmap", "resize to W x H pixels"},
    {"--rotate", "DEGREES", 1, is_angle, run_rotate, "Rv_RotateBitmap",
     "rotate clockwise by DEGREES (hundredths count)"},
    {"--flip", "", 0, nullptr, run_flip, "Rv_FlipBitmap", "turn the picture upside down"},
    {"--reverse", "", 0, nullptr, run_reverse, "Rv_ReverseBitmap", "mirror the picture left to right"},
    {"--perspective", "N", 1, is_view, run_perspective, "Rv_ChangeBitmapViewPerspective",
     "store the picture in view perspective N (1-8), keeping how it looks"},
};

const Option kOptions[] = {
    {"--palette", "--bits", "fixed|optimized|identity|netscape|FILE", CHOICES(kPalettes), 0x10, nullptr,
     "the palette: fixed, optimised, optimised with identity, the web-safe cube, or that of a BMP FILE"},
    {"--palette-object", "--bits", "", nullptr, 0, 0x100, nullptr, "hand a FILE's palette over as a palette object"},
    {"--colors", "--bits", "N", nullptr, 0, 0, is_colors, "colours in the palette (1-256)"},
    {"--order", "--bits", "rgb|bgr|gray|gray-bgr|wide-gamut|bgr565", CHOICES(kOrders), 0, nullptr,
     "the colour order above 8 bits"},
    {"--dither", "--bits", "none|floyd|stucki|burkes|sierra|stevenson-arce|jarvis|ordered|clustered",
     CHOICES(kDithering), 0, nullptr, "the dithering method"},
    {"--match-table", "--bits", "", nullptr, 0, 0x20, nullptr, "use the thread's colour match table"},
    {"--no-match-table", "--bits", "", nullptr, 0, 0x200, nullptr, "the optimiser builds no match table"},
    {"--fast", "--bits", "", nullptr, 0, 0x400, nullptr, "the faster palette optimiser"},
    {"--convert-flag-20", "--bits", "", nullptr, 0, 0x1000000, nullptr, "the converter's flag 0x20"},
    {"--resample", "--resize", "nearest|black-preserve|linear|cubic|coarse-linear", CHOICES(kResampling), 0,
     nullptr, "how samples are taken"},
    {"--gray-result", "--resize", "", nullptr, 0, 0x8, nullptr, "an 8-bit gray result"},
    {"--alpha-aware", "--resize", "", nullptr, 0, 0x20, nullptr, "weigh colours by alpha (32 and 64 bits)"},
    {"--grow", "--rotate", "", nullptr, 0, 0x1, nullptr, "grow to hold the whole rotated picture"},
    {"--interpolate", "--rotate", "nearest|linear|cubic", CHOICES(kInterpolation), 0, nullptr,
     "how samples are taken"},
    {"--center", "--rotate", "X,Y", nullptr, 0, 0x8, is_point, "rotate about pixel X,Y (the result grows)"},
    {"--fill", "--rotate", "RRGGBB", nullptr, 0, 0, is_colour, "the colour of the uncovered corners"},
};

#undef CHOICES

const Operation *find_operation(const std::string &word) {
  for (const Operation &op : kOperations) {
    if (word == op.name) return &op;
  }
  return nullptr;
}

const Option *find_option(const std::string &word) {
  for (const Option &o : kOptions) {
    if (word == o.name) return &o;
  }
  return nullptr;
}

bool takes_argument(const Option &o) { return o.choices != nullptr || o.check != nullptr; }

// The flags an option's argument stands for; false when it is no word of the option.
bool flags_of(const Option &o, const std::string &arg, uint32_t *flags) {
  if (o.choices == nullptr) {
    *flags = o.flags;
    return true;
  }
  for (size_t i = 0; i < o.choice_count; ++i) {
    if (arg == o.choices[i].word) {
      *flags = o.choices[i].flags;
      return true;
    }
  }
  *flags = o.flags;
  return o.flags != 0;
}

}  // namespace

uint32_t Step::flags() const {
  uint32_t all = 0;
  for (const auto &[o, arg] : options) {
    uint32_t f = 0;
    if (flags_of(*o, arg, &f)) all |= f;
  }
  return all;
}

const std::string *Step::option(const char *name) const {
  for (const auto &[o, arg] : options) {
    if (std::strcmp(o->name, name) == 0) return &arg;
  }
  return nullptr;
}

bool parse_steps(const std::vector<std::string> &words, std::vector<Step> *steps, std::string *error) {
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string &word = words[i];
    const Operation *op = find_operation(word);
    const Option *option = op == nullptr ? find_option(word) : nullptr;
    if (op == nullptr && option == nullptr) {
      *error = "unknown operation or option '" + word + "'";
      return false;
    }
    const bool wants = op != nullptr ? op->arg_count > 0 : takes_argument(*option);
    std::string arg;
    if (wants) {
      if (i + 1 >= words.size()) {
        *error = word + " needs " + (op != nullptr ? op->args : option->args);
        return false;
      }
      arg = words[++i];
    }
    if (op != nullptr) {
      if (op->check != nullptr && !op->check(arg)) {
        *error = word + " takes " + op->args + ", not '" + arg + "'";
        return false;
      }
      Step step;
      step.op = op;
      step.arg = arg;
      steps->push_back(step);
      continue;
    }
    if (steps->empty() || std::strcmp(steps->back().op->name, option->of) != 0) {
      *error = word + " qualifies " + option->of + " and comes after it";
      return false;
    }
    uint32_t flags;
    const bool well_formed = option->check != nullptr ? option->check(arg) : flags_of(*option, arg, &flags);
    if (!well_formed) {
      *error = word + " takes " + option->args + ", not '" + arg + "'";
      return false;
    }
    steps->back().options.emplace_back(option, arg);
  }
  return true;
}

void print_operations(FILE *out) {
  std::fprintf(out, "operations, applied in the order given, each followed by its options:\n");
  for (const Operation &op : kOperations) {
    std::fprintf(out, "  %s %-28s %s\n", op.name, op.args, op.help);
    for (const Option &o : kOptions) {
      if (std::strcmp(o.of, op.name) == 0) std::fprintf(out, "      %s %s\n          %s\n", o.name, o.args, o.help);
    }
  }
}

}  // namespace rvimg
