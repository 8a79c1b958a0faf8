/* Ruvokit imaging kernel: platform services.
 *
 * Allocation wrappers, the library's handle object (files, sections, memory
 * blocks, regions, synchronisation objects all go by one kind of handle),
 * per-thread data and slots, the standard memory functions under exported
 * names, the per-thread progress callbacks and the debug trace. */
#ifndef RUVOKIT_RVPLATFORM_H
#define RUVOKIT_RVPLATFORM_H

#include "rvtypes.h"

/* --- the handle object ----------------------------------------------------------- */
/* The first word of every handle object is its kind; closing goes by it. */
#define WINHANDLE_KIND_PALETTE 1  /* a palette object (tag 1 in its first word) */
#define WINHANDLE_KIND_MEMORY 3   /* a movable memory block */
#define WINHANDLE_KIND_REGION 4   /* a region */
#define WINHANDLE_KIND_PLATFORM 9 /* a file, section, event, mutex or thread */
/* Kinds 2, 6, 7 and 8 are drawing objects, closed by the display layer. */

typedef struct WINHANDLE {
  int32_t nKind;
  void *hObject;   /* kind 9: the platform object; kind 4: the region */
  void *pBlock;    /* kind 3: the allocation, header included */
  void *pData;     /* kind 3: the data */
  uint64_t uSize;  /* kind 3: bytes of data */
  uint32_t uFlags; /* kind 3: allocation flags */
  uint32_t uReserved;
} WINHANDLE;

/* Allocation flags of the handle calls. */
#define RV_GMEM_FIXED 0x0000u
#define RV_GMEM_MOVEABLE 0x0002u
#define RV_GMEM_ZEROINIT 0x0040u /* zero-filled memory */

/* Access, disposition and flags of Rv_WinCreateFileW. */
#define RV_GENERIC_READ 0x80000000u
#define RV_GENERIC_WRITE 0x40000000u
#define RV_FILE_SHARE_READ 0x1u
#define RV_FILE_SHARE_WRITE 0x2u
#define RV_FILE_SHARE_DELETE 0x4u
#define RV_CREATE_NEW 1u
#define RV_CREATE_ALWAYS 2u
#define RV_OPEN_EXISTING 3u
#define RV_OPEN_ALWAYS 4u
#define RV_TRUNCATE_EXISTING 5u
#define RV_FILE_ATTRIBUTE_NORMAL 0x80u
#define RV_FILE_ATTRIBUTE_TEMPORARY 0x100u
#define RV_FILE_FLAG_DELETE_ON_CLOSE 0x04000000u
/* Protection of Rv_WinCreateFileMappingW. */
#define RV_PAGE_READONLY 0x02u
#define RV_PAGE_READWRITE 0x04u
/* Waits. */
#define RV_INFINITE 0xFFFFFFFFu
#define RV_WAIT_OBJECT_0 0u
#define RV_WAIT_TIMEOUT 258u
#define RV_WAIT_FAILED 0xFFFFFFFFu
/* Options of Rv_WinDuplicateHandle. */
#define RV_DUPLICATE_CLOSE_SOURCE 0x1u
/* No slot from Rv_TlsAlloc. */
#define RV_TLS_OUT_OF_INDEXES 0xFFFFFFFFu

typedef uint32_t (*RVTHREADSTART)(void *pParameter);

RV_BEGIN_DECLS

/* --- allocation ------------------------------------------------------------------- */
/* uCount x uSize bytes from the heap; a product that overflows 32 bits fails.
 * nLine and pszFile name the caller's source line for leak tracking. */
RV_API void *Rv_LocalAlloc(uint32_t uCount, uint32_t uSize, int32_t nLine,
                              const char *pszFile) RV_NOEXCEPT;
RV_API void *Rv_LocalAllocInit(uint32_t uCount, uint32_t uSize, int32_t nLine,
                                  const char *pszFile) RV_NOEXCEPT;
RV_API void *Rv_LocalRealloc(void *pMemory, uint32_t uCount, uint32_t uSize, int32_t nLine,
                                const char *pszFile) RV_NOEXCEPT;
/* As Rv_LocalRealloc; the bytes the block grows by are zeroed. */
RV_API void *Rv_LocalReallocInit(void *pMemory, uint32_t uCount, uint32_t uSize, int32_t nLine,
                                    const char *pszFile) RV_NOEXCEPT;
