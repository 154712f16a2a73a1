// What values mean: the built command's conversions of colours, its warnings, and the tags of its
// outputs. Expected values are computed here from the formulas of the standards.
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "cli/VideoProcess.h"
#include "media/picture/PictureFile.h"

namespace lomix {
namespace {

using media::Picture;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// Steps that the pictures of the tests have, below black and above white too.
constexpr int kSteps = 64;
constexpr int kRows = 16;  // The first is opaque, the others are translucent.
double step(int x) { return x * 0.05 - 0.1; }

double srgbFromLinear(double v) {
  return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
}
double linearFromSrgb(double v) {
  return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}
double rec709FromLinear(double v) {
  return v < 0.018 ? 4.5 * v : 1.099 * std::pow(v, 0.45) - 0.099;
}
double linearFromRec709(double v) {
  return v < 0.081 ? v / 4.5 : std::pow((v + 0.099) / 1.099, 1 / 0.45);
}

class Colour : public Video {
 protected:
  Colour() {
    Picture steps(kSteps, kRows, 32);
    steps.info.hasAlpha = true;
    steps.info.storage = media::Storage::Float;
    for (int y = 0; y < kRows; ++y) {
      for (int x = 0; x < kSteps; ++x) {
        float* pixel = &steps.row32(y)[static_cast<std::size_t>(x) * 4];
        const auto value = static_cast<float>(step(x));
        pixel[0] = y == 0 ? 1.0f : 0.25f;
        pixel[1] = value;
        pixel[2] = value * 0.5f;
        pixel[3] = 0.4f;
      }
    }
    media::writePicture(steps, path("steps.exr"), false);
    Picture bytes(256, kRows, 8);
    for (int y = 0; y < kRows; ++y) {
      for (std::size_t i = 0; i < bytes.row8(y).size(); ++i) {
        bytes.row8(y)[i] = static_cast<std::uint8_t>(i % 4 == 0 ? 255 : i / 4);
      }
    }
    media::writePicture(bytes, path("bytes.png"), false);
    write(path("config.ocio"), kConfiguration);
  }

  /// Runs a command line of the shell in which lomix is the built command.
  Result lomix(const std::string& arguments, const std::string& environment = "") {
    return finish(startProgram({"sh", "-c", environment + " " + LOMIX_COMMAND + " " + arguments}));
  }
  /// Renders with the effect blended out, so that values are those of the conversion alone. Returns
  /// what was printed on standard error.
  std::string render(const std::string& arguments, const std::string& environment = "") {
    const Result result =
        lomix("render --quiet --set blend-w-original=100 " + arguments, environment);
    EXPECT_EQ(result.exitCode, 0) << arguments << result.err;
    return result.err;
  }
  /// Renders as render() does, and returns the warnings.
  std::string warnings(const std::string& arguments) {
    const Result result = lomix("render --overwrite " + arguments);
    EXPECT_EQ(result.exitCode, 0) << arguments << result.err;
    return withoutProgress(result.err);
  }
  /// Returns the chunks of a PNG file before its pixels.
  std::string chunks(const std::string& name) {
    const std::string bytes = read(path(name));
    return bytes.substr(0, bytes.find("IDAT"));
  }

