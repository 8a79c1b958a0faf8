// Module names and the files behind them, for the module loader and the
// messages that name a module.
#pragma once
#include <cstdint>
#include <string>

namespace rv::modules {

// Characters of a module name as the loader keeps it, terminator included.
inline constexpr uint32_t kNameLength = 512;

// The file of module `name`, in UTF-8 for the system call. A module's name is
// its identifier with ".DLL" ("Ruvokit.Codecs.Fax.FaxCodec.DLL"); its file is
// "lib", the identifier and ".so" ("libRuvokit.Codecs.Fax.FaxCodec.so"). The
// ".DLL" may be missing or in any case. A directory in front of the name stays
// as it is, and a name that already is a shared object's ("libfoo.so",
// "libfoo.so.1") is its own file.
// SUCCESS, ERROR_INVALID_PARAMETER for a NULL or empty name or a name without
// a file part, ERROR_NO_MEMORY.
int32_t module_file(const char16_t *name, std::string *file) noexcept;

// The full path of the file of module `name`: as given when the name has a
// directory, then in the directory of the kernel library. As module_file, and
// ERROR_FILE_NOT_FOUND_10 when neither place has the file.
int32_t find_module_file(const char16_t *name, std::string *path) noexcept;

}  // namespace rv::modules
