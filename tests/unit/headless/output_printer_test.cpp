#include "tavhost/headless/output_printer.h"
#include "tavhost/ui/models/text_model.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/models/workbench_model.h"

#include <gtest/gtest.h>

namespace {

class OutputPrinter : public testing::Test {
 protected:
  void Print(std::string_view line) { printed += line; }

  void Set(ui::TextModel& model, std::string& kept, const std::string& whole) {
    const std::string added = whole.substr(kept.size());
    const std::string before = std::move(kept);
    kept = whole;
    model.Continue(kept, 0, added);
  }

  std::string printed;
  ui::WorkbenchModel workbench;
  ui::TextModel log;
  std::string text;
};

TEST_F(OutputPrinter, PrintsLinesOnceTheyAreComplete) {
  workbench.Add("early", &log, 0);
  ui::OutputPrinter printer(workbench, [this](std::string_view line) { Print(line); });
  Set(log, text, "one\ntw");
  EXPECT_EQ(printed, "early: one\n");
  Set(log, text, "one\ntwo\n\nthr");
  EXPECT_EQ(printed, "early: one\nearly: two\nearly: \n");
  workbench.Remove("early");
  EXPECT_EQ(printed, "early: one\nearly: two\nearly: \nearly: thr\n");
}

TEST_F(OutputPrinter, TheEndPrintsOpenLinesAndLeavesTheTexts) {
  {
    ui::OutputPrinter printer(workbench, [this](std::string_view line) { Print(line); });
    workbench.Add("log", &log, 0);
    ui::WindowModel other;
    workbench.Add("other", &other, 0);
    Set(log, text, "open");
    workbench.Remove("other");
  }
  EXPECT_EQ(printed, "log: open\n");
  Set(log, text, "open\n");
  EXPECT_EQ(printed, "log: open\n");
}

}  // namespace
