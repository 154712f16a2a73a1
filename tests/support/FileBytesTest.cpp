// Numbers and texts of binary files, up to and beyond their ends.
#include "support/FileBytes.h"
#include "support/ScratchFolder.h"

namespace lomix {
namespace {

class FileBytesOf : public ScratchFolder {};

TEST_F(FileBytesOf, NumbersHaveEitherOrderAndEndWithTheFile) {
  write(path("file"), "\x01\x02\x03\x04\x05\x06\x07\xf8");
  FileBytes bytes(path("file"));
  struct Case {
    std::uint64_t at;
    std::size_t length;
    std::uint64_t little, big;
  };
  for (const Case& c : {Case{0, 8, 0xf807060504030201, 0x01020304050607f8},
                        {7, 1, 0xf8, 0xf8},
                        {1, 3, 0x040302, 0x020304},
                        {4, 2, 0x0605, 0x0506}}) {
    bytes.setBigEndian(false);
    EXPECT_EQ(bytes.number(c.at, c.length), c.little) << c.at;
    bytes.setBigEndian(true);
    EXPECT_EQ(bytes.number(c.at, c.length), c.big) << c.at;
  }
  EXPECT_EQ(bytes.text(2, 3), "\x03\x04\x05");
  EXPECT_TRUE(bytes.has(8, 0));
  struct Range {
    std::uint64_t at;
    std::size_t length;
  };
  constexpr std::uint64_t kFar = ~std::uint64_t{0};
  for (const Range& range : {Range{8, 1}, {1, 8}, {kFar, 1}, {kFar - 1, 4}}) {
    EXPECT_FALSE(bytes.has(range.at, range.length)) << range.at;
    EXPECT_THROW(bytes.require(range.at, range.length), EndOfFile) << range.at;
    EXPECT_THROW(bytes.number(range.at, range.length), EndOfFile) << range.at;
    EXPECT_THROW(bytes.text(range.at, range.length), EndOfFile) << range.at;
    // The file can still be read.
    EXPECT_EQ(bytes.number(0, 1), 1u);
  }
}

TEST_F(FileBytesOf, AFileThatEndsWhileItIsReadThrows) {
  write(path("file"), std::string(100'000, 'x'));
  FileBytes bytes(path("file"));
  std::filesystem::resize_file(path("file"), 10);
  EXPECT_THROW(bytes.text(50'000, 10), EndOfFile);
}

TEST_F(FileBytesOf, WhatIsNoFileHasNoBytes) {
  for (const auto& file : {path("missing"), folder_}) {
    FileBytes bytes(file);
    EXPECT_FALSE(bytes.isOpen()) << file;
    EXPECT_FALSE(bytes.has(0, 1)) << file;
    EXPECT_THROW(bytes.number(0, 1), EndOfFile) << file;
  }
}

}  // namespace
}  // namespace lomix
