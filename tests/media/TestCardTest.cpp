// The test card: its bars, grid, corner and symmetry.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "media/drawing/TestCard.h"
#include "support/MediaError.h"

namespace lomix::media {
namespace {

std::array<int, 4> pixel(const Picture& picture, int x, int y) {
  const auto row = picture.row8(y).subspan(static_cast<std::size_t>(x) * 4, 4);
  return {row[0], row[1], row[2], row[3]};
}

TEST(TestCard, ShowsTheBarsAtThreeQuartersInBroadcastOrder) {
  const Picture card = drawTestCard(1280, 720);
  struct Bar {
    const char* name;
    int x;
    std::array<int, 4> colour;
  };
  for (const Bar& bar :
       {Bar{"white", 380, {255, 191, 191, 191}}, Bar{"yellow", 447, {255, 191, 191, 0}},
        Bar{"cyan", 524, {255, 0, 191, 191}}, Bar{"green", 601, {255, 0, 191, 0}},
        Bar{"magenta", 679, {255, 191, 0, 191}}, Bar{"red", 756, {255, 191, 0, 0}},
        Bar{"blue", 833, {255, 0, 0, 191}}, Bar{"black", 900, {255, 0, 0, 0}}}) {
    EXPECT_EQ(pixel(card, bar.x, 278), bar.colour) << bar.name;
  }
}

TEST(TestCard, GridLinesAreAFourteenthOfTheHeightApart) {
  const Picture card = drawTestCard(1280, 720);
  // Row 30, just inside the border, has only the ground and vertical lines.
  const auto ground = pixel(card, 665, 30);
  std::vector<int> starts;
  for (int x = 27; x < 1253; ++x) {
    if (pixel(card, x, 30) != ground && pixel(card, x - 1, 30) == ground) starts.push_back(x);
  }
  ASSERT_EQ(starts.size(), 23u);
  for (int i = 0; i < 23; ++i) {
    EXPECT_NEAR(starts[static_cast<std::size_t>(i)] + 1, 640 + (i - 11) * 720 / 14.0, 1.0) << i;
  }
}

TEST(TestCard, OnlyTheLowerRightCornerIsTransparentAndOnlyOnDemand) {
  const Picture opaque = drawTestCard(640, 480);
  const Picture card = drawTestCard(640, 480, CardCorner::Transparent);
  EXPECT_TRUE(card.info.hasAlpha);
  EXPECT_FALSE(opaque.info.hasAlpha);
  for (int y = 0; y < 480; ++y) {
    for (int x = 0; x < 640; ++x) {
      auto shown = pixel(card, x, y);
      shown[0] = 255;
      ASSERT_EQ(pixel(opaque, x, y), shown) << x << "," << y;
    }
  }
  EXPECT_EQ(pixel(card, 639, 479)[0], 0);
  EXPECT_EQ(pixel(card, 639 - 25, 479 - 25)[0], 0);
  EXPECT_EQ(pixel(card, 639 - 45, 479)[0], 255);
  for (const auto& [x, y] : {std::pair{0, 0}, {639, 0}, {0, 479}, {320, 240}}) {
    EXPECT_EQ(pixel(card, x, y)[0], 255) << x << "," << y;
  }
}

class CardSize : public testing::TestWithParam<std::pair<int, int>> {};

TEST_P(CardSize, CircleIsRoundAndBorderMirrored) {
  const auto [width, height] = GetParam();
  const Picture card = drawTestCard(width, height);
  const double radius = 6.0 * std::min(width, height) / 14.0;
  // At angles between the grid lines, just inside the circle is its white line, and a few pixels
  // outside is the dark ground.
  for (const double angle : {0.33, 1.9, 3.6, 5.2}) {
    const auto at = [&](double r) {
      return pixel(card, static_cast<int>(width / 2.0 + r * std::cos(angle)),
                   static_cast<int>(height / 2.0 + r * std::sin(angle)));
    };
    EXPECT_GT(at(radius - 1.0)[1], 200) << angle;
    EXPECT_EQ(at(radius + 4.0)[1], 96) << angle;
  }
  for (int x = 0; x < width; ++x) {
    EXPECT_EQ(pixel(card, x, 0), pixel(card, width - 1 - x, 0)) << x;
  }
  for (int y = 0; y < height; ++y) {
    EXPECT_EQ(pixel(card, 0, y), pixel(card, 0, height - 1 - y)) << y;
  }
}
INSTANTIATE_TEST_SUITE_P(Sizes, CardSize,
                         testing::Values(std::pair{1280, 720}, std::pair{640, 480},
                                         std::pair{1080, 1920}, std::pair{853, 481}));

TEST(TestCard, EveryTinySizeIsDrawn) {
  for (int width = 1; width <= 40; ++width) {
    for (int height = 1; height <= 40; ++height) {
      const Picture card = drawTestCard(width, height);
      ASSERT_EQ(card.width(), width);
      ASSERT_EQ(card.height(), height);
      ASSERT_EQ(pixel(card, 0, 0)[0], 255) << width << "x" << height;
    }
  }
}

TEST(TestCard, SizesOutsideTheRangeAreRefused) {
  for (const auto& [width, height] : {std::pair{0, 9}, {9, 0}, {-1, 9}, {16385, 9}, {9, 16385}}) {
    EXPECT_THROW(drawTestCard(width, height), MediaError) << width << "x" << height;
  }
  EXPECT_EQ(drawTestCard(16384, 3).width(), 16384);
}

}  // namespace
}  // namespace lomix::media
