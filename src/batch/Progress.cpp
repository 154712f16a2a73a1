#include "batch/Progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace lomix::batch {
namespace {

constexpr std::chrono::milliseconds kBarInterval{200};
constexpr std::chrono::milliseconds kLineInterval{1000};
constexpr int kBarWidth = 24;
constexpr const char* kClearLine = "\r\x1b[K";

std::string duration(double seconds) {
  const auto whole = static_cast<std::int64_t>(std::ceil(seconds));
  if (whole < 60) return std::to_string(whole) + " s";
  char text[32];
  if (whole < 3600) {
    std::snprintf(text, sizeof text, "%d:%02d min", static_cast<int>(whole / 60),
                  static_cast<int>(whole % 60));
  } else {
    std::snprintf(text, sizeof text, "%lld:%02d h", static_cast<long long>(whole / 3600),
                  static_cast<int>(whole / 60 % 60));
  }
  return text;
}

std::string bar(std::int64_t done, std::int64_t total) {
  const auto filled = static_cast<std::size_t>(
      std::clamp<std::int64_t>(total > 0 ? done * kBarWidth / total : 0, 0, kBarWidth));
  return "[" + std::string(filled, '=') + std::string(kBarWidth - filled, ' ') + "] ";
}

}  // namespace

std::string progressText(std::int64_t done, std::int64_t rendered,
                         std::optional<std::int64_t> total, double seconds) {
  std::string text = std::to_string(done);
  if (total) text += " of " + std::to_string(*total);
  text += " frames";
  if (rendered == 0 || seconds <= 0.0) return text;
  const double rate = static_cast<double>(rendered) / seconds;
  char number[32];
  std::snprintf(number, sizeof number, rate < 10 ? ", %.2f frames/s" : ", %.1f frames/s", rate);
  text += number;
  if (total && *total >= done) {
    text += ", " + duration(static_cast<double>(*total - done) / rate) + " left";
  }
  return text;
}

Progress::Progress(const Streams& streams, const Tally& tally, std::optional<std::int64_t> total,
                   bool quiet)
    : streams_(streams), tally_(tally), total_(total) {
  if (!quiet && total_ != 1)
    thread_ = std::jthread([this](const std::stop_token& stop) { showRegularly(stop); });
}

Progress::~Progress() {
  if (thread_.joinable()) {
    thread_.request_stop();
    thread_.join();
  }
  if (barShown_) streams_.err << kClearLine << std::flush;
}

void Progress::say(const std::string& line) {
  const std::lock_guard lock(mutex_);
  streams_.err << (barShown_ ? kClearLine : "") + line + "\n" << std::flush;
  barShown_ = false;
}

void Progress::showRegularly(const std::stop_token& stop) {
  const auto interval = streams_.errIsTerminal ? kBarInterval : kLineInterval;
  std::unique_lock lock(mutex_);
  while (!ended_.wait_for(lock, stop, interval, [&] { return stop.stop_requested(); })) show();
}

void Progress::show() {
  const std::int64_t rendered = tally_.rendered;
  const std::int64_t done = rendered + tally_.skipped + tally_.failed;
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  const std::string text = progressText(done, rendered, total_, seconds);
  if (streams_.errIsTerminal) {
    streams_.err << kClearLine + (total_ ? bar(done, *total_) : "") + text << std::flush;
    barShown_ = true;
  } else {
    streams_.err << text + "\n" << std::flush;
  }
}

}  // namespace lomix::batch
