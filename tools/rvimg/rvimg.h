// The commands of rvimg.
#pragma once

namespace rvimg {

int run_demo(int argc, char **argv);

// The name of a status code, from the kernel's table of codes.
const char *status_name(int code);

}  // namespace rvimg
