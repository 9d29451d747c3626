#include "toolbars/colour_selector.h"

#include <gtest/gtest.h>

#include <set>

namespace vellmar::toolbars {
namespace {

TEST(ColourText, ReadsWhatPeopleTypeAsHashAndSixUpperCaseDigits) {
  EXPECT_EQ(readColourText("#ff8000"), "#FF8000");
  EXPECT_EQ(readColourText("  ff8000 "), "#FF8000");
  EXPECT_EQ(readColourText("#f80"), "#FF8800");
  EXPECT_EQ(readColourText("rgb(48, 32, 16)"), "#302010");
  EXPECT_EQ(readColourText(""), "");
  EXPECT_EQ(readColourText("   "), "");
}

TEST(ColourText, RefusesWhatIsNoColour) {
  for (const char* bad : {"red", "#12345", "#1234567", "#GG0000", "rgb(256, 0, 0)", "rgb(1, 2)",
                          "rgb(1, 2, 3, 4)", "#", "12 34 56"}) {
    EXPECT_FALSE(readColourText(bad).has_value()) << bad;
  }
}

TEST(ColourText, PutsRedGreenBlueInThatOrder) {
  EXPECT_EQ(colourTextOf(0x30, 0x20, 0x10), "#302010");
  EXPECT_EQ(colourTextOf(255, 0, 0), "#FF0000");
}

TEST(Palette, HoldsDistinctColourTexts) {
  std::set<std::string_view> seen;
  for (std::string_view c : pickerPalette()) {
    EXPECT_EQ(readColourText(c), std::string(c));
    EXPECT_TRUE(seen.insert(c).second) << c;
  }
  EXPECT_EQ(colourName("#FF0000"), "Red #FF0000");
  EXPECT_EQ(colourName("#123456"), "#123456");
}

TEST(SelColor, ChosenColourIsWrittenAsColourTextAndRaisesChanged) {
  SelColor sel;
  int changed = 0;
  sel.Changed = [&] { ++changed; };
  EXPECT_EQ(sel.Color(), "0");
  sel.chosen("#302010");
  EXPECT_EQ(sel.Color(), "#302010");
  sel.chosen("#abcdef");
  EXPECT_EQ(sel.Color(), "#ABCDEF");
  EXPECT_EQ(changed, 2);
}

TEST(SelColor, TypingAndLettingChangeTheColourWithoutChanged) {
  SelColor sel;
  int changed = 0;
  sel.Changed = [&] { ++changed; };
  sel.typed("#12");
  EXPECT_EQ(sel.Color(), "#12");
  EXPECT_FALSE(sel.propertyChanged());
  sel.setColor("#00FF00");
  EXPECT_TRUE(sel.propertyChanged());
  // A picker that hands back nothing that is a colour changes nothing.
  sel.chosen("");
  sel.chosen("not a colour");
  EXPECT_EQ(sel.Color(), "#00FF00");
  EXPECT_EQ(changed, 0);
}

TEST(ImageButton, LooksPressedOnlyWhileHeldOverItAndClicksOnReleaseOverIt) {
  ImageButtonState b;
  EXPECT_FALSE(b.pressed());
  b.pointerDown();
  EXPECT_TRUE(b.pressed());
  b.pointerLeave();
  EXPECT_FALSE(b.pressed());
  b.pointerEnter();
  EXPECT_TRUE(b.pressed());
  EXPECT_TRUE(b.pointerUp());
  EXPECT_FALSE(b.pressed());

  b.pointerDown();
  b.pointerLeave();
  EXPECT_FALSE(b.pointerUp());
  // Entering without a press is no press.
  b.pointerEnter();
  EXPECT_FALSE(b.pressed());
  EXPECT_FALSE(b.pointerUp());
}

}  // namespace
}  // namespace vellmar::toolbars