  static constexpr const char* kConfiguration = R"(ocio_profile_version: 2
environment: {}
search_path: ""
strictparsing: true
roles:
  default: raw
  scene_linear: lin
displays:
  sRGB:
    - !<View> {name: Raw, colorspace: raw}
colorspaces:
  - !<ColorSpace>
    name: raw
    isdata: true
  - !<ColorSpace>
    name: lin
    encoding: scene-linear
  - !<ColorSpace>
    name: "turned: red to blue"
    aliases: [turned]
    from_scene_reference: !<MatrixTransform> {matrix: [0, 0, 0.5, 0, 0, 0.25, 0, 0, 2, 0, 0, 0, 0, 0, 0, 1]}
  - !<ColorSpace>
    name: unreadable
    from_scene_reference: !<FileTransform> {src: missing.cube}
)";
  const std::string kOcio = "OCIO=config.ocio";
};

TEST_F(Colour, BuiltInSpacesFollowTheirFormulas) {
  struct Case {
    const char* conversion;
    double (*expected)(double);
  };
  for (const Case& c :
       {Case{"linear:srgb", srgbFromLinear},
        {"srgb:linear", linearFromSrgb},
        {"linear:rec709", rec709FromLinear},
        {"Rec709:LINEAR", linearFromRec709},
        {"srgb:rec709", [](double v) { return rec709FromLinear(linearFromSrgb(v)); }},
        {"rec709:srgb", [](double v) { return srgbFromLinear(linearFromRec709(v)); }},
        {"linear:linear", [](double v) { return v; }}}) {
    EXPECT_THAT(render(std::string("--overwrite steps.exr out.exr --colour ") + c.conversion),
                IsEmpty());
    const Picture out = media::readPicture(path("out.exr"));
    for (int y = 0; y < kRows; ++y) {
      for (int x = 0; x < kSteps; ++x) {
        const float* pixel = &out.row32(y)[static_cast<std::size_t>(x) * 4];
        const auto value = static_cast<float>(step(x));
        const auto near = [&](double from) {
          const double wanted = c.expected(from);
          return testing::DoubleNear(wanted, 3e-6 * std::max(1.0, std::abs(wanted)));
        };
        EXPECT_EQ(pixel[0], y == 0 ? 1.0f : 0.25f);
        // The colours are straight: their conversion does not depend on alpha.
        EXPECT_THAT(double{pixel[1]}, near(value)) << c.conversion << " " << x;
        EXPECT_THAT(double{pixel[2]}, near(value * 0.5f)) << c.conversion << " " << x;
        EXPECT_THAT(double{pixel[3]}, near(0.4f)) << c.conversion << " " << x;
      }
    }
  }
}

TEST_F(Colour, EightBitsBecomeFloatWhereLinearLightNeedsIt) {
  render("bytes.png light.exr --color srgb:linear");
  const Picture light = media::readPicture(path("light.exr"));
  ASSERT_EQ(light.depth(), 32);
  render("bytes.png bt709.png --colour srgb:rec709");
  const Picture bt709 = media::readPicture(path("bt709.png"));
  ASSERT_EQ(bt709.depth(), 8);
  render("light.exr back.png --colour linear:srgb --depth 8");
  const Picture back = media::readPicture(path("back.png"));
  for (std::size_t x = 0; x < 256; ++x) {
    const double linear = linearFromSrgb(static_cast<double>(x) / 255);
    EXPECT_NEAR(light.row32(0)[x * 4 + 1], linear, 1e-6);
    EXPECT_EQ(bt709.row8(0)[x * 4 + 2], std::lround(rec709FromLinear(linear) * 255)) << x;
    EXPECT_EQ(back.row8(0)[x * 4 + 3], x);
  }
  render("bytes.png same.png --colour srgb:srgb");
  EXPECT_EQ(lomix("compare bytes.png same.png --fail-above 0").exitCode, 0);
}

TEST_F(Colour, TheEffectIsDrawnOnTheConvertedValues) {
  const std::string look = "--set Noise=40 --set 'Bars Overlay=50' --set 'Scan Distortion=20'";
  render("steps.exr converted.exr --colour linear:srgb");
  EXPECT_EQ(lomix("render converted.exr a.exr " + look).exitCode, 0);
  for (const std::string engine : {"rows", "plugin"}) {
    EXPECT_EQ(lomix("render steps.exr b.exr --colour linear:srgb --overwrite " + look +
                    " --engine " + engine)
                  .exitCode,
              0);
    EXPECT_EQ(lomix("compare a.exr b.exr --fail-above 0").exitCode, 0) << engine;
  }
}

TEST_F(Colour, NamesOfAConfigurationAreThoseOfOcio) {
  for (const std::string to : {"'turned: red to blue'", "turned", "TURNED"}) {
    render("--overwrite steps.exr out.exr --colour scene_linear:" + to, kOcio);
    const Picture in = media::readPicture(path("steps.exr"));
    const Picture out = media::readPicture(path("out.exr"));
    for (int y = 0; y < kRows; ++y) {
      for (std::size_t i = 0; i < std::size_t{kSteps} * 4; i += 4) {
        const float* a = &in.row32(y)[i];
        const float* b = &out.row32(y)[i];
        EXPECT_EQ(b[0], a[0]);
        EXPECT_NEAR(b[1], a[3] * 0.5, 1e-6) << to;
        EXPECT_NEAR(b[2], a[2] * 0.25, 1e-6) << to;
        EXPECT_NEAR(b[3], a[1] * 2, 1e-5) << to;
      }
    }
  }
  render("--overwrite bytes.png out.exr --colour lin:turned", kOcio);
  EXPECT_NEAR(media::readPicture(path("out.exr")).row32(0)[200 * 4 + 1], 200 / 255.0 / 2, 1e-6);
  // Built-in names mean the same with a configuration and without one.
  render("bytes.png with.exr --colour srgb:linear", kOcio);
  render("bytes.png broken.exr --colour srgb:linear", "OCIO=nowhere.ocio");
  EXPECT_EQ(lomix("compare with.exr broken.exr --fail-above 0").exitCode, 0);
}

TEST_F(Colour, BadConversionsAreOneLineAndWriteNothing) {
  write(path("text.ocio"), "This is no configuration.\n");
  const auto before = names();
  struct Case {
    const char* environment;
    const char* conversion;
    int exitCode;
    const char* message;
  };
  for (const Case& c : {
           Case{"OCIO=", "linear", 2, "'linear' names no two colour spaces (write FROM:TO"},
           {"OCIO=", "linear:", 2, "names no two colour spaces"},
           {"OCIO=", ":", 2, "names no two colour spaces"},
           {"OCIO=", "''", 2, "--colour: its value is empty"},
           {"OCIO=", "linaer:srgb", 2, "no colour space 'linaer' (the nearest are 'linear', "},
           {"OCIO=", "linear:ACEScg", 2, "OpenColorIO configuration set the environment's OCIO"},
           {"OCIO=nowhere.ocio", "lin:turned", 1,
            "'nowhere.ocio' cannot be used: there is no such"},
           {"OCIO=.", "lin:turned", 1, "'.' cannot be used: there is no such file"},
           {"OCIO=text.ocio", "lin:turned", 1, "'text.ocio' cannot be used: "},
           {"OCIO=config.ocio", "lin:turnd", 2,
            "no colour space 'turnd' in 'config.ocio' (the "
            "nearest are 'turned', "},
           {"OCIO=config.ocio", "lin:srgb", 2, "'srgb' is built in, and 'lin' is not; the"},
           {"OCIO=config.ocio", "lin:unreadable", 1, "cannot convert 'lin' to 'unreadable': "},
       }) {
    const Result result =
        lomix(std::string("render bytes.png out.png --colour ") + c.conversion, c.environment);
    EXPECT_EQ(result.exitCode, c.exitCode) << c.conversion << result.err;
    EXPECT_THAT(result.err, AllOf(StartsWith("error: --colour: "), HasSubstr(c.message)));
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
    EXPECT_EQ(names(), before);
  }
  for (const std::string command : {"plot out.png", "testcard out.png", "params", "presets"}) {
    const Result result = lomix(command + " --colour linear:srgb");
    EXPECT_EQ(result.exitCode, 2) << command;
    EXPECT_THAT(result.err, HasSubstr("--colour")) << command;
  }
}

TEST_F(Colour, OneWarningSaysWhereInputAndOutputMeanDifferentThings) {
  shell("for i in 1 2 3; do cp steps.exr s.$i.exr; done");
  const std::string kLinear =
      "'s-#.png': the input's values of linear light are kept as they are, ";
  const Result sequence = lomix("render s.#.exr s-#.png --report r.json");
  EXPECT_THAT(sequence.err, HasSubstr("warning: " + kLinear));
  EXPECT_THAT(sequence.err, HasSubstr("(convert them with --colour linear:srgb, or accept it with "
                                      "--colour linear:linear)\n"));
  const std::string rest = sequence.err.substr(sequence.err.find("warning: ") + 1);
  EXPECT_THAT(rest, Not(HasSubstr("warning: ")));
  const auto report = nlohmann::json::parse(read(path("r.json")));
  ASSERT_EQ(report["warnings"].size(), 1);
  EXPECT_THAT(report["warnings"][0].get<std::string>(), StartsWith(kLinear));
  EXPECT_FALSE(report.contains("colour"));

  EXPECT_THAT(warnings("bytes.png o.exr"), HasSubstr("values for a display are kept as they are, "
                                                     "but programs expect values of linear light"));
  EXPECT_THAT(warnings("bytes.png o.exr"), HasSubstr("--colour srgb:linear, or accept"));
  EXPECT_THAT(warnings("bytes.png o.hdr"), HasSubstr("srgb:linear"));
  EXPECT_THAT(warnings("steps.exr o.mkv"), HasSubstr("'o.mkv': the input's values of linear"));
  EXPECT_THAT(lomix("sheet steps.exr o-sheet.png --sweep Noise=0,1").err,
              AllOf(StartsWith("warning: 'o-sheet.png': "), HasSubstr("linear:srgb")));
  // Floats without a tag count as linear light, bytes in the same format do not.
  render("steps.exr floats.tif");
  EXPECT_THAT(warnings("floats.tif o.tif --depth 8"), HasSubstr("linear:srgb"));
  // What means the same, and what the user has chosen.
  render("steps.exr flat.png --colour linear:srgb --report c.json");
  EXPECT_EQ(nlohmann::json::parse(read(path("c.json")))["colour"], "linear:srgb");
  for (const std::string silent :
       {"steps.exr o.exr", "bytes.png o.tif", "bytes.png o.mkv", "steps.exr o.tif",
        "floats.tif o.tif", "steps.exr o.png --colour linear:srgb",
        "bytes.png o.exr --colour srgb:srgb"}) {
    EXPECT_THAT(warnings(silent), IsEmpty()) << silent;
  }
  EXPECT_THAT(lomix("sheet steps.exr p-sheet.png --sweep Noise=0,1 --colour linear:srgb").err,
              IsEmpty());
}

TEST_F(Colour, ComparisonsConvertOneSideOrBoth) {
  render("steps.exr flat.png --colour linear:srgb");
  EXPECT_THAT(lomix("compare steps.exr flat.png").err,
              StartsWith("warning: 'steps.exr' and 'flat.png': their values mean different things: "
                         "values of linear light and values for a display (convert one with "));
  // 16 bits, from black to white.
  const std::string one = "compare one.exr flat.png --fail-above 0.0001 ";
  render("flat.png one.exr --colour srgb:linear");
  EXPECT_EQ(lomix(one + "--colour-a linear:srgb").exitCode, 0);
  EXPECT_EQ(lomix(one + "--colour-b srgb:linear").exitCode, 0);
  EXPECT_EQ(lomix(one).exitCode, 1);
  EXPECT_EQ(lomix(one + "--colour linear:srgb").exitCode, 1);
  EXPECT_EQ(lomix(one + "--colour linear:srgb --colour-a linear:srgb").exitCode, 2);
  EXPECT_THAT(lomix("compare steps.exr steps.exr both.png").err, HasSubstr("'both.png': "));
  EXPECT_THAT(lomix("compare steps.exr steps.exr seen.png --colour linear:srgb").err, IsEmpty());
  EXPECT_EQ(media::readPicture(path("both.png")).width(),
            media::readPicture(path("seen.png")).width());
}

TEST_F(Colour, TagsOfPicturesFitTheirValues) {
  const std::string srgbChunk("\0\0\0\1sRGB", 8);
  render("steps.exr srgb.png --colour linear:srgb");
  EXPECT_THAT(chunks("srgb.png"), HasSubstr(srgbChunk));
  render("srgb.png linear.png --colour srgb:linear");
  EXPECT_THAT(chunks("linear.png"), Not(HasSubstr(srgbChunk)));
  // A gamma of 1, in units of 1/100000.
  EXPECT_THAT(chunks("linear.png"), HasSubstr(std::string("gAMA\x00\x01\x86\xA0", 8)));
  render("srgb.png rec709.png --colour srgb:rec709");
  EXPECT_THAT(chunks("rec709.png"), AllOf(Not(HasSubstr(srgbChunk)), Not(HasSubstr("gAMA"))));
  // Nor does text that the picture library wrote into the input tell another space.
  EXPECT_THAT(chunks("rec709.png"), Not(HasSubstr("sRGB")));
  // A profile describes the values before the conversion.
}

TEST_F(Colour, VideosAreConvertedAndTaggedAndHdrStaysHdr) {
  makeClip("sdr.mkv", "s=64x48:r=5:d=0.4", "-vf format=bgr0 -c:v ffv1 -color_trc iec61966-2-1");
  shell("ffmpeg -v error -i sdr.mkv f.%d.png");
  render("sdr.mkv bt709.mkv --colour srgb:rec709");
  render("f.%d.png g.%d.png --colour srgb:rec709");
  EXPECT_EQ(probe("bt709.mkv", "v", "stream=color_transfer,pix_fmt"), "stream,bgr0,bt709\n");
  EXPECT_THAT(lomix("compare bt709.mkv g.%d.png --fail-above 0").out, HasSubstr("are the same"));
  render("sdr.mkv linear.mkv --colour srgb:linear");
  EXPECT_EQ(probe("linear.mkv", "v", "stream=color_transfer,pix_fmt"), "stream,gbrp16le,linear\n");

  const std::string light =
      "master-display=G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)"
      "L(10000000,1):max-cll=1000,400";
  makeClip("hdr.mp4", "s=64x48:r=5:d=0.4",
           "-pix_fmt yuv420p10le -color_primaries bt2020 -color_trc smpte2084 -colorspace "
           "bt2020nc -c:v libx265 -x265-params 'log-level=none:" +
               light + "'");
  const std::string what =
      "stream=pix_fmt,color_primaries,color_transfer,color_space:stream_side_data=max_content,"
      "max_average,max_luminance";
  EXPECT_THAT(warnings("hdr.mp4 kept.mp4 --codec hevc"), IsEmpty());
  EXPECT_EQ(probe("kept.mp4", "v", what),
            "stream,yuv420p10le,bt2020nc,smpte2084,bt2020,side_data,10000000/10000\n"
            "side_data,1000,400\n");
  EXPECT_THAT(warnings("hdr.mp4 low.mp4 --depth 8"), HasSubstr("HDR values are stored in 8 bits"));
  for (const std::string out : {"o.gif", "o-%d.png", "o-%d.jpg", "o.y4m"}) {
    EXPECT_THAT(warnings("hdr.mp4 " + out), HasSubstr("HDR values (PQ) are kept")) << out;
  }
  // Light levels are not true of other values.
  const std::string dropped =
      lomix("render hdr.mp4 other.mp4 --codec hevc --colour lin:turned", kOcio).err;
  EXPECT_THAT(dropped, HasSubstr("light levels of HDR are left out (they are not true of"));
  EXPECT_THAT(probe("other.mp4", "v", what), Not(HasSubstr("smpte2084")));
}

}  // namespace
}  // namespace lomix
