#include <CLI/App.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "cli/ReportMerge.h"
#include "cli/commands/Commands.h"
#include "looks/JsonText.h"
#include "support/Errors.h"
#include "support/TextFile.h"

namespace lomix::cli {
namespace {

/// The options of `lomix report`.
struct ReportOptions {
  std::vector<std::string> files;
  bool json = false;
};

void declare(CLI::App& app, ReportOptions& options) {
  app.add_option("REPORT", options.files,
                 "What 'lomix render --report' wrote, of the shares of\n"
                 "one job and of further runs for the same output")
      ->type_name("FILE...")
      ->required();
  app.add_flag("--json", options.json, "Print JSON for programs");
  app.footer(
      "The exit code is 3 where frames are missing or failed.\n\n"
      "Examples:\n"
      "  lomix render 'in.####.exr' 'out.####.exr' --share 1/2 --report 'job.#.json'\n"
      "  lomix report job.*.json\n");
}

void run(const ReportOptions& options, const Streams& streams) {
  constexpr std::size_t kMostBytes = 16 << 20;
  ReportMerge merge;
  for (const std::string& file : options.files) {
    const auto report = ReportMerge::Json::parse(readText(file, kMostBytes), nullptr, false);
    if (!report.is_object()) {
      throw CommandError("'" + file +
                         "': it is no report of 'lomix render' (name what --report wrote)");
    }
    merge.add(file, report);
  }
  if (options.json) {
    streams.out << looks::jsonText(merge.json());
  } else {
    merge.print(streams.out);
  }
  if (!merge.isDone()) throw FramesFailed("not all is done (see the list of what is left)");
}

}  // namespace

Command addReportCommand(CLI::App& lomix) {
  return addCommand<ReportOptions>(lomix, "report", "Merge reports, and say what is left to render",
                                   declare, run);
}

}  // namespace lomix::cli
