#include "cli/ReportMerge.h"

#include <algorithm>
#include <iterator>

#include "batch/Share.h"
#include "cli/FrameList.h"
#include "media/picture/SequenceName.h"
#include "support/Errors.h"
#include "support/Text.h"

namespace lomix::cli {
namespace {

using Json = ReportMerge::Json;

std::vector<std::int64_t> framesOf(const std::string& text) {
  return text.empty() ? std::vector<std::int64_t>() : parseFrames(text).numbers;
}

/// Returns words as a POSIX shell takes them.
std::string shellText(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) {
    const bool plain = !word.empty() && std::ranges::all_of(word, [](char c) {
      return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
             std::string_view("%+,-./:=@_").find(c) != std::string_view::npos;
    });
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    line += " " + (plain ? word : quoted + "'");
  }
  return line.substr(1);
}

template <typename Numbers>
std::string numbersText(const Numbers& numbers) {
  return batch::framesText({numbers.begin(), numbers.end()});
}

std::string counted(std::size_t count, const char* noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

void ReportMerge::add(const std::string& file, const Json& report) {
  try {
    const std::string output = report.at("output");
    const auto runs = report.find("runs");
    const bool isFolder = runs != report.end();
    const Json settings = report.value("settings", Json());
    const Json input = report.value("input", Json());
    const auto share = report.find("share");
    std::string other;
    if (firstFile_.empty()) {
      firstFile_ = file;
      output_ = output;
      settings_ = settings;
      input_ = input;
      isFolder_ = isFolder;
    } else if (output != output_ || input != input_ || isFolder != isFolder_) {
      other = "the input or the output differs";
    } else if (settings != settings_) {
      other = "the settings differ";
    } else if (share != report.end() && count_ > 0 &&
               (share->at("of") != count_ || share->at("blocks") != blocks_)) {
      other = "the number of shares differs";
    } else if (share != report.end() && count_ > 0 &&
               share->at("whole") != Json::parse(wholeText_)) {
      other = "the shares saw other frames (render them with --frames)";
    }
    if (!other.empty()) {
      throw CommandError("'" + file + "': it is of another job than '" + firstFile_ +
                         "': " + other + " (name the reports of one job)");
    }
    if (arguments_.empty() || share != report.end()) {
      arguments_ = report.at("arguments").get<std::vector<std::string>>();
    }
    if (share != report.end()) addShare(*share);
    if (isFolder) {
      addInputs(*runs);
    } else {
      addFrames(report);
    }
    if (share == report.end()) return;
    const std::int64_t number = share->at("number");
    seen_.insert(number);
    if (!report.contains("error")) ended_.insert(number);
  } catch (const CommandError&) {
    throw;
  } catch (const std::exception&) {
    // A value that is missing, of another type, or no list of frames.
    throw CommandError("'" + file +
                       "': it is no report of 'lomix render' (name what --report wrote)");
  }
}

void ReportMerge::addShare(const Json& share) {
  if (count_ > 0) return;
  const std::int64_t count = share.at("of");
  const std::int64_t number = share.at("number");
  constexpr std::int64_t kMost = 10'000'000;
  if (number < 1 || number > count || count > kMost) throw UsageError("no such share");
  blocks_ = share.at("blocks");
  isSegment_ = share.value("segment", false);
  wholeText_ = share.at("whole").dump();
  if (isFolder_) {
    const std::int64_t inputs = share.at("whole");
    if (inputs > kMost) throw UsageError("too many inputs");
    for (std::int64_t n = 1; n <= inputs; ++n) whole_.push_back(n);
  } else {
    whole_ = framesOf(share.at("whole"));
  }
  count_ = count;
  for (std::size_t i = 0; i < whole_.size(); ++i) {
    parts_[batch::shareAt(i, whole_.size(), count_, blocks_)].push_back(whole_[i]);
  }
}

void ReportMerge::addFrames(const Json& report) {
  for (const std::int64_t n : framesOf(report.at("done"))) done_.insert(n);
  for (const Json& failure : report.at("failures")) {
    failed_[failure.at("frame")] = failure.at("cause");
  }
  for (const std::string warning : report.at("warnings")) {
    if (std::ranges::find(warnings_, warning) == warnings_.end()) warnings_.push_back(warning);
  }
  if (const auto error = report.find("error"); error != report.end()) errors_.push_back(*error);
}

void ReportMerge::addInputs(const Json& runs) {
  for (const Json& run : runs) {
    const std::string input = run.at("input");
    if (const auto error = run.find("error"); error != run.end()) {
      failedInputs_[input] = *error;
    } else {
      inputsDone_.insert(input);
    }
  }
}

std::size_t ReportMerge::wholeCount() const {
  if (count_ > 0) return whole_.size();
  if (isFolder_) return inputsDone_.size() + failures().size();
  return done_.size() + failures().size();
}

std::vector<std::int64_t> ReportMerge::absentShares() const {
  std::vector<std::int64_t> absent;
  for (const auto& [number, part] : parts_) {
    if (!seen_.contains(number)) absent.push_back(number);
  }
  return absent;
}

/// Returns the frames that no report says anything of; of a folder the places of the inputs.
std::vector<std::int64_t> ReportMerge::missing() const {
  std::vector<std::int64_t> missing;
  if (isFolder_) {
    for (const std::int64_t number : absentShares()) {
      std::ranges::copy(parts_.at(number), std::back_inserter(missing));
    }
    std::ranges::sort(missing);
    return missing;
  }
  for (const std::int64_t n : whole_) {
    if (!done_.contains(n) && !failed_.contains(n)) missing.push_back(n);
  }
  return missing;
}

/// Returns the causes by frame or input. What another run has done did not fail.
std::map<std::string, std::string> ReportMerge::failures() const {
  std::map<std::string, std::string> left;
  for (const auto& [frame, cause] : failed_) {
    if (!done_.contains(frame)) left[std::to_string(frame)] = cause;
  }
  for (const auto& [input, cause] : failedInputs_) {
    if (!inputsDone_.contains(input)) left[input] = cause;
  }
  return left;
}

/// Returns the command line of the runs, without some of its options.
std::vector<std::string> ReportMerge::repeated(const std::set<std::string>& without) const {
  static const std::set<std::string> flags{"--share-blocks", "--skip-existing", "--overwrite"};
  std::vector<std::string> kept;
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    const std::string name = arguments_[i].substr(0, arguments_[i].find('='));
    if (!without.contains(name)) {
      kept.push_back(arguments_[i]);
    } else if (!flags.contains(name) && name == arguments_[i]) {
      ++i;  // Its value.
    }
  }
  return kept;
}

/// Returns whether --report has a place for the number of the share.
bool ReportMerge::hasReportForEachShare() const {
  const std::string option = "--report";
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    const std::string& word = arguments_[i];
    const bool isNext = word == option && i + 1 < arguments_.size();
    if (!isNext && !word.starts_with(option + "=")) continue;
    const std::string name = isNext ? arguments_[i + 1] : word.substr(option.size() + 1);
    return count_ > 0 && media::SequenceName::parse(name).has_value();
  }
  return false;
}

