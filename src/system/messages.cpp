// The message of every status code of the toolkit, from the rows of
// rvstatus.def, and the modules that the codes of missing libraries name.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "internal/utf.h"
#include "platform/error.h"
#include "ruvokit/rvstatus.h"
#include "ruvokit/rvsystem.h"
#include "ruvokit/rvtext.h"
#include "system/libnames.h"

namespace {

// Characters a message is built in, terminator included.
constexpr size_t kMessageLength = 1024;

// One row of rvstatus.def; a code of a missing library has no text of its own.
struct Row {
  int32_t code;
  const char *text;
};

constexpr Row kRows[] = {
#define RV_STATUS(name, value, text) {value, text},
#define RV_STATUS_LIBRARY_MISSING(name, value) {value, nullptr},
#include "ruvokit/rvstatus.def"
#undef RV_STATUS
#undef RV_STATUS_LIBRARY_MISSING
};

constexpr bool rows_descend() {
  for (size_t i = 1; i < std::size(kRows); ++i) {
    if (kRows[i - 1].code <= kRows[i].code) return false;
  }
  return true;
}
static_assert(rows_descend(), "rvstatus.def keeps one row per code, from the highest down");

constexpr bool rows_fit() {
  for (const Row &row : kRows) {
    if (row.text != nullptr && std::string_view(row.text).size() >= kMessageLength) return false;
  }
  return true;
}
static_assert(rows_fit(), "every message fits in the buffer it is built in");

constexpr const char kUnrecognized[] = "Internal or Unrecognized Error!";
constexpr const char kLibraryMissing[] = "The %s library is missing.";

// The module (platform 0) that each code of a missing library names.
struct LibraryOfCode {
  int32_t code;
  int32_t lib_id;
};

constexpr LibraryOfCode kMissingLibraries[] = {
    {ERROR_LIBRARY_MISSING_309, 0},    {ERROR_LIBRARY_MISSING_319, 40},
    {ERROR_LIBRARY_MISSING_349, 41},   {ERROR_LIBRARY_MISSING_353, 26},
    {ERROR_LIBRARY_MISSING_355, 28},   {ERROR_LIBRARY_MISSING_356, 6},
    {ERROR_LIBRARY_MISSING_357, 7},    {ERROR_LIBRARY_MISSING_358, 27},
    {ERROR_LIBRARY_MISSING_359, 29},   {ERROR_LIBRARY_MISSING_541, 11},
    {ERROR_LIBRARY_MISSING_807, 3},    {ERROR_LIBRARY_MISSING_818, 43},
    {ERROR_LIBRARY_MISSING_819, 2},    {ERROR_LIBRARY_MISSING_820, 4},
    {ERROR_LIBRARY_MISSING_821, 5},    {ERROR_LIBRARY_MISSING_822, 10},
    {ERROR_LIBRARY_MISSING_823, 1},    {ERROR_LIBRARY_MISSING_824, 8},
    {ERROR_LIBRARY_MISSING_825, 9},    {ERROR_LIBRARY_MISSING_1479, 39},
    {ERROR_LIBRARY_MISSING_1482, 38},  {ERROR_LIBRARY_MISSING_1483, 35},
    {ERROR_LIBRARY_MISSING_1484, 87},  {ERROR_LIBRARY_MISSING_1485, 37},
    {ERROR_LIBRARY_MISSING_1496, 30},  {ERROR_LIBRARY_MISSING_1497, 14},
    {ERROR_LIBRARY_MISSING_1537, 42},  {ERROR_LIBRARY_MISSING_1540, 34},
    {ERROR_LIBRARY_MISSING_1543, 12},  {ERROR_LIBRARY_MISSING_1544, 13},
    {ERROR_LIBRARY_MISSING_1545, 15},  {ERROR_LIBRARY_MISSING_1547, 16},
    {ERROR_LIBRARY_MISSING_1548, 17},  {ERROR_LIBRARY_MISSING_1549, 18},
    {ERROR_LIBRARY_MISSING_1550, 19},  {ERROR_LIBRARY_MISSING_1551, 20},
    {ERROR_LIBRARY_MISSING_1552, 21},  {ERROR_LIBRARY_MISSING_1553, 22},
    {ERROR_LIBRARY_MISSING_1554, 23},  {ERROR_LIBRARY_MISSING_1555, 44},
    {ERROR_LIBRARY_MISSING_1556, 45},  {ERROR_LIBRARY_MISSING_1557, 46},
    {ERROR_LIBRARY_MISSING_1558, 47},  {ERROR_LIBRARY_MISSING_1559, 48},
    {ERROR_LIBRARY_MISSING_1560, 49},  {ERROR_LIBRARY_MISSING_1561, 51},
    {ERROR_LIBRARY_MISSING_1562, 52},  {ERROR_LIBRARY_MISSING_1563, 54},
    {ERROR_LIBRARY_MISSING_1564, 57},  {ERROR_LIBRARY_MISSING_1565, 58},
    {ERROR_LIBRARY_MISSING_1566, 59},  {ERROR_LIBRARY_MISSING_1567, 60},
    {ERROR_LIBRARY_MISSING_1568, 61},  {ERROR_LIBRARY_MISSING_1569, 62},
    {ERROR_LIBRARY_MISSING_1570, 63},  {ERROR_LIBRARY_MISSING_1571, 64},
    {ERROR_LIBRARY_MISSING_1572, 65},  {ERROR_LIBRARY_MISSING_1573, 66},
    {ERROR_LIBRARY_MISSING_1574, 67},  {ERROR_LIBRARY_MISSING_1575, 68},
    {ERROR_LIBRARY_MISSING_1576, 69},  {ERROR_LIBRARY_MISSING_1577, 70},
    {ERROR_LIBRARY_MISSING_1578, 71},  {ERROR_LIBRARY_MISSING_1579, 72},
    {ERROR_LIBRARY_MISSING_1580, 73},  {ERROR_LIBRARY_MISSING_1581, 74},
    {ERROR_LIBRARY_MISSING_1582, 75},  {ERROR_LIBRARY_MISSING_1583, 76},
    {ERROR_LIBRARY_MISSING_1584, 77},  {ERROR_LIBRARY_MISSING_1585, 78},
    {ERROR_LIBRARY_MISSING_1586, 79},  {ERROR_LIBRARY_MISSING_1587, 81},
    {ERROR_LIBRARY_MISSING_1588, 82},  {ERROR_LIBRARY_MISSING_1589, 83},
    {ERROR_LIBRARY_MISSING_1595, 100}, {ERROR_LIBRARY_MISSING_1596, 101},
    {ERROR_LIBRARY_MISSING_1597, 102}, {ERROR_LIBRARY_MISSING_1598, 56},
    {ERROR_LIBRARY_MISSING_1773, 104}, {ERROR_LIBRARY_MISSING_1776, 105},
    {ERROR_LIBRARY_MISSING_1777, 106}, {ERROR_LIBRARY_MISSING_1784, 107},
    {ERROR_LIBRARY_MISSING_1788, 84},  {ERROR_LIBRARY_MISSING_1789, 85},
    {ERROR_LIBRARY_MISSING_1791, 86},  {ERROR_LIBRARY_MISSING_1792, 88},
    {ERROR_LIBRARY_MISSING_1793, 89},  {ERROR_LIBRARY_MISSING_1794, 90},
    {ERROR_LIBRARY_MISSING_1795, 91},  {ERROR_LIBRARY_MISSING_1796, 92},
    {ERROR_LIBRARY_MISSING_1797, 93},  {ERROR_LIBRARY_MISSING_1798, 94},
    {ERROR_LIBRARY_MISSING_1799, 95},  {ERROR_LIBRARY_MISSING_1808, 96},
    {ERROR_LIBRARY_MISSING_1809, 97},  {ERROR_LIBRARY_MISSING_1810, 98},
    {ERROR_LIBRARY_MISSING_1811, 99},  {ERROR_LIBRARY_MISSING_1812, 25},
    {ERROR_LIBRARY_MISSING_1813, 50},  {ERROR_LIBRARY_MISSING_1814, 53},
    {ERROR_LIBRARY_MISSING_1815, 80},  {ERROR_LIBRARY_MISSING_1816, 55},
    {ERROR_LIBRARY_MISSING_1817, 31},  {ERROR_LIBRARY_MISSING_1818, 32},
    {ERROR_LIBRARY_MISSING_1819, 33},  {ERROR_LIBRARY_MISSING_1820, 24},
    {ERROR_LIBRARY_MISSING_1821, 36},  {ERROR_LIBRARY_MISSING_1822, 103},
    {ERROR_LIBRARY_MISSING_1823, 108}, {ERROR_LIBRARY_MISSING_1824, 110},
    {ERROR_LIBRARY_MISSING_1825, 111}, {ERROR_LIBRARY_MISSING_1826, 112},
    {ERROR_LIBRARY_MISSING_1827, 113}, {ERROR_LIBRARY_MISSING_1828, 114},
    {ERROR_LIBRARY_MISSING_1829, 115}, {ERROR_LIBRARY_MISSING_1830, 116},
    {ERROR_LIBRARY_MISSING_1831, 117}, {ERROR_LIBRARY_MISSING_1832, 118},
    {ERROR_LIBRARY_MISSING_1833, 119}, {ERROR_LIBRARY_MISSING_1834, 120},
    {ERROR_LIBRARY_MISSING_1835, 121}, {ERROR_LIBRARY_MISSING_1836, 122},
    {ERROR_LIBRARY_MISSING_1837, 123}, {ERROR_LIBRARY_MISSING_1838, 124},
    {ERROR_LIBRARY_MISSING_1839, 125}, {ERROR_LIBRARY_MISSING_1840, 126},
    {ERROR_LIBRARY_MISSING_1842, 127}, {ERROR_LIBRARY_MISSING_1843, 128},
    {ERROR_LIBRARY_MISSING_1844, 129}, {ERROR_LIBRARY_MISSING_1845, 130},
    {ERROR_LIBRARY_MISSING_1857, 109}, {ERROR_LIBRARY_MISSING_1862, 31},
    {ERROR_LIBRARY_MISSING_1875, 131},
};

// Codes whose own text names one fixed module (platform 0) in place of its %s.
// Other rows are copied as they are, a %s included ("Failed to load %s").
constexpr LibraryOfCode kNamedModules[] = {
    {ERROR_LIBID_24_DIALOGS_COULD_NOT, 24},
    {ERROR_LIBID_24_S_INVALID_CORRUPTED, 24},
    {ERROR_LIBID_55_S_LIBRARY_INVALID, 55},
};

constexpr uint32_t kModulePlatform = 0;

const Row *find_row(int32_t code) noexcept {
  const Row *row = std::lower_bound(std::begin(kRows), std::end(kRows), code,
                                    [](const Row &r, int32_t c) { return r.code > c; });
  return row != std::end(kRows) && row->code == code ? row : nullptr;
}

const LibraryOfCode *find_library(const LibraryOfCode *begin, const LibraryOfCode *end,
                                  int32_t code) noexcept {
  const LibraryOfCode *found =
      std::find_if(begin, end, [code](const LibraryOfCode &l) { return l.code == code; });
  return found != end ? found : nullptr;
}

// A message being built: at most kMessageLength - 1 characters; what doesn't
// fit is cut.
class Message {
 public:
  void append(std::u16string_view text) noexcept {
    const size_t n = std::min(text.size(), kMessageLength - 1 - used_);
    std::copy_n(text.begin(), n, text_ + used_);
    used_ += n;
  }
  // Narrow text of a row (UTF-8); rows are shorter than the buffer, and UTF-8
  // never takes more UTF-16 units than it has bytes.
  void append_narrow(std::string_view text) noexcept {
    char16_t wide[kMessageLength];
    const size_t n = rv::utf::utf8_to_utf16(text.data(), text.size(), wide, std::size(wide));
    if (n != SIZE_MAX) append(std::u16string_view(wide, n));
  }
  // A row whose %s stands for `name`.
  void append_formatted(std::string_view pattern, std::u16string_view name) noexcept {
    const size_t at = pattern.find("%s");
    if (at == std::string_view::npos) return append_narrow(pattern);
    append_narrow(pattern.substr(0, at));
    append(name);
    append_narrow(pattern.substr(at + 2));
  }
  const char16_t *text() noexcept {
    text_[used_] = 0;
    return text_;
  }

