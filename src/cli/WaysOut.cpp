#include "cli/WaysOut.h"

namespace lomix::cli {
namespace {

/// Returns the options that take the way out of an error.
const char* optionFor(Remedy remedy) {
  switch (remedy) {
    case Remedy::Overwrite:
      return "--overwrite";
    case Remedy::OverwriteOrSkip:
      return "--overwrite, or keep them with --skip-existing";
    case Remedy::ChooseCodec:
      return "--codec";
    case Remedy::NoSound:
      return "--no-audio";
    case Remedy::AllowPlaylists:
      return "--allow-playlists";
    case Remedy::NameModule:
      return "--plugin FILE";
  }
  return "other options";
}

}  // namespace

std::string withWayOut(const AvoidableError& error) {
  return error.wayOutWith(optionFor(error.remedy()));
}

}  // namespace lomix::cli
