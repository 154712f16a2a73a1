#include <CLI/App.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "cli/OptionValues.h"
#include "cli/commands/Commands.h"
#include "media/picture/SequenceName.h"
#include "media/video/Video.h"
#include "support/Errors.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

/// The options of `lomix join`.
struct JoinOptions {
  std::vector<std::string> files;  ///< The segments, and the film at the end.
  std::string source;
  bool videoOnly = false;
  bool overwrite = false;
  bool quiet = false;
};

void declare(CLI::App& app, JoinOptions& options) {
  app.add_option("SEGMENT OUTPUT", options.files,
                 "SEGMENT: what 'lomix render --share' wrote, all files\n"
                 "or their pattern such as film.##.mkv. OUTPUT: the film\n"
                 "to write, with the extension of the segments")
      ->type_name("FILE...");
  app.add_option("--source", options.source,
                 "The video that was rendered, whose sound, subtitles,\n"
                 "chapters and tags the film gets; required unless the\n"
                 "segments were made from pictures")
      ->type_name("FILE");
  app.add_flag("--video-only", options.videoOnly, "Leave all but the pictures out");
  app.add_flag("--overwrite", options.overwrite, "Replace OUTPUT if it exists");
  addNoFsync(app);
  app.add_flag("--quiet", options.quiet, "Print errors only");
  app.footer(
      "Examples:\n"
      "  lomix render film.mp4 'part.##.mp4' --preset weak-aerial --share 1/2\n"
      "  lomix render film.mp4 'part.##.mp4' --preset weak-aerial --share 2/2\n"
      "  lomix join 'part.##.mp4' aired.mp4 --source film.mp4\n");
}

/// Returns the files of the segments, with each pattern replaced by the files that match it.
std::vector<std::string> segmentsOf(const std::vector<std::string>& names) {
  std::vector<std::string> files;
  for (const std::string& name : names) {
    const auto pattern = fileExists(name) ? std::nullopt : media::SequenceName::parse(name);
    if (!pattern) {
      files.push_back(name);
      continue;
    }
    const std::vector<std::int64_t> numbers = pattern->existing();
    if (numbers.empty()) {
      throw MediaError(cannotRead(name) + "no segment exists (looked for '" +
                       pattern->file(1).string() + "')");
    }
    for (const std::int64_t number : numbers) files.push_back(pattern->file(number).string());
  }
  return files;
}

void run(const JoinOptions& options, const Streams& streams) {
  if (options.files.size() < 2) {
    throw UsageError(options.files.empty()
                         ? "lomix join: SEGMENT is required (see 'lomix join --help')"
                         : "lomix join: OUTPUT is required (see 'lomix join --help')");
  }
  media::JoinInput input;
  input.segments = segmentsOf({options.files.begin(), options.files.end() - 1});
  input.source = options.source;
  input.fromSource = !options.videoOnly;
  media::VideoOutput output;
  output.name = options.files.back();
  output.overwrite = options.overwrite;
  output.warn = [&](const std::string& text) {
    if (!options.quiet) streams.err << "warning: " + text + "\n";
  };
  std::vector<NamedFile> read;
  for (const std::string& name : input.segments) read.push_back({"SEGMENT", name});
  if (!input.source.empty()) read.push_back({"--source", input.source});
  requireDistinctFiles({{"OUTPUT", output.name}}, read);
  const media::JoinedFilm film = media::joinSegments(input, output);
  if (!film.sourceLoss.empty()) {
    const std::string loss = "'" + input.source + "': " + film.sourceLoss;
    if (film.losses.empty()) {
      throw FramesFailed(loss + " (what is there is joined; copy or repair it, and join again)");
    }
    output.warn(loss);
  }
  if (!film.losses.empty()) {
    throw FramesFailed("'" + output.name + "': " + joined(film.losses, ", ") +
                       " (what is there is joined; render these again)");
  }
  if (options.quiet) return;
  streams.out << "wrote '" + output.name + "': " + countedFrames(film.frames) + " of " +
                     std::to_string(input.segments.size()) + " segments\n";
}

}  // namespace

Command addJoinCommand(CLI::App& lomix) {
  return addCommand<JoinOptions>(lomix, "join", "Make a film of the segments of several shares",
                                 declare, run);
}

}  // namespace lomix::cli
