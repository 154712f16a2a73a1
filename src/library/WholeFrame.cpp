#include "library/WholeFrame.h"

#include <atomic>
#include <new>
#include <utility>

namespace lomix::library {
namespace {

/// Draws the rows of a prepared frame.
class DrawTask : public RowTask {
 public:
  DrawTask(const engine::RowEngine& rows, const DrawRows& drawRows, Progress progress, void* user)
      : rows_(rows), drawRows_(drawRows), progress_(progress), user_(user) {}

  // An exception must not end a worker thread.
  void doRows(int first, int last) const noexcept override {
    try {
      if (drawRows_) {
        drawRows_(rows_, first, last);
      } else {
        rows_.drawRows(first, last);
      }
    } catch (...) {
      failed_ = true;
    }
  }
  bool goOn(int rowsDone) override {
    return !failed_ && (progress_ == nullptr || progress_(user_, rowsDone, rows_.height()));
  }
  bool failed() const { return failed_; }

 private:
  const engine::RowEngine& rows_;
  const DrawRows& drawRows_;
  mutable std::atomic<bool> failed_ = false;
  Progress progress_;
  void* user_;
};

/// Makes the profiles of some rows.
class ProfileTask : public RowTask {
 public:
  explicit ProfileTask(const std::function<void(int, int)>& makeRows) : makeRows_(makeRows) {}

  void doRows(int first, int last) const noexcept override { makeRows_(first, last); }

 private:
  const std::function<void(int, int)>& makeRows_;
};

}  // namespace

bool drawWholeFrame(WorkerPool& pool, engine::Frame frame, const engine::SimdTarget& target,
                    Progress progress, void* user, const DrawRows& drawRows) {
  const auto makeProfiles = [&pool](int rows, const std::function<void(int, int)>& makeRows) {
    ProfileTask task(makeRows);
    pool.run(task, rows);
  };
  const engine::RowEngine rows(std::move(frame), target, makeProfiles);
  DrawTask task(rows, drawRows, progress, user);
  const bool complete = pool.run(task, rows.height());
  if (task.failed()) throw std::bad_alloc();
  return complete;
}

}  // namespace lomix::library
