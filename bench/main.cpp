// lomix_bench: verifies that all paths draw the same pixels, times them and prints two tables.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/Measurement.h"
#include "engine/SimdTarget.h"

namespace lomix::bench {
namespace {

using Json = nlohmann::ordered_json;

// Returns the processor's name as the system reports it, or "unknown".
std::string processorName() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    const std::size_t colon = line.find(": ");
    if (line.starts_with("model name") && colon != std::string::npos) return line.substr(colon + 2);
  }
  return "unknown";
}

Json machineJson(const Plan& plan) {
  return {{"processor", processorName()},
          {"hardwareThreads", std::thread::hardware_concurrency()},
          {"target", plan.target->name},
          {"clock", plan.clock == wallClock ? "wall" : "processor"}};
}

double ratioMedian(const Json& ratio) { return ratio.at("median").get<double>(); }

void printRatioHeading(const Plan& plan) {
  std::printf("%-29s %8s %9s %9s %9s", "", "copy", "engine", "uncopied", "reference");
  for (const int threads : plan.threads) std::printf("  engine%d", threads);
  std::printf(" %9s %9s %7s %6s %6s\n%-29s %8s %9s %9s %9s", "uncopied", "reference", "mixed",
              "last", "mixed", "look/depth/size", "ms", "ms", "ms", "ms");
  for (std::size_t i = 0; i < plan.threads.size(); ++i) std::printf("    /copy");
  std::printf(" %9s %9s %7s %6s %6s\n", "/engine", "/engine", "/opaque", "/first", "last");
}

void printRatios(const Json& cell) {
  const Json& times = cell.at("milliseconds");
  const Json& ratios = cell.at("ratios");
  std::printf("%-29s %8.3f %9.3f %9.1f %9.1f", cell.at("name").get<std::string>().c_str(),
              times.at("copy").get<double>(), times.at("engine").at("1").get<double>(),
              times.at("uncopied").get<double>(), times.at("reference").get<double>());
  for (const Json& ratio : ratios.at("engineToCopy")) std::printf(" %8.2f", ratioMedian(ratio));
  std::printf(" %9.1f %9.1f %7.2f %6.2f %6.2f\n", ratioMedian(ratios.at("uncopiedToEngine")),
              ratioMedian(ratios.at("referenceToEngine")), ratioMedian(ratios.at("mixedToOpaque")),
              ratioMedian(ratios.at("alphaLastToFirst")),
              ratioMedian(ratios.at("mixedAlphaLastToFirst")));
  std::fflush(stdout);
}

void printGrowth(const Json& cells, const Plan& plan) {
  std::printf("\nNanoseconds a pixel with everything on, as the frame grows\n%-29s %11s %8s", "",
              "megapixels", "copy");
  for (const int threads : plan.threads) std::printf("  engine%d", threads);
  std::printf(" %9s %9s\n", "uncopied", "reference");
  for (const Json& cell : cells) {
    if (cell.at("look") != kLooks.back().name) continue;
    const double megapixels =
        cell.at("width").get<double>() * cell.at("height").get<double>() / 1e6;
    const Json& times = cell.at("milliseconds");
    const auto perPixel = [megapixels](const Json& time) {
      return time.get<double>() / megapixels;
    };
    std::printf("%-29s %11.2f %8.3f", cell.at("name").get<std::string>().c_str(), megapixels,
                perPixel(times.at("copy")));
    for (const Json& time : times.at("engine")) std::printf(" %8.3f", perPixel(time));
    std::printf(" %9.1f %9.1f\n", perPixel(times.at("uncopied")), perPixel(times.at("reference")));
  }
}

// A file that gets its final name when it is complete. It is opened before the measurement: a wrong
// name fails at once, not after minutes.
class ResultFile {
 public:
  explicit ResultFile(const std::string& name) : name_(name), stream_(name + ".part") { check(); }
  ~ResultFile() { std::remove((name_ + ".part").c_str()); }
  ResultFile(const ResultFile&) = delete;
  ResultFile& operator=(const ResultFile&) = delete;

  void write(const Json& result) {
    stream_ << result.dump(2) << '\n';
    stream_.close();
    check();
    std::filesystem::rename(name_ + ".part", name_);
  }

