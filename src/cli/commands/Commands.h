// The commands of `lomix`.
#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <memory>

#include "support/Streams.h"

namespace lomix::cli {

/// A subcommand. run() may be called after the parser has read the command line.
struct Command {
  CLI::App* parser;  ///< The subcommand's, owned by the parser of `lomix`.
  /// Does the work with the options that were parsed. Throws UsageError, CommandError,
  /// FramesFailed, Interrupted, MediaError or host::HostError.
  std::function<void(const Streams&)> run;
};

/// Add one subcommand with its options and help. lomix: the parser of the whole command line, which
/// must outlive the result.
Command addRenderCommand(CLI::App& lomix);
Command addJoinCommand(CLI::App& lomix);
Command addReportCommand(CLI::App& lomix);
Command addParamsCommand(CLI::App& lomix);
Command addPresetsCommand(CLI::App& lomix);
Command addInspectCommand(CLI::App& lomix);
Command addTestCardCommand(CLI::App& lomix);
Command addShellFilesCommand(CLI::App& lomix);
// Only in builds with text and lines in pictures (LOMIX_DRAWING).
Command addSheetCommand(CLI::App& lomix);
Command addCompareCommand(CLI::App& lomix);
Command addPlotCommand(CLI::App& lomix);
// Only in builds with an HTTP server (LOMIX_PREVIEW).
Command addPreviewCommand(CLI::App& lomix);

/// Adds a subcommand. declare: adds its options to the subcommand's parser, which writes the parsed
/// values to the Options; run: does the work with them.
template <typename Options>
Command addCommand(CLI::App& lomix, const char* name, const char* purpose,
                   void (*declare)(CLI::App&, Options&),
                   void (*run)(const Options&, const Streams&)) {
  CLI::App* parser = lomix.add_subcommand(name, purpose);
  // On the heap: the parser keeps references to the single options.
  const auto options = std::make_shared<Options>();
  declare(*parser, *options);
  return {parser, [options, run](const Streams& streams) { run(*options, streams); }};
}

}  // namespace lomix::cli
