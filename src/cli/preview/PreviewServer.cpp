#include "cli/preview/PreviewServer.h"

#include <httplib.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <future>
#include <random>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "support/Errors.h"
#include "support/FileBytes.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::cli {
namespace {

namespace fs = std::filesystem;
using Handled = httplib::Server::HandlerResponse;

constexpr const char* kAddress = "127.0.0.1";
constexpr std::size_t kThreads = 32;
constexpr std::size_t kChunk = 1 << 18;
constexpr int kPatienceSeconds = 600;

/// The page's own policy, which holds for its worker only where the server sends it; and no other
/// page may show this one in a frame.
constexpr const char* kPolicy =
    "default-src 'none'; script-src 'self' 'wasm-unsafe-eval'; worker-src 'self'; style-src "
    "'self'; img-src 'self' blob: data:; media-src 'self' blob:; connect-src 'self'; manifest-src "
    "'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

constexpr std::pair<const char*, const char*> kTypes[] = {
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".wasm", "application/wasm"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".jpg", "image/jpeg"},
    {".webmanifest", "application/manifest+json"},
    {".txt", "text/plain; charset=utf-8"},
};
// Of the user's files: the page knows them by their names and contents.
constexpr const char* kBytes = "application/octet-stream";

const char* typeOf(const fs::path& file) {
  const std::string extension = file.extension().string();
  const auto found = std::ranges::find(
      kTypes, extension, [](const auto& type) { return std::string_view(type.first); });
  return found == std::end(kTypes) ? kBytes : found->second;
}

/// Returns 128 random bits as 32 hexadecimal digits.
std::string randomToken() {
  std::random_device bits;
  static_assert(std::random_device::max() == 0xFFFFFFFF);
  std::string token;
  for (int word = 0; word < 4; ++word) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(bits()));
    token += digits;
  }
  return token;
}

/// Returns whether a request is for the whole file, or for one part that is inside it.
bool isServed(const httplib::Ranges& ranges, std::uint64_t size) {
  if (ranges.empty()) return true;
  if (ranges.size() > 1) return false;
  // -1 where the request leaves a limit out: "bytes=5-", or "bytes=-5" for the last five.
  const auto [first, last] = ranges.front();
  const auto end = static_cast<std::int64_t>(size);
  return first < 0 ? last > 0 && last <= end
                   : first < end && last < end && (last < 0 || first <= last);
}

void answer(httplib::Response& response, int status, const char* text) {
  response.status = status;
  response.set_content(std::string(text) + "\n", "text/plain; charset=utf-8");
}

/// A file, and the media type that is sent with it.
struct ServedFile {
  fs::path path;
  const char* type;
};

void sendFile(const ServedFile& file, const httplib::Request& request,
              httplib::Response& response) {
  const auto bytes = std::make_shared<FileBytes>(file.path);
  if (!bytes->isOpen()) return answer(response, 404, "The file is not there any more.");
  if (!isServed(request.ranges, bytes->size())) {
    return answer(response, 416, "The file does not have these bytes.");
  }
  if (bytes->size() == 0) return response.set_content("", file.type);
  response.set_content_provider(
      bytes->size(), file.type,
      [bytes](std::size_t at, std::size_t length, httplib::DataSink& sink) {
        try {
          const std::string part = bytes->text(at, std::min(length, kChunk));
          sink.write(part.data(), part.size());
          return true;
        } catch (const EndOfFile&) {
          return false;
        }
      });
}

/// Without the library's option that lets two programs have the same port.
void setSocketOptions(int socket) {
  const int yes = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

}  // namespace

class PreviewServer::Server {
 public:
  Server(const fs::path& page, const fs::path& file, int port) {
    const std::string folder = "/" + randomToken() + "/";
    addPage(page, folder);
    if (!file.empty()) addFile(file, folder);
    start(port);
    host_ = std::string(kAddress) + ":" + std::to_string(port_);
    page_ = httplib::append_query_params(
        folder, {{"preview", file.empty() ? std::string() : file.filename().string()}});
    address_ = "http://" + host_ + page_;
    const std::string ticket = "/" + randomToken();
    ticket_ = ticket;
    ticketAddress_ = "http://" + host_ + ticket;
    running_ = std::async(std::launch::async, [this] { http_.listen_after_bind(); });
  }
  ~Server() { stop(); }

