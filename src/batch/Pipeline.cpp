#include "batch/Pipeline.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "batch/Interrupt.h"

namespace lomix::batch {
namespace {

/// Adds the time of a scope to a sum.
class Stopwatch {
 public:
  explicit Stopwatch(std::atomic<std::int64_t>& sum) : sum_(sum) {}
  ~Stopwatch() {
    sum_ += std::chrono::nanoseconds(std::chrono::steady_clock::now() - start_).count();
  }
  Stopwatch(const Stopwatch&) = delete;
  Stopwatch& operator=(const Stopwatch&) = delete;

 private:
  std::atomic<std::int64_t>& sum_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Pictures beyond one per thread. Every waiting thread holds one; the thread that renders the next
// frame in order needs two, and an encoder may keep two that it has finished with. With fewer, all
// threads could wait for each other.
constexpr int kSparePictures = 4;

}  // namespace

Pipeline::Pipeline(FrameSource& source, FrameRenderer& renderer, const looks::Look& look,
                   FrameSink& sink, int threads)
    : source_(source),
      renderer_(renderer),
      look_(look),
      sink_(sink),
      threads_(threads),
      pictures_(threads + kSparePictures) {}

void Pipeline::addFailure(FrameFailure failure) {
  const std::lock_guard lock(resultMutex_);
  failures_.push_back(std::move(failure));
  ++tally_.failed;
}

void Pipeline::addDone(std::int64_t number) {
  const std::lock_guard lock(resultMutex_);
  done_.push_back(number);
}

void Pipeline::run() {
  const PatientWork patient;
  const std::int64_t count = source_.count().value_or(threads_ + 1);
  if (count == 1) bandThreads_ = threads_;
  {
    // Where frames are appended in order, threads wait for each other: one more keeps all
    // processors busy.
    const int workers = sink_.allowsGaps() ? threads_ : threads_ + 1;
    std::vector<std::jthread> others;
    for (std::int64_t i = 1; i < std::min<std::int64_t>(workers, count); ++i) {
      others.emplace_back([this] { work(); });
    }
    work();
  }
  if (error_) std::rethrow_exception(error_);
  if (interruptedBy_ == 0) {
    sink_.finish();
    renderer_.finish();
  }
}

void Pipeline::work() {
  try {
    while (const std::optional<Job> job = nextJob()) process(*job);
  } catch (...) {
    fail(std::current_exception());
  }
}

void Pipeline::fail(std::exception_ptr error) {
  const std::lock_guard lock(resultMutex_);
  if (!error_) error_ = std::move(error);
  stop_ = true;
  const std::lock_guard order(orderMutex_);
  failed_ = true;
  orderChanged_.notify_all();
}

std::optional<Pipeline::Job> Pipeline::nextJob() {
  const std::lock_guard lock(sourceMutex_);
  const Stopwatch watch(tally_.readTime);
  while (!stop_) {
    if (const int signal = PatientWork::interruptedBy(); signal != 0) {
      interruptedBy_ = signal;
      break;
    }
    std::optional<Frame> frame = source_.next();
    if (!frame) {
      stop_ = true;
      for (const std::int64_t number : source_.missing()) {
        addFailure({number, "it does not exist"});
      }
      break;
    }
    if (!sink_.has(*frame)) return Job{std::move(*frame), nextPlace_++};
    ++tally_.skipped;
    addDone(frame->number);
  }
  return std::nullopt;
}

void Pipeline::process(const Job& job) {
  std::shared_ptr<media::Picture> input = pictures_.take();
  if (!load(job.frame, *input)) return;
  std::shared_ptr<media::Picture> output = pictures_.take();
  {
    const Stopwatch watch(tally_.effectTime);
    renderer_.render(look_, *input, job.frame.time, bandThreads_, *output);
  }
  input.reset();
  Taken taken;
  {
    const Stopwatch watch(tally_.writeTime);
    taken = sink_.take(job.frame, std::move(output));
  }
  if (taken.prepared) append(job.place, *taken.prepared);
  ++(taken.isKept ? tally_.skipped : tally_.rendered);
  addDone(job.frame.number);
}

bool Pipeline::load(const Frame& frame, media::Picture& picture) {
  const Stopwatch watch(tally_.readTime);
  try {
    source_.load(frame, picture);
    return true;
  } catch (const std::exception& error) {
    // Of any kind: the libraries behind a reader throw their own for damaged files.
    if (!sink_.allowsGaps()) throw;
    addFailure({frame.number, error.what()});
    if (onFailure) onFailure(error.what());
    return false;
  }
}

void Pipeline::append(std::int64_t place, media::EncodableFrame& prepared) {
  std::unique_lock lock(orderMutex_);
  orderChanged_.wait(lock, [&] { return place == appended_ || failed_; });
  if (failed_) return;
  {
    const Stopwatch watch(tally_.writeTime);
    prepared.append();
  }
  ++appended_;
  orderChanged_.notify_all();
}

}  // namespace lomix::batch
