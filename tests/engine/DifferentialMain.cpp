// lomix_differential: compares the row engine with the reference path on any number of frames.

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "engine/Differential.h"
#include "engine/ScalarTarget.h"

namespace {

using lomix::differential::Options;

constexpr const char* kUsage =
    "Usage: lomix_differential [--seed N] [--pixels N[K|M|G]] [--seconds S] [--frame N]\n"
    "                          [--target NAME] [--expect-difference]\n"
    "                          [--expect-targets NAME,...]\n"
    "Compares the row engine with the reference path on random frames, with alpha first and alpha\n"
    "last, until a limit is met (200M pixels by default). --frame draws that one frame of the "
    "seed.\n"
    "--target: avx512, avx2, neon, wasm, portable, formula, scalar-4 or all, which is\n"
    "what the row engine chooses from on this processor.\n"
    "--expect-targets: fails unless this processor runs exactly these, the fastest first.\n"
    "Exits with 0 where all bytes are equal, 1 at a difference (the other way round with\n"
    "--expect-difference), 2 for wrong usage, 77 where the processor lacks the target asked for.\n";
constexpr int kExitUsage = 2;
constexpr int kExitSkipped = 77;

template <typename Number>
Number numberOf(std::string_view option, std::string_view text, std::string_view suffixes = "") {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const std::string_view rest = text.substr(static_cast<std::size_t>(end - text.data()));
  std::size_t power = 0;
  if (rest.size() == 1) power = suffixes.find(rest[0]) + 1;
  if (error != std::errc{} || value < 0 || (!rest.empty() && power == 0)) {
    throw std::invalid_argument(std::string(option) + ": '" + std::string(text) +
                                "' is no such number (see --help)");
  }
  for (; power > 0; --power) value *= 1000;
  return value;
}

void setTargets(Options& options, std::string_view name) {
  constexpr std::string_view kNames[] = {"all",  "avx512",   "avx2",    "neon",
                                         "wasm", "portable", "formula", "scalar-4"};
  if (std::ranges::find(kNames, name) == std::end(kNames)) {
    throw std::invalid_argument("--target: '" + std::string(name) + "' is none (see --help)");
  }
  options.targets = lomix::engine::availableTargets();
  if (name == "all") return;
  options.targets.push_back(&lomix::engine::formulaTarget());
  options.targets.push_back(&lomix::differential::scalarTarget());
  std::erase_if(options.targets, [name](const auto* target) { return target->name != name; });
}

std::string namesOf(const std::vector<const lomix::engine::SimdTarget*>& targets) {
  std::string names;
  for (const auto* target : targets)
    names += (names.empty() ? "" : ",") + std::string(target->name);
  return names;
}

int run(int argc, char** argv) {
  Options options;
  options.pixels = 200'000'000;
  options.targets = lomix::engine::availableTargets();
  bool expectDifference = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view option = argv[i];
    if (option == "--help") return std::fputs(kUsage, stdout), 0;
    if (option == "--expect-difference") {
      expectDifference = true;
      continue;
    }
    if (i + 1 == argc) throw std::invalid_argument(std::string(option) + ": unknown or no value");
    const std::string_view value = argv[++i];
    if (option == "--seed") {
      options.seed = numberOf<std::uint64_t>(option, value);
    } else if (option == "--pixels") {
      options.pixels = numberOf<std::uint64_t>(option, value, "KMG");
    } else if (option == "--seconds") {
      options.seconds = numberOf<double>(option, value);
    } else if (option == "--frame") {
      options.firstFrame = numberOf<std::uint64_t>(option, value);
      options.endFrame = options.firstFrame + 1;
    } else if (option == "--expect-targets") {
      const std::string available = namesOf(lomix::engine::availableTargets());
      if (value == available) continue;
      std::printf("this processor runs %s, not %s\n", available.c_str(), argv[i]);
      return 1;
    } else if (option == "--target") {
      setTargets(options, value);
    } else {
      throw std::invalid_argument(std::string(option) + ": unknown option (see --help)");
    }
  }
  if (options.targets.empty()) return std::puts("skipped: not on this processor"), kExitSkipped;

  const auto outcome = lomix::differential::compareFrames(options);
  std::printf("%s, seed %llu: %llu frames, %llu pixels compared, %s\n%s",
              namesOf(options.targets).c_str(), static_cast<unsigned long long>(options.seed),
              static_cast<unsigned long long>(outcome.frames),
              static_cast<unsigned long long>(outcome.pixels),
              outcome.difference.empty() ? "all equal" : "a difference",
              outcome.difference.c_str());
  return outcome.difference.empty() != expectDifference ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::invalid_argument& error) {
    std::fprintf(stderr, "error: %s\n", error.what());
    return kExitUsage;
  }
}
