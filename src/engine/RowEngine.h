// The row engine: the reference path's pixels, a row at a time.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "effect/signal/FrameRecord.h"
#include "effect/signal/LomixStruct.h"
#include "engine/ByteMap.h"
#include "engine/ColumnMap.h"
#include "engine/Profiles.h"
#include "engine/SimdTarget.h"
#include "hostapi/Records.h"

namespace lomix::engine {

/// Everything that the pixels of a frame depend on.
struct Frame {
  /// Scalars filled. Empty profiles are made from the time and the output's height; profiles that
  /// already have a value for each output row are used as they are.
  LomixStruct record;
  // The worlds may have padded rows and negative row bytes, and may differ in size. Where one has
  // no data, nothing is drawn.
  PF_LayerDef source;  ///< Width and height from 1. Without data it is drawn by a RowReader alone.
  PF_LayerDef output;  ///< Must not overlap the source's memory, see worldsOverlap().
  int depth;           ///< Bits per channel: 8 or 32; nothing is drawn at any other.
  double invXDown;     ///< Full-resolution columns per column: 2 at half resolution.
  double invYDown;     ///< The same for rows.
  /// In the pixels of both worlds. Where alpha is last, PF_Pixel and PF_PixelFloat only say how
  /// large a pixel is: their member names do not apply.
  AlphaPlace alphaPlace = AlphaPlace::First;
};

using lomix::ParameterValues;

/// Size of the worlds as a part of full resolution, in (0, 1]: 0.5 at half resolution.
struct Scale {
  double x = 1.0;
  double y = 1.0;
};

/// Returns the frame of parameter values, in the panel's units, at a time in seconds. source,
/// output, depth, alphaPlace: as in Frame.
Frame frameOf(const ParameterValues& values, double seconds, const Scale& scale,
              const PF_LayerDef& source, const PF_LayerDef& output, int depth,
              AlphaPlace alphaPlace);

/// Returns whether the memory of two worlds of that depth has bytes in common. Padding between rows
/// counts, padding after the last row does not.
bool worldsOverlap(const PF_LayerDef& a, const PF_LayerDef& b, int depth);

/// Reads the rows of a source whose memory does not have the frame's pixels.
class RowReader {
 public:
  /// Writes pixels first ... end - 1 of a source row to the same columns of row, a row of the
  /// frame's pixels. Any threads may call it at once.
  virtual void read(int y, int first, int end, void* row) const noexcept = 0;

 protected:
  ~RowReader() = default;
};

/// A rectangle of the output, and memory of its own to draw it into.
struct Window {
  int left;  ///< Columns left ... right - 1 and rows top ... bottom - 1 of the output.
  int top;
  int right;
  int bottom;
  void* data;  ///< Of the pixel (left, top). Must not overlap the source's memory.
  std::ptrdiff_t rowBytes;
  bool streaming = true;              ///< Streaming stores are allowed: nobody reads it at once.
  const RowReader* reader = nullptr;  ///< Null: source rows are in the source's memory.
  void* sourceRows = nullptr;         ///< With a reader: memory for two source rows.
};

/// Draws a frame row by row, with the bytes of the reference path (Lomix::Kernel for every pixel,
/// then AERender::Lerp).
class RowEngine {
 public:
  /// Prepares the frame: makes empty profiles and the look-up tables. forBands: how to make the
  /// profiles on several threads. The worlds' pixels are neither read nor written. Throws
  /// std::bad_alloc.
  explicit RowEngine(Frame frame, const SimdTarget& target = bestTarget(),
                     const ForRowBands& forBands = {});
  RowEngine(const RowEngine&) = delete;
  RowEngine& operator=(const RowEngine&) = delete;

  /// Returns the frame as it was given, with its profiles.
  const Frame& frame() const { return frame_; }
  /// Returns the frame's record with its profiles.
  const LomixStruct& record() const { return frame_.record; }
  /// Columns and rows of the output.
  int width() const { return frame_.output.width; }
  int height() const { return frame_.output.height; }

  /// Draws rows first ... last - 1 of the output, in [0, height], blend with the original included.
  /// Allocates nothing and takes no lock; any threads may draw different rows at once.
  void drawRows(int first, int last) const;
  /// Draws a window, inside the output, into the window's memory. The output's own is not touched
  /// and may be null. Allocates nothing; any threads may draw different windows at once.
  void drawWindow(const Window& window) const;

 private:
  template <typename Pixel>
  void drawRow(const Window& window, int y) const;
  template <typename Pixel>
  struct SourceRows;
  template <typename Pixel>
  SourceRows<Pixel> sourceRowsOf(const Window& window, int y, bool blended) const;
  template <typename Row, typename Pixel>
  void drawPixels(const Row& row, const Window& window, int y) const;
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
  // The last steps for a pixel that was opaque, at 8 bits: Row8's opaqueAlpha, finish, and
  // unmultFactor (negative: none reproduces the division).
  struct OpaqueEnd {
    std::uint8_t alpha = 255;
    int unmultFactor = 0;
    ByteTable finish{};
  };
  OpaqueEnd opaqueEnds_[2];  // off and on scanlines
  std::uint8_t grainAlpha_ = 0;
  // 8-bit colour maps, one for each bar level that the frame has, without and with scanline.
  std::vector<ByteMap> maps_;
  std::optional<BlendMap> blendMap_;
  std::vector<int> mapOfSlot_;
};

}  // namespace lomix::engine
