#include "internal/utf.h"

namespace rv::utf {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Reads one code point of UTF-16 at text[i]; advances i.
char32_t next16(const char16_t *text, size_t count, size_t &i) noexcept {
  char32_t c = text[i++];
  if (c >= 0xD800 && c <= 0xDBFF) {
    if (i < count && text[i] >= 0xDC00 && text[i] <= 0xDFFF) {
      return 0x10000 + ((c - 0xD800) << 10) + (text[i++] - 0xDC00);
    }
    return kReplacement;
  }
  if (c >= 0xDC00 && c <= 0xDFFF) return kReplacement;
  return c;
}

// Reads one code point of UTF-8 at text[i]; advances i over the code point or
// over the maximal ill-formed subpart.
char32_t next8(const unsigned char *text, size_t count, size_t &i) noexcept {
  const unsigned char lead = text[i++];
  if (lead < 0x80) return lead;
  int need;
  char32_t c;
  unsigned char lo = 0x80, hi = 0xBF;  // range of the first continuation byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    need = 1;
    c = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    need = 2;
    c = lead & 0x0F;
    if (lead == 0xE0) lo = 0xA0;  // no overlong forms
    if (lead == 0xED) hi = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    need = 3;
    c = lead & 0x07;
    if (lead == 0xF0) lo = 0x90;
    if (lead == 0xF4) hi = 0x8F;  // nothing above U+10FFFF
  } else {
    return kReplacement;
  }
  for (int k = 0; k < need; ++k) {
    if (i >= count) return kReplacement;
    const unsigned char b = text[i];
    const unsigned char min = k == 0 ? lo : 0x80;
    const unsigned char max = k == 0 ? hi : 0xBF;
    if (b < min || b > max) return kReplacement;
    c = (c << 6) | (b & 0x3F);
    ++i;
  }
  return c;
}

size_t units8(char32_t c) noexcept { return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4; }

void put8(char32_t c, char *out) noexcept {
  switch (units8(c)) {
    case 1: out[0] = static_cast<char>(c); break;
    case 2:
      out[0] = static_cast<char>(0xC0 | (c >> 6));
      out[1] = static_cast<char>(0x80 | (c & 0x3F));
      break;
    case 3:
      out[0] = static_cast<char>(0xE0 | (c >> 12));
      out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out[2] = static_cast<char>(0x80 | (c & 0x3F));
      break;
    default:
      out[0] = static_cast<char>(0xF0 | (c >> 18));
      out[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out[3] = static_cast<char>(0x80 | (c & 0x3F));
      break;
  }
}

}  // namespace

size_t length(const char16_t *text) noexcept {
  size_t n = 0;
  if (text)
    while (text[n]) ++n;
  return n;
}

size_t length(const char *text) noexcept {
  size_t n = 0;
  if (text)
    while (text[n]) ++n;
  return n;
}

size_t utf16_to_utf8(const char16_t *text, size_t count, char *out, size_t capacity) noexcept {
  size_t needed = 0;
  for (size_t i = 0; i < count;) needed += units8(next16(text, count, i));
  if (out == nullptr) return needed;
  if (needed > capacity) return SIZE_MAX;
  size_t o = 0;
  for (size_t i = 0; i < count;) {
    const char32_t c = next16(text, count, i);
    put8(c, out + o);
    o += units8(c);
  }
  return o;
}

size_t utf8_to_utf16(const char *text, size_t count, char16_t *out, size_t capacity) noexcept {
  const auto *bytes = reinterpret_cast<const unsigned char *>(text);
  size_t needed = 0;
  for (size_t i = 0; i < count;) needed += next8(bytes, count, i) >= 0x10000 ? 2 : 1;
  if (out == nullptr) return needed;
  if (needed > capacity) return SIZE_MAX;
  size_t o = 0;
  for (size_t i = 0; i < count;) {
    const char32_t c = next8(bytes, count, i);
    if (c >= 0x10000) {
      out[o++] = static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      out[o++] = static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      out[o++] = static_cast<char16_t>(c);
    }
  }
  return o;
}

bool to_utf8(const char16_t *text, std::string *out) noexcept {
  try {
    const size_t count = length(text);
    out->assign(utf16_to_utf8(text, count, nullptr, 0), '\0');
    utf16_to_utf8(text, count, out->data(), out->size());
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace rv::utf