RV_API void Rv_LocalFree(void *pMemory) RV_NOEXCEPT;

/* The same through a movable block: the word in front of the data points to
 * the block's handle. */
RV_API void *Rv_GlobalAlloc(uint32_t uCount, uint32_t uSize, int32_t nLine,
                               const char *pszFile) RV_NOEXCEPT;
RV_API void *Rv_GlobalAllocInit(uint32_t uCount, uint32_t uSize, int32_t nLine,
                                   const char *pszFile) RV_NOEXCEPT;
RV_API void *Rv_GlobalRealloc(void *pMemory, uint32_t uCount, uint32_t uSize, int32_t nLine,
                                 const char *pszFile) RV_NOEXCEPT;
RV_API void Rv_GlobalFree(void *pMemory) RV_NOEXCEPT;

/* The classic handle calls on movable blocks. Locking gives the address of
 * the data and keeps no count. */
RV_API RVHANDLE Rv_OsAllocHandle(uint32_t uFlags, size_t uBytes) RV_NOEXCEPT;
RV_API RVHANDLE Rv_OsAllocHandleInit(uint32_t uFlags, size_t uBytes) RV_NOEXCEPT;
RV_API RVHANDLE Rv_OsReallocHandle(RVHANDLE hMemory, size_t uBytes, uint32_t uFlags) RV_NOEXCEPT;
RV_API void *Rv_OsLockHandle(RVHANDLE hMemory) RV_NOEXCEPT;
RV_API int32_t Rv_OsUnlockHandle(RVHANDLE hMemory) RV_NOEXCEPT;
RV_API void Rv_OsFreeHandle(RVHANDLE hMemory) RV_NOEXCEPT;
RV_API void *WinGlobalLock(RVHANDLE hMemory) RV_NOEXCEPT;
RV_API int32_t WinGlobalUnlock(RVHANDLE hMemory) RV_NOEXCEPT;
RV_API RVHANDLE WinGlobalReAlloc(RVHANDLE hMemory, size_t uBytes, uint32_t uFlags) RV_NOEXCEPT;

/* --- files, sections and synchronisation objects --------------------------------- */
/* A handle for the file; RV_INVALID_HANDLE when it can't be opened, 0 when
 * no handle object could be made. */
RV_API RVHANDLE Rv_WinCreateFileW(const char16_t *pszFileName, uint32_t uDesiredAccess,
                                     uint32_t uShareMode, void *pSecurityAttributes,
                                     uint32_t uCreationDisposition, uint32_t uFlagsAndAttributes,
                                     RVHANDLE hTemplateFile) RV_NOEXCEPT;
/* A section over an open file, or an anonymous one for RV_INVALID_HANDLE. */
RV_API RVHANDLE Rv_WinCreateFileMappingW(RVHANDLE hFile, void *pSecurityAttributes,
                                            uint32_t uProtect, uint32_t uMaximumSizeHigh,
                                            uint32_t uMaximumSizeLow,
                                            const char16_t *pszName) RV_NOEXCEPT;
/* Close a handle by its kind; 0 and RV_INVALID_HANDLE are left alone. */
RV_API int32_t Rv_WinCloseHandle(RVHANDLE hObject) RV_NOEXCEPT;
RV_API int32_t Rv_WinDeleteObject(RVHANDLE hObject) RV_NOEXCEPT;
RV_API RVHANDLE Rv_WinCreateThread(void *pSecurityAttributes, size_t uStackSize,
                                      RVTHREADSTART pfnStartAddress, void *pParameter,
                                      uint32_t uCreationFlags, uint32_t *puThreadId) RV_NOEXCEPT;
RV_API RVHANDLE Rv_RuvoThreadCreateAndRun(RVTHREADSTART pfnStartAddress,
                                             void *pParameter) RV_NOEXCEPT;
RV_API RVHANDLE Rv_WinCreateEventW(void *pSecurityAttributes, int32_t bManualReset,
                                      int32_t bInitialState, const char16_t *pszName) RV_NOEXCEPT;
RV_API RVHANDLE Rv_WinCreateMutexW(void *pSecurityAttributes, int32_t bInitialOwner,
                                      const char16_t *pszName) RV_NOEXCEPT;
