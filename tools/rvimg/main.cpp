// rvimg: the kernel's main road in a user's hands.
#include <cstdio>
#include <cstring>

#include "operations.h"
#include "rvimg.h"

static void usage(FILE *out) {
  std::fprintf(out,
               "usage: rvimg COMMAND [ARGS]\n"
               "\n"
               "commands:\n"
               "  info FILE...                  width, height, depth, order, palette and resolution\n"
               "  convert IN OUT [operations]   read a BMP file, apply the operations, write a BMP file\n"
               "  demo [DIR]                    draw a test picture and write a gallery into DIR\n"
               "                                (default ./rvimg-demo)\n"
               "  help                          this text\n"
               "\n");
  rvimg::print_operations(out);
  std::fprintf(out,
               "\n"
               "Files are BMP files of any depth the kernel reads: 1, 4, 8, 16, 24 and 32 bits, bit\n"
               "fields, both header forms, top-down or bottom-up rows, and YUV frames. Failures print\n"
               "the kernel's message and exit with 1; a command line rvimg can't take exits with 2, an\n"
               "operation this kernel doesn't have yet with 3.\n");
}

int main(int argc, char **argv) {
  if (argc < 2) {
    usage(stderr);
    return rvimg::kExitUsage;
  }
  const char *command = argv[1];
  if (std::strcmp(command, "info") == 0) return rvimg::run_info(argc - 2, argv + 2);
  if (std::strcmp(command, "convert") == 0) return rvimg::run_convert(argc - 2, argv + 2);
  if (std::strcmp(command, "demo") == 0) return rvimg::run_demo(argc - 2, argv + 2);
  if (std::strcmp(command, "help") == 0 || std::strcmp(command, "--help") == 0 ||
      std::strcmp(command, "-h") == 0) {
    usage(stdout);
    return 0;
  }
  std::fprintf(stderr, "rvimg: unknown command '%s'\n\n", command);
  usage(stderr);
  return rvimg::kExitUsage;
}
