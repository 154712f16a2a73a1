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

std::string randomName() {
  std::random_device device;
  std::array<char, 32> name;
  std::snprintf(name.data(), name.size(), "%s%08x%08x", kPrefix, device(), device());
  return name.data();
}

/// Creates an empty file. Returns false and sets errno when it cannot, or when one exists. lock:
/// set to a descriptor that keeps the file locked until it is closed; -1 on Windows.
bool createNew(const std::filesystem::path& path, int& lock) {
#ifdef _WIN32
  const int flags = _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY;
  lock = -1;
  const int file = _wopen(path.c_str(), flags, _S_IREAD | _S_IWRITE);
  return file >= 0 && _close(file) == 0;
#else
  for (;;) {
    lock = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (lock < 0) return false;
    struct stat status {};
    // Another process may have taken the file for a leftover before it was locked.
    if (flock(lock, LOCK_EX) != 0 || fstat(lock, &status) != 0 || status.st_nlink > 0) return true;
    close(lock);
  }
#endif
}

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
  if (!createNew(path_, lock_)) {
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
  std::error_code error;
  if (overwrite) {
    // The new file keeps the permissions of the old one.
    const std::filesystem::file_status old = std::filesystem::status(target_, error);
    if (std::filesystem::exists(old)) {
      std::filesystem::permissions(path_, old.permissions(), error);
    }
    std::filesystem::rename(path_, target_, error);
  } else {
    // Unlike a rename, making a link fails when the name is taken, atomically.
    std::filesystem::create_hard_link(path_, target_, error);
    if (error == std::errc::file_exists) throwFileExists(name_);
    if (!error) {
      std::filesystem::remove(path_, error);
    } else {
      // Some file systems have no hard links.
      std::filesystem::rename(path_, target_, error);
    }
  }
  if (error) {
    throw MediaError(cannotWrite(name_) + error.message() + " (choose another name or folder)");
  }
  forget();
}

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
