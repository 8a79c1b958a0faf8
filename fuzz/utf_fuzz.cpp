// Fuzzes the UTF-8 and UTF-16 conversions: any bytes, read both as UTF-8 and
// as UTF-16, must convert without reading or writing out of bounds, must
// agree between the size query and the conversion, and must round-trip once
// well formed.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ruvokit/rvtext.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > 1 << 16) return 0;
  const int32_t n8 = static_cast<int32_t>(size);

  // Bytes as UTF-8.
  std::vector<char> utf8(data, data + size);
  utf8.push_back('\0');
  if (n8 > 0) {
    const int32_t wide_needed = Rv_WideFromUTF8(utf8.data(), n8, nullptr, 0);
    std::vector<char16_t> wide(static_cast<size_t>(wide_needed) + 1);
    const int32_t wide_count = Rv_WideFromUTF8(utf8.data(), n8, wide.data(),
                                               static_cast<uint32_t>(wide.size()));
    if (wide_count != wide_needed) std::abort();
    // Well-formed UTF-16 now: UTF-8 and back gives the same units.
    if (wide_count > 0) {
      const int32_t back_needed = Rv_WideToUTF8(wide.data(), wide_count, nullptr, 0);
      std::vector<char> back(static_cast<size_t>(back_needed) + 1);
      Rv_WideToUTF8(wide.data(), wide_count, back.data(), static_cast<uint32_t>(back.size()));
      std::vector<char16_t> again(static_cast<size_t>(wide_count) + 1);
      const int32_t again_count = Rv_WideFromUTF8(back.data(), back_needed, again.data(),
                                                  static_cast<uint32_t>(again.size()));
      if (again_count != wide_count ||
          std::memcmp(again.data(), wide.data(), sizeof(char16_t) * wide_count) != 0) {
        std::abort();
      }
    }
    // Too short a buffer: 0, and nothing beyond it written.
    if (wide_needed > 1) {
      std::vector<char16_t> small(static_cast<size_t>(wide_needed - 1));
      if (Rv_WideFromUTF8(utf8.data(), n8, small.data(), static_cast<uint32_t>(small.size())) != 0)
        std::abort();
    }
  }
  // Walking by characters stays inside the text and always moves.
  for (const char *p = utf8.data(), *end = utf8.data() + size; p < end;) {
    const char *next = Rv_CharNextUTF8(p, static_cast<uint32_t>(end - p));
    if (next <= p || next > end) std::abort();
    p = next;
  }

  // Bytes as UTF-16.
  const size_t units = size / 2;
  std::vector<char16_t> wide(units + 1, 0);
  std::memcpy(wide.data(), data, units * 2);
  if (units > 0) {
    const int32_t n16 = static_cast<int32_t>(units);
    const int32_t needed = Rv_WideToUTF8(wide.data(), n16, nullptr, 0);
    std::vector<char> out(static_cast<size_t>(needed) + 1);
    if (Rv_WideToUTF8(wide.data(), n16, out.data(), static_cast<uint32_t>(out.size())) != needed)
      std::abort();
    for (const char16_t *p = wide.data(), *end = wide.data() + units; p < end;) {
      const char16_t *next = Rv_CharNextUTF16(p, static_cast<uint32_t>(end - p));
      if (next <= p || next > end) std::abort();
      p = next;
    }
  }
  char *narrow = Rv_W2AHelper(wide.data());
  Rv_W2AHelperFree(narrow);
  char16_t *back = Rv_A2WHelper(utf8.data());
  Rv_A2WHelperFree(back);
  return 0;
}
