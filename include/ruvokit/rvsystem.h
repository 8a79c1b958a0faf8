/* Ruvokit imaging kernel: system services: files, redirected I/O, temporary files, thread tools, modules, status-code messages. */
#ifndef RUVOKIT_RVSYSTEM_H
#define RUVOKIT_RVSYSTEM_H

#include "rvtypes.h"
#include "rvstatus.h"

RV_BEGIN_DECLS

/* --- module names ---------------------------------------------------------------- */
/* The toolkit's other modules are named by a platform and an id. The name is
 * the module's identifier with the extension ".DLL", such as
 * "Ruvokit.Codecs.Fax.FaxCodec.DLL"; on this system the module lives in the
 * shared object "libRuvokit.Codecs.Fax.FaxCodec.so".
 *
 * Platform 0 names its modules by id; platform 49 too, without the handful of
 * ids that platform 0 sends to the modules' native parts; platform 8 has one
 * module, that of id 0. A negative id, another platform, or an id without a
 * module gives ERROR_FEATURE_NOT_SUPPORTED; a NULL pszName
 * ERROR_INVALID_PARAMETER; a name that doesn't fit in uLength characters with
 * its terminator ERROR_BUFFER_TOO_SMALL, and pszName stays as it was. */
RV_API int32_t Rv_GetLibName(int32_t nPlatform, int32_t nLibId, char16_t *pszName,
                             uint32_t uLength) RV_NOEXCEPT;

/* The full path of the file of module pszName (a name as Rv_GetLibName makes
 * it, or a file name, either possibly with a directory): looked for as given
 * when the name has a directory, then in the directory of the kernel library
 * itself. ERROR_FILE_NOT_FOUND_10 when neither has it; NULL pointers and an
 * empty name ERROR_INVALID_PARAMETER; ERROR_BUFFER_TOO_SMALL when the path
 * doesn't fit in uLength characters with its terminator. */
RV_API int32_t Rv_GetLibFullPath(const char16_t *pszName, char16_t *pszPath,
                                 uint32_t uLength) RV_NOEXCEPT;

/* The file part of a path: the text behind its last ':', '\\' or '/' (the
 * path itself when it has none). NULL for NULL. */
RV_API const char16_t *Rv_SkipPath(const char16_t *pszPath) RV_NOEXCEPT;

/* TRUE unless pszPath names an existing file (a directory doesn't count). */
RV_API int32_t Rv_IsMissingFile(const char16_t *pszPath) RV_NOEXCEPT;

/* --- status-code messages -------------------------------------------------------- */
/* The message of any status code of the toolkit, copied to pszMessage with at
 * most uLength characters, its terminator included (nothing when uLength is
 * 0). Codes of a missing library name the module; with bWithPath the full
 * path of its file, when the file is found. Codes without a message read
 * "Internal or Unrecognized Error!". SUCCESS, or ERROR_INVALID_PARAMETER for
 * a NULL pszMessage. */
RV_API int32_t Rv_GetFriendlyErrorMessage(int32_t nCode, char16_t *pszMessage, uint32_t uLength,
                                          int32_t bWithPath) RV_NOEXCEPT;

/* The module a status code points to, for Rv_GetLibName: only the codes of a
 * missing library point to one. Others give platform 0 and id -1. Either
 * pointer may be NULL. */
RV_API void Rv_GetLibIdFromErrorCode(int32_t nCode, uint32_t *puPlatform,
                                     int32_t *pnLibId) RV_NOEXCEPT;

RV_END_DECLS

#endif /* RUVOKIT_RVSYSTEM_H */
