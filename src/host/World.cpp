#include "host/World.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include "host/GuardPattern.h"
#include "host/HostError.h"
#include "hostapi/Commands.h"

namespace lomix::host {
namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::size_t kGuardBytes = 1024;

// A record of a World has the address of one of these in a private field, for depthOf().
constexpr std::array<int, 3> kDepthMarks{8, 16, 32};

void check(bool good, int width, int height, int depth, const char* cause) {
  if (good) return;
  throw HostError("cannot make a world of " + std::to_string(width) + " x " +
                  std::to_string(height) + " pixels of " + std::to_string(depth) +
                  " bits: " + cause);
}

}  // namespace

World::World(int width, int height, int depth, WorldLayout layout)
    : width_(width), height_(height), depth_(depth) {
  check(depth == 8 || depth == 16 || depth == 32, width, height, depth,
        "no such depth (use 8, 16 or 32)");
  check(width >= 0 && height >= 0, width, height, depth, "negative size (use 0 or more)");
  check(layout.extraRowBytes >= 0 && layout.misalignmentBytes >= 0 &&
            layout.extraRowBytes % (depth / 8) == 0 && layout.misalignmentBytes % (depth / 8) == 0,
        width, height, depth, "padding that breaks the channels' alignment (use whole channels)");
  rowPixelBytes_ = static_cast<std::size_t>(width) * static_cast<std::size_t>(bytesPerPixel(depth));
  const std::size_t rowBytes = rowPixelBytes_ + static_cast<std::size_t>(layout.extraRowBytes);
  check(rowBytes <= static_cast<std::size_t>(std::numeric_limits<A_long>::max()), width, height,
        depth, "rows too long for the host's record (use a narrower picture)");
  stride_ = layout.bottomUp ? -static_cast<int>(rowBytes) : static_cast<int>(rowBytes);

  // A guard has room for a whole row, so that a write one row too far changes only guard bytes.
  const std::size_t guard = kGuardBytes + rowBytes;
  const std::size_t shift = static_cast<std::size_t>(layout.misalignmentBytes);
  const std::size_t picture = rowBytes * static_cast<std::size_t>(height);
  storage_.resize(guard + kAlignment + shift + picture + guard);
  const std::size_t start = reinterpret_cast<std::uintptr_t>(storage_.data()) + guard;
  firstByte_ = guard + (kAlignment - start % kAlignment) % kAlignment + shift;

  writeGuard(storage_, 0);
  for (int y = 0; y < height; ++y) std::memset(row(y), 0, rowPixelBytes_);

  layer_.reserved0 = const_cast<int*>(&kDepthMarks[depth == 8 ? 0 : depth == 16 ? 1 : 2]);
  layer_.world_flags = PF_WorldFlag_WRITEABLE | (depth == 16 ? PF_WorldFlag_DEEP : 0);
  layer_.data = reinterpret_cast<PF_Pixel*>(height > 0 ? row(0) : storage_.data() + firstByte_);
  layer_.rowbytes = stride_;
  layer_.width = width;
  layer_.height = height;
  layer_.extent_hint = {0, 0, width, height};
  layer_.pix_aspect_ratio = {1, 1};
}

std::byte* World::row(int y) { return const_cast<std::byte*>(std::as_const(*this).row(y)); }

const std::byte* World::row(int y) const {
  const int place = stride_ < 0 ? height_ - 1 - y : y;
  return storage_.data() + firstByte_ +
         static_cast<std::size_t>(std::abs(stride_)) * static_cast<std::size_t>(place);
}

bool World::guardsIntact() const {
  const std::span<const std::byte> all(storage_);
  const std::size_t rowBytes = static_cast<std::size_t>(std::abs(stride_));
  std::size_t guardStart = 0;
  std::size_t rowStart = firstByte_;
  for (int m = 0; m < height_; ++m) {
    if (!guardHolds(all.subspan(guardStart, rowStart - guardStart), guardStart)) return false;
    guardStart = rowStart + rowPixelBytes_;
    rowStart += rowBytes;
  }
  return guardHolds(all.subspan(guardStart), guardStart);
}

// Four independent sums: with one, every multiplication would wait for the one before.
std::uint64_t World::pixelHash() const {
  constexpr std::size_t kLanes = 4;
  constexpr std::size_t kBlock = kLanes * sizeof(std::uint64_t);
  std::array<std::uint64_t, kLanes> sums{1, 2, 3, 4};
  const auto mix = [](std::uint64_t& sum, std::uint64_t word) {
    sum = (sum ^ word) * 0xD6E8FEB86659FD93U;
    sum ^= sum >> 32U;
  };
  for (int y = 0; y < height_; ++y) {
    const std::byte* const bytes = row(y);
    for (std::size_t done = 0; done < rowPixelBytes_; done += kBlock) {
      std::array<std::uint64_t, kLanes> words{};
      std::memcpy(words.data(), bytes + done, std::min(kBlock, rowPixelBytes_ - done));
      for (std::size_t lane = 0; lane < kLanes; ++lane) mix(sums[lane], words[lane]);
    }
  }
  std::uint64_t hash = 0;
  for (const std::uint64_t sum : sums) mix(hash, sum);
  return hash;
}

int depthOf(const PF_LayerDef& layer) {
  for (const int& mark : kDepthMarks) {
    if (layer.reserved0 == &mark) return mark;
  }
  return 0;
}

}  // namespace lomix::host
