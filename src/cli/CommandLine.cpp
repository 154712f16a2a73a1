#include "cli/CommandLine.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <ostream>
#include <utility>

#include "cli/commands/InspectCommand.h"
#include "cli/commands/ParamsCommand.h"
#include "cli/commands/PresetsCommand.h"
#include "cli/commands/RenderCommand.h"
#include "cli/commands/TestCardCommand.h"
#include "lomix/lomix.h"
#include "support/Errors.h"
#if defined(LOMIX_DRAWING)
#include "cli/commands/CompareCommand.h"
#include "cli/commands/PlotCommand.h"
#include "cli/commands/SheetCommand.h"
#endif

namespace lomix::cli {
namespace {

/// The parser with every command on it.
class Parser {
 public:
  Parser() {
    app_.set_version_flag("--version", std::string("lomix ") + lomix_version_text());
    app_.require_subcommand(0, 1);
    // A name that starts with a slash is a file on every system.
    app_.allow_windows_style_options(false);
    app_.footer(
        "Examples:\n"
        "  lomix testcard card.png\n"
        "  lomix render card.png bad-reception.png --set Noise=30 --set \"Scan Distortion=20\"\n"
        "  lomix render card.png aerial.png --preset weak-aerial --time 1.3\n"
        "  lomix params\n\n"
        "'lomix COMMAND --help' tells about one command. Exit codes: 0 done, 1 a read, write or\n"
        "render failed, 2 wrong usage, 3 some frames failed and the rest are there, 130\n"
        "interrupted.\n");
    add<RenderCommand>("render", "Put a picture through the effect");
    add<ParamsCommand>("params", "List the effect's parameters");
    add<PresetsCommand>("presets", "List the looks that come with lomix");
#if defined(LOMIX_DRAWING)
    add<SheetCommand>("sheet", "Show a picture with many looks side by side");
    add<CompareCommand>("compare", "Tell how far two pictures are apart, and show it");
    add<PlotCommand>("plot", "Draw the row profiles that shape a frame");
#endif
    add<InspectCommand>("inspect", "Show what a plug-in module says about itself");
    add<TestCardCommand>("testcard", "Draw a television test card");
  }

  /// The command that is asked for; null when help or the version was, which is then printed.
  /// Throws UsageError.
  Command* parse(std::vector<std::string> arguments, std::ostream& out) {
    std::ranges::reverse(arguments);  // The parser takes them from the back.
    try {
      app_.parse(std::move(arguments));
    } catch (const CLI::Success& request) {
      app_.exit(request, out, out);
      return nullptr;
    } catch (const CLI::ParseError& error) {
      throw UsageError(explain(error));
    }
    for (const auto& [app, command] : commands_) {
      if (app->parsed()) return command.get();
    }
    throw UsageError("lomix: no command is given (see 'lomix --help')");
  }

 private:
  template <typename T>
  void add(const char* name, const char* purpose) {
    CLI::App* app = app_.add_subcommand(name, purpose);
    commands_.emplace_back(app, std::make_unique<T>(*app));
  }

  std::string explain(const CLI::ParseError& error) const {
    std::string name = "lomix";
    for (const auto& [app, command] : commands_) {
      if (app->parsed()) name += " " + app->get_name();
    }
    std::string cause = error.what();
    std::ranges::replace(cause, '\n', ' ');
    constexpr std::string_view kExtra = "The following argument";
    if (cause.starts_with(kExtra)) cause[0] = 't';
    return name + ": " + cause + " (see '" + name + " --help')";
  }

  CLI::App app_{"Makes pictures look like badly received analogue television.", "lomix"};
  std::vector<std::pair<CLI::App*, std::unique_ptr<Command>>> commands_;
};

/// Prints an error as one line, whatever its text holds.
int fail(const Streams& streams, std::string message, int exitCode,
         std::string_view beginning = "error: ") {
  std::ranges::replace_if(
      message, [](char c) { return c == '\n' || c == '\r'; }, ' ');
  streams.err << std::string(beginning) + message + "\n";
  return exitCode;
}

}  // namespace

int runCommandLine(const std::vector<std::string>& arguments, const Streams& streams) {
  try {
    Parser parser;
    if (Command* command = parser.parse(arguments, streams.out)) command->run(streams);
    if (!streams.out.flush()) {
      throw CommandError("standard output: it takes no more text (check where it goes)");
    }
    return kExitDone;
  } catch (const UsageError& error) {
    return fail(streams, error.what(), kExitUsage);
  } catch (const FramesFailed& error) {
    return fail(streams, error.what(), kExitFramesFailed);
  } catch (const Interrupted& interrupted) {
    return fail(streams, interrupted.what(), kExitSignal + interrupted.signal(), "interrupted: ");
  } catch (const std::bad_alloc&) {
    return fail(streams, "lomix: the memory does not suffice (use a smaller picture)", kExitFailed);
  } catch (const std::exception& error) {
    return fail(streams, error.what(), kExitFailed);
  }
}

}  // namespace lomix::cli
