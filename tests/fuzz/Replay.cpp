// Usage: replay FOLDER
// Runs a fuzzer's function on every file of a folder, for builds without a fuzzer's runtime.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/Fuzzing.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& folder) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.is_regular_file()) files.push_back(fs::absolute(entry.path()));
  }
  std::ranges::sort(files);
  return files;
}

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string current;

/// Names the input that ended the program.
void nameInput(int) { std::fprintf(stderr, "the input is '%s'\n", current.c_str()); }

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fputs("error: replay: expected a folder of inputs (replay FOLDER)\n", stderr);
    return 2;
  }
  std::signal(SIGABRT, nameInput);
  try {
    const std::vector<fs::path> files = filesOf(arguments[1]);
    if (files.empty()) {
      std::fprintf(stderr, "error: '%s' has no inputs (add some)\n", arguments[1]);
      return 1;
    }
    if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&count, &arguments);
    for (const fs::path& file : files) {
      current = file.string();
      const std::string content = contentOf(file);
      // A copy of the very size, so that a sanitizer sees a read behind it.
      const std::vector<std::uint8_t> bytes(content.begin(), content.end());
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("%zu inputs\n", files.size());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "error: '%s': %s\n", current.c_str(), error.what());
    return 1;
  }
}
