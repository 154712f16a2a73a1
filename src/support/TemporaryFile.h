// Files that appear under their final name only when they are complete.
#pragma once

#include <atomic>
#include <filesystem>

namespace lomix {

/// A file that is written under a hidden temporary name in the folder of its final name. The
/// destructor removes a file that was not published.
class TemporaryFile {
 public:
  /// Creates an empty file in the folder of target, with target's extension. Where target exists,
  /// only the user may read it until it is published. A target that is a
  /// link stays one: the file that it leads to is replaced. Throws MediaError when the folder does
  /// not exist or cannot be written to.
  explicit TemporaryFile(const std::filesystem::path& target);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  /// Returns the temporary name, for writing the content.
  const std::filesystem::path& path() const { return path_; }

  /// Gives the file its final name, and the mode of a file that it replaces. Its bytes are on the
  /// disk before, and its name when this returns, so that a power loss leaves the old file or the
  /// whole new one. Call after it was written and closed. Throws MediaError, FileExistsError when,
  /// with overwrite false, a file of that name exists by now. The old file is kept then, unless
  /// only flushing the new name has failed.
  void publish(bool overwrite);

  /// Chooses whether publish() waits for the disk; true at first. For the whole process: call
  /// before other threads publish files.
  static void setFlushing(bool flushes) noexcept;

  /// Removes the temporary files that killed processes have left in a folder. Does nothing on
  /// Windows, where such a file looks the same as one that is being written.
  static void removeLeftovers(const std::filesystem::path& folder);

  /// Removes every temporary file of the process. Safe to call from a signal handler; the process
  /// must end afterwards without using a TemporaryFile.
  static void removeAllBeforeExit() noexcept;

 private:
  void forget() noexcept;

  std::filesystem::path name_;    ///< The final name as the caller gave it, for messages.
  std::filesystem::path target_;  ///< The same with links resolved.
  std::filesystem::path path_;
  std::atomic<const char*>* slot_ = nullptr;
  int lock_ = -1;  ///< Open and locked while the process writes the file; -1 on Windows.
};

}  // namespace lomix
