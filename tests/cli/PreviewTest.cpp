// `lomix preview` as browsers, and those who should get nothing, see it.
#include <gmock/gmock.h>
#include <httplib.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <regex>
#include <thread>
#include <tuple>
#include <utility>

#include "cli/CommandProcess.h"

namespace lomix {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr auto kPatience = std::chrono::minutes(1);
const std::string kPicture = "0123456789 is no picture, and the server does not mind";

class Preview : public CommandProcess {
 protected:
  Preview() {
    std::filesystem::create_directories(path("page/folder"));
    write(path("page/index.html"), "<p>The page</p>");
    write(path("page/main.js"), "main();");
    write(path("page/lomix.wasm"), std::string("\0asm", 4));
    write(path("page/folder/inner.txt"), "inner");
    write(path("secret.txt"), "secret");
    write(path("picture.png"), kPicture);
    setenv("LOMIX_WEB_DIR", path("page").c_str(), 1);
  }
  ~Preview() override {
    unsetenv("LOMIX_WEB_DIR");
    if (process_ > 0) end(SIGTERM);
  }

  /// Starts the command and waits until it has printed the page's address.
  void preview(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "preview");
    // What a preview before this one has printed.
    for (const char* name : {"out", "err"}) std::filesystem::remove(outputs_ / name);
    process_ = start(arguments);
    std::smatch parts;
    const std::string printed = waitFor([this] { return read(outputs_ / "out"); });
    ASSERT_TRUE(std::regex_match(
        printed, parts, std::regex("http://127\\.0\\.0\\.1:([0-9]+)/([0-9a-f]{32})/(.*)\n")))
        << printed << read(outputs_ / "err");
    port_ = std::stoi(parts[1]);
    folder_path_ = "/" + parts[2].str() + "/";
    query_ = parts[3];
  }
  Result end(int number) {
    kill(process_, number);
    return finish(std::exchange(process_, 0));
  }

  /// Returns what a function returns once that is a whole line.
  static std::string waitFor(const std::function<std::string()>& text) {
    const auto until = std::chrono::steady_clock::now() + kPatience;
    std::string found = text();
    while (!found.ends_with('\n') && std::chrono::steady_clock::now() < until) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      found = text();
    }
    return found;
  }

  /// Asks for a path, as it is.
  httplib::Result ask(const std::string& path, const httplib::Headers& headers = {},
                      const std::string& method = "GET") const {
    httplib::Client client("127.0.0.1", port_);
    client.set_url_encode(false);
    httplib::Request request;
    request.method = method;
    request.path = path;
    request.headers = headers;
    if (method == "POST" || method == "PUT") request.body = "body";
    return client.send(request);
  }
  int statusOf(const std::string& path, const httplib::Headers& headers = {},
               const std::string& method = "GET") const {
    const httplib::Result result = ask(path, headers, method);
    return result ? result->status : -1;
  }

  pid_t process_ = 0;
  int port_ = 0;
  std::string folder_path_;  ///< "/TOKEN/"
  std::string query_;
};

TEST_F(Preview, ServesThePageAndTheFile) {
  preview({"picture.png", "--no-open"});
  EXPECT_EQ(query_, "?preview=picture.png");
  const std::tuple<std::string, std::string, std::string> files[] = {
      {"", "text/html; charset=utf-8", "<p>The page</p>"},
      {"?preview=picture.png", "text/html; charset=utf-8", "<p>The page</p>"},
      {"index.html", "text/html; charset=utf-8", "<p>The page</p>"},
      {"main.js", "text/javascript; charset=utf-8", "main();"},
      {"lomix.wasm", "application/wasm", std::string("\0asm", 4)},
      {"file", "application/octet-stream", kPicture},
  };
  for (const auto& [name, type, bytes] : files) {
    const httplib::Result got = ask(folder_path_ + name);
    ASSERT_TRUE(got) << name;
    EXPECT_EQ(got->status, 200) << name;
    EXPECT_EQ(got->get_header_value("Content-Type"), type) << name;
    EXPECT_EQ(got->get_header_value("X-Content-Type-Options"), "nosniff") << name;
    EXPECT_EQ(got->body, bytes) << name;
  }
  EXPECT_EQ(ask(folder_path_ + "file", {}, "HEAD")->get_header_value("Content-Length"),
            std::to_string(kPicture.size()));
}

