// Pictures in files, checked against files that the image library writes and reads directly.
#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <limits>

#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/QuietStandardError.h"
#include "support/ScratchFolder.h"

namespace lomix::media {
namespace {

using OIIO::ImageSpec;
using OIIO::TypeDesc;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

template <typename Span>
auto toVector(const Span& values) {
  return std::vector<typename Span::value_type>(values.begin(), values.end());
}

class PictureFile : public ScratchFolder {
 protected:
  template <typename T>
  std::filesystem::path make(const std::string& name, const ImageSpec& spec, TypeDesc type,
                             const std::vector<T>& values) {
    const auto output = OIIO::ImageOutput::create(path(name).string());
    EXPECT_TRUE(output && output->open(path(name).string(), spec)) << output->geterror();
    EXPECT_TRUE(output->write_image(type, values.data()) && output->close());
    return path(name);
  }

  /// Returns the stored values, pixel by pixel, and keeps the description of the file in spec_.
  template <typename T>
  std::vector<T> stored(const std::string& name, TypeDesc type) {
    ImageSpec wish;
    wish.attribute("oiio:UnassociatedAlpha", 1);
    const auto input = OIIO::ImageInput::open(path(name).string(), &wish);
    if (!input) throw std::runtime_error(OIIO::geterror());
    spec_ = input->spec();
    std::vector<T> values(spec_.image_pixels() * static_cast<std::size_t>(spec_.nchannels));
    EXPECT_TRUE(input->read_image(0, 0, 0, spec_.nchannels, type, values.data()));
    return values;
  }

