// Handle objects: making kind-9 handles for platform objects, and closing any
// handle by its kind. Regions (kind 4), palettes (tag 1) and drawing objects
// (kinds 2, 6, 7, 8) are closed through functions that their subsystems
// install here.
#pragma once
#include <cstdint>

#include "ruvokit/rvplatform.h"

namespace rv {

namespace os {
class Object;
}

// A kind-9 handle holding `object` (the handle takes over the reference), or
// null when no handle object could be made (the reference is then dropped).
WINHANDLE *make_platform_handle(os::Object *object) noexcept;
// The platform object of a kind-9 handle, or null for anything else.
os::Object *platform_object(RVHANDLE handle) noexcept;

// Closes `object`, whose first word is its kind or tag; TRUE when it closed.
using ObjectCloser = int32_t (*)(void *object);
// Installs the closer of a kind (1, 2, 4, 6, 7 or 8); returns the former one.
ObjectCloser set_object_closer(int32_t kind, ObjectCloser closer) noexcept;

// Closes a handle by kind; the body of Rv_WinCloseHandle and Rv_WinDeleteObject.
int32_t close_handle(RVHANDLE handle) noexcept;

}  // namespace rv
