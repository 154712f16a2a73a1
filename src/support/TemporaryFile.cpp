#include "support/TemporaryFile.h"

#include <fcntl.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#ifdef _WIN32
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix {
namespace {

/// The names of all temporary files, for removeAllBeforeExit(), which must not take a lock. One
/// slot for each file that is being written at the same time: more than a command has threads.
std::array<std::atomic<const char*>, 2048> liveNames;

constexpr const char* kPrefix = ".lomix-";

std::atomic<bool> flushesToDisk = true;

std::string randomName() {
  std::random_device device;
  std::array<char, 32> name;
  std::snprintf(name.data(), name.size(), "%s%08x%08x", kPrefix, device(), device());
  return name.data();
}

#ifdef _WIN32

/// Creates an empty file. Returns false and sets errno when it cannot, or when one exists.
bool createNew(const std::filesystem::path& path, const std::filesystem::path&, int& lock) {
  const int flags = _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY;
  lock = -1;
  const int file = _wopen(path.c_str(), flags, _S_IREAD | _S_IWRITE);
  return file >= 0 && _close(file) == 0;
}

/// Waits until the file's bytes are on the disk.
std::error_code flushFile(const std::filesystem::path& path, int) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return {static_cast<int>(GetLastError()), std::system_category()};
  }
  std::error_code error;
  if (FlushFileBuffers(file) == 0) {
    error.assign(static_cast<int>(GetLastError()), std::system_category());
  }
  CloseHandle(file);
  return error;
}

/// Does nothing: the file system's journal has the names.
std::error_code flushFolder(const std::filesystem::path&) { return {}; }

/// Gives the file the permissions of the one that it replaces.
std::error_code keepMode(const std::filesystem::path& path, const std::filesystem::path& target,
                         int) {
  std::error_code error;
  const std::filesystem::file_status old = std::filesystem::status(target, error);
  if (std::filesystem::exists(old)) {
    std::filesystem::permissions(path, old.permissions(), error);
  }
  return {};
}

/// Gives a file another name, unless it is taken.
std::error_code renameNew(const std::filesystem::path& path, const std::filesystem::path& target) {
  if (MoveFileExW(path.c_str(), target.c_str(), MOVEFILE_WRITE_THROUGH) != 0) return {};
  if (GetLastError() == ERROR_ALREADY_EXISTS || GetLastError() == ERROR_FILE_EXISTS) {
    return std::make_error_code(std::errc::file_exists);
  }
  return {static_cast<int>(GetLastError()), std::system_category()};
}

#else

std::error_code lastError() { return {errno, std::generic_category()}; }

/// Creates an empty file, which nobody else may read where target exists. Returns false and sets
/// errno when it cannot, or when one exists. lock: set to a descriptor that keeps the file locked
/// until it is closed.
bool createNew(const std::filesystem::path& path, const std::filesystem::path& target, int& lock) {
  // A new file gets the mode that the system gives new files in this folder.
  const mode_t mode = access(target.c_str(), F_OK) == 0 ? 0600 : 0666;
  for (;;) {
    lock = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (lock < 0) return false;
    struct stat status {};
    // Another process may have taken the file for a leftover before it was locked.
    if (flock(lock, LOCK_EX) != 0 || fstat(lock, &status) != 0 || status.st_nlink > 0) return true;
    close(lock);
  }
}

/// Waits until what an open file or folder has is on the disk.
std::error_code flush(int file) {
#ifdef __APPLE__
  // fsync() leaves the bytes in the cache of the disk. Not all file systems have this.
  if (fcntl(file, F_FULLFSYNC) == 0) return {};
#endif
  for (;;) {
    if (fsync(file) == 0) return {};
    if (errno == EINTR) continue;
    // The file system has nothing to flush.
    if (errno == EINVAL || errno == ENOTSUP || errno == ENOSYS) return {};
    return lastError();
  }
}

/// lock: open since before the first byte was written, so that it gets every error of writing back.
std::error_code flushFile(const std::filesystem::path&, int lock) { return flush(lock); }

std::error_code flushFolder(const std::filesystem::path& folder) {
  const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (file < 0) {
    // A folder that takes files but cannot be listed.
    if (errno == EACCES) return {};
    return lastError();
  }
  const std::error_code error = flush(file);
  close(file);
  return error;
}

/// Gives the file the mode and, where that is permitted, the owner of the one that it replaces. A
/// group or others that could not read that one cannot read this one.
std::error_code keepMode(const std::filesystem::path&, const std::filesystem::path& target,
                         int lock) {
  struct stat old {};
  struct stat now {};
  if (stat(target.c_str(), &old) != 0) return errno == ENOENT ? std::error_code() : lastError();
  if (fstat(lock, &now) != 0) return lastError();
  if (old.st_uid != now.st_uid || old.st_gid != now.st_gid) {
    if (fchown(lock, old.st_uid, old.st_gid) != 0) {
      // Only root may give files away. The group alone may be one of the user's.
      static_cast<void>(fchown(lock, static_cast<uid_t>(-1), old.st_gid) == 0);
    }
    if (fstat(lock, &now) != 0) return lastError();
  }
  mode_t mode = old.st_mode & 0777;
  // Of another group: its rights are those of others, at most.
  if (old.st_gid != now.st_gid) mode &= ~static_cast<mode_t>(070) | (mode & 07) << 3;
  if ((now.st_mode & 0777) == mode || fchmod(lock, mode) == 0) return {};
  return lastError();
}

