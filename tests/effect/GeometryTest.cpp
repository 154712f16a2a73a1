// Rectangles, vectors, the mapping between rectangles and the host's own rectangles.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "effect/geometry/HostRect.h"
#include "effect/geometry/RectMapping.h"
#include "effect/geometry/RectT.h"
#include "effect/shell/SmartRender.h"

namespace lomix::unit {
namespace {

template <typename T>
class RectOf : public testing::Test {};
using Coordinates = testing::Types<int, float, double>;
TYPED_TEST_SUITE(RectOf, Coordinates);

template <typename T>
std::vector<T> edges(const RectT<T>& r) {
  return {r.left(), r.top(), r.right(), r.bottom()};
}
template <typename T>
std::vector<T> list(T a, T b, T c, T d) {
  return {a, b, c, d};
}

TYPED_TEST(RectOf, ReadsAndWritesItsEdges) {
  using T = TypeParam;
  RectT<T> r(Vec2<T>{1, 2}, Vec2<T>{5, 10});
  EXPECT_EQ(edges(r), (list<T>(1, 2, 5, 10)));
  EXPECT_EQ((list<T>(r.getX1(), r.getY1(), r.getX2(), r.getY2())), edges(r));
  EXPECT_EQ(r.getWidth(), 4);
  EXPECT_EQ(r.getHeight(), 8);
  EXPECT_EQ(r.getAspectRatio(), 0.5);
  EXPECT_EQ(r.calcArea(), 32);
  EXPECT_EQ(r.getUpperLeft(), (Vec2<T>{1, 2}));
  EXPECT_EQ(r.getUpperRight(), (Vec2<T>{5, 2}));
  EXPECT_EQ(r.getLowerRight(), (Vec2<T>{5, 10}));
  EXPECT_EQ(r.getLowerLeft(), (Vec2<T>{1, 10}));
  EXPECT_EQ(r.getCenter(), (Vec2<T>{3, 6}));
  EXPECT_EQ(r.relativeUpperLeft({7, 7}), (Vec2<T>{6, 5}));
  r.left(9);
  r.top(8);
  r.right(7);
  r.bottom(6);
  EXPECT_EQ(edges(r), (list<T>(9, 8, 7, 6)));
  EXPECT_EQ(r.getWidth(), -2) << "inverted until canonicalised";
  r.canonicalize();
  EXPECT_EQ(edges(r), (list<T>(7, 6, 9, 8)));
}

TYPED_TEST(RectOf, IncludesAndClips) {
  using T = TypeParam;
  RectT<T> r(0, 0, 1, 1);
  r.include(Vec2<T>{-2, 3});
  EXPECT_EQ(edges(r), (list<T>(-2, 0, 1, 3)));
  r.include(RectT<T>(5, -1, 4, 9));
  EXPECT_EQ(edges(r), (list<T>(-2, -1, 5, 9)));
  r.include(std::vector<Vec2<T>>{{6, 0}, {0, 10}});
  EXPECT_EQ(edges(r), (list<T>(-2, -1, 6, 10)));

  const RectT<T> clip(10, 10, 20, 20);
  const struct {
    const char* name;
    RectT<T> from, to;
    bool intersects;
  } cases[] = {
      {"inside", {12, 13, 14, 15}, {12, 13, 14, 15}, true},
      {"overlapping", {5, 15, 15, 25}, {10, 15, 15, 20}, true},
      {"left of it", {0, 12, 5, 18}, {10, 12, 10, 18}, false},
      {"below it", {12, 30, 18, 40}, {12, 20, 18, 20}, false},
      {"touching an edge", {20, 12, 30, 18}, {20, 12, 20, 18}, true},
      {"touching a corner", {0, 0, 10, 10}, {10, 10, 10, 10}, true},
      {"around it", {0, 0, 30, 30}, {10, 10, 20, 20}, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(edges(c.from.getClipBy(clip)), edges(c.to)) << c.name;
    EXPECT_EQ(c.from.intersects(clip), c.intersects) << c.name;
    EXPECT_EQ(clip.intersects(c.from), c.intersects) << c.name;
    const auto host = [](const RectT<T>& r) {
      return PF_LegacyRect{static_cast<A_short>(r.top()), static_cast<A_short>(r.left()),
                           static_cast<A_short>(r.bottom()), static_cast<A_short>(r.right())};
    };
    EXPECT_EQ(Rect_Intersect(host(c.from), host(clip)), c.intersects) << c.name;
    const PF_LegacyRect constrained = ConstrainRectangle(host(c.from), host(clip));
    const RectT<T> back(constrained.left, constrained.top, constrained.right, constrained.bottom);
    EXPECT_EQ(edges(back), edges(c.to)) << c.name;
  }
}

TYPED_TEST(RectOf, MovesAndScales) {
  using T = TypeParam;
  const RectT<T> r(2, 4, 6, 12);
  const Vec2<T> v{10, -4};
  EXPECT_EQ(edges(r + v), (list<T>(12, 0, 16, 8)));
  EXPECT_EQ(edges(r - v), (list<T>(-8, 8, -4, 16)));
  EXPECT_EQ(edges(r.getOffset(v)), edges(r + v));
  EXPECT_EQ(edges(r * 2), (list<T>(4, 8, 12, 24)));
  EXPECT_EQ(edges(r / 2), (list<T>(1, 2, 3, 6)));
  EXPECT_EQ(edges(r.scaled(3)), (list<T>(6, 12, 18, 36)));
  EXPECT_EQ(edges(r.scaledCentered(2)), (list<T>(0, 0, 8, 16)));
  EXPECT_EQ(edges(r.scaledCentered({0.5, 2})), (list<T>(3, 0, 5, 16)));
  RectT<T> moved = r;
  moved.offset(v);
  moved -= v;
  moved.scale(2);
  moved /= 2;
  EXPECT_EQ(edges(moved), edges(r));
  moved.offsetCenterTo({0, 0});
  EXPECT_EQ(edges(moved), (list<T>(-2, -4, 2, 4)));
}

TYPED_TEST(RectOf, FitsCentredIntoATarget) {
  using T = TypeParam;
  const RectT<T> target(0, 0, 400, 400);
  const struct {
    const char* name;
    RectT<T> from;
    bool always;
    RectT<T> to;
  } cases[] = {
      {"smaller is only centred", {0, 0, 100, 50}, false, {150, 175, 250, 225}},
      {"smaller grows when asked", {0, 0, 100, 50}, true, {0, 100, 400, 300}},
      {"wide shrinks to the width", {0, 0, 800, 400}, false, {0, 100, 400, 300}},
      {"tall shrinks to the height", {10, 10, 410, 810}, false, {100, 0, 300, 400}},
      {"as wide as the target does not fit", {7, 0, 407, 200}, false, {0, 100, 400, 300}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(edges(c.from.getCenteredFit(target, c.always)), edges(c.to)) << c.name;
  }
}

// Points and factors of another type are converted to the rectangle's first: an int rectangle
// truncates points.
TYPED_TEST(RectOf, TakesPointsAndFactorsOfEveryType) {
  using T = TypeParam;
  RectT<T> r(0, 0, 1, 1);
  r.include(std::vector<Vec2<int>>{{-3, 2}});
  EXPECT_EQ(edges(r), (list<T>(-3, 0, 1, 2)));
  r.include(std::vector<Vec2<float>>{{4.75f, -1.25f}, {0, 0}});
  r.include(std::vector<Vec2<double>>{{0.5, 9.5}});
  EXPECT_EQ(edges(r),
            (list<T>(-3, static_cast<T>(-1.25), static_cast<T>(4.75), static_cast<T>(9.5))));

  const RectT<T> scaled(2, 4, 6, 12);
  EXPECT_EQ(edges(scaled.scaledCentered(Vec2<int>{2, 1})), (list<T>(0, 4, 8, 12)));
  EXPECT_EQ(edges(scaled.scaledCentered(Vec2<float>{0.5f, 2})), (list<T>(3, 0, 5, 16)));
  EXPECT_EQ(edges(scaled.scaledCentered(Vec2<double>{0.5, 2})), (list<T>(3, 0, 5, 16)));
}

constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMin = std::numeric_limits<int>::min();

// In these cases 32-bit arithmetic would overflow, which is undefined behaviour.
TEST(IntRect, SaturatesInsteadOfOverflowing) {
  using Rect = RectT<int>;
  const double nan = std::nan("");
  Rect moved(-2000000010, -10, -1999999990, 10);
  moved.offsetCenterTo({2000000000, 0});
  Rect grown(0, 0, 1, 1);
  grown.include(std::vector<Vec2<float>>{{1e20f, std::nanf("")}, {5, -3e9f}});
  grown.include(std::vector<Vec2<double>>{{-1e300, 7.9}});
  const struct {
    const char* name;
    Rect made, expected;
  } cases[] = {
      {"times 10", Rect(2000000000, 0, 2000000000, 10) * 10, {kMax, 0, kMax, 100}},
      {"times -10", Rect(2000000000, 0, -2000000000, 10) * -10, {kMin, 0, kMax, -100}},
      {"times NaN", Rect(1, 2, 3, 4) * nan, {0, 0, 0, 0}},
      {"by zero", Rect(5, -5, 0, 1) / 0, {kMax, kMin, 0, kMax}},
      {"by a tiny factor", Rect(1, -1, 0, 2).scaled(1e300), {kMax, kMin, 0, kMax}},
      {"plus", Rect(kMax, kMin, 1, 2) + Vec2<int>{1, -1}, {kMax, kMin, 2, 1}},
      {"minus", Rect(kMin, 0, 0, kMax) - Vec2<int>{1, kMin}, {kMin, kMax, -1, kMax}},
      {"about the centre", Rect(kMin, 0, kMax, 2).scaledCentered(3), {kMin, -2, kMax, 4}},
      {"about the centre, NaN", Rect(1, 2, 3, 4).scaledCentered({1, nan}), {1, 0, 3, 0}},
      {"centre moved by 4e9", moved, {1999999990, -10, 2000000010, 10}},
      // 2^31 wide: the factor is 512 / 2^31, which leaves 1000 / 2^22 of the height.
      {"fitted",
       Rect(-(1 << 30), 0, 1 << 30, 1000).getCenteredFit({0, 0, 512, 512}, false),
       {0, 255, 512, 256}},
      {"points beyond int", grown, {kMin, kMin, kMax, 7}},
  };
  for (const auto& c : cases) EXPECT_EQ(edges(c.made), edges(c.expected)) << c.name;

  EXPECT_EQ(Rect(0, 0, 70000, 70000).calcArea(), kMax);
  EXPECT_EQ(Rect(70000, 0, 0, 70000).calcArea(), kMin);
  EXPECT_EQ(Rect(0, 0, 46340, 46340).calcArea(), 2147395600) << "the largest exact square";
  const Rect whole(kMin, kMax, kMax, kMin);
  EXPECT_EQ(whole.getWidth(), kMax);
  EXPECT_EQ(whole.getHeight(), kMin);
  EXPECT_EQ(whole.getAspectRatio(), -1.0);
  EXPECT_EQ(Rect(kMin, 0, kMax, 1).getAspectRatio(), 4294967295.0);
  EXPECT_EQ(Rect(kMax, kMin, kMax, kMin).getCenter(), (Vec2<int>{kMax, kMin}));
  EXPECT_EQ(whole.relativeUpperLeft({kMax, kMin}), (Vec2<int>{kMax, kMin}));
  EXPECT_EQ((Vec2<int>{kMax, kMin} + Vec2<int>{1, -1}), (Vec2<int>{kMax, kMin}));
  EXPECT_EQ((Vec2<int>{kMax, -3} * 3), (Vec2<int>{kMax, -9}));
}

TEST(RectMapping, StretchesOrKeepsTheAspect) {
  const struct {
    const char* name;
    RectT<float> src, dst;
    bool keepAspect;
    RectT<float> used;
  } cases[] = {
      {"stretched", {0, 0, 200, 100}, {0, 0, 100, 100}, false, {0, 0, 100, 100}},
      {"wide into square", {0, 0, 200, 100}, {0, 0, 100, 100}, true, {0, 25, 100, 75}},
      {"tall into wide", {10, 20, 60, 120}, {100, 0, 300, 100}, true, {175, 0, 225, 100}},
  };
  for (const auto& c : cases) {
    const RectMapping mapping(c.src, c.dst, c.keepAspect);
    EXPECT_EQ(edges(mapping.map(c.src)), edges(c.used)) << c.name;
    EXPECT_EQ(mapping.map(c.src.getCenter()), c.used.getCenter()) << c.name;
    EXPECT_EQ(mapping.map(c.src.getLowerRight()), c.used.getLowerRight()) << c.name;
  }
}

TEST(HostRectangle, GrowsToCoverAnother) {
  const struct {
    const char* name;
    PF_LRect src, dst, united;
  } cases[] = {
      {"into an empty one", {10, 20, 110, 220}, {0, 0, 0, 0}, {10, 20, 110, 220}},
      {"empty into an inverted one", {3, 3, 3, 9}, {5, 5, 1, 9}, {3, 3, 3, 9}},
      {"empty changes nothing", {0, 50, 90, 50}, {5, 5, 20, 20}, {5, 5, 20, 20}},
      {"overlapping", {0, 0, 10, 10}, {5, 5, 20, 20}, {0, 0, 20, 20}},
      {"apart", {30, -9, 40, 6}, {5, 5, 20, 20}, {5, -9, 40, 20}},
  };
  for (const auto& c : cases) {
    PF_LRect dst = c.dst;
    UnionLRect(&c.src, &dst);
    EXPECT_EQ((list(dst.left, dst.top, dst.right, dst.bottom)),
              (list(c.united.left, c.united.top, c.united.right, c.united.bottom)))
        << c.name;
  }
}

TEST(HostRectangle, KnowsEmptinessAndItsBorder) {
  const struct {
    PF_LRect rect;
    bool empty;
  } sizes[] = {{{0, 0, 1, 1}, false}, {{0, 0, 0, 1}, true}, {{0, 0, 1, 0}, true},
               {{2, 0, 1, 5}, true},  {{0, 5, 5, 2}, true}, {{-3, -3, -2, -2}, false}};
  for (const auto& c : sizes) EXPECT_EQ(IsEmptyRect(&c.rect), c.empty) << c.rect.left;

  PF_LRect rect{2, 3, 6, 8};
  const struct {
    int x, y;
    bool edge;
  } points[] = {{2, 3, true},  {6, 8, true},  {2, 5, true},  {6, 5, true},
                {4, 3, true},  {4, 8, true},  {4, 5, false}, {2, 2, false},
                {2, 9, false}, {1, 3, false}, {7, 8, false}, {5, 7, false}};
  for (const auto& c : points) EXPECT_EQ(IsEdgePixel(&rect, c.x, c.y), c.edge) << c.x << ',' << c.y;
}

}  // namespace
}  // namespace lomix::unit
