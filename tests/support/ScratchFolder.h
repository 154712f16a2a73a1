// A fixture for tests that write files.
#pragma once

#include <gtest/gtest.h>
#ifdef _WIN32
#include <process.h>
#else
#include <stdlib.h>
#endif

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace lomix {

/// Gives each test an empty folder and removes it afterwards.
class ScratchFolder : public testing::Test {
 protected:
  ScratchFolder() {
    const std::string start = (std::filesystem::temp_directory_path() / "lomix-test-").string();
#ifdef _WIN32
    // Such tests run one after another in their process.
    folder_ = start + std::to_string(_getpid());
    if (!std::filesystem::create_directory(folder_)) throw std::runtime_error("no scratch folder");
#else
    std::string name = start + "XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no scratch folder");
    folder_ = name;
#endif
  }
  ~ScratchFolder() override { std::filesystem::remove_all(folder_); }

  std::filesystem::path path(const std::string& name) const { return folder_ / name; }

  std::set<std::string> names() const {
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      found.insert(entry.path().filename().string());
    }
    return found;
  }

  static std::string read(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  static void write(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
  }

  std::filesystem::path folder_;
};

}  // namespace lomix
