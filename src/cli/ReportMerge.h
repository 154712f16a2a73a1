// Merges the reports of several runs of `lomix render` into one.
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace lomix::cli {

/// What the runs of one job have done, and what is left to do.
class ReportMerge {
 public:
  using Json = nlohmann::ordered_json;

  /// Adds the content of a report. Throws CommandError for what is no report, or one of another
  /// job.
  void add(const std::string& file, const Json& report);

  /// Returns whether all frames or inputs are done.
  bool isDone() const { return missing().empty() && failures().empty(); }
  Json json() const;
  void print(std::ostream& out) const;
  /// Returns the command lines, without the program's name, that render what is left.
  std::vector<std::vector<std::string>> commands() const;

 private:
  void addShare(const Json& share);
  void addFrames(const Json& report);
  void addInputs(const Json& report);
  std::vector<std::int64_t> absentShares() const;
  std::vector<std::int64_t> missing() const;
  std::map<std::string, std::string> failures() const;
  std::size_t wholeCount() const;
  bool hasReportForEachShare() const;
  std::vector<std::string> repeated(const std::set<std::string>& without) const;

  std::string firstFile_;
  Json input_;
  std::string output_;
  Json settings_;
  std::vector<std::string> arguments_;
  bool isFolder_ = false;   ///< Of inputs, numbered from 1, instead of frames.
  bool isSegment_ = false;  ///< The outputs are segments of a film.
  // Of shares.
  std::int64_t count_ = 0;  ///< 0: the runs were no shares.
  bool blocks_ = false;
  std::string wholeText_;
  std::vector<std::int64_t> whole_;
  std::map<std::int64_t, std::vector<std::int64_t>> parts_;  ///< Frames by share, where it has any.
  std::set<std::int64_t> seen_;                              ///< The shares that have a report.
  std::set<std::int64_t> ended_;  ///< Those of them whose output was written.

  std::set<std::int64_t> done_;
  std::map<std::int64_t, std::string> failed_;  ///< Causes by frame.
  std::set<std::string> inputsDone_;
  std::map<std::string, std::string> failedInputs_;  ///< Causes by input.
  std::vector<std::string> errors_;                  ///< Of runs that ended early.
  std::vector<std::string> warnings_;
};

}  // namespace lomix::cli
