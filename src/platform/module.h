// Loading sibling modules: shared objects opened by path.
#pragma once
#include <string>

namespace rv::os {

// nullptr with the platform error set when the module can't be loaded.
void *module_load(const char *path) noexcept;
void *module_symbol(void *module, const char *name) noexcept;
bool module_free(void *module) noexcept;
// The full path of the module that holds `address`, empty when unknown.
std::string module_path_of(const void *address);
// The directory (with its final '/') of the kernel library itself.
std::string kernel_directory();

}  // namespace rv::os
