// A fixture for tests that run the built command.
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <regex>
#include <string>
#include <vector>

#include "cli/ForkedCommand.h"
#include "support/ScratchFolder.h"

namespace lomix {

/// Runs the built command, or another program, in the scratch folder.
class CommandProcess : public ScratchFolder {
 protected:
  struct Result {
    int exitCode;
    std::string out;
    std::string err;
  };

  CommandProcess() : outputs_(folder_.string() + "-out") {
    std::filesystem::create_directory(outputs_);
  }
  ~CommandProcess() override { std::filesystem::remove_all(outputs_); }

  /// Starts the command. out: a file for its standard output.
  pid_t start(const std::vector<std::string>& arguments, const std::string& out = "") {
    const std::string outFile = out.empty() ? (outputs_ / "out").string() : out;
    if (!checksLeaks_) return ForkedCommand::start(arguments, folder_, outFile, outputs_ / "err");
    std::vector<std::string> all = {LOMIX_COMMAND};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return startProgram(std::move(all), outFile);
  }
  pid_t startProgram(std::vector<std::string> arguments, const std::string& out = "") {
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder_.c_str());
    const std::string outFile = out.empty() ? (outputs_ / "out").string() : out;
    const std::string errFile = (outputs_ / "err").string();
    const int flags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outFile.c_str(), flags, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errFile.c_str(), flags, 0600);
    pid_t process = 0;
    EXPECT_EQ(posix_spawnp(&process, pointers[0], &actions, nullptr, pointers.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    return process;
  }
  /// Returns what was printed without the lines of progress, of which a slow machine has more.
  static std::string withoutProgress(const std::string& text) {
    static const std::regex progress(
        "[0-9]+( of [0-9]+ frames|( of [0-9]+)? frames, [0-9.]+ frames/s(, [^\n]* left)?)\n");
    return std::regex_replace(text, progress, "");
  }
  Result finish(pid_t process) {
    int status = 0;
    waitpid(process, &status, 0);
    // 1000 and more: ended by a signal that it should have handled.
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    return {code, read(outputs_ / "out"), read(outputs_ / "err")};
  }
  Result run(const std::vector<std::string>& arguments) { return finish(start(arguments)); }

  void expectDone(const std::vector<std::string>& arguments) {
    const Result result = run(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    // On a slow machine lines of progress appear.
    const std::regex progress("[0-9]+( of [0-9]+)? frames[^\n]*\n");
    EXPECT_EQ(std::regex_replace(result.err, progress, ""), "");
  }

  std::filesystem::path outputs_;
  /// Whether start() starts the program itself instead of a forked process, in which the leak
  /// checker would look for threads that it does not have.
  bool checksLeaks_ = false;
};

}  // namespace lomix
