#include <gtest/gtest.h>

#include "dialogs/about_box.h"
#include "dialogs/character_chart.h"
#include "dialogs/table_dialog.h"

namespace vellmar::dialogs {
namespace {

TEST(TableDialog, OkNeedsRowsAndColumnsAndTheWidthCarriesItsScale) {
  TableBoxes boxes;
  EXPECT_TRUE(tableOkEnabled(boxes));
  boxes.rows = "  ";
  EXPECT_FALSE(tableOkEnabled(boxes));
  boxes.rows = "2";
  boxes.cols = "";
  EXPECT_FALSE(tableOkEnabled(boxes));
  boxes.width = "80";
  EXPECT_EQ(tableWidth(boxes), "80%");
  boxes.percent = false;
  EXPECT_EQ(tableWidth(boxes), "80");
}

TEST(TableDialog, BadShapesAreRefusedWithTheBoxNamed) {
  const auto problem = [](auto change) {
    TableBoxes boxes;
    change(boxes);
    return checkTable(boxes);
  };
  EXPECT_EQ(checkTable(TableBoxes{}).box, TableBox::none);
  EXPECT_EQ(problem([](TableBoxes& b) { b.rows = "1000"; b.cols = "100"; }).box, TableBox::none);
  auto p = problem([](TableBoxes& b) { b.rows = "10000"; b.cols = "10000"; });
  EXPECT_EQ(p.box, TableBox::rows);
  EXPECT_EQ(p.message, "A table may have at most 1000 rows.");
  p = problem([](TableBoxes& b) { b.cols = "101"; });
  EXPECT_EQ(p.box, TableBox::cols);
  EXPECT_EQ(p.message, "A table may have at most 100 columns.");
  EXPECT_EQ(problem([](TableBoxes& b) { b.rows = "99999999999999999999"; }).box, TableBox::rows);
  EXPECT_EQ(problem([](TableBoxes& b) { b.rows = "three"; }).message,
            "The number of rows must be a whole number.");
  EXPECT_EQ(problem([](TableBoxes& b) { b.cols = "-2"; }).box, TableBox::cols);
  EXPECT_EQ(problem([](TableBoxes& b) { b.cols = "0"; }).box, TableBox::cols);
  EXPECT_EQ(problem([](TableBoxes& b) { b.rows = ""; }).box, TableBox::rows);
  EXPECT_EQ(problem([](TableBoxes& b) { b.width = "wide"; }).box, TableBox::width);
  EXPECT_EQ(problem([](TableBoxes& b) { b.width = "150"; }).box, TableBox::width);
  EXPECT_EQ(problem([](TableBoxes& b) { b.width = "150"; b.percent = false; }).box, TableBox::none);
  EXPECT_EQ(problem([](TableBoxes& b) { b.border = "-1"; }).box, TableBox::border);
  EXPECT_EQ(problem([](TableBoxes& b) { b.border = ""; }).box, TableBox::none);
  EXPECT_EQ(problem([](TableBoxes& b) { b.padding = "3px"; }).box, TableBox::padding);
  EXPECT_EQ(problem([](TableBoxes& b) { b.spacing = "5000"; }).box, TableBox::spacing);
}

TEST(SpecialCharacters, NinetyThreeEntriesFromCentToYWithoutSoftHyphen) {
  const auto& all = specialCharacters();
  ASSERT_EQ(all.size(), 93U);
  EXPECT_EQ(specialCharacterEntry(all.front()), "\u00a2 - Cent Sign");
  EXPECT_EQ(specialCharacterEntry(all.back()), "\u00ff - Latin Small Letter y With Diaeresis");
  for (std::size_t i = 1; i < all.size(); ++i) {
    EXPECT_LT(all[i - 1].code, all[i].code);
    EXPECT_NE(all[i].code, 0xADU);
  }
  EXPECT_EQ(specialCharacterEntry(all[5]), "\u00a7 - Section Sign");
  EXPECT_EQ(specialCharacterEntry(all[7]), "\u00a9 - Copyright Sign");
}

TEST(AboutBox, VersionAsThreePlainNumbers) {
  EXPECT_EQ(aboutVersionLine("2.0.15"), "Version: 2.0.15");
  EXPECT_EQ(aboutVersionLine("2.01"), "Version: 2.1.0");
  EXPECT_EQ(aboutVersionLine(""), "Version: 0.0.0");
}

}  // namespace
}  // namespace vellmar::dialogs