  ImageSpec spec_;
};

// Returns a picture with many colours for every alpha, 0 included.
Picture colourful() {
  Picture picture(16, 16, 8);
  picture.info.hasAlpha = true;
  for (int y = 0; y < 16; ++y) {
    int next = y * 64;
    for (auto& value : picture.row8(y)) value = static_cast<std::uint8_t>(next++ * 37 % 256);
    picture.row8(y)[4] = 0;
  }
  return picture;
}

class LosslessFormat : public PictureFile, public testing::WithParamInterface<const char*> {};

TEST_P(LosslessFormat, KeepsEveryByteOfEightBits) {
  const Picture picture = colourful();
  writePicture(picture, path(GetParam()), false);
  const Picture back = readPicture(path(GetParam()));
  ASSERT_EQ(back.depth(), 8);
  EXPECT_TRUE(back.info.hasAlpha);
  for (int y = 0; y < 16; ++y) {
    EXPECT_THAT(toVector(back.row8(y)), ElementsAreArray(picture.row8(y))) << "row " << y;
  }
}
INSTANTIATE_TEST_SUITE_P(Formats, LosslessFormat,
                         testing::Values("a.png", "a.tif", "a.tga", "a.bmp"));

TEST_F(PictureFile, AlphaIsWrittenOnlyWhenTheInputHadOne) {
  make<std::uint8_t>("in.png", ImageSpec(2, 1, 3, TypeDesc::UINT8), TypeDesc::UINT8,
                     {1, 2, 3, 4, 5, 6});
  const Picture picture = readPicture(path("in.png"));
  EXPECT_THAT(toVector(picture.row8(0)), ElementsAre(255, 1, 2, 3, 255, 4, 5, 6));
  writePicture(picture, path("out.png"), false);
  EXPECT_THAT(stored<std::uint8_t>("out.png", TypeDesc::UINT8), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(PictureFile, JpegTakesTheColoursAndDropsTheAlpha) {
  Picture picture(8, 8, 8);
  picture.info.hasAlpha = true;
  for (int y = 0; y < 8; ++y) std::ranges::fill(picture.row8(y), std::uint8_t{120});
  writePicture(picture, path("a.jpg"), false);
  const auto values = stored<std::uint8_t>("a.jpg", TypeDesc::UINT8);
  EXPECT_EQ(spec_.nchannels, 3);
  EXPECT_THAT(values, testing::Each(testing::AllOf(testing::Ge(118), testing::Le(122))));
}

class SixteenBitFormat : public PictureFile, public testing::WithParamInterface<const char*> {};

TEST_P(SixteenBitFormat, RoundTripsExactly) {
  const std::vector<std::uint16_t> values{0, 1, 257, 32767, 32768, 65534, 65535, 0};
  ImageSpec spec(2, 1, 4, TypeDesc::UINT16);
  spec.attribute("oiio:UnassociatedAlpha", 1);
  const auto in = make(std::string("in") + GetParam(), spec, TypeDesc::UINT16, values);
  const Picture picture = readPicture(in);
  ASSERT_EQ(picture.depth(), 32);
  EXPECT_THAT(toVector(picture.row32(0)),
              ElementsAre(32767 / 65535.0f, 0.0f, 1 / 65535.0f, 257 / 65535.0f, 0.0f,
                          32768 / 65535.0f, 65534 / 65535.0f, 1.0f));
  const std::string out = std::string("out") + GetParam();
  writePicture(picture, path(out), false);
  EXPECT_EQ(stored<std::uint16_t>(out, TypeDesc::UINT16), values);
  EXPECT_EQ(spec_.format, TypeDesc::UINT16);
}
INSTANTIATE_TEST_SUITE_P(Formats, SixteenBitFormat, testing::Values(".png", ".tif"));

TEST_F(PictureFile, FloatsRoundToNearestAndClampInSixteenBits) {
  Picture picture(2, 1, 32);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<float> values{1, -0.5f, 1.49f / 65535, 1.51f / 65535, 1, 2.0f, nan, 0.5f};
  std::ranges::copy(values, picture.row32(0).begin());
  writePicture(picture, path("a.png"), false);
  EXPECT_THAT(stored<std::uint16_t>("a.png", TypeDesc::UINT16),
              ElementsAre(0, 1, 2, 65535, 0, 32768));
  EXPECT_EQ(spec_.format, TypeDesc::UINT16);
}

TEST_F(PictureFile, HalvesWithPremultipliedAlphaRoundTripExactly) {
  // Pixels: a colour under alpha 0.25, a colour under alpha 0, a value above 1, an irregular one.
  const std::vector<float> values{0.5f,
                                  0.125f,
                                  0.0f,
                                  0.25f,
                                  3.0f,
                                  -1.0f,
                                  0.5f,
                                  0.0f,
                                  1000.0f,
                                  -2.0f,
                                  0.0999755859375f,
                                  1.0f,
                                  0.333251953125f,
                                  0.0999755859375f,
                                  0.7001953125f,
                                  0.60009765625f};
  make("in.exr", ImageSpec(4, 1, 4, TypeDesc::HALF), TypeDesc::FLOAT, values);
  const Picture picture = readPicture(path("in.exr"));
  ASSERT_EQ(picture.depth(), 32);
  const std::vector<float> pixels = toVector(picture.row32(0));
  EXPECT_THAT(std::vector<float>(pixels.begin(), pixels.begin() + 12),
              ElementsAre(0.25f, 2.0f, 0.5f, 0.0f, 0.0f, 3.0f, -1.0f, 0.5f, 1.0f, 1000.0f, -2.0f,
                          0.0999755859375f));
  EXPECT_EQ(pixels[13], 0.333251953125f / 0.60009765625f);
  writePicture(picture, path("out.exr"), false);
  EXPECT_EQ(stored<float>("out.exr", TypeDesc::FLOAT), values);
  EXPECT_EQ(spec_.format, TypeDesc::HALF);
}

TEST_F(PictureFile, FloatsOutsideZeroToOneAreKept) {
  const std::vector<float> values{-1.5f, 7.25f, 1e-30f, 3e30f, 0.1f, 70000.0f};
  for (const std::string extension : {".exr", ".tif"}) {
    make("in" + extension, ImageSpec(2, 1, 3, TypeDesc::FLOAT), TypeDesc::FLOAT, values);
    writePicture(readPicture(path("in" + extension)), path("out" + extension), false);
    EXPECT_EQ(stored<float>("out" + extension, TypeDesc::FLOAT), values) << extension;
    EXPECT_EQ(spec_.format, TypeDesc::FLOAT);
  }
}

TEST_F(PictureFile, StraightColoursAreMultipliedForExrAndHiddenOnesVanish) {
  Picture picture(2, 1, 32);
  picture.info.hasAlpha = true;
  std::ranges::copy(std::vector<float>{0.25f, 1, 2, 4, 0, 1, 1, 1}, picture.row32(0).begin());
  writePicture(picture, path("a.exr"), false);
  EXPECT_THAT(stored<float>("a.exr", TypeDesc::FLOAT),
              ElementsAre(0.25f, 0.5f, 1.0f, 0.25f, 0, 0, 0, 0));
}

TEST_F(PictureFile, PremultipliedTiffIsDividedInFloats) {
  make<std::uint8_t>("a.tif", ImageSpec(1, 1, 4, TypeDesc::UINT8), TypeDesc::UINT8,
                     {64, 128, 0, 128});
  const Picture picture = readPicture(path("a.tif"));
  ASSERT_EQ(picture.depth(), 32);
  const float alpha = 128 / 255.0f;
  EXPECT_THAT(toVector(picture.row32(0)), ElementsAre(alpha, (64 / 255.0f) / alpha, 1.0f, 0.0f));
}

TEST_F(PictureFile, GreyIsSpreadOverTheColours) {
  make<std::uint8_t>("y.png", ImageSpec(2, 1, 1, TypeDesc::UINT8), TypeDesc::UINT8, {9, 200});
  EXPECT_THAT(toVector(readPicture(path("y.png")).row8(0)),
              ElementsAre(255, 9, 9, 9, 255, 200, 200, 200));
  ImageSpec spec(1, 1, 2, TypeDesc::UINT8);
  spec.channelnames = {"Y", "A"};
  spec.alpha_channel = 1;
  spec.attribute("oiio:UnassociatedAlpha", 1);
  make<std::uint8_t>("ya.png", spec, TypeDesc::UINT8, {9, 50});
  EXPECT_THAT(toVector(readPicture(path("ya.png")).row8(0)), ElementsAre(50, 9, 9, 9));
}

TEST_F(PictureFile, ColoursAreFoundAmongOtherChannels) {
  ImageSpec spec(1, 1, 6, TypeDesc::FLOAT);
  spec.channelnames = {"diffuse.R", "B", "G", "R", "Z", "A"};
  spec.alpha_channel = 5;
  make<float>("a.exr", spec, TypeDesc::FLOAT, {9, 3, 2, 1, 8, 1});
  EXPECT_THAT(toVector(readPicture(path("a.exr")).row32(0)), ElementsAre(1, 1, 2, 3));
}

TEST_F(PictureFile, AFileWithoutColoursIsAnErrorThatNamesItsChannels) {
  ImageSpec spec(1, 1, 2, TypeDesc::FLOAT);
  spec.channelnames = {"Z", "mask"};
  make<float>("a.exr", spec, TypeDesc::FLOAT, {1, 1});
  EXPECT_THAT([&] { readPicture(path("a.exr")); },
              testing::ThrowsMessage<MediaError>(
                  testing::AllOf(HasSubstr("Z"), HasSubstr("mask"), HasSubstr("R, G and B"))));
}

TEST_F(PictureFile, TheFrameOfAnExrIsFilledOrCutAroundItsPixels) {
  ImageSpec spec(2, 1, 4, TypeDesc::FLOAT);
  spec.x = 11;
  spec.y = 21;
  spec.full_x = 10;
  spec.full_y = 20;
  spec.full_width = 2;
  spec.full_height = 3;
  // One pixel inside the frame, one to the right of it; nothing above and below.
  make<float>("a.exr", spec, TypeDesc::FLOAT, {1, 2, 3, 1, 9, 9, 9, 1});
  const Picture picture = readPicture(path("a.exr"));
  ASSERT_EQ(picture.width(), 2);
  ASSERT_EQ(picture.height(), 3);
  EXPECT_THAT(toVector(picture.row32(0)), testing::Each(0.0f));
  EXPECT_THAT(toVector(picture.row32(1)), ElementsAre(0, 0, 0, 0, 1, 1, 2, 3));
  writePicture(picture, path("b.exr"), false);
  stored<float>("b.exr", TypeDesc::FLOAT);
  EXPECT_EQ(spec_.full_x, 10);
  EXPECT_EQ(spec_.y, 20);
}

TEST_F(PictureFile, AttributesOfThePictureAreCopied) {
  ImageSpec spec(1, 1, 3, TypeDesc::HALF);
  spec.attribute("PixelAspectRatio", 2.0f);
  spec.attribute("compression", "piz");
  spec.attribute("Copyright", "somebody");
  const unsigned timecode[2] = {0x01020304, 0};
  spec.attribute("smpte:TimeCode", OIIO::TypeTimeCode, timecode);
  make<float>("in.exr", spec, TypeDesc::FLOAT, {1, 1, 1});
  const Picture picture = readPicture(path("in.exr"));
  EXPECT_EQ(picture.info.pixelAspect, 2.0);
  writePicture(picture, path("out.exr"), false);
  stored<float>("out.exr", TypeDesc::FLOAT);
  EXPECT_EQ(spec_.get_float_attribute("PixelAspectRatio"), 2.0f);
  EXPECT_EQ(spec_.get_string_attribute("compression"), "piz");
  EXPECT_EQ(spec_.get_string_attribute("Copyright"), "somebody");
  EXPECT_EQ(spec_["smpte:TimeCode"].get(), "01:02:03:04");
}

TEST_F(PictureFile, ATurnedCameraPictureIsSetUpright) {
  ImageSpec spec(2, 1, 3, TypeDesc::UINT8);
  spec.attribute("Orientation", 6);
  make<std::uint8_t>("in.tif", spec, TypeDesc::UINT8, {1, 2, 3, 4, 5, 6});
  const Picture picture = readPicture(path("in.tif"));
  ASSERT_EQ(picture.height(), 2);
  EXPECT_THAT(toVector(picture.row8(1)), ElementsAre(255, 4, 5, 6));
  writePicture(picture, path("out.tif"), false);
  EXPECT_THAT(stored<std::uint8_t>("out.tif", TypeDesc::UINT8), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_EQ(spec_.get_int_attribute("Orientation", 1), 1);
}

void expectOneLine(const std::string& message, const std::string& beginning) {
  EXPECT_THAT(message, testing::StartsWith(beginning));
  EXPECT_THAT(message, testing::EndsWith(")"));
  EXPECT_THAT(message, testing::Not(HasSubstr("\n")));
}

TEST_F(PictureFile, DamagedAndMissingInputsAreErrorsOfOneLine) {
  std::vector<std::string> bad{"missing.png", "folder.png", "empty.exr", "text.png", "vast.tga"};
  std::filesystem::create_directory(path("folder.png"));
  write(path("empty.exr"), "");
  write(path("text.png"), "This is not a picture.\n");
  // The header says 65535 by 65535 pixels of 32 bits; no data follows.
  write(path("vast.tga"), std::string("\0\0\2\0\0\0\0\0\0\0\0\0\xff\xff\xff\xff\x20\x08", 18));
  for (const std::string extension : {".png", ".jpg", ".exr", ".tif", ".bmp"}) {
    Picture picture = colourful();
    writePicture(picture, path("whole" + extension), false);
    const std::string bytes = read(path("whole" + extension));
    write(path("cut" + extension), bytes.substr(0, bytes.size() * 2 / 3));
    bad.push_back("cut" + extension);
  }
  for (const std::string& name : bad) {
    try {
      readPicture(path(name));
      ADD_FAILURE() << name << " was read";
    } catch (const MediaError& error) {
      expectOneLine(error.what(), "cannot read '" + path(name).string() + "': ");
    }
  }
}

TEST_F(PictureFile, ATiffWithoutItsLastPixelsIsAnError) {
  // A directory at the front and one strip of 4x4 floats behind it.
  std::string tiff("II*\0\x08\0\0\0\x08\0", 10);
  const auto entry = [&](int tag, int type, int count, int value) {
    for (const int part : {tag, type}) {
      tiff += {static_cast<char>(part), static_cast<char>(part / 256)};
    }
    for (const int part : {count, value}) {
      tiff += {static_cast<char>(part), static_cast<char>(part / 256), '\0', '\0'};
    }
  };
  entry(256, 3, 1, 4);
  entry(257, 3, 1, 4);
  entry(258, 3, 1, 32);
  entry(259, 3, 1, 1);
  entry(262, 3, 1, 1);
  entry(273, 4, 1, 110);
  entry(279, 4, 1, 64);
  entry(339, 3, 1, 3);
  tiff += std::string(4, '\0') + std::string(64, '\x3f');
  write(path("whole.tif"), tiff);
  EXPECT_EQ(readPicture(path("whole.tif")).depth(), 32);
  for (const std::size_t lost : {1u, 32u, 63u}) {
    write(path("cut.tif"), tiff.substr(0, tiff.size() - lost));
    EXPECT_THROW(readPicture(path("cut.tif")), MediaError) << lost;
  }
}

TEST(QuietStandardError, DropsOutputUntilTheLastObjectIsDestroyed) {
  testing::internal::CaptureStderr();
  {
    const QuietStandardError outer;
    { const QuietStandardError inner; }
    std::fputs("decoder\n", stderr);
  }
  std::fputs("after\n", stderr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "after\n");
}

TEST_F(PictureFile, ARefusedOutputLeavesTheFolderAsItWas) {
  write(path("existing.png"), "precious");
  std::filesystem::create_directory(path("folder.png"));
  const auto before = names();
  // The last but one is too large for its format, which only its writer checks; the last is in a
  // folder that takes no files.
  Picture picture(300, 1, 8);
  for (const std::filesystem::path& file :
       {path("existing.png"), path("folder.png"), path("a.unknown"), path("noextension"),
        path("a.null"), path("missing/a.png"), path(std::string(300, 'a') + ".png"), path("a.ico"),
        std::filesystem::path("/proc/self/a.png")}) {
    try {
      writePicture(picture, file, false);
      ADD_FAILURE() << file << " was written";
    } catch (const MediaError& error) {
      expectOneLine(error.what(), "cannot write '" + file.string() + "': ");
    }
    EXPECT_EQ(names(), before) << file;
  }
  EXPECT_EQ(read(path("existing.png")), "precious");
}

}  // namespace
}  // namespace lomix::media
