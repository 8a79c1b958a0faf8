// UTF-8 and UTF-16 conversion, done in-house so that results never depend on
// the environment. Ill-formed input becomes U+FFFD: each lone surrogate, and
// each maximal ill-formed subpart of UTF-8 (overlong forms, encoded
// surrogates and values above U+10FFFF included), gives one replacement.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace rv::utf {

// Length of a zero-terminated string in code units.
size_t length(const char16_t *text) noexcept;
size_t length(const char *text) noexcept;

// Converts `count` units. With a null `out` nothing is written and the full
// size is returned. Otherwise at most `capacity` units are written; when the
// result doesn't fit, nothing is written and SIZE_MAX is returned.
size_t utf16_to_utf8(const char16_t *text, size_t count, char *out, size_t capacity) noexcept;
size_t utf8_to_utf16(const char *text, size_t count, char16_t *out, size_t capacity) noexcept;

// Convenience for the platform layer's paths; false on allocation failure.
bool to_utf8(const char16_t *text, std::string *out) noexcept;

}  // namespace rv::utf

namespace rv::text {

// The status an "A" entry point returns when its narrow text could not be
// converted: the platform error mapped to a status code (122
// ERROR_BUFFER_TOO_SMALL; 87 and 1004 ERROR_INVALID_PARAMETER; 1113 -1488;
// anything else FAILURE).
int32_t narrow_conversion_status(uint32_t platform_error) noexcept;

// A narrow argument of an "A" entry point, converted to the library's wide
// text for the call of the wide form. A null argument stays null.
class WideArg {
 public:
  explicit WideArg(const char *narrow) noexcept;
  ~WideArg();
  WideArg(const WideArg &) = delete;
  WideArg &operator=(const WideArg &) = delete;

  const char16_t *get() const noexcept { return wide_; }
  // SUCCESS, or the status of a failed conversion.
  int32_t status() const noexcept { return status_; }

 private:
  char16_t *wide_ = nullptr;
  int32_t status_;
};

}  // namespace rv::text
