#pragma once

#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "media/Picture.h"

namespace lomix::cli {

/// The memory of the frames in flight: so many at a time, used again and again.
class PicturePool {
 public:
  explicit PicturePool(int limit) : left_(limit) {}

  /// One of the pool's pictures, back in it when this goes.
  class Loan {
   public:
    /// Waits until one is free.
    explicit Loan(PicturePool& pool) : pool_(&pool), picture_(pool.take()) {}
    ~Loan() { giveBack(); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    media::Picture& operator*() { return picture_; }
    void giveBack() {
      if (pool_ != nullptr) std::exchange(pool_, nullptr)->put(std::move(picture_));
    }

   private:
    PicturePool* pool_;
    media::Picture picture_;
  };

 private:
  media::Picture take() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return left_ > 0; });
    --left_;
    media::Picture picture;
    if (!free_.empty()) {
      picture = std::move(free_.back());
      free_.pop_back();
    }
    return picture;
  }

  void put(media::Picture picture) {
    const std::lock_guard lock(mutex_);
    free_.push_back(std::move(picture));
    ++left_;
    changed_.notify_one();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  int left_;
  std::vector<media::Picture> free_;
};

}  // namespace lomix::cli
