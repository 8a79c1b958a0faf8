/* Ruvokit imaging kernel: text conversion.
 *
 * The library is wide-character inside: its text type is UTF-16 (char16_t).
 * Narrow text ("A" forms) is UTF-8, converted by the library itself, so that
 * results never depend on the environment. */
#ifndef RUVOKIT_RVTEXT_H
#define RUVOKIT_RVTEXT_H

#include "rvtypes.h"

RV_BEGIN_DECLS

/* Helpers that allocate: NULL for NULL, and NULL when the conversion fails.
 * Give each result back with its free function (or Rv_HeapTerm). */
RV_API char16_t *Rv_A2THelper(const char *pszNarrow) RV_NOEXCEPT;
RV_API char16_t *Rv_A2WHelper(const char *pszNarrow) RV_NOEXCEPT;
/* A block of (length + 1) bytes: text that needs more bytes than it has
 * characters gives NULL. */
RV_API char *Rv_W2AHelper(const char16_t *pszWide) RV_NOEXCEPT;
RV_API char *Rv_T2AHelper(const char16_t *pszText) RV_NOEXCEPT;
/* Copies of wide text. */
RV_API char16_t *Rv_T2WHelper(const char16_t *pszText) RV_NOEXCEPT;
RV_API char16_t *Rv_W2THelper(const char16_t *pszWide) RV_NOEXCEPT;
RV_API void Rv_A2THelperFree(char16_t *pszText) RV_NOEXCEPT;
RV_API void Rv_A2WHelperFree(char16_t *pszWide) RV_NOEXCEPT;
RV_API void Rv_W2AHelperFree(char *pszNarrow) RV_NOEXCEPT;
RV_API void Rv_T2AHelperFree(char *pszNarrow) RV_NOEXCEPT;
RV_API void Rv_T2WHelperFree(char16_t *pszWide) RV_NOEXCEPT;
RV_API void Rv_W2THelperFree(char16_t *pszText) RV_NOEXCEPT;
RV_API void Rv_HeapTerm(void *pMemory) RV_NOEXCEPT;

/* A plain copy of at most uLength characters, the terminator included (the
 * copy always ends with one when uLength is not 0). Returns pszDst. */
RV_API char16_t *Rv_T2WConvert(char16_t *pszDst, const char16_t *pszSrc, uint32_t uLength) RV_NOEXCEPT;
RV_API char16_t *Rv_W2TConvert(char16_t *pszDst, const char16_t *pszSrc, uint32_t uLength) RV_NOEXCEPT;

/* UTF-16 to UTF-8. nChars 0 means the whole string without its terminator, a
 * negative count the whole string with it. With no buffer (or uBytes 0) the
 * bytes needed are returned; 0 when the buffer is too short. When the count
 * is at least 1 and below uBytes and its last byte isn't 0, a terminator
 * follows that isn't counted. */
RV_API int32_t Rv_WideToUTF8(const char16_t *pszWide, int32_t nChars, char *pszUtf8,
                             uint32_t uBytes) RV_NOEXCEPT;
/* UTF-8 to UTF-16, in the same way (counts in characters). */
RV_API int32_t Rv_WideFromUTF8(const char *pszUtf8, int32_t nBytes, char16_t *pszWide,
                               uint32_t uChars) RV_NOEXCEPT;
/* A copy of the same shape for code written for both kinds of text: held to
 * uBytes, with a terminator when there's room. 1, or ERROR_NULL_POINTER. */
RV_API int32_t Rv_UTF8ToUTF8(const char *pszSrc, int32_t nBytes, char *pszDst,
                             uint32_t uBytes) RV_NOEXCEPT;

/* The next character position within uChars units (surrogate pairs step two). */
RV_API const char16_t *Rv_CharNextUTF16(const char16_t *pszText, uint32_t uChars) RV_NOEXCEPT;
/* The next character position within uBytes bytes of UTF-8. */
RV_API const char *Rv_CharNextUTF8(const char *pszText, uint32_t uBytes) RV_NOEXCEPT;

RV_END_DECLS

#endif /* RUVOKIT_RVTEXT_H */