RV_API int32_t Rv_WinDuplicateHandle(RVHANDLE hSourceProcess, RVHANDLE hSourceHandle,
                                        RVHANDLE hTargetProcess, RVHANDLE *phTargetHandle,
                                        uint32_t uDesiredAccess, int32_t bInheritHandle,
                                        uint32_t uOptions) RV_NOEXCEPT;
RV_API uint32_t Rv_WinWaitForSingleObject(RVHANDLE hObject, uint32_t uMilliseconds) RV_NOEXCEPT;
RV_API int32_t Rv_WinSetEvent(RVHANDLE hEvent) RV_NOEXCEPT;
RV_API int32_t Rv_WinResetEvent(RVHANDLE hEvent) RV_NOEXCEPT;
RV_API int32_t Rv_WinReleaseMutex(RVHANDLE hMutex) RV_NOEXCEPT;
RV_API int32_t Rv_WinGetExitCodeThread(RVHANDLE hThread, uint32_t *puExitCode) RV_NOEXCEPT;
/* The platform error the last failing platform call of this thread left. */
RV_API uint32_t Rv_WinGetLastError(void) RV_NOEXCEPT;

/* --- per-thread data and slots ---------------------------------------------------- */
/* Makes the calling thread's data if it doesn't exist; TRUE when it's there. */
RV_API int32_t Rv_AllocThreadData(uint32_t uReserved) RV_NOEXCEPT;
RV_API uint32_t Rv_TlsAlloc(void) RV_NOEXCEPT;
RV_API int32_t Rv_TlsFree(uint32_t uIndex) RV_NOEXCEPT;
RV_API int32_t Rv_TlsSetValue(uint32_t uIndex, void *pValue) RV_NOEXCEPT;
RV_API void *Rv_TlsGetValue(uint32_t uIndex) RV_NOEXCEPT;

/* --- memory functions ---------------------------------------------------------------- */
RV_API void *Rv_MemoryCopy(void *pDst, const void *pSrc, size_t uBytes) RV_NOEXCEPT;
RV_API void *Rv_MemoryMove(void *pDst, const void *pSrc, size_t uBytes) RV_NOEXCEPT;
RV_API int32_t Rv_MemoryCompare(const void *p1, const void *p2, size_t uBytes) RV_NOEXCEPT;
/* Compares ignoring the case of ASCII letters. */
RV_API int32_t Rv_MemoryCompareI(const void *p1, const void *p2, size_t uBytes) RV_NOEXCEPT;
RV_API void *Rv_MemorySet(void *pDst, int32_t nValue, size_t uBytes) RV_NOEXCEPT;
RV_API void *Rv_MemoryChr(const void *pMemory, int32_t nValue, size_t uBytes) RV_NOEXCEPT;
RV_API void *Rv_Krn_memcpy(void *pDst, const void *pSrc, size_t uBytes) RV_NOEXCEPT;
RV_API void *Rv_Krn_memset(void *pDst, int32_t nValue, size_t uBytes) RV_NOEXCEPT;
RV_API int32_t Rv_Krn_memcmp(const void *p1, const void *p2, size_t uBytes) RV_NOEXCEPT;

/* --- progress callbacks (per thread) ----------------------------------------------- */
/* The thread's progress callback; its user data goes to *ppUserData if given. */
RV_API STATUSCALLBACK Rv_GetStatusCallBack(void **ppUserData) RV_NOEXCEPT;
/* Installs the thread's progress callback; the former pair goes through any
 * non-NULL out pointer. SUCCESS. */
RV_API int32_t Rv_SetStatusCallBack(STATUSCALLBACK pfnCallback, void *pUserData,
                                       STATUSCALLBACK *ppfnOld, void **ppOldUserData) RV_NOEXCEPT;
/* The same for the callback that copies report to. */
RV_API STATUSCALLBACK Rv_GetCopyStatusCallBack(void **ppUserData) RV_NOEXCEPT;
RV_API int32_t Rv_SetCopyStatusCallBack(STATUSCALLBACK pfnCallback, void *pUserData,
                                           STATUSCALLBACK *ppfnOld,
                                           void **ppOldUserData) RV_NOEXCEPT;

/* --- debug output ------------------------------------------------------------------ */
/* Formats a message (printf rules, at most 4096 characters) and passes it to
 * the debug output with the function's name. */
RV_API void Trace(const char *pszFunction, const char *pszFormat, ...) RV_NOEXCEPT
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    ;

RV_END_DECLS

#endif /* RUVOKIT_RVPLATFORM_H */
