#include "batch/PipedPicture.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>
#include <utility>

#include "media/picture/PictureContent.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/StandardFiles.h"

namespace lomix::batch {
namespace {

namespace fs = std::filesystem;

/// Returns the name for a temporary file outside of the user's folders.
fs::path temporaryName(const std::string& extension) {
  return fs::temp_directory_path() / ("picture" + extension);
}

/// Calls a function; an error of it names the standard stream instead of the file.
template <typename Function>
void renamingErrors(const fs::path& file, Function function) {
  try {
    function();
  } catch (const MediaError& error) {
    std::string message = error.what();
    const std::string name = file.string();
    if (const std::size_t at = message.find(name); at != std::string::npos) {
      message.replace(at, name.size(), media::kStandardStream);
    }
    throw MediaError(message);
  }
}

/// Appends what standard input has next. Returns false at its end. Throws MediaError.
bool readMore(std::string& bytes, std::size_t size) {
  const std::size_t before = bytes.size();
  bytes.resize(before + size);
  const std::ptrdiff_t count = readStandardInput(bytes.data() + before, size);
  bytes.resize(before + static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
  if (count >= 0) return count > 0;
  throw MediaError(cannotRead(media::kStandardStream) + std::generic_category().message(errno) +
                   " (check the command before the pipe)");
}

/// Reads on until the bytes hold the only picture of standard input, or the beginning of a second.
/// Returns whether they hold the only one.
bool readOnlyPicture(std::string& bytes) {
  constexpr std::size_t kPiece = 64 * 1024;
  for (std::size_t nextLook = 0;;) {
    const bool atEnd = !readMore(bytes, kPiece);
    if (!atEnd && bytes.size() < nextLook) continue;
    // Looks again when there is a quarter more, so that large pictures take no longer.
    nextLook = bytes.size() + bytes.size() / 4;
    const auto length = media::firstPictureLength(bytes);
    if (length && *length + media::kContentBytes <= bytes.size()) {
      const std::string_view rest = std::string_view(bytes).substr(*length);
      return media::contentFormat(rest) != media::contentFormat(bytes);
    }
    if (atEnd) return true;
  }
}

std::shared_ptr<TemporaryFile> stored(const std::string& bytes, const std::string& extension) {
  auto file = std::make_shared<TemporaryFile>(temporaryName(extension));
  std::ofstream stream(file->path(), std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (stream.good()) return file;
  throw MediaError(cannotRead(media::kStandardStream) + "there is no space for a copy in '" +
                   fs::temp_directory_path().string() + "' (name a folder with TMPDIR)");
}

}  // namespace

StandardInput readStandardPicture(const std::string& extension) {
  StandardInput input;
  std::string& bytes = input.start;
  while (bytes.size() < media::kContentBytes) {
    if (!readMore(bytes, media::kContentBytes - bytes.size())) break;
  }
  if (bytes.empty()) {
    throw MediaError(cannotRead(media::kStandardStream) +
                     "it is empty (check the command before the pipe)");
  }
  input.format = media::contentFormat(bytes);
  // A format whose files have a signature cannot be meant.
  if (const std::string meant = media::formatOf(extension);
      input.format.empty() && !media::hasSignature(meant)) {
    input.format = meant;
  }
  if (input.format.empty()) return input;
  if (!readOnlyPicture(bytes)) {
    input.format.clear();
    return input;
  }
  std::shared_ptr<TemporaryFile> file = stored(bytes, extension);
  // An animation is a video.
  if (media::isVideoFile(file->path())) {
    input.format.clear();
    return input;
  }
  bytes.clear();
  input.picture = std::move(file);
  return input;
}

PipedSource::PipedSource(std::shared_ptr<TemporaryFile> file, std::string extension,
                         const FrameTime& time)
    : StillSource(file->path(), time), file_(std::move(file)), extension_(std::move(extension)) {}

PipedSource::PipedSource(std::shared_ptr<TemporaryFile> file, std::string extension,
                         std::vector<std::int64_t> numbers, const FrameRate& rate)
    : StillSource(file->path(), std::move(numbers), rate),
      file_(std::move(file)),
      extension_(std::move(extension)) {}

void PipedSource::load(const Frame&, media::Picture& picture) {
  renamingErrors(file_->path(), [&] { picture = media::readPicture(file_->path(), extension_); });
}

PipedSink::PipedSink(const PictureWriting& writing) : writer_(media::kStandardStream, writing) {}

Taken PipedSink::take(const Frame&, std::shared_ptr<media::Picture> picture) {
  const TemporaryFile place(temporaryName(writer_.writing().extension));
  renamingErrors(place.path(), [&] {
    writer_.write(*picture, place.path());
    copyToStandardOutput(place.path());
  });
  return {};
}

}  // namespace lomix::batch
