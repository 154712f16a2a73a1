#include "library/WholeFrame.h"

#include <functional>
#include <utility>

namespace lomix::library {
namespace {

/// Draws the rows of a prepared frame.
class DrawTask : public RowTask {
 public:
  DrawTask(const engine::RowEngine& rows, Progress progress, void* user)
      : rows_(rows), progress_(progress), user_(user) {}

  void doRows(int first, int last) const noexcept override { rows_.drawRows(first, last); }
  bool goOn(int rowsDone) override {
    return progress_ == nullptr || progress_(user_, rowsDone, rows_.height());
  }

 private:
  const engine::RowEngine& rows_;
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
                    Progress progress, void* user) {
  const auto makeProfiles = [&pool](int rows, const std::function<void(int, int)>& makeRows) {
    ProfileTask task(makeRows);
    pool.run(task, rows);
  };
  const engine::RowEngine rows(std::move(frame), target, makeProfiles);
  DrawTask task(rows, progress, user);
  return pool.run(task, rows.height());
}

}  // namespace lomix::library