TEST_F(Preview, ServesThePartsOfAFileThatFilmsAreReadBy) {
  preview({"picture.png", "--no-open"});
  const std::string last = std::to_string(kPicture.size() - 1);
  const std::tuple<std::string, int, std::string> parts[] = {
      {"bytes=0-", 206, kPicture},
      {"bytes=2-4", 206, "234"},
      {"bytes=5-5", 206, "5"},
      {"bytes=-4", 206, "mind"},
      {"bytes=" + last + "-" + last, 206, "d"},
      {"bytes=9999-", 416, ""},
      {"bytes=0-9999", 416, ""},
      {"bytes=-9999", 416, ""},
      {"bytes=0-1,3-4", 416, ""},
  };
  for (const auto& [range, status, bytes] : parts) {
    const httplib::Result got = ask(folder_path_ + "file", {{"Range", range}});
    ASSERT_TRUE(got) << range;
    EXPECT_EQ(got->status, status) << range;
    if (status == 206) {
      EXPECT_EQ(got->body, bytes) << range;
    }
  }
}

TEST_F(Preview, SendsThePolicyOfThePage) {
  preview({"--no-open"});
  const std::string page = read(LOMIX_WEB_SOURCE "/public/index.html");
  std::smatch policy;
  ASSERT_TRUE(std::regex_search(page, policy,
                                std::regex("Content-Security-Policy\" content=\"([^\"]+)\"")));
  EXPECT_EQ(ask(folder_path_ + "main.js")->get_header_value("Content-Security-Policy"),
            policy[1].str() + "; frame-ancestors 'none'");
}

TEST_F(Preview, ServesNothingElse) {
  preview({"picture.png", "--no-open"});
  write(path("page/later.js"), "later");
  const std::string folder = folder_path_;
  const std::string token = folder.substr(1, 32);
  std::string wrong = folder;
  wrong[1] = wrong[1] == '0' ? '1' : '0';
  const std::string host = "127.0.0.1:" + std::to_string(port_);
  const struct {
    std::string path;
    httplib::Headers headers;
    std::string method;
    int status;
  } requests[] = {
      {"/", {}, "GET", 404},
      {"/main.js", {}, "GET", 404},
      {"/file", {}, "GET", 404},
      {"/" + token, {}, "GET", 404},
      {wrong, {}, "GET", 404},
      {wrong + "file", {}, "GET", 404},
      {folder + "secret.txt", {}, "GET", 404},
      {folder + "../secret.txt", {}, "GET", 404},
      {folder + "%2e%2e/secret.txt", {}, "GET", 404},
      {folder + "..%2fsecret.txt", {}, "GET", 404},
      {folder + "..%5csecret.txt", {}, "GET", 404},
      {folder + "main.js%00.txt", {}, "GET", 404},
      {folder + "/etc/passwd", {}, "GET", 404},
      {folder + "folder", {}, "GET", 404},
      {folder + "folder/inner.txt", {}, "GET", 404},
      {folder + "later.js", {}, "GET", 404},
      {folder + std::string(7000, 'a'), {}, "GET", 404},
      {folder + std::string(9000, 'a'), {}, "GET", 414},
      // A site whose name leads here.
      {folder, {{"Host", "evil.example"}}, "GET", 403},
      {folder, {{"Host", "evil.example:" + std::to_string(port_)}}, "GET", 403},
      {folder, {{"Host", "127.0.0.1"}}, "GET", 403},
      {folder, {{"Host", "127.0.0.1.evil.example:" + std::to_string(port_)}}, "GET", 403},
      {folder, {{"Host", host}, {"Host", "evil.example"}}, "GET", 403},
      {folder, {}, "POST", 405},
      {folder + "main.js", {}, "PUT", 405},
      {folder + "main.js", {}, "DELETE", 405},
      {folder, {}, "OPTIONS", 405},
  };
  for (const auto& [path, headers, method, status] : requests) {
    const httplib::Result got = ask(path, headers, method);
    const std::string name = method + " " + path.substr(0, 100);
    ASSERT_TRUE(got) << name;
    EXPECT_EQ(got->status, status) << name;
    EXPECT_THAT(got->body, testing::Not(HasSubstr("secret"))) << name;
  }
  EXPECT_EQ(statusOf(folder), 200);
}

TEST_F(Preview, EveryStartHasATokenOfItsOwn) {
  preview({"--no-open"});
  const std::string first = folder_path_;
  EXPECT_EQ(query_, "?preview=");
  EXPECT_EQ(end(SIGTERM).exitCode, 0);
  preview({"--no-open"});
  EXPECT_NE(folder_path_, first);
}

