// The text helpers of the interface: narrow (UTF-8) and wide (UTF-16)
// conversion, and walking text by characters.
#include "ruvokit/rvtext.h"

#include <cstring>

#include "internal/memory.h"
#include "internal/utf.h"
#include "platform/error.h"
#include "ruvokit/rvstatus.h"

namespace {

char16_t *narrow_to_wide(const char *text) noexcept {
  if (text == nullptr) return nullptr;
  const size_t len = rv::utf::length(text);
  auto *out = rv::alloc_array<char16_t>(len + 1);
  if (out == nullptr) return nullptr;
  // UTF-8 never needs more UTF-16 units than it has bytes.
  const size_t n = rv::utf::utf8_to_utf16(text, len, out, len);
  out[n] = 0;
  return out;
}

char *wide_to_narrow(const char16_t *text) noexcept {
  if (text == nullptr) return nullptr;
  const size_t len = rv::utf::length(text);
  auto *out = rv::alloc_array<char>(len + 1);
  if (out == nullptr) return nullptr;
  const size_t n = rv::utf::utf16_to_utf8(text, len, out, len);
  if (n == SIZE_MAX) {
    rv::os::set_last_error(rv::os::kErrInsufficientBuffer);
    rv::free_block(out);
    return nullptr;
  }
  out[n] = '\0';
  return out;
}

char16_t *copy_wide(const char16_t *text) noexcept {
  if (text == nullptr) return nullptr;
  const size_t len = rv::utf::length(text);
  auto *out = rv::alloc_array<char16_t>(len + 1);
  if (out != nullptr) std::memcpy(out, text, (len + 1) * sizeof(char16_t));
  return out;
}

char16_t *copy_held(char16_t *dst, const char16_t *src, uint32_t length) noexcept {
  if (dst == nullptr || src == nullptr || length == 0) return dst;
  uint32_t i = 0;
  for (; i + 1 < length && src[i] != 0; ++i) dst[i] = src[i];
  dst[i] = 0;
  return dst;
}

// The count a conversion covers: 0 means the whole string without its
// terminator, a negative count the whole string with it.
template <class Char>
size_t source_count(const Char *text, int32_t count) noexcept {
  if (count == 0) return rv::utf::length(text);
  if (count < 0) return rv::utf::length(text) + 1;
  return static_cast<size_t>(count);
}

// The shape shared by the UTF conversions: size query, conversion, and the
// uncounted terminator behind a result that doesn't end with one.
template <class In, class Out, class Convert>
int32_t convert_counted(const In *src, int32_t count, Out *dst, uint32_t capacity,
                        Convert convert) noexcept {
  if (src == nullptr) {
    rv::os::set_last_error(rv::os::kErrInvalidParameter);
    return 0;
  }
  const size_t n = source_count(src, count);
  if (dst == nullptr || capacity == 0) {
    const size_t needed = convert(src, n, nullptr, 0);
    return needed > 0x7FFFFFFF ? 0 : static_cast<int32_t>(needed);
  }
  const size_t written = convert(src, n, dst, capacity);
  if (written == SIZE_MAX) {
    rv::os::set_last_error(rv::os::kErrInsufficientBuffer);
    return 0;
  }
  if (written >= 1 && written < capacity && dst[written - 1] != 0) dst[written] = 0;
  return static_cast<int32_t>(written);
}

}  // namespace

char16_t *Rv_A2THelper(const char *pszNarrow) noexcept { return narrow_to_wide(pszNarrow); }
char16_t *Rv_A2WHelper(const char *pszNarrow) noexcept { return narrow_to_wide(pszNarrow); }
char *Rv_W2AHelper(const char16_t *pszWide) noexcept { return wide_to_narrow(pszWide); }
char *Rv_T2AHelper(const char16_t *pszText) noexcept { return wide_to_narrow(pszText); }
char16_t *Rv_T2WHelper(const char16_t *pszText) noexcept { return copy_wide(pszText); }
char16_t *Rv_W2THelper(const char16_t *pszWide) noexcept { return copy_wide(pszWide); }
void Rv_A2THelperFree(char16_t *pszText) noexcept { rv::free_block(pszText); }
void Rv_A2WHelperFree(char16_t *pszWide) noexcept { rv::free_block(pszWide); }
void Rv_W2AHelperFree(char *pszNarrow) noexcept { rv::free_block(pszNarrow); }
void Rv_T2AHelperFree(char *pszNarrow) noexcept { rv::free_block(pszNarrow); }
void Rv_T2WHelperFree(char16_t *pszWide) noexcept { rv::free_block(pszWide); }
void Rv_W2THelperFree(char16_t *pszText) noexcept { rv::free_block(pszText); }
void Rv_HeapTerm(void *pMemory) noexcept { rv::free_block(pMemory); }

