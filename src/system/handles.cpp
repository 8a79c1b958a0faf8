// The handle object of the library: kind-9 handles over platform objects
// (files, sections, events, mutexes, threads), closing by kind, and the
// classic creation calls that wrap platform objects into handles.
#include "internal/handles.h"

#include <atomic>
#include <string>

#include "internal/memory.h"
#include "internal/utf.h"
#include "platform/error.h"
#include "platform/file.h"
#include "platform/section.h"
#include "platform/sync.h"
#include "platform/thread.h"
#include "ruvokit/rvstatus.h"

namespace rv {

namespace {

// Closers installed by the subsystems that own kinds 1 (palette tag), 2, 4, 6,
// 7 and 8. Indexed by kind.
std::atomic<ObjectCloser> g_closers[10];

bool is_object(RVHANDLE h) noexcept { return h != nullptr && h != RV_INVALID_HANDLE; }

}  // namespace

WINHANDLE *make_platform_handle(os::Object *object) noexcept {
  if (object == nullptr) return nullptr;
  auto *handle = static_cast<WINHANDLE *>(alloc_block(sizeof(WINHANDLE), true));
  if (handle == nullptr) {
    object->release();
    os::set_last_error(os::kErrNotEnoughMemory);
    return nullptr;
  }
  handle->nKind = WINHANDLE_KIND_PLATFORM;
  handle->hObject = object;
  return handle;
}

os::Object *platform_object(RVHANDLE h) noexcept {
  if (!is_object(h)) return nullptr;
  auto *handle = static_cast<WINHANDLE *>(h);
  return handle->nKind == WINHANDLE_KIND_PLATFORM ? static_cast<os::Object *>(handle->hObject)
                                                   : nullptr;
}

ObjectCloser set_object_closer(int32_t kind, ObjectCloser closer) noexcept {
  if (kind < 0 || kind >= 10) return nullptr;
  return g_closers[kind].exchange(closer);
}

int32_t close_handle(RVHANDLE h) noexcept {
  if (!is_object(h)) return FALSE;
  const int32_t kind = *static_cast<const int32_t *>(h);
  switch (kind) {
    case WINHANDLE_KIND_MEMORY:
      movable_free(static_cast<WINHANDLE *>(h));
      return TRUE;
    case WINHANDLE_KIND_PLATFORM: {
      auto *handle = static_cast<WINHANDLE *>(h);
      if (auto *object = static_cast<os::Object *>(handle->hObject)) object->release();
      handle->nKind = 0;
      free_block(handle);
      return TRUE;
    }
    case WINHANDLE_KIND_PALETTE:
    case 2:
    case WINHANDLE_KIND_REGION:
    case 6:
    case 7:
    case 8:
      if (ObjectCloser closer = g_closers[kind].load()) return closer(h);
      return FALSE;
    default:
      os::set_last_error(os::kErrInvalidHandle);
      return FALSE;
  }
}

}  // namespace rv

namespace {

template <class T>
T *object_as(RVHANDLE h, rv::os::ObjectType type) noexcept {
  rv::os::Object *object = rv::platform_object(h);
  if (object == nullptr || object->type() != type) {
    rv::os::set_last_error(rv::os::kErrInvalidHandle);
    return nullptr;
  }
  return static_cast<T *>(object);
}

rv::os::WaitResult wait_object(rv::os::Object *object, uint32_t ms) noexcept {
  switch (object->type()) {
    case rv::os::ObjectType::Event: return static_cast<rv::os::Event *>(object)->wait(ms);
    case rv::os::ObjectType::Mutex: return static_cast<rv::os::MutexObject *>(object)->wait(ms);
    case rv::os::ObjectType::Thread: return static_cast<rv::os::Thread *>(object)->wait(ms);
    default: return rv::os::WaitResult::Failed;
  }
}

}  // namespace

RVHANDLE Rv_WinCreateFileW(const char16_t *pszFileName, uint32_t uDesiredAccess,
                           uint32_t /*uShareMode*/, void * /*pSecurityAttributes*/,
                           uint32_t uCreationDisposition, uint32_t uFlagsAndAttributes,
                           RVHANDLE /*hTemplateFile*/) noexcept {
  std::string path;
  if (pszFileName == nullptr || !rv::utf::to_utf8(pszFileName, &path)) {
    rv::os::set_last_error(pszFileName ? rv::os::kErrNotEnoughMemory : rv::os::kErrInvalidParameter);
    return RV_INVALID_HANDLE;
  }
  uint32_t access = 0;
  if (uDesiredAccess & RV_GENERIC_READ) access |= rv::os::kFileRead;
  if (uDesiredAccess & RV_GENERIC_WRITE) access |= rv::os::kFileWrite;
  if (uCreationDisposition < RV_CREATE_NEW || uCreationDisposition > RV_TRUNCATE_EXISTING) {
    rv::os::set_last_error(rv::os::kErrInvalidParameter);
    return RV_INVALID_HANDLE;
  }
  const auto del = (uFlagsAndAttributes & RV_FILE_FLAG_DELETE_ON_CLOSE)
                       ? rv::os::DeleteOnClose::AtClose
                       : rv::os::DeleteOnClose::No;
  rv::os::File *file = rv::os::File::open(
      path.c_str(), access, static_cast<rv::os::Disposition>(uCreationDisposition), del);
  if (file == nullptr) return RV_INVALID_HANDLE;
  return rv::make_platform_handle(file);
}

