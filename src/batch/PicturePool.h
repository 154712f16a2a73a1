// Memory for the pictures of the frames in flight.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "media/picture/Picture.h"

namespace lomix::batch {

/// Lends a limited number of pictures and reuses their memory. Any thread.
class PicturePool {
 public:
  /// limit: the most pictures lent at a time.
  explicit PicturePool(int limit) : state_(std::make_shared<State>()) { state_->left = limit; }

  /// Waits until a picture is free and returns it. It is free again when its last pointer is
  /// destroyed, which may be after the pool.
  std::shared_ptr<media::Picture> take() {
    return {new media::Picture(state_->take()), [state = state_](media::Picture* picture) {
              state->put(std::move(*picture));
              delete picture;
            }};
  }

 private:
  struct State {
    media::Picture take() {
      std::unique_lock lock(mutex);
      changed.wait(lock, [this] { return left > 0; });
      --left;
      media::Picture picture;
      if (!idle.empty()) {
        picture = std::move(idle.back());
        idle.pop_back();
      }
      return picture;
    }
    void put(media::Picture picture) {
      const std::lock_guard lock(mutex);
      idle.push_back(std::move(picture));
      ++left;
      changed.notify_one();
    }

    std::mutex mutex;
    std::condition_variable changed;
    int left = 0;
    std::vector<media::Picture> idle;
  };

  std::shared_ptr<State> state_;
};

}  // namespace lomix::batch
