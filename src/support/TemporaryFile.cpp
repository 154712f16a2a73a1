#include "support/TemporaryFile.h"

#include <fcntl.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <system_error>

#ifdef _WIN32
#include <io.h>
#include <sys/stat.h>
#else
#include <unistd.h>
#endif

#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix {
namespace {

/// The names of all temporary files, for removeAllBeforeExit(), which must not take a lock. One
/// slot for each file that is being written at the same time: more than a command has threads.
std::array<std::atomic<const char*>, 2048> liveNames;

std::string randomName() {
  std::random_device device;
  std::array<char, 32> name;
  std::snprintf(name.data(), name.size(), ".lomix-%08x%08x", device(), device());
  return name.data();
}

/// Creates an empty file. Returns false and sets errno when it cannot, or when one exists.
bool createNew(const std::filesystem::path& path) {
#ifdef _WIN32
  const int flags = _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY;
  const int file = _wopen(path.c_str(), flags, _S_IREAD | _S_IWRITE);
  return file >= 0 && _close(file) == 0;
#else
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  return file >= 0 && close(file) == 0;
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
  if (!createNew(path_)) {
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
}

void TemporaryFile::removeAllBeforeExit() noexcept {
  for (auto& slot : liveNames) {
    if (const char* name = slot.exchange(nullptr)) std::remove(name);
  }
}

}  // namespace lomix
