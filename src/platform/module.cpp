#include "platform/module.h"

#include <dlfcn.h>

#include "platform/error.h"

namespace rv::os {

void *module_load(const char *path) noexcept {
  if (path == nullptr || *path == '\0') {
    set_last_error(kErrInvalidParameter);
    return nullptr;
  }
  void *module = ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) set_last_error(kErrModNotFound);
  return module;
}

void *module_symbol(void *module, const char *name) noexcept {
  if (module == nullptr || name == nullptr) {
    set_last_error(kErrInvalidParameter);
    return nullptr;
  }
  void *symbol = ::dlsym(module, name);
  if (symbol == nullptr) set_last_error(kErrProcNotFound);
  return symbol;
}

bool module_free(void *module) noexcept { return module != nullptr && ::dlclose(module) == 0; }

std::string module_path_of(const void *address) {
  Dl_info info{};
  if (::dladdr(address, &info) == 0 || info.dli_fname == nullptr) return {};
  return info.dli_fname;
}

std::string kernel_directory() {
  std::string path = module_path_of(reinterpret_cast<const void *>(&kernel_directory));
  auto slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

}  // namespace rv::os
