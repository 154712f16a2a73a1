#include "cli/Route.h"

#include <utility>

#include "cli/Errors.h"
#include "media/SequenceName.h"

namespace lomix::cli {
namespace {

using media::SequenceName;

/// A pattern, unless a file has the very name.
std::optional<SequenceName> inputSequence(const std::string& name) {
  std::error_code ignored;
  if (std::filesystem::is_regular_file(name, ignored)) return std::nullopt;
  return SequenceName::parse(name);
}

/// Opens the input; numbers: of its frames.
void openInput(const RouteOptions& options, Route& route, std::vector<std::int64_t>& numbers) {
  const FrameRate rate = options.rate.value_or(FrameRate{});
  if (const auto sequence = inputSequence(options.input)) {
    if (options.time) {
      throw UsageError("--time: the frames of a sequence have times of their own (use --fps)");
    }
    auto source = std::make_unique<SequenceSource>(*sequence, options.frames, rate);
    numbers = source->numbers();
    if (options.frames.empty()) {
      if (!source->missing().empty()) {
        route.note = "'" + options.input + "': frames " + media::listed(source->missing()) +
                     " do not exist (they are left out)";
      }
    } else {
      route.missing = source->missing();
    }
    route.source = std::move(source);
    return;
  }
  if (options.frames.empty()) {
    numbers = {0};
    route.source =
        std::make_unique<StillSource>(options.input, options.time.value_or(FrameTime{0, 1}));
    return;
  }
  if (options.time) {
    throw UsageError("--time: with --frames the times come from the numbers (use --fps)");
  }
  numbers = options.frames;
  route.source = std::make_unique<StillSource>(options.input, numbers, rate);
}

}  // namespace

Route makeRoute(const RouteOptions& options) {
  Route route;
  std::vector<std::int64_t> numbers;
  const auto sequence = SequenceName::parse(options.output);
  if (!sequence) {
    // Looked at first: a long reading should not end at a name that was taken all along.
    route.sink = std::make_unique<PictureSink>(options.output, options.existing);
  }
  openInput(options, route, numbers);
  if (!sequence) {
    if (numbers.size() + route.missing.size() > 1) {
      throw UsageError("OUTPUT: '" + options.output + "' is one picture for " +
                       std::to_string(numbers.size() + route.missing.size()) +
                       " frames (name a sequence such as out.####.png)");
    }
    return route;
  }
  auto sink = std::make_unique<SequenceSink>(*sequence, options.existing);
  sink->checkFree(numbers);
  route.sink = std::move(sink);
  return route;
}

}  // namespace lomix::cli
