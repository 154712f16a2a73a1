#include "cli/CommandLine.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <iterator>
#include <new>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "batch/Interrupt.h"
#include "cli/WaysOut.h"
#include "cli/commands/Commands.h"
#include "lomix/lomix.h"
#if defined(LOMIX_DRAWING)
#include "media/drawing/Drawing.h"
#endif
#include "media/picture/PictureFile.h"
#include "media/video/Video.h"
#include "support/Errors.h"
#include "support/MediaError.h"
#include "support/StandardErrorCopy.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

/// The parser with every command on it.
class Parser {
 public:
  Parser() {
    CLI::Option* version = app_.set_version_flag("--version", [this] { return versionText(); });
    const std::string verbose = "With --version: also the instruction set and the libraries in use";
    app_.add_flag("--verbose", verbose)->needs(version);
    app_.require_subcommand(0, 1);
    // A name that starts with a slash is a file on every system.
    app_.allow_windows_style_options(false);
    app_.footer(
        "Examples:\n"
        "  lomix testcard card.png\n"
        "  lomix render card.png bad-reception.png --set Noise=30 --set \"Scan Distortion=20\"\n"
        "  lomix render card.png aerial.png --preset weak-aerial --time 1.3\n"
        "  lomix params\n\n"
        "'lomix COMMAND --help' lists the options of one command. Exit codes: 0 done, 1 a read,\n"
        "write or render failed, 2 wrong usage, 3 some frames failed and the rest are there, 130\n"
        "interrupted.\n"
#if !defined(LOMIX_PREVIEW)
        "\nThis build has no 'lomix preview', the page in the browser.\n"
#endif
    );
    // In the order of the help text.
    commands_ = {
      addRenderCommand(app_),
      addJoinCommand(app_),
      addReportCommand(app_),
      addParamsCommand(app_),
      addPresetsCommand(app_),
#if defined(LOMIX_DRAWING)
      addSheetCommand(app_),
      addCompareCommand(app_),
      addPlotCommand(app_),
#endif
#if defined(LOMIX_PREVIEW)
      addPreviewCommand(app_),
#endif
      addInspectCommand(app_),
      addTestCardCommand(app_),
      addShellFilesCommand(app_),
    };
  }

  /// Returns the command that the arguments name, its options filled in. Prints help or the version
  /// to out where they ask for that, and returns null. Throws UsageError.
  const Command* parse(std::vector<std::string> arguments, std::ostream& out) {
    // "lomix help render" is "lomix render --help".
    if (!arguments.empty() && arguments.front() == "help") {
      arguments.erase(arguments.begin());
      arguments.insert(arguments.begin() + (arguments.empty() ? 0 : 1), "--help");
    }
    requireCommand(arguments);
    std::ranges::reverse(arguments);  // The parser reads them from the back.
    try {
      app_.parse(std::move(arguments));
    } catch (const CLI::Success& request) {
      app_.exit(request, out, out);
      return nullptr;
    } catch (const CLI::ParseError& error) {
      throw UsageError(explain(error));
    }
    for (const Command& command : commands_) {
      if (!command.parser->parsed()) continue;
      requireValues(*command.parser);
      return &command;
    }
    throw UsageError("lomix: no command is given (see 'lomix --help')");
  }

 private:
  /// Returns what --version prints.
  std::string versionText() const {
    std::string text = std::string("lomix ") + lomix_version_text();
    if (app_.count("--verbose") == 0) return text;
    text += std::string("\ninstruction set ") + lomix_instruction_set();
    std::vector<std::string> libraries = media::videoLibraries();
    libraries.insert(libraries.begin(), media::pictureLibrary());
#if defined(LOMIX_DRAWING)
    std::ranges::copy(media::drawingLibraries(), std::back_inserter(libraries));
#endif
    for (const std::string& library : libraries) text += "\n" + library;
    return text;
  }