 private:
  char16_t text_[kMessageLength];
  size_t used_ = 0;
};

// The name of a module for a message: its name, or with `with_path` the full
// path of its file when the file is found. Empty when the module has no name.
// Looking for the file leaves the thread's platform error as it was.
class ModuleName {
 public:
  ModuleName(uint32_t platform, int32_t lib_id, bool with_path) noexcept {
    if (Rv_GetLibName(static_cast<int32_t>(platform), lib_id, name_, std::size(name_)) !=
        SUCCESS) {
      name_[0] = 0;
      return;
    }
    if (!with_path) return;
    const uint32_t error = rv::os::last_error();
    if (Rv_GetLibFullPath(name_, path_, std::size(path_)) == SUCCESS) shown_ = path_;
    rv::os::set_last_error(error);
  }
  std::u16string_view get() const noexcept { return shown_; }

 private:
  char16_t name_[rv::modules::kNameLength];
  char16_t path_[kMessageLength];
  const char16_t *shown_ = name_;
};

}  // namespace

void Rv_GetLibIdFromErrorCode(int32_t nCode, uint32_t *puPlatform, int32_t *pnLibId) noexcept {
  const LibraryOfCode *library =
      find_library(std::begin(kMissingLibraries), std::end(kMissingLibraries), nCode);
  if (puPlatform != nullptr) *puPlatform = kModulePlatform;
  if (pnLibId != nullptr) *pnLibId = library != nullptr ? library->lib_id : -1;
}

int32_t Rv_GetFriendlyErrorMessage(int32_t nCode, char16_t *pszMessage, uint32_t uLength,
                                   int32_t bWithPath) noexcept {
  if (pszMessage == nullptr) return ERROR_INVALID_PARAMETER;
  Message message;
  const Row *row = find_row(nCode);
  if (row == nullptr) {
    message.append_narrow(kUnrecognized);
  } else if (row->text == nullptr) {
    uint32_t platform = 0;
    int32_t lib_id = -1;
    Rv_GetLibIdFromErrorCode(nCode, &platform, &lib_id);
    message.append_formatted(kLibraryMissing,
                             ModuleName(platform, lib_id, bWithPath != FALSE).get());
  } else if (const LibraryOfCode *named = find_library(std::begin(kNamedModules),
                                                       std::end(kNamedModules), nCode)) {
    message.append_formatted(row->text, ModuleName(kModulePlatform, named->lib_id, false).get());
  } else {
    message.append_narrow(row->text);
  }
  Rv_T2WConvert(pszMessage, message.text(), uLength);
  return SUCCESS;
}
