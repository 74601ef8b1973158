// Stands for the fuzzer in a test: every file of the folders named is one input.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv) {
  int inputs = 0;
  for (int i = 1; i < argc; i++) {
    for (const auto &file : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream stream(file.path(), std::ios::binary);
      const std::string input(std::istreambuf_iterator<char>(stream), {});
      fprintf(stderr, "%s\n", file.path().c_str());
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.data()), input.size());
      inputs++;
    }
  }
  return inputs == 0 ? 1 : 0;
}
