// Contact sheets, plots and comparisons, compared pixel by pixel with rendered pictures.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "cli/CommandProcess.h"
#include "cli/figures/ContactSheet.h"
#include "engine/Profiles.h"
#include "media/drawing/TestCard.h"
#include "media/picture/PictureFile.h"

namespace lomix {
namespace {

using media::Picture;
using testing::HasSubstr;

constexpr int kWidth = 96;
constexpr int kHeight = 54;

class Figure : public CommandProcess {
 protected:
  Figure() {
    Picture card = media::drawTestCard(kWidth, kHeight);
    // Opaque, so that the sheet's background does not show through.
    card.info.hasAlpha = false;
    media::writePicture(card, path("card.png"), false);
  }

  /// Returns where the picture is on the sheet: its upper left corner. {-1, -1}: nowhere.
  static std::pair<int, int> placeOf(const Picture& sheet, const Picture& picture) {
    for (int top = 0; top + picture.height() <= sheet.height(); ++top) {
      for (int left = 0; left + picture.width() <= sheet.width(); ++left) {
        if (holds(sheet, picture, left, top)) return {left, top};
      }
    }
    return {-1, -1};
  }
  /// Returns the brightest level of a part of the sheet, which letters make bright.
  static int brightest(const Picture& sheet, int left, int top, int right, int bottom) {
    int level = 0;
    for (int y = top; y < bottom; ++y) {
      for (int x = left; x < right; ++x) {
        level = std::max<int>(level, sheet.row8(y)[static_cast<std::size_t>(x) * 4 + 1]);
      }
    }
    return level;
  }
  /// Returns whether the sheet has the picture with its upper left corner at (left, top).
  static bool holds(const Picture& sheet, const Picture& picture, int left, int top) {
    for (int y = 0; y < picture.height(); ++y) {
      const auto row =
          sheet.row8(top + y).subspan(static_cast<std::size_t>(left) * 4, picture.row8(y).size());
      if (!std::ranges::equal(row, picture.row8(y))) return false;
    }
    return true;
  }
  Picture rendered(std::vector<std::string> look) {
    look.insert(look.begin(), {"render", "card.png", "still.png", "--overwrite"});
    expectDone(look);
    return media::readPicture(path("still.png"));
  }
};

TEST_F(Figure, EveryPictureOfASheetIsWhatRenderGives) {
  struct Case {
    std::vector<std::string> shown;
    int columns;
    int labelHeight;
    std::vector<std::vector<std::string>> looks;
  };
  const std::vector<Case> cases{
      {{"--sweep", "Noise=0:100:3", "--preset", "signal-drop", "--time", "1"},
       3,
       20,
       {{"--preset", "signal-drop", "--time", "1", "--set", "Noise=0"},
        {"--preset", "signal-drop", "--time", "1", "--set", "Noise=50"},
        {"--preset", "signal-drop", "--time", "1", "--set", "Noise=100"}}},
      {{"--times", "0.25:1.75:3", "--columns", "2", "--key", "Scan Distortion=0:0,2:90"},
       2,
       20,
       {{"--time", "0.25", "--set", "Scan Distortion=11.25"},
        {"--time", "1", "--set", "Scan Distortion=45"},
        {"--time", "1.75", "--set", "Scan Distortion=78.75"}}},
      {{"--sweep", "distortion-mode=Tile,Stretch", "--times", "1,2", "--preset", "horizontal-tear",
        "--columns", "3"},
       3,
       35,
       {{"--preset", "horizontal-tear", "--set", "Distortion Mode=1", "--time", "1"},
        {"--preset", "horizontal-tear", "--set", "Distortion Mode=1", "--time", "2"},
        {"--preset", "horizontal-tear", "--set", "Distortion Mode=2", "--time", "1"},
        {"--preset", "horizontal-tear", "--set", "Distortion Mode=2", "--time", "2"}}},
      {{"--presets", "--set", "Noise=9", "--time", "1.2", "--columns", "1"},
       1,
       20,
       {{"--preset", "channel-change", "--set", "Noise=9", "--time", "1.2"},
        {"--preset", "double-reception", "--set", "Noise=9", "--time", "1.2"}}}};
  for (const Case& c : cases) {
    std::vector<std::string> arguments{"sheet", "card.png", "sheet.png", "--overwrite"};
    arguments.insert(arguments.end(), c.shown.begin(), c.shown.end());
    expectDone(arguments);
    const Picture sheet = media::readPicture(path("sheet.png"));
    for (std::size_t i = 0; i < c.looks.size(); ++i) {
      const int left = 14 + static_cast<int>(i) % c.columns * (kWidth + 10);
      const int top = 14 + static_cast<int>(i) / c.columns * (kHeight + c.labelHeight + 10);
      EXPECT_TRUE(holds(sheet, rendered(c.looks[i]), left, top))
          << testing::PrintToString(c.shown) << i;
      // Light letters below it.
      const int bottom = top + kHeight;
      EXPECT_GT(brightest(sheet, left, bottom, left + kWidth, bottom + c.labelHeight), 150)
          << testing::PrintToString(c.shown) << i;
    }
  }
}

TEST_F(Figure, ATableHasItsValuesOnItsHeads) {
  struct Case {
    std::vector<std::string> axes;
    int columns;
    int headLines;  ///< Above the columns: the values, and the name where there is one.
    std::vector<std::vector<std::string>> looks;
  };
  const std::vector<Case> cases{
      {{"--sweep", "Noise=20,60", "--sweep", "Scan Distortion=0,30,90"},
       3,
       2,
       {{"--set", "Noise=20", "--set", "Scan Distortion=0"},
        {"--set", "Noise=20", "--set", "Scan Distortion=30"},
        {"--set", "Noise=20", "--set", "Scan Distortion=90"},
        {"--set", "Noise=60", "--set", "Scan Distortion=0"},
        {"--set", "Noise=60", "--set", "Scan Distortion=30"},
        {"--set", "Noise=60", "--set", "Scan Distortion=90"}}},
      {{"--sweep", "Bars Overlay=10,90", "--times", "1,2", "--set", "Scan Distortion=30"},
       2,
       1,
       {{"--set", "Scan Distortion=30", "--set", "Bars Overlay=10", "--time", "1"},
        {"--set", "Scan Distortion=30", "--set", "Bars Overlay=10", "--time", "2"},
        {"--set", "Scan Distortion=30", "--set", "Bars Overlay=90", "--time", "1"},
        {"--set", "Scan Distortion=30", "--set", "Bars Overlay=90", "--time", "2"}}}};
  for (const Case& c : cases) {
    std::vector<std::string> arguments{"sheet", "card.png", "sheet.png", "--overwrite"};
    arguments.insert(arguments.end(), c.axes.begin(), c.axes.end());
    expectDone(arguments);
    const Picture sheet = media::readPicture(path("sheet.png"));
    const auto [left, top] = placeOf(sheet, rendered(c.looks[0]));
    ASSERT_GT(left, 14 + 10) << "no heads of rows";
    EXPECT_EQ(top, 14 + std::ceil(c.headLines * 14.5));
    for (std::size_t i = 0; i < c.looks.size(); ++i) {
      const int column = static_cast<int>(i) % c.columns;
      const int row = static_cast<int>(i) / c.columns;
      const int x = left + column * (kWidth + 10);
      const int y = top + row * (kHeight + 10);
      EXPECT_TRUE(holds(sheet, rendered(c.looks[i]), x, y)) << i;
      // The value of the column right above, that of the row to the left; nothing below.
      EXPECT_GT(brightest(sheet, x + 20, top - 14, x + kWidth - 20, top), 150) << i;
      EXPECT_GT(brightest(sheet, 14, y, left - 10, y + kHeight), 150) << i;
      if (y + kHeight + 14 <= sheet.height()) {
        EXPECT_LT(brightest(sheet, x, y + kHeight, x + kWidth, y + kHeight + 9), 60) << i;
      }
    }
  }
}

TEST_F(Figure, CaptionsFitAndKeepTheirValues) {
  media::Drawing drawing(media::Drawing::Kind::Pixels, 1, 1, media::grey(0));
  struct Case {
    cli::Caption caption;
    double width;
    const char* text;  ///< Of the line; "…" stands for letters that are left out.
    double smallest;   ///< Size of the letters, of 12.
  };
  for (const Case& c :
       {Case{{"Noise", "30 %"}, 400, "Noise 30 %", 12},
        {{"Scanline Thickness", "10000 rows"}, 170, "Scanline Thickness 10000 rows", 8},
        {{"Scanline Thickness", "10000 rows"}, 100, "… 10000 rows", 8},
        {{"Scanline Thickness", "10000 rows"}, 60, "10000 rows", 8},
        {{"Scanline Thickness", "10000 rows"}, 16, "10000 rows", 2},
        {{"", "Slipping hold"}, 40, "Slipping hold", 5},
        {{"a-very-long-name-of-a-file.png", ""}, 60, "…", 8},
        {{"größe-größe-größe", "1"}, 50, "… 1", 8},
        {{"", ""}, 20, "", 12}}) {
    const auto [text, style] = cli::fitted(drawing, c.caption, c.width, {12, media::grey(255)});
    EXPECT_LE(drawing.widthOf(text, style), c.width) << c.text;
    EXPECT_GE(style.size, c.smallest) << c.text;
    EXPECT_LE(style.size, 12) << c.text;
    const std::string expected = c.text;
    if (const auto dots = expected.find("…"); dots != std::string::npos) {
      const std::string behind = expected.substr(dots);
      const std::size_t kept = text.find(behind);
      ASSERT_NE(kept, std::string::npos) << text;
      EXPECT_GT(kept, 0u) << text;
      EXPECT_EQ(text.substr(0, kept), c.caption.name.substr(0, kept));
    } else {
      EXPECT_EQ(text, expected);
    }
  }
}

TEST_F(Figure, WithoutFontsThereIsAnErrorAndNoPicture) {
  write(path("fonts.conf"), "<?xml version=\"1.0\"?><fontconfig></fontconfig>");
  setenv("FONTCONFIG_FILE", path("fonts.conf").c_str(), 1);
  const Result result = run({"plot", "plot.png"});
  unsetenv("FONTCONFIG_FILE");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("fonts-dejavu-core"));
  EXPECT_EQ(names(), (std::set<std::string>{"card.png", "fonts.conf"}));
}

TEST_F(Figure, APlotShowsTheProfilesWhereItsAxesSay) {
  expectDone({"plot", "plot.png", "--rows", "262", "--time", "3", "--over", "1:5"});
  const Picture plot = media::readPicture(path("plot.png"));
  // The image of the bars: 1 to 5 s over 610 columns from 470, one row of pixels for each row.
  for (const auto& [x, y] : {std::pair{10, 5}, {100, 60}, {300, 100}, {400, 130}, {600, 250}}) {
    LomixStruct record{};
    engine::fillProfiles(record, 262, 1.0, -static_cast<float>(1 + 4 * (x + 0.5) / 610),
                         engine::portableTarget());
    const int shown = plot.row8(122 + 345 + y)[static_cast<std::size_t>(470 + x) * 4 + 1];
    EXPECT_NEAR(shown, 255 * record.barsProfile[static_cast<std::size_t>(y)], 2) << x << "," << y;
  }
  // The red legend and line are there where the time of the curves is on the axis.
  const auto isRed = [](const Picture& shown, int x, int y) {
    const auto* pixel = shown.row8(y).data() + std::ptrdiff_t{x} * 4;
    return pixel[1] > 150 && pixel[2] < 100;
  };
  EXPECT_TRUE(isRed(plot, 480, 63));
  EXPECT_TRUE(isRed(plot, 470 + 305, 200));
  expectDone({"plot", "later.png", "--rows", "16", "--time", "1", "--over", "2:5"});
  const Picture later = media::readPicture(path("later.png"));
  for (int y = 40; y < 80; ++y) {
    for (int x = 440; x < 1100; ++x) ASSERT_FALSE(isRed(later, x, y)) << x << "," << y;
  }
  // Of 16 rows each is a step: the curve of the bars stands still for the whole of a row.
  LomixStruct record{};
  engine::fillProfiles(record, 16, 1.0, -1.0f, engine::portableTarget());
  for (const int row : {5, 6, 13, 14}) {
    const int x =
        90 + static_cast<int>(std::lround(300 * record.barsProfile[static_cast<std::size_t>(row)]));
    for (const double part : {0.2, 0.5, 0.8}) {
      const int y = 122 + 345 + static_cast<int>((row + part) * 262 / 16);
      int darkest = 255;
      for (int at = x - 1; at <= x + 1; ++at) {
        darkest = std::min<int>(darkest, later.row8(y)[static_cast<std::size_t>(at) * 4 + 1]);
      }
      EXPECT_LT(darkest, 120) << row << " " << part;
    }
  }
  expectDone({"plot", "plot.svg"});
  EXPECT_THAT(read(path("plot.svg")),
              testing::AllOf(testing::StartsWith("<?xml"), HasSubstr("<svg "),
                             testing::EndsWith("</svg>\n")));
}

TEST_F(Figure, ComparisonsFindTheLargestDifference) {
  const auto make = [&](const std::string& name, int depth, int channel, float value, bool alpha) {
    Picture picture(4, 3, depth);
    picture.info.hasAlpha = alpha;
    picture.info.storage = depth == 8 ? media::Storage::UInt8 : media::Storage::Float;
    for (int y = 0; y < 3; ++y) {
      for (int i = 0; i < 16; ++i) {
        const float level = y == 2 && i == 4 * 3 + channel ? value : i % 4 == 0 ? 1.0f : 0.4f;
        if (depth == 8) {
          picture.row8(y)[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(level * 255);
        } else {
          picture.row32(y)[static_cast<std::size_t>(i)] = level;
        }
      }
    }
    media::writePicture(picture, path(name), true);
  };
  make("a.png", 8, 2, 0.4f, false);
  make("green.png", 8, 2, 0.8f, false);
  make("clear.png", 8, 0, 0.0f, true);
  make("a.exr", 32, 3, 0.4f, false);
  make("blue.exr", 32, 3, 1.9f, false);
  make("none.exr", 32, 3, std::numeric_limits<float>::quiet_NaN(), false);
  struct Case {
    const char *a, *b, *finding;
  };
  // 102 of 255 in one of 36 channels: 10 log10(36 / 0.16) = 23.52 dB.
  for (const Case& c : {Case{"a.png", "a.png", "none, the pictures are the same"},
                        {"none.exr", "none.exr", "none, the pictures are the same"},
                        {"a.png", "green.png", "102/255 in green at (3, 2), PSNR 23.52 dB"},
                        {"green.png", "a.png", "102/255 in green at (3, 2), PSNR 23.52 dB"},
                        {"a.png", "clear.png", "255/255 in alpha at (3, 2), PSNR 16.81 dB"},
                        {"a.exr", "blue.exr", "1.5 in blue at (3, 2), PSNR 12.04 dB"},
                        {"a.exr", "none.exr", "inf in blue at (3, 2), PSNR -inf dB"}}) {
    EXPECT_EQ(run({"compare", c.a, c.b}).out,
              std::string("largest difference: ") + c.finding + "\n")
        << c.a << " " << c.b;
  }
  EXPECT_THAT(run({"compare", "a.png", "card.png"}).err, HasSubstr("4x3"));
}

TEST_F(Figure, ComparisonsShowBothPictures) {
  const Picture noisy = rendered({"--set", "Noise=40", "--time", "1"});
  const Picture card = media::readPicture(path("card.png"));
  const auto view = [&](std::vector<std::string> more) {
    more.insert(more.begin(), {"compare", "card.png", "still.png", "out.png", "--overwrite"});
    EXPECT_EQ(run(more).exitCode, 0);
    return media::readPicture(path("out.png"));
  };
  const Picture side = view({});
  EXPECT_TRUE(holds(side, card, 14, 14));
  EXPECT_TRUE(holds(side, noisy, 14 + kWidth + 10, 14));
  const Picture halves = view({"--view", "split"});
  const Picture difference = view({"--view", "difference", "--gain", "3"});
  for (const auto& [x, y] : {std::pair{5, 5}, {40, 30}, {60, 11}, {95, 53}}) {
    const auto at = static_cast<std::size_t>(x) * 4 + 2;
    const auto inSheet = static_cast<std::size_t>(14 + x) * 4 + 2;
    const int before = card.row8(y)[at];
    const int after = noisy.row8(y)[at];
    EXPECT_EQ(halves.row8(14 + y)[inSheet], x < kWidth / 2 ? before : after);
    EXPECT_EQ(difference.row8(14 + y)[inSheet], std::min(255, 3 * std::abs(before - after)));
  }
}

TEST_F(Figure, TheGainFollowsTheLargestDifferenceOfColours) {
  const auto make = [&](const std::string& name, int level, int alpha) {
    Picture picture(400, 30, 8);
    picture.info.hasAlpha = alpha < 255;
    for (int y = 0; y < 30; ++y) {
      for (std::size_t i = 0; i < picture.row8(y).size(); ++i) {
        picture.row8(y)[i] = static_cast<std::uint8_t>(i % 4 == 0 ? alpha : 100);
      }
    }
    picture.row8(20)[4 * 200 + 2] = static_cast<std::uint8_t>(level);
    media::writePicture(picture, path(name), true);
  };
  make("a.png", 100, 255);
  struct Case {
    int level, alpha;
    const char* gain;   ///< As --gain; empty for none.
    const char* shown;  ///< In the command's output.
    int brightness;     ///< Of the pixel in the picture.
  };
  for (const Case& c : {Case{101, 255, "", "× 255", 255},
                        {107, 255, "", "× 36", 252},
                        {250, 255, "", "× 1", 150},
                        {100, 255, "", "× 1", 0},
                        {101, 0, "", "× 255", 255},
                        {107, 255, "2.5", "× 2.5", 18}}) {
    make("b.png", c.level, c.alpha);
    std::vector<std::string> arguments{"compare", "a.png",      "b.png",      "out.png",
                                       "--view",  "difference", "--overwrite"};
    if (*c.gain != '\0') arguments.insert(arguments.end(), {"--gain", c.gain});
    const Result result = run(arguments);
    EXPECT_THAT(result.out,
                HasSubstr(std::string("shown in 'out.png': the difference ") + c.shown + "\n"));
    const Picture shown = media::readPicture(path("out.png"));
    EXPECT_EQ(shown.row8(14 + 20)[4 * (14 + 200) + 2], c.brightness) << c.shown;
    EXPECT_EQ(shown.row8(14 + 20)[4 * (14 + 199) + 2], 0) << c.shown;
  }
  EXPECT_THAT(run({"compare", "a.png", "b.png", "out.png", "--overwrite"}).out,
              testing::Not(HasSubstr("×")));
}

TEST_F(Figure, CaptionsOfComparisonsGrowWithThePicture) {
  for (const auto& [width, letter] : {std::pair{96, 10}, {480, 18}, {960, 20}, {1920, 40}}) {
    media::writePicture(media::drawTestCard(width, 60), path("a.png"), true);
    expectDone({"compare", "a.png", "a.png", "out.png", "--view", "split", "--overwrite"});
    EXPECT_EQ(media::readPicture(path("out.png")).height(), 14 + 60 + 2 * letter + 14) << width;
  }
}

}  // namespace
}  // namespace lomix
