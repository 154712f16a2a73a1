// The row engine: the reference path's pixels, a row at a time.
#pragma once

#include <optional>
#include <vector>

#include "effect/signal/LomixStruct.h"
#include "engine/ByteMap.h"
#include "engine/ColumnMap.h"
#include "engine/Profiles.h"
#include "engine/SimdTarget.h"
#include "hostapi/Records.h"

namespace lomix::engine {

/// Everything that a frame's pixels depend on.
struct Frame {
  /// Scalars filled; profiles empty, to be made from the time and the output's height. Profiles
  /// that are there already, of the output's height or more, are used as they are.
  LomixStruct record;
  PF_LayerDef source;  ///< Not empty, with pixels.
  PF_LayerDef output;  ///< Its memory must not overlap the source's.
  int depth;           ///< Bits per channel: 8 or 32; nothing is drawn at any other.
  double invXDown;     ///< 2 at half resolution.
  double invYDown;
  /// Of both worlds. Where it is last, PF_Pixel and PF_PixelFloat are only four channels in memory:
  /// their members' names do not apply.
  AlphaPlace alphaPlace = AlphaPlace::First;
};

/// Whether the memory of two worlds of that depth has bytes in common.
bool worldsOverlap(const PF_LayerDef& a, const PF_LayerDef& b, int depth);

/// Draws a frame with every byte as Lomix::Kernel and AERender::Lerp leave it. All preparation is
/// done at construction; drawing is const, allocates nothing, takes no lock, and may run on any
/// number of threads that draw different rows.
class RowEngine {
 public:
  /// forBands: runs the work that is the same for every row, where the frame's profiles are to be
  /// made on several threads.
  explicit RowEngine(Frame frame, const SimdTarget& target = bestTarget(),
                     const ForRowBands& forBands = {});
  RowEngine(const RowEngine&) = delete;
  RowEngine& operator=(const RowEngine&) = delete;

  /// The frame's record, profiles included.
  const LomixStruct& record() const { return frame_.record; }
  /// Rows of the output.
  int height() const { return frame_.output.height; }

  /// Draws rows first ... last - 1 of the output, blend with the original included.
  void drawRows(int first, int last) const;

 private:
  template <typename Pixel>
  void drawRow(int y) const;
  template <typename Row, typename Pixel>
  void drawPixels(const Row& row, int y) const;
  template <typename Row, typename Pixel>
  void drawRun(const Row& row, const Run<Pixel>& run) const;
  template <typename Row>
  void setBarsAndDark(Row& row, int y) const;
  void finishRow(Row8& row) const;
  void finishRow(Row32&) const {}
  GrainRow grainRow(int y) const;

  void prepareOpaqueEnds();
  void prepareColourMaps();
  std::size_t mapSlot(bool bars, int barsLevel, bool dark) const;

  Frame frame_;
  const SimdTarget& target_;
  ColumnMap columns_;
  bool streaming_;
  // What becomes of an opaque 8-bit pixel: Row8's opaqueAlpha, finish, and unmultFactor or a
  // negative number.
  struct OpaqueEnd {
    std::uint8_t alpha = 255;
    int unmultFactor = 0;
    ByteTable finish{};
  };
  OpaqueEnd opaqueEnds_[2];  // off and on scanlines
  std::uint8_t grainAlpha_ = 0;
  // 8-bit colour maps by bar level and scanline, made for the levels that the frame has.
  std::vector<ByteMap> maps_;
  std::optional<BlendMap> blendMap_;
  std::vector<int> mapOfSlot_;
};

}  // namespace lomix::engine
