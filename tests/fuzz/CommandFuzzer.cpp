// Runs any lines as the arguments of `lomix` in a folder with a picture, a sequence and a video. No
// argument names a file outside of that folder, and numbers have two digits, so that runs are
// short.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/CommandLine.h"
#include "fuzz/Bytes.h"
#include "fuzz/Fuzzing.h"
#include "support/TemporaryFile.h"
#include "support/Text.h"

namespace {

using lomix::fuzz::require;
namespace fs = std::filesystem;
namespace cli = lomix::cli;

constexpr std::size_t kMaxArguments = 12;

struct Ended {
  int code = 0;
  std::string out, err;
};

Ended runLine(const std::vector<std::string>& arguments) {
  std::ostringstream out, err;
  const int code = cli::runCommandLine(arguments, {out, err, false});
  return {code, out.str(), err.str()};
}

/// Shortens every row of digits to its first two.
std::string withSmallNumbers(std::string_view text) {
  std::string result;
  int digits = 0;
  for (const char c : text) {
    digits = c >= '0' && c <= '9' ? digits + 1 : 0;
    if (digits <= 2) result += c;
  }
  return result;
}

std::vector<std::string> argumentsOf(std::string_view text) {
  std::vector<std::string> arguments;
  for (const std::string_view line : lomix::split(text, '\n')) {
    if (arguments.size() == kMaxArguments) break;
    const bool folder = line.size() > 1 && line.ends_with('/') && !line.starts_with('-');
    arguments.push_back(withSmallNumbers(lomix::fuzz::withoutSlashes(line)));
    if (folder) arguments.back() += '/';
    if (arguments.back() == "/" || arguments.back() == "../") arguments.back() = "out/";
  }
  return arguments;
}

std::set<fs::path> entries() {
  std::set<fs::path> found;
  for (const fs::directory_entry& entry : fs::directory_iterator(".")) found.insert(entry.path());
  return found;
}

std::set<fs::path> kept;

void make(const std::vector<std::string>& arguments) {
  const Ended ended = runLine(arguments);
  require(ended.code == 0, "the inputs cannot be made: " + ended.err);
}

void makeInputs() {
  make({"testcard", "in.png", "--size", "8x6"});
  make({"render", "in.png", "s.##.png", "--frames", "1-3", "--quiet"});
  make({"render", "in.png", "v.y4m", "--frames", "0-2", "--quiet"});
  make({"render", "in.png", "in.jpg", "--quiet"});
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  lomix::fuzz::enterScratchFolder();
  lomix::TemporaryFile::setFlushing(false);
  setenv("XDG_DATA_HOME", "/nonexistent", 1);
  require(std::freopen("/dev/null", "rb", stdin) != nullptr, "no /dev/null");
  makeInputs();
  kept = entries();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> arguments =
      argumentsOf({reinterpret_cast<const char*>(data), size});
  const Ended ended = runLine(arguments);
  require(ended.code >= 0 && ended.code <= cli::kExitFramesFailed,
          "exit code " + std::to_string(ended.code));
  if (ended.code == cli::kExitFailed || ended.code == cli::kExitUsage) {
    const std::size_t at = ended.err.rfind("error: ");
    require(at != std::string::npos && ended.err.ends_with(")\n"),
            "no reason for exit code " + std::to_string(ended.code) + ": " + ended.err);
  }
  for (const fs::path& entry : entries()) {
    require(entry.filename().string().find(".lomix") == std::string::npos,
            "a temporary file is left: " + entry.string());
    if (!kept.contains(entry)) fs::remove_all(entry);
  }
  if (!fs::exists("in.png") || !fs::exists("v.y4m") || !fs::exists("in.jpg")) makeInputs();
  return 0;
}