  /// Throws UsageError, which suggests a command, where the first argument is the name of none.
  void requireCommand(const std::vector<std::string>& arguments) const {
    if (arguments.empty() || arguments.front().starts_with('-')) return;
    std::vector<std::string> names;
    for (const Command& command : commands_) {
      if (command.parser->get_name() == arguments.front()) return;
      if (!command.parser->get_group().empty()) names.push_back(command.parser->get_name());
    }
    throw UsageError("lomix: there is no command '" + arguments.front() + "' (" +
                     suggestion(arguments.front(), names) + "see 'lomix --help')");
  }

  /// Throws UsageError for an option or argument with an empty value.
  static void requireValues(const CLI::App& parser) {
    for (const CLI::Option* option : parser.get_options()) {
      for (const std::string& value : option->results()) {
        if (!trimmed(value).empty()) continue;
        throw UsageError(option->get_name() + ": its value is empty (give one, or leave it out)");
      }
    }
  }

  /// Returns "did you mean 'x'? " for the most similar name; empty where none is similar.
  static std::string suggestion(const std::string& wanted, const std::vector<std::string>& names) {
    const std::string nearest = nearestName(wanted, names);
    return nearest.empty() ? "" : "did you mean '" + nearest + "'? ";
  }

  /// Returns a suggestion for the first option among the arguments that the command does not have.
  std::string optionSuggestion() const {
    for (const Command& command : commands_) {
      if (!command.parser->parsed()) continue;
      std::vector<std::string> names;
      for (const CLI::Option* option : command.parser->get_options()) {
        if (!option->get_lnames().empty()) names.push_back("--" + option->get_lnames().front());
      }
      for (const std::string& extra : command.parser->remaining()) {
        if (extra.starts_with("--")) return suggestion(extra.substr(0, extra.find('=')), names);
      }
    }
    return {};
  }

  /// Returns the parser's message as "lomix COMMAND: cause (see 'lomix COMMAND --help')".
  std::string explain(const CLI::ParseError& error) const {
    std::string name = "lomix";
    for (const Command& command : commands_) {
      if (command.parser->parsed()) name += " " + command.parser->get_name();
    }
    std::string cause = oneLine(error.what());
    constexpr std::string_view kExtra = "The following argument";
    if (cause.starts_with(kExtra)) cause[0] = 't';
    return name + ": " + cause + " (" + optionSuggestion() + "see '" + name + " --help')";
  }

  CLI::App app_{"Makes pictures look like badly received analogue television.", "lomix"};
  std::vector<Command> commands_;
};

/// Prints an error as one line. Returns exitCode.
int fail(const Streams& streams, const std::string& message, int exitCode,
         std::string_view beginning = "error: ") {
  streams.err << std::string(beginning) + oneLine(message) + "\n";
  return exitCode;
}

}  // namespace

int runCommandLine(const std::vector<std::string>& arguments, const Streams& streams) {
  try {
    Parser parser;
    if (const Command* command = parser.parse(arguments, streams.out)) command->run(streams);
    if (!streams.out.flush()) {
      throw CommandError(
          "standard output: it cannot be written (check the disk or pipe behind it)");
    }
    return kExitDone;
  } catch (const UsageError& error) {
    return fail(streams, error.what(), kExitUsage);
  } catch (const FramesFailed& error) {
    return fail(streams, error.what(), kExitFramesFailed);
  } catch (const Interrupted& interrupted) {
    return fail(streams, interrupted.what(), kExitSignal + interrupted.signal(), "interrupted: ");
  } catch (const AvoidableError& error) {
    return fail(streams, withWayOut(error), kExitFailed);
  } catch (const std::bad_alloc&) {
    return fail(streams, "lomix: there is not enough memory (use a smaller picture)", kExitFailed);
  } catch (const std::exception& error) {
    return fail(streams, error.what(), kExitFailed);
  }
}

int runProgram(const std::vector<std::string>& arguments) {
  batch::endOnSignals();
  StandardErrorCopy errors;
  return runCommandLine(arguments, {std::cout, errors, errors.isTerminal()});
}

}  // namespace lomix::cli
