// Helpers for short texts.
#include <gtest/gtest.h>

#include "support/Text.h"

namespace lomix {
namespace {

using Words = std::vector<std::string>;

TEST(Text, JoinedHasASeparatorBetweenWordsOnly) {
  EXPECT_EQ(joined(Words{}, ", "), "");
  EXPECT_EQ(joined(Words{"one"}, ", "), "one");
  EXPECT_EQ(joined(Words{"one", "two", "three"}, ", "), "one, two, three");
  // An empty word is one too, and comes back from split().
  EXPECT_EQ(joined(Words{"", "a", ""}, ","), ",a,");
  EXPECT_EQ(joined(split(",a,", ','), ","), ",a,");
}

TEST(Text, LineBreaksOfAllSystemsBecomeSpaces) {
  EXPECT_EQ(oneLine(""), "");
  EXPECT_EQ(oneLine("one\ntwo\r\nthree\r"), "one two  three ");
  EXPECT_EQ(oneLine("no\tbreak"), "no\tbreak");
}

}  // namespace
}  // namespace lomix