/// Gives a file another name, unless it is taken.
std::error_code renameNew(const std::filesystem::path& path, const std::filesystem::path& target) {
#ifdef RENAME_NOREPLACE
  if (renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) return {};
  if (errno == EEXIST) return lastError();
#endif
  // Unlike a rename, making a link fails when the name is taken, atomically.
  if (link(path.c_str(), target.c_str()) == 0) {
    unlink(path.c_str());
    return {};
  }
  if (errno == EEXIST) return lastError();
  // Some file systems have no hard links.
  if (access(target.c_str(), F_OK) == 0) return std::make_error_code(std::errc::file_exists);
  if (std::rename(path.c_str(), target.c_str()) == 0) return {};
  return lastError();
}

#endif

char* copyOf(const std::string& text) {
  char* copy = new char[text.size() + 1];
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

}  // namespace

TemporaryFile::TemporaryFile(const std::filesystem::path& target) : name_(target) {
  // Replaces the file that a link leads to, not the link.
  target_ = linkedFile(target);
  path_ = target_.parent_path() / (randomName() + target_.extension().string());

  // Registered before it is created, so that a signal in between leaves no file behind.
  const char* name = copyOf(path_.string());
  for (auto& slot : liveNames) {
    const char* empty = nullptr;
    if (slot.compare_exchange_strong(empty, name)) {
      slot_ = &slot;
      break;
    }
  }
  if (slot_ == nullptr) {
    delete[] name;
    throw MediaError(cannotWrite(target) +
                     "too many files are being written at once (write fewer)");
  }
  if (!createNew(path_, target_, lock_)) {
    const std::string cause = std::generic_category().message(errno);
    forget();
    throw MediaError(cannotWrite(target) + "its folder does not take new files: " + cause +
                     " (choose another folder)");
  }
}

TemporaryFile::~TemporaryFile() {
  if (slot_ == nullptr) return;
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
  forget();
}

void TemporaryFile::publish(bool overwrite) {
  const auto require = [this](const std::error_code& error, const char* wayOut) {
    if (!error) return;
    throw MediaError(cannotWrite(name_) + error.message() + " (" + wayOut + ")");
  };
  const char* otherName = "choose another name or folder";
  const char* checkDisk = "check the disk and its free space";
  if (overwrite) require(keepMode(path_, target_, lock_), otherName);
  if (flushesToDisk) require(flushFile(path_, lock_), checkDisk);
  std::error_code error;
  if (overwrite) {
    std::filesystem::rename(path_, target_, error);
  } else {
    error = renameNew(path_, target_);
    if (error == std::errc::file_exists) throwFileExists(name_);
  }
  require(error, otherName);
  forget();
  if (!flushesToDisk) return;
  if (const std::error_code unflushed = flushFolder(target_.parent_path())) {
    throw MediaError("'" + name_.string() + "': the disk has not confirmed the new name: " +
                     unflushed.message() + " (" + checkDisk + ", and write it again)");
  }
}

void TemporaryFile::setFlushing(bool flushes) noexcept { flushesToDisk = flushes; }

void TemporaryFile::forget() noexcept {
  // Null: the signal handler has taken the name and owns it.
  delete[] slot_->exchange(nullptr);
  slot_ = nullptr;
#ifndef _WIN32
  if (lock_ >= 0) close(std::exchange(lock_, -1));
#endif
}

void TemporaryFile::removeLeftovers(const std::filesystem::path& folder) {
#ifdef _WIN32
  static_cast<void>(folder);
#else
  std::error_code error;
  const std::filesystem::path where = folder.empty() ? "." : folder;
  for (std::filesystem::directory_iterator entry(where, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    constexpr std::size_t kDigits = 16;
    const std::string_view digits = std::string_view(name).substr(
        name.starts_with(kPrefix) ? std::string_view(kPrefix).size() : name.size());
    if (digits.substr(0, kDigits).find_first_not_of("0123456789abcdef") != std::string_view::npos ||
        digits.size() < kDigits || (digits.size() > kDigits && digits[kDigits] != '.')) {
      continue;
    }
    const int file = open(entry->path().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) continue;
    if (flock(file, LOCK_EX | LOCK_NB) == 0) unlink(entry->path().c_str());
    close(file);
  }
#endif
}

void TemporaryFile::removeAllBeforeExit() noexcept {
  for (auto& slot : liveNames) {
    if (const char* name = slot.exchange(nullptr)) std::remove(name);
  }
}

}  // namespace lomix
