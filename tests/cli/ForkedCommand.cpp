#include "cli/ForkedCommand.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string_view>

#include "cli/CommandLine.h"

namespace lomix {
namespace {

constexpr std::size_t kLongestRequest = 65536;

/// An exit code that the command does not have.
constexpr int kNotStarted = 127;

/// The end of the socket pair that asks for processes.
int requests = -1;

void redirect(int stream, const char* file) {
  const int opened = open(file, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (opened < 0 || dup2(opened, stream) < 0) _exit(kNotStarted);
  close(opened);
}

/// Runs the command that a request describes, and ends the process.
[[noreturn]] void runRequest(std::string_view request) {
  const auto next = [&] {
    const std::size_t length = request.find('\0');
    const std::string text(request.substr(0, length));
    request.remove_prefix(length + 1);
    return text;
  };
  if (chdir(next().c_str()) != 0) _exit(kNotStarted);
  redirect(STDOUT_FILENO, next().c_str());
  redirect(STDERR_FILENO, next().c_str());
  std::vector<std::string> arguments(std::stoul(next()));
  for (std::string& argument : arguments) argument = next();
  clearenv();
  while (!request.empty()) {
    const std::string variable = next();
    const std::size_t end = variable.find('=');
    setenv(variable.substr(0, end).c_str(), variable.substr(end + 1).c_str(), 1);
  }
  const int exitCode = cli::runProgram(arguments);
  std::cout.flush();
  std::fflush(nullptr);
  // Some of the libraries, at exit, wait for threads that they started when they were loaded, and a
  // forked process does not have those.
  _exit(exitCode);
}

/// Forks a process for each request, until the test program closes its end. The process between
/// this one and the command's ends at once, which makes the command's a child of the test program.
[[noreturn]] void serve(int socket) {
  std::string request(kLongestRequest, '\0');
  for (;;) {
    const ssize_t length = read(socket, request.data(), request.size());
    if (length <= 0) _exit(0);
    int ids[2];
    if (pipe(ids) != 0) _exit(kNotStarted);
    const pid_t between = fork();
    if (between == 0) {
      const pid_t command = fork();
      if (command == 0) {
        for (const int file : {socket, ids[0], ids[1]}) close(file);
        runRequest(std::string_view(request).substr(0, static_cast<std::size_t>(length)));
      }
      _exit(write(ids[1], &command, sizeof command) == sizeof command ? 0 : 1);
    }
    waitpid(between, nullptr, 0);
    pid_t command = -1;
    if (read(ids[0], &command, sizeof command) != sizeof command) _exit(kNotStarted);
    close(ids[0]);
    close(ids[1]);
    if (write(socket, &command, sizeof command) != sizeof command) _exit(kNotStarted);
  }
}

class Server : public testing::Environment {
 public:
  void SetUp() override {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    std::fflush(nullptr);
    server_ = fork();
    ASSERT_GE(server_, 0);
    if (server_ == 0) {
      close(ends[0]);
      serve(ends[1]);
    }
    close(ends[1]);
    requests = ends[0];
  }
  void TearDown() override {
    close(requests);
    waitpid(server_, nullptr, 0);
  }

 private:
  pid_t server_ = -1;
};

[[maybe_unused]] const testing::Environment* const server =
    testing::AddGlobalTestEnvironment(new Server);

}  // namespace

pid_t ForkedCommand::start(const std::vector<std::string>& arguments, const std::string& folder,
                           const std::string& out, const std::string& err) {
  std::string request;
  for (const std::string& text : {folder, out, err, std::to_string(arguments.size())}) {
    request += text + '\0';
  }
  for (const std::string& argument : arguments) request += argument + '\0';
  for (char** variable = environ; *variable != nullptr; ++variable) {
    request += std::string(*variable) + '\0';
  }
  pid_t process = -1;
  EXPECT_EQ(write(requests, request.data(), request.size()), static_cast<ssize_t>(request.size()))
      << std::strerror(errno);
  EXPECT_EQ(read(requests, &process, sizeof process), static_cast<ssize_t>(sizeof process));
  return process;
}

}  // namespace lomix
