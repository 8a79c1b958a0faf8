// rvimg: the kernel's main road in a user's hands.
#include <cstdio>
#include <cstring>

#include "rvimg.h"

static void usage(FILE *out) {
  std::fprintf(out,
               "usage: rvimg COMMAND [ARGS]\n"
               "\n"
               "commands:\n"
               "  demo [DIR]   show what the kernel does, without any input\n"
               "  help         this text\n");
}

int main(int argc, char **argv) {
  if (argc < 2) {
    usage(stderr);
    return 2;
  }
  const char *command = argv[1];
  if (std::strcmp(command, "demo") == 0) return rvimg::run_demo(argc - 2, argv + 2);
  if (std::strcmp(command, "help") == 0 || std::strcmp(command, "--help") == 0) {
    usage(stdout);
    return 0;
  }
  std::fprintf(stderr, "rvimg: unknown command '%s'\n\n", command);
  usage(stderr);
  return 2;
}
