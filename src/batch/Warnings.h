// What a run loses or changes, for the user and for the report.
#pragma once

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace lomix::batch {

/// Collects the warnings of a run and prints them. Any thread.
class Warnings {
 public:
  /// print: called for each warning, "warning: ..." without a line break; empty: none is printed.
  using Print = std::function<void(const std::string&)>;
  void setPrint(Print print) {
    const std::lock_guard lock(mutex_);
    print_ = std::move(print);
  }

  /// text: one line, "subject: what is lost or changed (way out)". The same text counts once.
  void add(const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (std::ranges::find(all_, text) != all_.end()) return;
    all_.push_back(text);
    if (print_) print_("warning: " + text);
  }

  std::vector<std::string> all() const {
    const std::lock_guard lock(mutex_);
    return all_;
  }

 private:
  mutable std::mutex mutex_;
  Print print_;
  std::vector<std::string> all_;
};

}  // namespace lomix::batch
