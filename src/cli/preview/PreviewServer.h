// Serves the browser page to the browsers of this machine.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace lomix::cli {

/// An HTTP server on 127.0.0.1 for the page's files and at most one file of the user. Their
/// addresses contain a random token, so that neither other users of the machine nor pages of other
/// sites can read them. Requests for another host are refused: a site whose name leads to 127.0.0.1
/// gets nothing. Files that are added to the folder later are not served.
class PreviewServer {
 public:
  /// Starts to serve on threads of its own. page: folder of the page's files. file: the user's;
  /// empty for none. port: 0 for any that is free. Throws MediaError where a file cannot be read,
  /// CommandError where the port cannot be used.
  PreviewServer(const std::filesystem::path& page, const std::filesystem::path& file, int port);
  ~PreviewServer();
  PreviewServer(const PreviewServer&) = delete;
  PreviewServer& operator=(const PreviewServer&) = delete;

  /// Returns the page's address. The page opens the user's file.
  const std::string& address() const;

  /// Returns an address that leads to the page once. Other users can read the command line that
  /// starts a browser, but then find the address used.
  const std::string& ticketAddress() const;

  /// Takes no more requests. Returns whether all connections have ended: one whose browser does not
  /// read on stays open, and destroying the object would wait for it.
  bool stop();

 private:
  class Server;
  std::unique_ptr<Server> server_;
};

}  // namespace lomix::cli