RVHANDLE Rv_WinCreateFileMappingW(RVHANDLE hFile, void * /*pSecurityAttributes*/,
                                  uint32_t uProtect, uint32_t uMaximumSizeHigh,
                                  uint32_t uMaximumSizeLow, const char16_t * /*pszName*/) noexcept {
  const uint64_t size = (static_cast<uint64_t>(uMaximumSizeHigh) << 32) | uMaximumSizeLow;
  rv::os::Section *section;
  if (hFile == RV_INVALID_HANDLE) {
    section = rv::os::Section::create_anonymous(size);
  } else {
    auto *file = object_as<rv::os::File>(hFile, rv::os::ObjectType::File);
    if (file == nullptr) return nullptr;
    section = rv::os::Section::create_file(file, size, (uProtect & RV_PAGE_READWRITE) != 0);
  }
  if (section == nullptr) return nullptr;
  return rv::make_platform_handle(section);
}

int32_t Rv_WinCloseHandle(RVHANDLE hObject) noexcept { return rv::close_handle(hObject); }

int32_t Rv_WinDeleteObject(RVHANDLE hObject) noexcept { return rv::close_handle(hObject); }

RVHANDLE Rv_WinCreateThread(void * /*pSecurityAttributes*/, size_t /*uStackSize*/,
                            RVTHREADSTART pfnStartAddress, void *pParameter,
                            uint32_t /*uCreationFlags*/, uint32_t *puThreadId) noexcept {
  return rv::make_platform_handle(rv::os::Thread::start(pfnStartAddress, pParameter, puThreadId));
}

RVHANDLE Rv_RuvoThreadCreateAndRun(RVTHREADSTART pfnStartAddress, void *pParameter) noexcept {
  return Rv_WinCreateThread(nullptr, 0, pfnStartAddress, pParameter, 0, nullptr);
}

RVHANDLE Rv_WinCreateEventW(void * /*pSecurityAttributes*/, int32_t bManualReset,
                            int32_t bInitialState, const char16_t * /*pszName*/) noexcept {
  return rv::make_platform_handle(rv::os::Event::create(bManualReset != 0, bInitialState != 0));
}

RVHANDLE Rv_WinCreateMutexW(void * /*pSecurityAttributes*/, int32_t bInitialOwner,
                            const char16_t * /*pszName*/) noexcept {
  return rv::make_platform_handle(rv::os::MutexObject::create(bInitialOwner != 0));
}

int32_t Rv_WinDuplicateHandle(RVHANDLE /*hSourceProcess*/, RVHANDLE hSourceHandle,
                              RVHANDLE /*hTargetProcess*/, RVHANDLE *phTargetHandle,
                              uint32_t /*uDesiredAccess*/, int32_t /*bInheritHandle*/,
                              uint32_t uOptions) noexcept {
  rv::os::Object *object = rv::platform_object(hSourceHandle);
  if (object == nullptr || phTargetHandle == nullptr) {
    rv::os::set_last_error(rv::os::kErrInvalidHandle);
    return FALSE;
  }
  object->add_ref();
  WINHANDLE *copy = rv::make_platform_handle(object);
  if (copy == nullptr) return FALSE;
  *phTargetHandle = copy;
  if (uOptions & RV_DUPLICATE_CLOSE_SOURCE) rv::close_handle(hSourceHandle);
  return TRUE;
}

uint32_t Rv_WinWaitForSingleObject(RVHANDLE hObject, uint32_t uMilliseconds) noexcept {
  rv::os::Object *object = rv::platform_object(hObject);
  if (object == nullptr) {
    rv::os::set_last_error(rv::os::kErrInvalidHandle);
    return RV_WAIT_FAILED;
  }
  return static_cast<uint32_t>(wait_object(object, uMilliseconds));
}

int32_t Rv_WinSetEvent(RVHANDLE hEvent) noexcept {
  auto *event = object_as<rv::os::Event>(hEvent, rv::os::ObjectType::Event);
  if (event == nullptr) return FALSE;
  event->set();
  return TRUE;
}

int32_t Rv_WinResetEvent(RVHANDLE hEvent) noexcept {
  auto *event = object_as<rv::os::Event>(hEvent, rv::os::ObjectType::Event);
  if (event == nullptr) return FALSE;
  event->reset();
  return TRUE;
}

int32_t Rv_WinReleaseMutex(RVHANDLE hMutex) noexcept {
  auto *mutex = object_as<rv::os::MutexObject>(hMutex, rv::os::ObjectType::Mutex);
  return mutex != nullptr && mutex->release() ? TRUE : FALSE;
}

int32_t Rv_WinGetExitCodeThread(RVHANDLE hThread, uint32_t *puExitCode) noexcept {
  auto *thread = object_as<rv::os::Thread>(hThread, rv::os::ObjectType::Thread);
  if (thread == nullptr || puExitCode == nullptr) return FALSE;
  if (!thread->exit_code(puExitCode)) *puExitCode = 259;  // still active
  return TRUE;
}

uint32_t Rv_WinGetLastError(void) noexcept { return rv::os::last_error(); }