char16_t *Rv_T2WConvert(char16_t *pszDst, const char16_t *pszSrc, uint32_t uLength) noexcept {
  return copy_held(pszDst, pszSrc, uLength);
}
char16_t *Rv_W2TConvert(char16_t *pszDst, const char16_t *pszSrc, uint32_t uLength) noexcept {
  return copy_held(pszDst, pszSrc, uLength);
}

int32_t Rv_WideToUTF8(const char16_t *pszWide, int32_t nChars, char *pszUtf8,
                      uint32_t uBytes) noexcept {
  return convert_counted(pszWide, nChars, pszUtf8, uBytes, rv::utf::utf16_to_utf8);
}

int32_t Rv_WideFromUTF8(const char *pszUtf8, int32_t nBytes, char16_t *pszWide,
                        uint32_t uChars) noexcept {
  return convert_counted(pszUtf8, nBytes, pszWide, uChars, rv::utf::utf8_to_utf16);
}

int32_t Rv_UTF8ToUTF8(const char *pszSrc, int32_t nBytes, char *pszDst, uint32_t uBytes) noexcept {
  if (pszSrc == nullptr || pszDst == nullptr) return ERROR_NULL_POINTER;
  size_t n = source_count(pszSrc, nBytes);
  if (n > uBytes) n = uBytes;
  std::memmove(pszDst, pszSrc, n);
  if (n < uBytes) pszDst[n] = '\0';
  return SUCCESS;
}

const char16_t *Rv_CharNextUTF16(const char16_t *pszText, uint32_t uChars) noexcept {
  if (pszText == nullptr || uChars == 0) return pszText;
  if (pszText[0] >= 0xD800 && pszText[0] <= 0xDBFF && uChars >= 2 && pszText[1] >= 0xDC00 &&
      pszText[1] <= 0xDFFF) {
    return pszText + 2;
  }
  return pszText + 1;
}

const char *Rv_CharNextUTF8(const char *pszText, uint32_t uBytes) noexcept {
  if (pszText == nullptr) return nullptr;
  const auto lead = static_cast<unsigned char>(pszText[0]);
  if (lead < 0x80 || uBytes < 2) return pszText + 1;
  uint32_t follow;
  if (lead >= 0xC0 && lead <= 0xDF) {
    follow = 1;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    follow = 2;
  } else if (lead >= 0xF0 && lead <= 0xF7) {
    follow = 3;
  } else {
    return pszText + 1;  // a stray continuation byte, or no lead at all
  }
  uint32_t step = 1;
  while (step <= follow && step < uBytes &&
         (static_cast<unsigned char>(pszText[step]) & 0xC0) == 0x80) {
    ++step;
  }
  return pszText + step;
}

namespace rv::text {

namespace {
// The code of text without a translation; it has no message of its own.
constexpr int32_t kNoUnicodeTranslationStatus = -1488;
}  // namespace

int32_t narrow_conversion_status(uint32_t platform_error) noexcept {
  switch (platform_error) {
    case os::kErrInsufficientBuffer: return ERROR_BUFFER_TOO_SMALL;
    case os::kErrInvalidParameter:
    case os::kErrInvalidFlags: return ERROR_INVALID_PARAMETER;
    case os::kErrNoUnicodeTranslation: return kNoUnicodeTranslationStatus;
    default: return FAILURE;
  }
}

WideArg::WideArg(const char *narrow) noexcept : status_(SUCCESS) {
  if (narrow == nullptr) return;
  wide_ = narrow_to_wide(narrow);
  if (wide_ == nullptr) status_ = narrow_conversion_status(os::kErrNotEnoughMemory);
}

WideArg::~WideArg() { free_block(wide_); }

}  // namespace rv::text
