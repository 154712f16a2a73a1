// Errors of reading, making and writing pictures, videos and other files.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace lomix {

/// Reports a file or picture that could not be read, made or written. what() is one line,
/// "subject: cause (way out)".
class MediaError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What a caller can ask for to avoid an error.
enum class Remedy {
  Overwrite,        ///< Replace the file that exists.
  OverwriteOrSkip,  ///< Replace the frames that exist, or keep them.
  ChooseCodec,      ///< Another video codec.
  NoSound,          ///< A video without the input's sound.
  AllowPlaylists,   ///< Let a play list open the files that it names.
  NameModule        ///< A plug-in module by its file name.
};

/// A MediaError that the caller avoids by asking for something else. A front end knows how its
/// users ask for that and says so with wayOutWith().
class AvoidableError : public MediaError {
 public:
  /// problem: "subject: cause". wayOut: an instruction that can be followed by "with ...", such as
  /// "replace it".
  AvoidableError(Remedy remedy, const std::string& problem, const std::string& wayOut)
      : MediaError(problem + " (" + wayOut + ")"), remedy_(remedy) {}

  Remedy remedy() const { return remedy_; }
  /// Returns what() with its way out completed. means: for users of the command "--overwrite",
  /// which gives "subject: cause (replace it with --overwrite)".
  std::string wayOutWith(std::string_view means) const {
    std::string text = what();
    text.insert(text.size() - 1, " with " + std::string(means));
    return text;
  }

 private:
  Remedy remedy_;
};

/// Reports that a file exists and may not be replaced. Callers that keep such files catch it.
class FileExistsError : public AvoidableError {
 public:
  using AvoidableError::AvoidableError;
};

}  // namespace lomix