std::vector<std::vector<std::string>> ReportMerge::commands() const {
  std::vector<std::vector<std::string>> commands;
  if (isDone()) return commands;
  const std::vector<std::int64_t> open = missing();
  if (!isFolder_ && !isSegment_) {
    std::set<std::int64_t> frames(open.begin(), open.end());
    for (const auto& [frame, cause] : failed_) {
      if (!done_.contains(frame)) frames.insert(frame);
    }
    std::vector<std::string> command =
        repeated({"--share", "--share-blocks", "--frames", "--report", "--save-preset"});
    const std::string text = numbersText(frames);
    if (text.starts_with('-')) {
      command.push_back("--frames=" + text);
    } else {
      command.insert(command.end(), {"--frames", text});
    }
    const auto chooses = [](const std::string& word) {
      return word == "--skip-existing" || word == "--overwrite";
    };
    if (std::ranges::none_of(command, chooses)) command.emplace_back("--skip-existing");
    return {command};
  }
  std::set<std::string> changed{"--share", "--skip-existing", "--overwrite", "--save-preset"};
  // Without a place for the share, it is the name of a report that is there.
  if (!hasReportForEachShare()) changed.insert("--report");
  if (count_ == 0) {
    commands.push_back(repeated(changed));
    commands.back().emplace_back("--skip-existing");
    return commands;
  }
  for (const auto& [number, part] : parts_) {
    // Of a folder, a share keeps what exists.
    const bool isOpen = isFolder_ || std::ranges::any_of(part, [this](std::int64_t frame) {
                          return !done_.contains(frame);
                        });
    if (!isOpen) continue;
    commands.push_back(repeated(changed));
    const std::string share = std::to_string(number) + "/" + std::to_string(count_);
    // A segment that lacks frames is there already.
    const bool replaces = isSegment_ && ended_.contains(number);
    commands.back().insert(commands.back().end(),
                           {"--share", share, replaces ? "--overwrite" : "--skip-existing"});
  }
  return commands;
}

Json ReportMerge::json() const {
  Json failures = Json::array();
  for (const auto& [what, cause] : this->failures()) {
    failures.push_back(
        {{isFolder_ ? "input" : "frame", isFolder_ ? Json(what) : Json(*parseWhole(what))},
         {"cause", cause}});
  }
  Json report{{"output", output_}};
  if (!isFolder_) report["input"] = input_;
  if (count_ > 0) report["shares"] = {{"of", count_}, {"absent", absentShares()}};
  report[isFolder_ ? "inputs" : "frames"] = {
      {"whole", wholeCount()},
      {"done", isFolder_ ? inputsDone_.size() : done_.size()},
      {"missing", isFolder_ ? Json(missing().size()) : Json(numbersText(missing()))},
      {"failed", failures.size()}};
  report["failures"] = failures;
  report["errors"] = errors_;
  report["warnings"] = warnings_;
  report["commands"] = commands();
  return report;
}

void ReportMerge::print(std::ostream& out) const {
  const char* noun = isFolder_ ? "input" : "frame";
  const std::size_t done = isFolder_ ? inputsDone_.size() : done_.size();
  out << "'" + output_ + "': " + std::to_string(done) + " of " + counted(wholeCount(), noun) +
             " done\n";
  if (const auto absent = absentShares(); !absent.empty()) {
    out << "no report: share " + numbersText(absent) + " of " + std::to_string(count_) + "\n";
  }
  for (const std::string& error : errors_) out << "ended early: " + oneLine(error) + "\n";
  if (const auto open = missing(); !open.empty()) {
    out << "missing: " + (isFolder_ ? counted(open.size(), noun) : numbersText(open)) + "\n";
  }
  for (const auto& [what, cause] : failures()) {
    out << "failed: " + what + " (" + oneLine(cause) + ")\n";
  }
  for (const std::string& warning : warnings_) out << "warning: " + warning + "\n";
  const auto lines = commands();
  if (!lines.empty()) out << "render what is left with\n";
  for (const auto& line : lines) out << "  lomix " + shellText(line) + "\n";
}

}  // namespace lomix::cli
