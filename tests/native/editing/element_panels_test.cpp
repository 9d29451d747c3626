#include "editing/element_panels.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace vellmar::editing {
namespace {

// An element as attributes, an inline style and (for tables) rows of cell spans.
struct FakeElement : PanelElement {
  std::map<std::string, std::string, std::less<>> attributes;
  std::map<std::string, std::string, std::less<>> style;
  std::vector<std::vector<int>> rows;
  int writes = 0;

  std::string property(std::string_view name) const override {
    const auto found = attributes.find(name);
    return found == attributes.end() ? std::string() : found->second;
  }
  void setProperty(std::string_view name, std::string_view value) override {
    attributes[std::string(name)] = std::string(value);
    ++writes;
  }
  void removeProperty(std::string_view name) override {
    attributes.erase(std::string(name));
    ++writes;
  }
  bool hasProperty(std::string_view name) const override { return attributes.contains(name); }
  std::string styleSize(std::string_view which) const override {
    const auto found = style.find(which);
    return found == style.end() ? std::string() : found->second;
  }
  void clearStyleSize(std::string_view which) override { style.erase(std::string(which)); }
  std::vector<std::vector<int>> rowSpans() const override { return rows; }
  void appendRow(int cells) override { rows.emplace_back(static_cast<std::size_t>(cells), 1); }
  void deleteRow(int index) override { rows.erase(rows.begin() + index); }
  void appendCell(int row) override { rows[static_cast<std::size_t>(row)].push_back(1); }
  void deleteLastCell(int row) override { rows[static_cast<std::size_t>(row)].pop_back(); }
};

FakeElement table(std::vector<std::vector<int>> rows) {
  FakeElement t;
  t.rows = std::move(rows);
  return t;
}

TEST(TablePanel, ReadsTheTableAndMovesStyleSizesIntoAttributes) {
  FakeElement t = table({{1, 2}, {1, 1, 1}});
  t.style["width"] = "300px";
  t.attributes = {{"border", "1"}, {"bgColor", "#FF0000"}, {"align", "CENTER "}};
  const PanelValues v = setProperties(PropertiesTarget::table, t);
  EXPECT_EQ(v.at("txtRows"), "2");
  EXPECT_EQ(v.at("txtCols"), "3");
  EXPECT_EQ(v.at("txtWidth"), "300px");
  EXPECT_EQ(t.property("width"), "300px");
  EXPECT_EQ(t.styleSize("width"), "");
  EXPECT_EQ(v.at("txtBorder"), "1");
  EXPECT_EQ(v.at("ctlBgColor"), "#FF0000");
  EXPECT_EQ(v.at("cmbAlign"), "");  // "center" is not one of the table's entries
  t.attributes["align"] = "  ";
  EXPECT_EQ(setProperties(PropertiesTarget::table, t).at("cmbAlign"), "Not Set");
  t.attributes["align"] = "absMIDDLE";
  EXPECT_EQ(setProperties(PropertiesTarget::table, t).at("cmbAlign"), "Absmiddle");
}

TEST(TablePanel, NumberFieldsWriteDigitsRemoveWhenEmptyAndRefuseTheRest) {
  FakeElement t = table({{1}});
  auto r = applyField(PropertiesTarget::table, "txtBorder", " 3 ", t);
  EXPECT_TRUE(r.wrote);
  EXPECT_EQ(t.property("border"), "3");
  r = applyField(PropertiesTarget::table, "txtBorder", "", t);
  EXPECT_TRUE(r.wrote);
  EXPECT_FALSE(t.attributes.contains("border"));
  for (const char* bad : {"abc", "-1", "99999", "1.5"}) {
    r = applyField(PropertiesTarget::table, "txtPadding", bad, t);
    EXPECT_FALSE(r.wrote) << bad;
    EXPECT_FALSE(r.message.empty()) << bad;
    EXPECT_FALSE(t.attributes.contains("cellPadding")) << bad;
  }
  // Writing the value the element already has is no change (and no undo step).
  applyField(PropertiesTarget::table, "txtSpacing", "2", t);
  const int writes = t.writes;
  EXPECT_FALSE(applyField(PropertiesTarget::table, "txtSpacing", "2", t).wrote);
  EXPECT_EQ(t.writes, writes);
}

TEST(TablePanel, SizesArePixelsOrPercentages) {
  FakeElement t = table({{1}});
  EXPECT_EQ(applyField(PropertiesTarget::table, "txtWidth", "80%", t).shown, "80%");
  EXPECT_EQ(t.property("width"), "80%");
  EXPECT_EQ(applyField(PropertiesTarget::table, "txtWidth", "400px", t).shown, "400");
  EXPECT_EQ(applyField(PropertiesTarget::table, "txtHeight", "12.5%", t).shown, "12.5%");
  for (const char* bad : {"wide", "80%%", "-5", "1e3", "%"}) {
    const auto r = applyField(PropertiesTarget::table, "txtWidth", bad, t);
    EXPECT_FALSE(r.message.empty()) << bad;
  }
  EXPECT_EQ(t.property("width"), "400");
  applyField(PropertiesTarget::table, "txtWidth", " ", t);
  EXPECT_FALSE(t.attributes.contains("width"));
}

TEST(TablePanel, ColoursAreColourTextOrNothing) {
  FakeElement t = table({{1}});
  EXPECT_EQ(applyField(PropertiesTarget::table, "ctlBgColor", "#00ff00", t).shown, "#00FF00");
  EXPECT_EQ(t.property("bgColor"), "#00FF00");
  const auto bad = applyField(PropertiesTarget::table, "ctlBorderColor", "blueish", t);
  EXPECT_FALSE(bad.message.empty());
  EXPECT_EQ(bad.shown, "blueish");  // the person's text stays to be corrected
  EXPECT_FALSE(t.attributes.contains("borderColor"));
  applyField(PropertiesTarget::table, "ctlBgColor", "", t);
  EXPECT_FALSE(t.attributes.contains("bgColor"));
}

TEST(TablePanel, AlignmentNotSetRemovesTheAttribute) {
  FakeElement t = table({{1}});
  applyField(PropertiesTarget::table, "cmbAlign", "Right", t);
  EXPECT_EQ(t.property("align"), "Right");
  applyField(PropertiesTarget::table, "cmbAlign", "Not Set", t);
  EXPECT_FALSE(t.attributes.contains("align"));
}

TEST(TablePanel, RowsGrowWithAsManyCellsAsTheFirstRowSpans) {
  FakeElement t = table({{2, 1}, {1, 1, 1}});
  const auto r = applyField(PropertiesTarget::table, "txtRows", "4", t);
  EXPECT_TRUE(r.wrote);
  ASSERT_EQ(t.rows.size(), 4u);
  EXPECT_EQ(t.rows[2].size(), 3u);
  EXPECT_EQ(t.rows[3].size(), 3u);
  // Down to one: the last rows go, the first stays.
  t.rows[0] = {7};
  applyField(PropertiesTarget::table, "txtRows", "1.9", t);
  ASSERT_EQ(t.rows.size(), 1u);
  EXPECT_EQ(t.rows[0], std::vector<int>{7});
}

TEST(TablePanel, BadRowCountsPutTheRealCountBack) {
  FakeElement t = table({{1}, {1}});
  for (const char* bad : {"abc", "", "0", "-3", "1001", "10000"}) {
    const auto r = applyField(PropertiesTarget::table, "txtRows", bad, t);
    EXPECT_FALSE(r.wrote) << bad;
    EXPECT_EQ(r.shown, "2") << bad;
    EXPECT_FALSE(r.message.empty()) << bad;
  }
  EXPECT_EQ(t.rows.size(), 2u);
  EXPECT_FALSE(applyField(PropertiesTarget::table, "txtRows", "2", t).wrote);
}

TEST(TablePanel, ColumnsAreAddedAndRemovedAtEveryRowsEnd) {
  FakeElement t = table({{1, 1}, {1, 1}});
  applyField(PropertiesTarget::table, "txtCols", "4", t);
  EXPECT_EQ(t.rows[0].size(), 4u);
  EXPECT_EQ(t.rows[1].size(), 4u);
  applyField(PropertiesTarget::table, "txtCols", "1", t);
  EXPECT_EQ(t.rows[0].size(), 1u);
  EXPECT_EQ(t.rows[1].size(), 1u);
  const auto big = applyField(PropertiesTarget::table, "txtCols", "10000", t);
  EXPECT_EQ(big.shown, "1");
  EXPECT_FALSE(big.message.empty());
  // A short row keeps its one cell when the others lose theirs.
  FakeElement uneven = table({{1, 1, 1}, {3}});
  applyField(PropertiesTarget::table, "txtCols", "1", uneven);
  EXPECT_EQ(uneven.rows[0].size(), 1u);
  EXPECT_EQ(uneven.rows[1].size(), 1u);
}

TEST(CellPanel, ReadsAndWritesAlignmentsNoWrapAndSizes) {
  FakeElement cell;
  cell.style["height"] = "40px";
  cell.attributes = {{"vAlign", "top"}, {"noWrap", "true"}};
  const PanelValues v = setProperties(PropertiesTarget::cell, cell);
  EXPECT_EQ(v.at("txtHeight"), "40px");
  EXPECT_EQ(v.at("cmbHAlign"), "Not Set");
  EXPECT_EQ(v.at("cmbVAlign"), "Top");
  EXPECT_EQ(v.at("cbNowrap"), "true");
  applyField(PropertiesTarget::cell, "cmbVAlign", "Not Set", cell);
  EXPECT_FALSE(cell.attributes.contains("vAlign"));
  applyField(PropertiesTarget::cell, "cmbHAlign", "Center", cell);
  EXPECT_EQ(cell.property("align"), "Center");
  applyField(PropertiesTarget::cell, "cbNowrap", "false", cell);
  EXPECT_FALSE(cell.attributes.contains("noWrap"));
  applyField(PropertiesTarget::cell, "txtWidth", "50%", cell);
  EXPECT_EQ(cell.property("width"), "50%");
  EXPECT_FALSE(applyField(PropertiesTarget::cell, "ctlBgColor", "#12", cell).message.empty());
}

TEST(ImagePanel, NumberBoxesKeepOnlyDigitsAndEmptyIsZero) {
  FakeElement img;
  img.style = {{"width", "150px"}, {"height", "80px"}};
  const PanelValues v = setProperties(PropertiesTarget::image, img);
  EXPECT_EQ(v.at("txtWidth"), "150px");
  EXPECT_TRUE(img.style.empty());
  EXPECT_EQ(applyField(PropertiesTarget::image, "txtWidth", "150px", img).shown, "150");
  EXPECT_EQ(img.property("width"), "150");
  EXPECT_EQ(applyField(PropertiesTarget::image, "txtBorder", "", img).shown, "0");
  EXPECT_EQ(img.property("border"), "0");
  const auto huge = applyField(PropertiesTarget::image, "txtHSpace", "99999", img);
  EXPECT_FALSE(huge.message.empty());
  EXPECT_FALSE(img.attributes.contains("hspace"));
  EXPECT_TRUE(applyField(PropertiesTarget::image, "txtAlt", "", img).wrote);
  EXPECT_EQ(img.attributes.at("alt"), "");
  EXPECT_FALSE(applyField(PropertiesTarget::image, "txtAlt", "", img).wrote);
  applyField(PropertiesTarget::image, "cmbAlign", "Texttop", img);
  EXPECT_EQ(img.property("align"), "Texttop");
  EXPECT_TRUE(applyField(PropertiesTarget::image, "cmdResetBtn", "", img).wrote);
  EXPECT_FALSE(img.attributes.contains("width"));
  EXPECT_FALSE(img.attributes.contains("height"));
}

TEST(RulePanel, GetsAFullWidthAndWritesSizeShadeAndColour) {
  FakeElement hr;
  hr.attributes["color"] = "#ff0000";
  PanelValues v = setProperties(PropertiesTarget::rule, hr);
  EXPECT_EQ(hr.property("width"), "100%");
  EXPECT_EQ(v.at("txtWidth"), "100%");
  EXPECT_EQ(v.at("txtHeight"), "");
  EXPECT_FALSE(hr.attributes.contains("size"));
  EXPECT_EQ(v.at("ctlSelColor1"), "#FF0000");
  EXPECT_EQ(v.at("cbShaded"), "true");

  applyField(PropertiesTarget::rule, "txtWidth", "50%", hr);
  EXPECT_EQ(hr.property("width"), "50%");
  applyField(PropertiesTarget::rule, "txtHeight", "4", hr);
  EXPECT_EQ(hr.property("size"), "4");
  applyField(PropertiesTarget::rule, "txtHeight", "", hr);
  EXPECT_FALSE(hr.attributes.contains("size"));
  applyField(PropertiesTarget::rule, "cbShaded", "false", hr);
  EXPECT_EQ(hr.property("noShade"), "true");
  EXPECT_EQ(setProperties(PropertiesTarget::rule, hr).at("cbShaded"), "false");
  applyField(PropertiesTarget::rule, "cbShaded", "true", hr);
  EXPECT_FALSE(hr.attributes.contains("noShade"));
  applyField(PropertiesTarget::rule, "ctlSelColor1", "", hr);
  EXPECT_FALSE(hr.attributes.contains("color"));
}

TEST(PanelFields, EveryPanelListsItsLabelledFields) {
  EXPECT_EQ(panelFields(PropertiesTarget::table).size(), 10u);
  EXPECT_EQ(panelFields(PropertiesTarget::cell).size(), 7u);
  EXPECT_EQ(panelFields(PropertiesTarget::image).size(), 8u);
  EXPECT_EQ(panelFields(PropertiesTarget::rule).size(), 4u);
  EXPECT_TRUE(panelFields(PropertiesTarget::none).empty());
  for (auto panel : {PropertiesTarget::table, PropertiesTarget::cell, PropertiesTarget::image, PropertiesTarget::rule}) {
    for (const PanelField& f : panelFields(panel)) EXPECT_FALSE(f.label.empty()) << f.id;
  }
  EXPECT_EQ(panelFields(PropertiesTarget::table).back().entries.size(), 10u);
}

TEST(FrameTracking, ClosesWhenTheSelectionLeavesAndRereadsWhenTheElementChanges) {
  FrameTracking frames;
  EXPECT_EQ(frames.follow(3, "<td>a</td>"), FrameTracking::Follow::nothing);
  EXPECT_TRUE(frames.show(PropertiesTarget::cell, 3, "<td>a</td>"));
  EXPECT_FALSE(frames.show(PropertiesTarget::cell, 3, "<td>a</td>"));
  EXPECT_EQ(frames.follow(3, "<td>a</td>"), FrameTracking::Follow::nothing);
  EXPECT_EQ(frames.follow(3, "<td width=\"9\">a</td>"), FrameTracking::Follow::reread);
  EXPECT_EQ(frames.follow(3, "<td width=\"9\">a</td>"), FrameTracking::Follow::nothing);
  EXPECT_EQ(frames.follow(5, "<td>b</td>"), FrameTracking::Follow::close);
  frames.hideAll();
  EXPECT_EQ(frames.elementIndex(), -1);
  EXPECT_FALSE(frames.open());
  // Another panel on the same element reads it anew.
  frames.show(PropertiesTarget::cell, 3, "<td>a</td>");
  EXPECT_TRUE(frames.show(PropertiesTarget::table, 3, "<td>a</td>"));
}

}  // namespace
}  // namespace vellmar::editing
