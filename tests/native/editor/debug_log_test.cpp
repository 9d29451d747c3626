#include "editor/debug_log.h"

#include <gtest/gtest.h>

#include "common/diagnostics.h"
#include "editor/properties.h"

namespace vellmar::editor {
namespace {

TEST(DebugLogFileName, MonthDayYearHourMinuteSecondWithoutLeadingZeros) {
  EXPECT_EQ(debugLogFileName({2024, 7, 3, 9, 5, 7}), "\\vellmar_debuglog_732024957.txt");
  EXPECT_EQ(debugLogFileName({2024, 11, 12, 10, 4, 5}), "\\vellmar_debuglog_111220241045.txt");
  // Different moments, one name.
  EXPECT_EQ(debugLogFileName({2024, 12, 1, 10, 4, 5}), "\\vellmar_debuglog_12120241045.txt");
  EXPECT_EQ(debugLogFileName({2024, 1, 21, 10, 4, 5}), "\\vellmar_debuglog_12120241045.txt");
  EXPECT_EQ(debugLogFileName({2025, 1, 1, 0, 0, 0}), "\\vellmar_debuglog_112025000.txt");
}

TEST(DebugLogCodePage, EightBitText) {
  EXPECT_EQ(toLogCodePage("plain"), "plain");
  EXPECT_EQ(toLogCodePage("caf\xC3\xA9"), "caf\xE9");
  EXPECT_EQ(toLogCodePage("\xE2\x82\xAC 5"), "\x80 5");
  EXPECT_EQ(toLogCodePage("\xE4\xB8\xAD!"), "?!");
  EXPECT_EQ(toLogCodePage("\xFF\xC3"), "??");  // broken UTF-8
}

class DebugLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    files = std::make_shared<MemoryLogFileSystem::Files>();
    auto& log = DebugLog::shared();
    log.close();
    log.clearOpenFlag();
    log.setFileSystemFactory([this] {
      ++fileSystemsMade;
      return std::make_unique<MemoryLogFileSystem>(files, "C:\\Windows");
    });
    log.setClock([this] { return now; });
    log.setEcho([this](std::string_view m) { echoed.emplace_back(m); });
    PropertySet::shared().resetToDefaults();
    installDebugLog();
  }
  void TearDown() override {
    DebugLog::shared().close();
    DebugLog::shared().clearOpenFlag();
    DebugLog::shared().setEcho(nullptr);
    setDebugSink(nullptr);
    PropertySet::shared().resetToDefaults();
  }

  std::shared_ptr<MemoryLogFileSystem::Files> files;
  LocalTime now{2024, 7, 3, 9, 5, 7};
  int fileSystemsMade = 0;
  std::vector<std::string> echoed;
};

TEST_F(DebugLogTest, NothingWrittenUnlessDebugModeIsExactlyOne) {
  for (int mode : {0, -1, 2}) {
    PropertySet::shared().let("DebugMode", mode);
    debugLog("quiet");
  }
  EXPECT_TRUE(files->empty());
  EXPECT_EQ(fileSystemsMade, 0);
  EXPECT_FALSE(DebugLog::shared().openFlag());
  EXPECT_TRUE(echoed.empty());
}

TEST_F(DebugLogTest, OpensAtTheFirstEntryAndKeepsItsName) {
  debugLog("before debug mode");
  PropertySet::shared().let("DebugMode", 1);
  debugLog("first");
  now.second = 8;  // the name is fixed while the file is open
  debugLog("second\r\nline");
  ASSERT_EQ(files->size(), 1u);
  const auto& [path, text] = *files->begin();
  EXPECT_EQ(path, "C:\\Windows\\vellmar_debuglog_732024957.txt");
  EXPECT_EQ(text, "first\r\nsecond\r\nline\r\n");
  EXPECT_EQ(echoed, (std::vector<std::string>{"first", "second\r\nline"}));
}

TEST_F(DebugLogTest, ClosingKeepsTheFlagUntilInitialisation) {
  PropertySet::shared().let("DebugMode", 1);
  debugLog("one");
  DebugLog::shared().close();
  EXPECT_TRUE(DebugLog::shared().openFlag());
  debugLog("lost after hide");
  ASSERT_EQ(files->size(), 1u);
  EXPECT_EQ(files->begin()->second, "one\r\n");

  DebugLog::shared().clearOpenFlag();
  now = {2024, 7, 3, 9, 6, 0};
  debugLog("two");
  ASSERT_EQ(files->size(), 2u);
  EXPECT_EQ((*files)["C:\\Windows\\vellmar_debuglog_73202496" "0.txt"], "two\r\n");
  EXPECT_EQ(fileSystemsMade, 2);
}

TEST_F(DebugLogTest, AppendsToAFileOfTheSameName) {
  (*files)["C:\\Windows\\vellmar_debuglog_732024957.txt"] = "earlier run\r\n";
  PropertySet::shared().let("DebugMode", 1);
  debugLog("this run");
  EXPECT_EQ((*files)["C:\\Windows\\vellmar_debuglog_732024957.txt"],
            "earlier run\r\nthis run\r\n");
}

TEST_F(DebugLogTest, ErrorConventionWritesThreeEntries) {
  PropertySet::shared().let("DebugMode", 1);
  guarded("loadContent", [] { throw ProcedureError(91, "Object variable not set"); });
  EXPECT_EQ(files->begin()->second, "Error in loadContent\r\n91\r\nObject variable not set\r\n");
}

TEST_F(DebugLogTest, AFileThatCannotBeOpenedLosesTheMessageOnly) {
  class Refusing : public LogFileSystem {
   public:
    std::string folderPath() override { return "X:"; }
    bool openForAppend(const std::string&) override { return false; }
    bool append(std::string_view) override { return false; }
    void close() override {}
  };
  DebugLog::shared().setFileSystemFactory([] { return std::make_unique<Refusing>(); });
  PropertySet::shared().let("DebugMode", 1);
  debugLog("lost");
  EXPECT_FALSE(DebugLog::shared().openFlag());
  EXPECT_TRUE(echoed.empty());
}

}  // namespace
}  // namespace vellmar::editor
