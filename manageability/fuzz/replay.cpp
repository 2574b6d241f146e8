// Runs a fuzz target over stored inputs, without a fuzzing engine: the corpus as a test.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i) {
    if (fs::is_directory(argv[i]))
      std::copy(fs::directory_iterator(argv[i]), fs::directory_iterator(), std::back_inserter(files));
    else
      files.emplace_back(argv[i]);
  }
  std::sort(files.begin(), files.end());
  for (const fs::path &file : files) {
    std::ifstream in(file, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in) return std::fprintf(stderr, "%s cannot be read\n", file.c_str()), 2;
    // The last line before a crash names the input.
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
  }
  if (files.empty()) return std::fprintf(stderr, "no inputs: name files or folders\n"), 2;
  return 0;
}
