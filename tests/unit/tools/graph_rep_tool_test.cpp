#include "host/tools/graph_rep_tool.h"

#include <cstdio>
#include <filesystem>
#include <string>

#include "tavhost/files/program_path.h"
#include "tavhost/ui/models/drawing_model.h"
#include "tests/support/host_fixture.h"

namespace {

class GraphRepTool : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    folder_ = std::filesystem::temp_directory_path() / "graph_rep_tool_test";
    std::filesystem::create_directories(folder_);
    program_path::Set(folder_.string());
  }
  void TearDown() override {
    program_path::Set("");
    std::filesystem::remove_all(folder_);
    HostTest::TearDown();
  }

  void Write(const std::string& text) {
    std::FILE* const file = std::fopen((folder_ / "d.kel").string().c_str(), "wb");
    ASSERT_TRUE(file);
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
  }

  std::filesystem::path folder_;
};

TEST_F(GraphRepTool, DrawsItsTextAndSaysWhatIsWrong) {
  TavGraphRepTool tool(nullptr, main_frames::Work());
  auto& model = static_cast<ui::DrawingModel&>(tool.Model());
  tool.SetGraphReps("ELLIPSE x:0 y:0 w:1 h:1");
  EXPECT_EQ(model.Shown().shapes.size(), 1u);
  tool.SetGraphReps("NOTHING");
  EXPECT_EQ(model.Shown().shapes.size(), 0u);
  EXPECT_EQ(model.Error(), "1:1: there is no drawing element NOTHING");
}

TEST_F(GraphRepTool, FollowsItsFilesFromTheFolderOfTheScript) {
  Write("ELLIPSE x:0 y:0 w:1 h:1");
  TavGraphRepTool tool(nullptr, main_frames::Work());
  auto& model = static_cast<ui::DrawingModel&>(tool.Model());
  tool.SetGraphReps("FILE \"d.kel\"");
  tool.SetInterval(50);
  EXPECT_EQ(model.Interval(), 50);
  EXPECT_EQ(model.Shown().shapes.size(), 1u);
  program_path::Set("");  // the script has ended
  Write("");
  model.refresh();
  EXPECT_EQ(model.Shown().shapes.size(), 0u);
  std::filesystem::remove(folder_ / "d.kel");
  model.refresh();
  EXPECT_EQ(model.Error(), "1:1: the file d.kel cannot be read");
  Write("ELLIPSE x:0 y:0 w:1 h:1\nELLIPSE x:0 y:0 w:1 h:1");
  model.refresh();
  EXPECT_EQ(model.Error(), "");
  EXPECT_EQ(model.Shown().shapes.size(), 2u);
}

TEST_F(GraphRepTool, AnIntervalBelowZeroIsNone) {
  TavGraphRepTool tool(nullptr, main_frames::Work());
  tool.SetInterval(-1);
  EXPECT_EQ(static_cast<ui::DrawingModel&>(tool.Model()).Interval(), 0);
}

}  // namespace
