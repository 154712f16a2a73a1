// The built-in landscape: what is where, at every size, and its bytes.
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <set>

#include "media/drawing/Scene.h"
#include "media/drawing/TestPicture.h"
#include "support/MediaError.h"

namespace lomix::media {
namespace {

/// Returns the mean of each colour in a part of the picture; sides as parts of the picture's.
std::array<double, 3> mean(const Picture& picture, double left, double top, double right,
                           double bottom) {
  std::array<double, 3> sum{};
  double count = 0;
  for (int y = static_cast<int>(top * picture.height()); y < bottom * picture.height(); ++y) {
    for (int x = static_cast<int>(left * picture.width()); x < right * picture.width(); ++x) {
      const auto* pixel = picture.row8(y).data() + std::ptrdiff_t{x} * Picture::kChannels;
      for (std::size_t c = 0; c < 3; ++c) sum[c] += pixel[c + 1];
      ++count;
    }
  }
  for (double& value : sum) value /= count;
  return sum;
}

double brightness(const Picture& picture, double left, double top, double right, double bottom) {
  const auto colour = mean(picture, left, top, right, bottom);
  return (colour[0] + colour[1] + colour[2]) / 3.0;
}

class SceneSize : public testing::TestWithParam<std::pair<int, int>> {};

TEST_P(SceneSize, ShowsSkySunWaterAndShore) {
  const auto [width, height] = GetParam();
  const Picture scene = drawScene(width, height);
  struct Part {
    const char* name;
    double left, top, right, bottom;
    double darkest, brightest;
  };
  const double sun = 0.62 - 1.28 * std::min(height / 9.0, width / 10.0) / height;
  for (const Part& part : {Part{"zenith", 0.4, 0.0, 0.6, 0.03, 40, 110},
                           {"sky above the sun", 0.3, 0.40, 0.4, 0.44, 130, 210},
                           {"sun", 0.337, sun - 0.004, 0.353, sun + 0.004, 245, 255},
                           {"woods of the far shore", 0.05, 0.608, 0.25, 0.616, 20, 90},
                           {"water", 0.1, 0.75, 0.3, 0.8, 80, 180},
                           {"path of the sun on it", 0.33, 0.68, 0.36, 0.72, 135, 240},
                           {"near shore", 0.97, 0.95, 1.0, 1.0, 5, 30}}) {
    const double shown = brightness(scene, part.left, part.top, part.right, part.bottom);
    EXPECT_GE(shown, part.darkest) << part.name;
    EXPECT_LE(shown, part.brightest) << part.name;
  }
  // The sky is blue at the top and red above the hills.
  const auto zenith = mean(scene, 0.4, 0.0, 0.6, 0.03);
  const auto low = mean(scene, 0.2, 0.45, 0.5, 0.5);
  EXPECT_GT(zenith[2], 1.1 * zenith[0]);
  EXPECT_GT(low[0], 1.3 * low[2]);
  // The mast is darker than the sky on both sides of it.
  const auto at = [&](double x) { return brightness(scene, x, 0.52, x + 0.001, 0.53); };
  EXPECT_LT(at(0.7345) + 50, at(0.725));
  EXPECT_LT(at(0.7345) + 50, at(0.745));
}
INSTANTIATE_TEST_SUITE_P(Sizes, SceneSize,
                         testing::Values(std::pair{1280, 720}, std::pair{320, 180},
                                         std::pair{640, 480}, std::pair{2100, 900}));

TEST(Scene, IsTheSamePictureAtEverySize) {
  const Picture large = reduced(drawScene(1280, 720), 4, 4);
  const Picture small = drawScene(320, 180);
  double sum = 0;
  for (int y = 0; y < 180; ++y) {
    for (std::size_t i = 0; i < small.row8(y).size(); ++i) {
      sum += std::abs(large.row8(y)[i] - small.row8(y)[i]);
    }
  }
  EXPECT_LT(sum / (320 * 180 * 3), 4.0);
}

TEST(Scene, HasTheSameBytesOnEverySystem) {
  struct Case {
    int width, height;
    std::uint64_t hash;
  };
  for (const Case& c : {Case{320, 180, 14401637331740203660u},
                        {97, 150, 14595136698329646695u},
                        {500, 60, 17838851723879540477u}}) {
    const Picture scene = drawScene(c.width, c.height);
    std::uint64_t hash = 14695981039346656037u;  // FNV-1a.
    for (int y = 0; y < c.height; ++y) {
      for (const std::uint8_t byte : scene.row8(y)) hash = (hash ^ byte) * 1099511628211u;
    }
    EXPECT_EQ(hash, c.hash) << c.width << "x" << c.height;
  }
}

TEST(Scene, EveryTinySizeIsDrawnAndOpaque) {
  for (int width = 1; width <= 24; ++width) {
    for (int height = 1; height <= 24; ++height) {
      const Picture scene = drawScene(width, height);
      ASSERT_FALSE(scene.info.hasAlpha);
      std::set<int> levels;
      for (int y = 0; y < height; ++y) {
        const auto row = scene.row8(y);
        for (std::size_t i = 0; i < row.size(); i += 4) {
          ASSERT_EQ(row[i], 255) << width << "x" << height;
          levels.insert(row[i + 1]);
        }
      }
      // No pixel was left black.
      ASSERT_GT(*levels.begin(), 0) << width << "x" << height;
    }
  }
}

TEST(Scene, SizesOutsideTheRangeAreRefused) {
  for (const auto& [width, height] :
       {std::pair{0, 9}, {9, 0}, {-1, 9}, {kMaxTestPictureSide + 1, 9}, {9, 16385}}) {
    EXPECT_THROW(drawScene(width, height), MediaError) << width << "x" << height;
  }
  EXPECT_EQ(drawScene(kMaxTestPictureSide, 3).width(), kMaxTestPictureSide);
}

}  // namespace
}  // namespace lomix::media