 private:
  void check() const {
    if (!stream_) throw std::runtime_error(name_ + ": cannot be written");
  }

  std::string name_;
  std::ofstream stream_;
};

std::vector<std::string> targetNames() {
  std::vector<std::string> names;
  for (const engine::SimdTarget* target : engine::availableTargets()) {
    names.emplace_back(target->name);
  }
  return names;
}

const engine::SimdTarget* targetOf(const std::string& name) {
  const auto all = engine::availableTargets();
  return *std::find_if(all.begin(), all.end(),
                       [&name](const auto* target) { return target->name == name; });
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

Json measureAll(const Plan& plan, const std::string& filter) {
  Json cells = Json::array();
  for (const int depth : {8, 32}) {
    for (const Size& size : plan.sizes) {
      std::vector<Look> looks;
      for (const Look& look : kLooks) {
        const bool wanted = size.allLooks || look.name == kLooks.back().name;
        if (wanted && contains(cellName(look, depth, size), filter)) looks.push_back(look);
      }
      if (looks.empty()) continue;
      Pictures pictures(depth, size);
      for (const Look& look : looks) {
        cells.push_back(measureCell(look, pictures, cellName(look, depth, size), plan));
        printRatios(cells.back());
      }
    }
  }
  if (cells.empty()) {
    throw std::runtime_error("--filter: no cell's name contains '" + filter +
                             "' (names are like grain/8-bit/1920x1080)");
  }
  return cells;
}

void run(const Plan& plan, const std::string& filter, const std::string& jsonFile) {
  std::optional<ResultFile> file;
  if (!jsonFile.empty()) file.emplace(jsonFile);
  const Json machine = machineJson(plan);
  std::printf(
      "%s, %u hardware threads, row engine: %s, clock: %s\n"
      "Milliseconds a frame, ratios of paired medians. engineN: the row engine on N threads;\n"
      "last/first, mixed last: the row engine's time for pixels with alpha last, opaque and "
      "mixed,\n"
      "over that for alpha first;\n"
      "uncopied: the reference path without its copy of the record for every pixel. It and the\n"
      "reference path draw evenly spread rows, about %d and %d thousand pixels a frame; their "
      "time\n"
      "is scaled to the whole frame. Every cell's pixels are checked before it is timed.\n\n",
      machine.at("processor").get<std::string>().c_str(),
      machine.at("hardwareThreads").get<unsigned>(),
      machine.at("target").get<std::string>().c_str(),
      machine.at("clock").get<std::string>().c_str(), plan.uncopiedPixels / 1000,
      plan.referencePixels / 1000);
  printRatioHeading(plan);
  const Json cells = measureAll(plan, filter);
  printGrowth(cells, plan);
  if (file) file->write({{"machine", machine}, {"cells", cells}});
}

}  // namespace
}  // namespace lomix::bench

int main(int argc, char** argv) {
  CLI::App app("Times the paths that draw a frame, after checking that they draw the same pixels.");
  bool quick = false;
  bool processorTime = false;
  std::string filter;
  std::string jsonFile;
  std::string target = lomix::engine::bestTarget().name;
  app.add_flag("--quick", quick, "Small frames, few turns: a smoke test whose times mean nothing");
  app.add_flag("--processor-time", processorTime,
               "Measure processor time on one thread: for a busy machine");
  app.add_option("--filter", filter, "Only cells whose name (LOOK/DEPTH/SIZE) contains this");
  app.add_option("--target", target, "The row engine's instruction set")
      ->check(CLI::IsMember(lomix::bench::targetNames()))
      ->capture_default_str();
  app.add_option("--json", jsonFile, "Write the results to this file");
  try {
    app.parse(argc, argv);
    lomix::bench::Plan plan = quick ? lomix::bench::quickPlan() : lomix::bench::fullPlan();
    plan.target = lomix::bench::targetOf(target);
    if (processorTime) {
      plan.clock = lomix::bench::processorClock;
      plan.threads = {1};
    }
    lomix::bench::run(plan, filter, jsonFile);
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "error: arguments: %s (see --help)\n", error.what());
    return 2;
  } catch (const std::exception& error) {
    std::fflush(stdout);
    std::fprintf(stderr, "error: %s\n", error.what());
    return 1;
  }
  return 0;
}
