// Pictures in memory: sizes, depths, reduction and orientation.
#include <gmock/gmock.h>

#include <algorithm>
#include <limits>

#include "media/picture/Picture.h"
#include "support/MediaError.h"

namespace lomix::media {
namespace {

using testing::ElementsAre;

TEST(Picture, ImpossibleSizesAndDepthsAreRefused) {
  EXPECT_THROW(Picture(0, 1, 8), MediaError);
  EXPECT_THROW(Picture(1, -1, 8), MediaError);
  EXPECT_THROW(Picture(65536, 1, 8), MediaError);
  EXPECT_THROW(Picture(1, 1, 16), MediaError);
  EXPECT_THROW(Picture(60000, 60000, 8), MediaError);
  EXPECT_EQ(Picture(65535, 1, 8).row8(0).size(), 262140u);
}

TEST(Picture, EightBitsGoToFloatsAndBack) {
  Picture picture(64, 1, 8);
  for (std::size_t i = 0; i < 256; ++i) picture.row8(0)[i] = static_cast<std::uint8_t>(i);
  const Picture floats = toDepth(picture, 32);
  EXPECT_EQ(floats.row32(0)[51], 0.2f);
  EXPECT_TRUE(std::ranges::equal(toDepth(floats, 8).row8(0), picture.row8(0)));
}

TEST(Picture, FloatsRoundToNearestAndClampInEightBits) {
  Picture picture(2, 1, 32);
  const float values[] = {-1,
                          0.0019f,
                          0.0020f,
                          0.5f,
                          0.9981f,
                          2,
                          std::numeric_limits<float>::quiet_NaN(),
                          std::numeric_limits<float>::infinity()};
  std::ranges::copy(values, picture.row32(0).begin());
  const Picture bytes = toDepth(picture, 8);
  EXPECT_THAT(std::vector<int>(bytes.row8(0).begin(), bytes.row8(0).end()),
              ElementsAre(0, 0, 1, 128, 255, 255, 0, 255));
}

TEST(Picture, ReductionWeighsColoursByAlphaAndRoundsTheSizeUp) {
  Picture picture(3, 3, 32);
  picture.info.hasAlpha = true;
  const auto put = [&](int x, int y, float alpha, float red) {
    picture.row32(y)[static_cast<std::size_t>(x) * 4] = alpha;
    picture.row32(y)[static_cast<std::size_t>(x) * 4 + 1] = red;
  };
  // Upper left block: alphas 1, 0.5, 0.5, 0; reds 1, 0, 0.5, 9.
  put(0, 0, 1.0f, 1.0f);
  put(1, 0, 0.5f, 0.0f);
  put(0, 1, 0.5f, 0.5f);
  put(1, 1, 0.0f, 9.0f);
  put(2, 0, 1.0f, 0.25f);  // Blocks of the last column are 1 pixel wide.
  put(2, 1, 1.0f, 0.75f);
  put(2, 2, 0.5f, 2.0f);  // The corner block is 1 pixel.
  const Picture small = reduced(picture, 2, 2);
  ASSERT_EQ(small.width(), 2);
  ASSERT_EQ(small.height(), 2);
  EXPECT_THAT(std::vector<float>(small.row32(0).begin(), small.row32(0).end()),
              ElementsAre(0.5f, 0.625f, 0, 0, 1.0f, 0.5f, 0, 0));
  EXPECT_THAT(std::vector<float>(small.row32(1).begin(), small.row32(1).end()),
              ElementsAre(0, 0, 0, 0, 0.5f, 2.0f, 0, 0));
}

TEST(Picture, UnequalReductionChangesThePixelAspect) {
  Picture picture(8, 8, 8);
  EXPECT_EQ(reduced(picture, 2, 4).info.pixelAspect, 0.5);
  EXPECT_EQ(reduced(picture, 4, 4).info.pixelAspect, 1.0);
  EXPECT_EQ(reduced(picture, 2, 4).height(), 2);
}

TEST(Picture, CameraOrientationsAreSetUpright) {
  Picture stored(3, 2, 8);
  for (int i = 0; i < 6; ++i) {
    stored.row8(i / 3)[static_cast<std::size_t>(i % 3) * 4 + 1] =
        static_cast<std::uint8_t>('a' + i);
  }
  stored.info.pixelAspect = 2.0;
  struct Case {
    int orientation;
    const char* rows;
  };
  for (const Case& c : {Case{0, "abc def"},
                        {1, "abc def"},
                        {2, "cba fed"},
                        {3, "fed cba"},
                        {4, "def abc"},
                        {5, "ad be cf"},
                        {6, "da eb fc"},
                        {7, "fc eb da"},
                        {8, "cf be ad"},
                        {9, "abc def"}}) {
    for (const int depth : {8, 32}) {
      const Picture picture = upright(toDepth(stored, depth), c.orientation);
      EXPECT_EQ(picture.info.pixelAspect, picture.width() == 3 ? 2.0 : 0.5);
      const Picture bytes = toDepth(picture, 8);
      std::string rows;
      for (int y = 0; y < bytes.height(); ++y) {
        if (y > 0) rows += ' ';
        for (int x = 0; x < bytes.width(); ++x) {
          rows += static_cast<char>(bytes.row8(y)[static_cast<std::size_t>(x) * 4 + 1]);
        }
      }
      EXPECT_EQ(rows, c.rows) << c.orientation;
    }
  }
}

}  // namespace
}  // namespace lomix::media
