#pragma once

#include <atomic>
#include <filesystem>

namespace lomix {

/// A file that grows under a hidden temporary name beside its final one and gets the final name
/// only when it is whole. Whatever was not published is removed with the object.
class TemporaryFile {
 public:
  /// Creates an empty file in the folder of target, with target's extension. Throws MediaError when
  /// the folder does not exist or cannot be written to.
  explicit TemporaryFile(const std::filesystem::path& target);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::filesystem::path& path() const { return path_; }

  /// Gives the file its final name. With overwrite false a file that has taken the name meanwhile
  /// is kept and MediaError thrown.
  void publish(bool overwrite);

  /// Removes every temporary file of the process. May be called from a handler of a signal that
  /// ends the process; no TemporaryFile may be used afterwards.
  static void removeAllBeforeExit() noexcept;

 private:
  void forget() noexcept;

  std::filesystem::path name_;    ///< The final name as the caller gave it, for messages.
  std::filesystem::path target_;  ///< The same with links resolved.
  std::filesystem::path path_;
  std::atomic<const char*>* slot_ = nullptr;
};

}  // namespace lomix
