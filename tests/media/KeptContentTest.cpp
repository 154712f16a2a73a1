// What a picture's file keeps of its input besides the pixels, and what it says to have lost.
#include <OpenImageIO/deepdata.h>
#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exiv2/exiv2.hpp>
#include <numeric>

#include "media/picture/ColourConversion.h"
#include "media/picture/PictureContent.h"
#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/ScratchFolder.h"

namespace lomix::media {
namespace {

using OIIO::ImageSpec;
using OIIO::TypeDesc;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::string_literals;

/// One part of an OpenEXR file with its channels in their stored types.
struct Part {
  ImageSpec spec;
  std::vector<unsigned char> bytes;

  explicit Part(const ImageSpec& description) : spec(description), bytes(spec.image_bytes(true)) {}

  /// Returns a channel of the pixel at x and y of the display.
  template <typename T>
  T at(int x, int y, const std::string& channel) const {
    const int index = spec.channelindex(channel);
    if (index < 0) throw std::runtime_error("no channel " + channel);
    T value;
    const std::size_t pixel =
        static_cast<std::size_t>(y - spec.y) * static_cast<std::size_t>(spec.width) +
        static_cast<std::size_t>(x - spec.x);
    const auto offset = pixel * spec.pixel_bytes(true) + spec.pixel_bytes(0, index, true);
    EXPECT_EQ(spec.channelformat(index).size(), sizeof value);
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
  }
};

class KeptContent : public ScratchFolder {
 protected:
  /// Returns the description of a part with one stored type for each channel. width, height: of the
  /// stored pixels, which begin at x, y.
  static ImageSpec describe(int x, int y, int width, int height,
                            const std::vector<std::string>& names,
                            const std::vector<TypeDesc>& types) {
    ImageSpec spec(width, height, static_cast<int>(names.size()), types[0]);
    spec.x = x;
    spec.y = y;
    spec.full_width = 6;
    spec.full_height = 4;
    spec.full_x = spec.full_y = 0;
    spec.channelnames = names;
    spec.channelformats = types;
    return spec;
  }
  /// Returns a part of which all bytes differ from their neighbours, and are small halves and
  /// floats.
  static Part fill(const ImageSpec& spec, int seed = 1) {
    Part part(spec);
    for (std::size_t i = 0; i < part.bytes.size(); ++i) {
      part.bytes[i] = static_cast<unsigned char>((i * 37 + static_cast<std::size_t>(seed)) % 60);
    }
    return part;
  }
  void makeExr(const std::string& name, std::vector<Part> parts) {
    std::vector<ImageSpec> specs;
    for (const Part& part : parts) specs.push_back(part.spec);
    const auto output = OIIO::ImageOutput::create("a.exr");
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const std::string file = path(name).string();
      ASSERT_TRUE(i > 0 ? output->open(file, specs[i], OIIO::ImageOutput::AppendSubimage)
                        : output->open(file, static_cast<int>(specs.size()), specs.data()))
          << output->geterror();
      ASSERT_TRUE(output->write_image(OIIO::TypeUnknown, parts[i].bytes.data()))
          << output->geterror();
    }
    ASSERT_TRUE(output->close());
  }
  std::vector<Part> readExr(const std::string& name) {
    std::vector<Part> parts;
    const auto input = OIIO::ImageInput::open(path(name).string());
    if (!input) throw std::runtime_error(OIIO::geterror());
    for (int i = 0; input->seek_subimage(i, 0); ++i) {
      parts.emplace_back(input->spec());
      EXPECT_TRUE(input->read_image(i, 0, 0, input->spec().nchannels, OIIO::TypeUnknown,
                                    parts.back().bytes.data()));
    }
    return parts;
  }
  /// Reads a picture, draws into it, and writes it. Returns what was lost.
  std::vector<std::string> redraw(const std::string& in, const std::string& out) {
    Picture picture = readPicture(path(in));
    for (int y = 0; y < picture.height(); ++y) {
      for (std::size_t i = 0; i < static_cast<std::size_t>(picture.width()); ++i) {
        for (std::size_t c = 0; c < Picture::kChannels; ++c) {
          if (picture.depth() == 8) {
            picture.row8(y)[i * 4 + c] = static_cast<std::uint8_t>(c == 0 ? 255 : 40 * c);
          } else {
            picture.row32(y)[i * 4 + c] = c == 0 ? 0.5f : 0.1f * static_cast<float>(c);
          }
        }
      }
    }
    return writePicture(picture, path(out), true);
  }
};

TEST_F(KeptContent, ChannelsTypesAttributesAndPixelsOutsideTheDisplayWindowStay) {
  const std::vector<std::string> names{"R", "G", "B", "A", "Z", "id", "N.X", "left.R"};
  const TypeDesc half = TypeDesc::HALF;
  ImageSpec spec =
      describe(-2, -1, 10, 7, names,
               {half, half, half, half, TypeDesc::FLOAT, TypeDesc::UINT32, TypeDesc::FLOAT, half});
  spec.attribute("compression", "piz");
  spec.attribute("studio", "Größe");
  spec.attribute("shot/take", 7);
  spec.attribute("PixelAspectRatio", 2.0f);
  const float matrix[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  spec.attribute("worldToNDC", OIIO::TypeMatrix, matrix);
  makeExr("in.exr", {fill(spec)});
  const Part in = readExr("in.exr")[0];
  EXPECT_THAT(redraw("in.exr", "out.exr"),
              ElementsAre(testing::StartsWith("the effect is drawn into R, G, B and A only")));
  const Part out = readExr("out.exr")[0];
  EXPECT_EQ(out.spec.channelnames, in.spec.channelnames);
  EXPECT_EQ(out.spec.channelformats, in.spec.channelformats);
  EXPECT_EQ(OIIO::get_roi(out.spec), OIIO::get_roi(in.spec));
  EXPECT_EQ(OIIO::get_roi_full(out.spec), OIIO::get_roi_full(in.spec));
  for (const OIIO::ParamValue& attribute : in.spec.extra_attribs) {
    const OIIO::ParamValue* kept = out.spec.find_attribute(attribute.name());
    ASSERT_NE(kept, nullptr) << attribute.name();
    EXPECT_EQ(kept->get_string(), attribute.get_string()) << attribute.name();
    EXPECT_EQ(kept->type(), attribute.type()) << attribute.name();
  }
  for (int y = -1; y < 6; ++y) {
    for (int x = -2; x < 8; ++x) {
      for (const char* channel : {"Z", "id", "N.X"}) {
        EXPECT_EQ(out.at<std::uint32_t>(x, y, channel), in.at<std::uint32_t>(x, y, channel));
      }
      EXPECT_EQ(out.at<std::uint16_t>(x, y, "left.R"), in.at<std::uint16_t>(x, y, "left.R"));
      const bool displayed = x >= 0 && x < 6 && y >= 0 && y < 4;
      for (const char* channel : {"R", "G", "B", "A"}) {
        EXPECT_EQ(out.at<std::uint16_t>(x, y, channel) == in.at<std::uint16_t>(x, y, channel),
                  !displayed)
            << channel << x << "," << y;
      }
    }
  }
  // The same rounding as in a file without further channels.
  makeExr("plain.exr",
          {fill(describe(0, 0, 6, 4, {"R", "G", "B", "A"}, {half, half, half, half}))});
  EXPECT_THAT(redraw("plain.exr", "plain-out.exr"), IsEmpty());
  const Part plain = readExr("plain-out.exr")[0];
  for (const char* channel : {"R", "G", "B", "A"}) {
    EXPECT_EQ(out.at<std::uint16_t>(5, 3, channel), plain.at<std::uint16_t>(5, 3, channel));
  }
}

TEST_F(KeptContent, PartsOfOtherSizesAndTilesStayAroundTheOneWithColours) {
  ImageSpec depth = describe(0, 0, 6, 4, {"Z"}, {TypeDesc::FLOAT});
  depth.attribute("oiio:subimagename", "depth");
  // Fewer pixels than the display window has.
  ImageSpec beauty =
      describe(1, 2, 3, 5, {"R", "G", "B"}, {TypeDesc::FLOAT, TypeDesc::FLOAT, TypeDesc::FLOAT});
  beauty.attribute("oiio:subimagename", "beauty");
  ImageSpec other =
      describe(3, 1, 40, 35, {"R", "G", "B", "A"}, std::vector<TypeDesc>(4, TypeDesc::HALF));
  other.attribute("oiio:subimagename", "other");
  other.attribute("compression", "zips");
  makeExr("in.exr", {fill(depth), fill(beauty, 2), fill(other, 3)});
  EXPECT_THAT(redraw("in.exr", "out.exr"),
              ElementsAre(HasSubstr("of part 'beauty' only; other parts and channels are kept")));
  const std::vector<Part> in = readExr("in.exr");
  const std::vector<Part> out = readExr("out.exr");
  ASSERT_EQ(out.size(), 3);
  for (const std::size_t i : {0U, 2U}) {
    EXPECT_EQ(out[i].bytes, in[i].bytes) << i;
    EXPECT_EQ(out[i].spec.get_string_attribute("compression"),
              in[i].spec.get_string_attribute("compression"));
    EXPECT_EQ(out[i].spec.get_string_attribute("oiio:subimagename"),
              in[i].spec.get_string_attribute("oiio:subimagename"));
  }
  EXPECT_EQ(OIIO::get_roi(out[1].spec), OIIO::ROI(0, 6, 0, 7, 0, 1, 0, 3));
  EXPECT_EQ(out[1].at<float>(0, 0, "G"), 0.1f * 2);
  EXPECT_EQ(out[1].at<float>(2, 5, "G"), in[1].at<float>(2, 5, "G"));
  EXPECT_EQ(out[1].at<float>(5, 5, "G"), 0.0f);

  ImageSpec tiled =
      describe(-5, -5, 70, 50, {"R", "G", "B", "Z"}, std::vector<TypeDesc>(4, TypeDesc::HALF));
  tiled.tile_width = tiled.tile_height = 16;
  tiled.tile_depth = 1;
  makeExr("tiled.exr", {fill(tiled)});
  EXPECT_THAT(redraw("tiled.exr", "tiled-out.exr"), IsEmpty());
  const Part before = readExr("tiled.exr")[0];
  const Part after = readExr("tiled-out.exr")[0];
  EXPECT_EQ(after.spec.tile_width, 16);
  for (const int y : {-5, 10, 11, 44}) {
    EXPECT_EQ(after.at<std::uint16_t>(64, y, "Z"), before.at<std::uint16_t>(64, y, "Z")) << y;
    EXPECT_EQ(after.at<std::uint16_t>(64, y, "R"), before.at<std::uint16_t>(64, y, "R")) << y;
  }
}

TEST_F(KeptContent, GreyBecomesColoursBesideItsFurtherChannels) {
  makeExr("in.exr", {fill(describe(0, 0, 6, 4, {"Y", "Z"}, {TypeDesc::HALF, TypeDesc::FLOAT}))});
  EXPECT_THAT(redraw("in.exr", "out.exr"), IsEmpty());
  const Part in = readExr("in.exr")[0];
  const Part out = readExr("out.exr")[0];
  EXPECT_THAT(out.spec.channelnames, testing::UnorderedElementsAre("R", "G", "B", "Z"));
  EXPECT_EQ(out.at<std::uint32_t>(5, 3, "Z"), in.at<std::uint32_t>(5, 3, "Z"));
  EXPECT_NE(out.at<std::uint16_t>(5, 3, "R"), out.at<std::uint16_t>(5, 3, "B"));
}

TEST_F(KeptContent, ADeepPartIsAnErrorThatNamesIt) {
  ImageSpec spec =
      describe(0, 0, 6, 4, {"R", "G", "B", "A", "Z"}, std::vector<TypeDesc>(5, TypeDesc::FLOAT));
  spec.deep = true;
  OIIO::DeepData data(spec);
  const auto output = OIIO::ImageOutput::create("a.exr");
  ASSERT_TRUE(output->open(path("deep.exr").string(), spec));
  ASSERT_TRUE(output->write_deep_image(data) && output->close());
  EXPECT_THAT([&] { readPicture(path("deep.exr")); },
              testing::ThrowsMessage<MediaError>(HasSubstr("it is deep")));
}

TEST_F(KeptContent, WhatAnOutputCannotHoldIsNamed) {
  const TypeDesc half = TypeDesc::HALF;
  ImageSpec spec = describe(-1, 0, 7, 4, {"R", "G", "B", "Z"}, {half, half, half, half});
  spec.attribute("studio", "Größe");
  spec.attribute("take", 7);
  spec.attribute("oiio:subimagename", "beauty");
  ImageSpec other = spec;
  other.attribute("oiio:subimagename", "other");
  makeExr("in.exr", {fill(spec), fill(other)});
  const auto losses = redraw("in.exr", "out.png");
  ASSERT_EQ(losses.size(), 5);
  EXPECT_THAT(losses[0], testing::StartsWith("channel Z is left out ("));
  EXPECT_THAT(losses[1], testing::StartsWith("all parts but 'beauty' are left out ("));
  EXPECT_THAT(losses[2], testing::StartsWith("pixels outside the display window are left out ("));
  EXPECT_THAT(losses[3], testing::StartsWith("'take' is left out (.png files do not hold it"));
  EXPECT_THAT(losses[4], HasSubstr("values of linear light are kept as they are"));
  // PNG keeps texts of any name; those that are not ASCII as UTF-8.
  EXPECT_THAT(read(path("out.png")), HasSubstr("iTXtstudio\0\0\0\0\0Größe"s));

  EXPECT_THAT(lossesInVideo(readPicture(path("in.exr"))),
              ElementsAre(losses[0], losses[1], losses[2]));

  // A smaller picture has no place for the other channels.
  const Picture small = reduced(readPicture(path("in.exr")), 2, 2);
  EXPECT_THAT(
      writePicture(small, path("small.exr"), false),
      ElementsAre(HasSubstr("channel Z"), HasSubstr("all parts but"), HasSubstr("outside")));
  EXPECT_THAT(writePicture(Picture(4, 4, 8), path("new.png"), false), IsEmpty());
}

TEST_F(KeptContent, FurtherPagesOfATiffAreNamed) {
  const ImageSpec spec(2, 1, 3, TypeDesc::UINT8);
  const std::vector<unsigned char> page(6, 9);
  const auto output = OIIO::ImageOutput::create("a.tif");
  for (const auto mode : {OIIO::ImageOutput::Create, OIIO::ImageOutput::AppendSubimage}) {
    ASSERT_TRUE(output->open(path("in.tif").string(), spec, mode));
    ASSERT_TRUE(output->write_image(TypeDesc::UINT8, page.data()));
  }
  ASSERT_TRUE(output->close());
  EXPECT_THAT(redraw("in.tif", "out.tif"),
              ElementsAre(testing::StartsWith("further pictures of the input are left out (")));
  EXPECT_THAT(redraw("out.tif", "again.tif"), IsEmpty());
}

/// Makes a JPEG of 6 by 4 pixels on its side with data of every kind.
void makeCameraPicture(const std::filesystem::path& file) {
  Picture picture(6, 4, 8);
  writePicture(picture, file, false);
  const auto image = Exiv2::ImageFactory::open(file.string());
  image->readMetadata();
  Exiv2::ExifData& exif = image->exifData();
  exif["Exif.Image.Orientation"] = std::uint16_t{6};
  exif["Exif.Image.Make"] = "Maker";
  exif["Exif.Photo.ExposureTime"] = Exiv2::Rational(1, 50);
  exif["Exif.Photo.PixelXDimension"] = std::uint32_t{6};
  exif["Exif.Photo.LensModel"] = "Größe";
  exif["Exif.GPSInfo.GPSLatitudeRef"] = "N";
  exif["Exif.Thumbnail.Compression"] = std::uint16_t{6};
  image->iptcData()["Iptc.Application2.City"] = "Wien";
  image->xmpData()["Xmp.dc.source"] = "Größe";
  image->xmpData()["Xmp.tiff.Orientation"] = "6";
  image->setComment("A comment");
  image->writeMetadata();
}

TEST_F(KeptContent, CamerasDataStaysButForOrientationSizeAndThumbnail) {
  makeCameraPicture(path("in.jpg"));
  struct Case {
    const char* out;
    std::vector<std::string> lost;
  };
  for (const Case& c : {Case{"out.jpg", {}}, {"out.png", {}}, {"out.tif", {"the comment"}}}) {
    std::vector<std::string> expected;
    for (const std::string& name : c.lost) expected.push_back(name + " is left out");
    const auto losses = redraw("in.jpg", c.out);
    ASSERT_EQ(losses.size(), expected.size()) << c.out;
    for (std::size_t i = 0; i < losses.size(); ++i) {
      EXPECT_THAT(losses[i], testing::StartsWith(expected[i])) << c.out;
    }
    const auto image = Exiv2::ImageFactory::open(path(c.out).string());
    image->readMetadata();
    Exiv2::ExifData& exif = image->exifData();
    EXPECT_EQ(exif["Exif.Image.Orientation"].toString(), "1") << c.out;
    EXPECT_EQ(exif["Exif.Image.Make"].toString(), "Maker") << c.out;
    EXPECT_EQ(exif["Exif.Photo.ExposureTime"].toString(), "1/50") << c.out;
    EXPECT_EQ(exif["Exif.Photo.PixelXDimension"].toString(), "4") << c.out;
    EXPECT_EQ(exif["Exif.Photo.LensModel"].toString(), "Größe") << c.out;
    EXPECT_EQ(exif["Exif.GPSInfo.GPSLatitudeRef"].toString(), "N") << c.out;
    EXPECT_EQ(exif.findKey(Exiv2::ExifKey("Exif.Thumbnail.Compression")), exif.end()) << c.out;
    EXPECT_EQ(image->iptcData()["Iptc.Application2.City"].toString(), "Wien") << c.out;
    EXPECT_EQ(image->xmpData()["Xmp.dc.source"].toString(), "Größe") << c.out;
    EXPECT_EQ(image->xmpData()["Xmp.tiff.Orientation"].toString(), "1") << c.out;
    // The pixels are those of the picture that was drawn, upright.
    const Picture back = readPicture(path(c.out));
    EXPECT_EQ(back.width(), 4) << c.out;
    EXPECT_EQ(back.height(), 6) << c.out;
  }
  const auto losses = redraw("in.jpg", "out.bmp");
  ASSERT_EQ(losses.size(), 1);
  for (const char* name : {"Exif", "GPS", "IPTC", "XMP", "'Make'"}) {
    EXPECT_THAT(losses[0], HasSubstr(name));
  }
}

/// Returns a profile with one tag. colours: what it is of, such as "RGB ".
std::vector<unsigned char> makeProfile(const std::string& colours) {
  std::vector<unsigned char> profile(200);
  const auto put = [&](std::size_t at, const std::string& text) {
    std::ranges::copy(text, profile.begin() + static_cast<std::ptrdiff_t>(at));
  };
  put(0, "\0\0\0\xc8\0\0\0\0\2\x10"s);  // Size; version 2.1.
  put(12, "mntr" + colours + "XYZ ");
  put(36, "acsp");
  put(68, "\0\0\xf6\xd6\0\1\0\0\0\0\xd3\x2d"s);  // White: D50.
  put(128, "\0\0\0\1cprt\0\0\0\x90\0\0\0\x38text\0\0\0\0Nobody"s);
  return profile;
}

class ColourProfile : public KeptContent {
 protected:
  void makeJpeg(const std::vector<unsigned char>& profile) {
    ImageSpec spec(4, 4, 3, TypeDesc::UINT8);
    const auto size = static_cast<int>(profile.size());
    spec.attribute("ICCProfile", TypeDesc(TypeDesc::UINT8, size), profile.data());
    spec.attribute("Exif:ColorSpace", 1);
    const auto output = OIIO::ImageOutput::create("in.jpg");
    ASSERT_TRUE(output->open(path("in.jpg").string(), spec));
    ASSERT_TRUE(output->write_image(TypeDesc::UINT8, std::vector<unsigned char>(48, 90).data()));
    ASSERT_TRUE(output->close());
  }
  bool hasProfile(const std::string& name) {
    const auto input = OIIO::ImageInput::open(path(name).string());
    return input->spec().find_attribute("ICCProfile") != nullptr;
  }
};

TEST_F(ColourProfile, StaysUnlessColoursAreConverted) {
  makeJpeg(makeProfile("RGB "));
  const ColourConversion conversion("srgb:rec709", "--colour");
  for (const std::string out : {"out.jpg", "out.png", "out.tif"}) {
    for (const bool converts : {false, true}) {
      Picture picture = readPicture(path("in.jpg"));
      if (converts) picture = conversion.convert(std::move(picture));
      const auto losses = writePicture(picture, path(out), true);
      if (converts) {
        EXPECT_THAT(losses, ElementsAre(HasSubstr("the colours are converted without"))) << out;
      } else {
        EXPECT_THAT(losses, IsEmpty()) << out;
      }
      EXPECT_EQ(hasProfile(out), !converts) << out;
      const auto image = Exiv2::ImageFactory::open(path(out).string());
      image->readMetadata();
      EXPECT_EQ(image->exifData()["Exif.Photo.ColorSpace"].toString(), converts ? "65535" : "1")
          << out;
    }
  }
}

TEST_F(ColourProfile, OfGreyOrDamagedIsLeftOutInsteadOfEndingTheRun) {
  makeJpeg(makeProfile("GRAY"));
  for (const std::string out : {"out.jpg", "out.png", "out.tif"}) {
    EXPECT_THAT(writePicture(readPicture(path("in.jpg")), path(out), true),
                ElementsAre(HasSubstr("damaged or not of red, green and blue")))
        << out;
    EXPECT_FALSE(hasProfile(out)) << out;
  }
  std::vector<unsigned char> damaged = makeProfile("RGB ");
  damaged[38] = 'x';
  makeJpeg(damaged);
  EXPECT_THAT(writePicture(readPicture(path("in.jpg")), path("out.png"), true),
              ElementsAre(HasSubstr("damaged or not of red, green and blue")));
  EXPECT_TRUE(writePicture(readPicture(path("in.jpg")), path("out.jpg"), true).empty());
}

TEST_F(KeptContent, PngTextStaysAsItIsStored) {
  writePicture(Picture(2, 2, 8), path("plain.png"), false);
  std::string png = read(path("plain.png"));
  // Made by hand: text in Latin-1, in UTF-8 with a language, and compressed.
  const std::string texts = "\0\0\0\x0atEXtAuthor\0J\xfcr"s + "\xac\xe6\xa5\xd9"s +
                            "\0\0\0\x17iTXtTitle\0\0\0de\0\0Gr\xc3\xb6\xc3\x9f"
                            "e \xe6\x97\xa5"s +
                            "\x1f\xfc\x82\x61"s;
  png.insert(png.find("IDAT") - 4, texts);
  write(path("in.png"), png);
  EXPECT_THAT(redraw("in.png", "out.png"), IsEmpty());
  const std::string out = read(path("out.png"));
  const std::size_t at = out.find(texts);
  EXPECT_NE(at, std::string::npos);
  EXPECT_LT(at, out.find("IDAT"));
  EXPECT_EQ(out.find("Author", at + texts.size()), std::string::npos);
}

TEST_F(KeptContent, QualityChangesTheSizeOfAJpegAndNotItsSubsampling) {
  Picture picture(64, 64, 8);
  for (int y = 0; y < 64; ++y) std::iota(picture.row8(y).begin(), picture.row8(y).end(), y * 5);
  std::vector<std::uintmax_t> sizes;
  for (const int quality : {1, 50, 95, 100}) {
    PictureOutput output;
    output.overwrite = true;
    output.quality = quality;
    output.extension = ".jpg";
    writePicture(picture, path("picture"), output);
    sizes.push_back(std::filesystem::file_size(path("picture")));
    const auto input = OIIO::ImageInput::create("jpeg");
    ImageSpec spec;
    ASSERT_TRUE(input->open(path("picture").string(), spec));
    EXPECT_EQ(spec.get_string_attribute("jpeg:subsampling"), kJpegSubsampling);
  }
  EXPECT_THAT(sizes,
              testing::Pointwise(testing::Lt(), {sizes[1], sizes[2], sizes[3], UINTMAX_MAX}));
}

TEST(FirstPictureLength, IsThatOfTheFirstOfSeveralPictures) {
  const std::string png =
      "\x89PNG\r\n\x1a\n"s + "\0\0\0\x02tEXtabcrc!"s + "\0\0\0\0IEND\xae\x42\x60\x82"s;
  const std::string jpeg = "\xff\xd8\xff\xe0\0\4ab\xff\xff\xda\0\3x1\xff\0\xff\xd0"s + "2\xff\xd9"s;
  const std::string several = "\xff\xd8\xff\xe2\0\x08MPF\0ab\xff\xda\0\2\xff\xd9"s;
  const std::string bmp = "BM\x08\0\0\0ab"s;
  struct Case {
    const char* name;
    std::string bytes;
    std::optional<std::size_t> length;
  };
  for (const Case& c : {Case{"PNG", png, png.size()},
                        {"two PNGs", png + png, png.size()},
                        {"cut PNG", png.substr(0, png.size() - 1), std::nullopt},
                        {"JPEG", jpeg, jpeg.size()},
                        {"two JPEGs", jpeg + jpeg, jpeg.size()},
                        {"cut JPEG", jpeg.substr(0, jpeg.size() - 1), std::nullopt},
                        {"JPEG of several pictures", several + jpeg, std::nullopt},
                        {"two BMPs", bmp + bmp, bmp.size()},
                        {"cut BMP", bmp.substr(0, 7), std::nullopt},
                        {"OpenEXR", "\x76\x2f\x31\x01 and more", std::nullopt},
                        {"video", "YUV4MPEG2 W4 H4", std::nullopt},
                        {"nothing", "", std::nullopt}}) {
    EXPECT_EQ(firstPictureLength(c.bytes), c.length) << c.name;
  }
}

}  // namespace
}  // namespace lomix::media