  const std::string& address() const { return address_; }
  const std::string& ticketAddress() const { return ticketAddress_; }

  bool stop() {
    // The library forgets a request to stop that comes before it listens.
    while (!http_.is_running() && !hasEnded(std::chrono::milliseconds(1))) {
    }
    http_.stop();
    return hasEnded(std::chrono::seconds(2));
  }

 private:
  void addPage(const fs::path& page, const std::string& folder) {
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(page, error)) {
      if (!entry.is_regular_file(error)) continue;
      files_[folder + entry.path().filename().string()] = {entry.path(), typeOf(entry.path())};
    }
    const auto index = files_.find(folder + "index.html");
    if (index == files_.end()) {
      throw MediaError(cannotRead(page) +
                       "it is not the folder of the page (build it with "
                       "tools/web.sh, or name another one in LOMIX_WEB_DIR)");
    }
    files_[folder] = index->second;
  }

  void addFile(const fs::path& file, const std::string& folder) {
    std::error_code error;
    if (!fs::exists(file, error)) {
      throw MediaError(cannotRead(file) + "it does not exist (check its name)");
    }
    if (!FileBytes(file).isOpen()) {
      throw MediaError(cannotRead(file) + "it is no file, or it may not be read (choose another)");
    }
    // The command's folder may change; the page's address stays.
    files_[folder + "file"] = {fs::absolute(file), kBytes};
  }

  void start(int port) {
    http_.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    http_.set_socket_options(setSocketOptions);
    // A browser that plays a film reads ahead, then waits.
    http_.set_write_timeout(kPatienceSeconds);
    http_.set_keep_alive_timeout(1);
    http_.set_keep_alive_max_count(100);
    http_.set_default_headers({{"Content-Security-Policy", kPolicy},
                               {"Referrer-Policy", "no-referrer"},
                               {"X-Content-Type-Options", "nosniff"},
                               {"Cross-Origin-Resource-Policy", "same-origin"},
                               {"Cache-Control", "no-store"}});
    // Before the library reads a body or compares the path with patterns.
    http_.set_pre_routing_handler(
        [this](const httplib::Request& request, httplib::Response& response) {
          serve(request, response);
          return Handled::Handled;
        });
    port_ = port == 0                            ? http_.bind_to_any_port(kAddress)
            : http_.bind_to_port(kAddress, port) ? port
                                                 : -1;
    if (port_ > 0) return;
    throw CommandError(std::string(kAddress) + (port == 0 ? "" : ":" + std::to_string(port)) +
                       ": it cannot be used (choose another --port, or leave it out)");
  }

  void serve(const httplib::Request& request, httplib::Response& response) {
    if (request.get_header_value_count("Host") != 1 || request.get_header_value("Host") != host_) {
      return answer(response, 403, "This server is not for that host.");
    }
    if (request.method != "GET" && request.method != "HEAD") {
      return answer(response, 405, "This server has files only.");
    }
    if (const auto found = files_.find(request.path); found != files_.end()) {
      return sendFile(found->second, request, response);
    }
    if (request.method == "GET" && request.path == ticket_ && !ticketUsed_.exchange(true)) {
      return response.set_redirect(page_, 303);
    }
    answer(response, 404, "There is no such file.");
  }

  bool hasEnded(std::chrono::milliseconds patience) const {
    return running_.wait_for(patience) == std::future_status::ready;
  }

  std::unordered_map<std::string, ServedFile> files_;  ///< By their paths in addresses.
  httplib::Server http_;
  int port_ = 0;
  std::string host_;
  std::string page_;
  std::string address_;
  std::string ticket_;
  std::string ticketAddress_;
  std::atomic<bool> ticketUsed_ = false;
  std::future<void> running_;
};

PreviewServer::PreviewServer(const fs::path& page, const fs::path& file, int port)
    : server_(std::make_unique<Server>(page, file, port)) {}

PreviewServer::~PreviewServer() = default;

const std::string& PreviewServer::address() const { return server_->address(); }
const std::string& PreviewServer::ticketAddress() const { return server_->ticketAddress(); }
bool PreviewServer::stop() { return server_->stop(); }

}  // namespace lomix::cli