TEST_F(Preview, TheBrowserGetsAnAddressThatWorksOnce) {
  std::filesystem::create_directory(path("programs"));
  write(path("programs/xdg-open"), "#!/bin/sh\necho \"$1\" >opened\n");
  std::filesystem::permissions(path("programs/xdg-open"), std::filesystem::perms::owner_all);
  const std::string before = getenv("PATH");
  setenv("PATH", (path("programs").string() + ":" + before).c_str(), 1);
  preview({"picture.png"});
  setenv("PATH", before.c_str(), 1);
  const std::string opened = waitFor([this] { return read(path("opened")); });
  const std::string base = "http://127.0.0.1:" + std::to_string(port_);
  ASSERT_THAT(opened, StartsWith(base + "/"));
  // Other users of the machine see the command line of the browser.
  EXPECT_THAT(opened, testing::Not(HasSubstr(folder_path_.substr(1, 32))));
  const std::string ticket = opened.substr(base.size(), opened.size() - base.size() - 1);
  EXPECT_EQ(statusOf(ticket, {{"Host", "evil.example"}}), 403);
  EXPECT_EQ(statusOf(ticket, {}, "HEAD"), 404);
  const httplib::Result got = ask(ticket);
  ASSERT_TRUE(got);
  EXPECT_EQ(got->status, 303);
  EXPECT_EQ(got->get_header_value("Location"), folder_path_ + query_);
  EXPECT_EQ(statusOf(ticket), 404);
  const Result result = end(SIGINT);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "Press Ctrl-C to end the preview.\n");
}

TEST_F(Preview, AMissingOrFailingBrowserIsAWarning) {
  std::filesystem::create_directory(path("programs"));
  const std::string before = getenv("PATH");
  for (const bool exists : {false, true}) {
    if (exists) {
      write(path("programs/xdg-open"), "#!/bin/sh\nexit 3\n");
      std::filesystem::permissions(path("programs/xdg-open"), std::filesystem::perms::owner_all);
    }
    setenv("PATH", path("programs").c_str(), 1);
    preview({});
    setenv("PATH", before.c_str(), 1);
    const std::string said = waitFor([this] {
      const std::string text = read(outputs_ / "err");
      return text.find("warning") == std::string::npos ? "" : text;
    });
    EXPECT_THAT(said, HasSubstr("warning: browser: 'xdg-open' cannot open it"));
    EXPECT_EQ(statusOf(folder_path_), 200);
    EXPECT_EQ(end(SIGTERM).exitCode, 0);
  }
}

TEST_F(Preview, AnyFileNameIsPassedOn) {
  for (const auto& [name, query] : {std::pair<std::string, std::string>{"a b.png", "a%20b.png"},
                                    {"x&y=#?%.png", "x%26y%3D%23%3F%25.png"},
                                    {"ü.json", "%C3%BC.json"}}) {
    write(path(name), name);
    preview({name, "--no-open"});
    EXPECT_EQ(query_, "?preview=" + query);
    EXPECT_EQ(ask(folder_path_ + "file")->body, name);
    EXPECT_EQ(end(SIGTERM).exitCode, 0);
  }
}

TEST_F(Preview, EndsWithTheTerminalWhateverABrowserDoes) {
  write(path("film.mp4"), std::string(64 << 20, 'x'));
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    preview({"film.mp4", "--no-open"});
    // Reads a little of a film, and no more for as long as the server runs.
    std::promise<void> begun;
    std::promise<void> ended;
    std::thread browser([&, waits = ended.get_future()] {
      bool isFirst = true;
      httplib::Client client("127.0.0.1", port_);
      client.Get(folder_path_ + "file", [&](const char*, std::size_t) {
        if (std::exchange(isFirst, false)) begun.set_value();
        waits.wait();
        return false;
      });
    });
    EXPECT_EQ(begun.get_future().wait_for(kPatience), std::future_status::ready);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(end(number).exitCode, 0) << number;
    // The connection's own limit is ten minutes.
    EXPECT_LT(std::chrono::steady_clock::now() - before, kPatience);
    ended.set_value();
    browser.join();
  }
}

TEST_F(Preview, FaultsAreOneLine) {
  preview({"--no-open"});
  const std::string taken = std::to_string(port_);
  const pid_t first = std::exchange(process_, 0);
  const struct {
    std::vector<std::string> arguments;
    std::string page;
    int exitCode;
    std::string message;
  } cases[] = {
      {{"missing.png"}, "page", 1, "cannot read 'missing.png': it does not exist"},
      {{"page"}, "page", 1, "cannot read 'page': it is no file"},
      {{"--no-open"}, "missing", 1, "missing': it is not the folder of the page (build it with"},
      {{"--no-open"}, "page/folder", 1, "folder': it is not the folder of the page"},
      {{"--port", taken}, "page", 1, "127.0.0.1:" + taken + ": it cannot be used (choose another"},
      {{"--port", "80"}, "page", 2, "--port"},
      {{"a.png", "b.png"}, "page", 2, "b.png"},
  };
  for (const auto& [arguments, page, exitCode, message] : cases) {
    setenv("LOMIX_WEB_DIR", path(page).c_str(), 1);
    std::vector<std::string> all = {"preview"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const Result result = run(all);
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    EXPECT_THAT(result.err, HasSubstr(message));
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
  }
  process_ = first;
}

}  // namespace
}  // namespace lomix
