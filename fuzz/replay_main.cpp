// Replays a fuzz target's corpus: every file in the given directories (or the
// given files) goes through LLVMFuzzerTestOneInput once.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static int run_file(const std::filesystem::path &path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return 1;
  }
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  return 0;
}

int main(int argc, char **argv) {
  int failures = 0, count = 0;
  for (int i = 1; i < argc; ++i) {
    std::filesystem::path arg(argv[i]);
    if (std::filesystem::is_directory(arg)) {
      for (const auto &entry : std::filesystem::directory_iterator(arg)) {
        if (entry.is_regular_file()) {
          failures += run_file(entry.path());
          ++count;
        }
      }
    } else {
      failures += run_file(arg);
      ++count;
    }
  }
  std::printf("replayed %d inputs\n", count);
  return failures == 0 && count > 0 ? 0 : 1;
}
