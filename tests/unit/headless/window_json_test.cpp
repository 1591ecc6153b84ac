#include "tavhost/headless/window_json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tavhost/base/stop.h"
#include "tavhost/ui/models/list_box_model.h"

namespace {

constexpr std::size_t kNoLimit = std::string::npos;

class WindowJson : public testing::Test {
 protected:
  void SetUp() override {
    stop::Clear();
    list_.Insert("one");
    list_.Insert("two");
  }
  void TearDown() override { stop::Clear(); }

  ui::ListBoxModel list_{false};
};

TEST_F(WindowJson, HoldsWhatTheUserSees) {
  const auto json = nlohmann::json::parse(ui::WindowJson(list_, "7", kNoLimit).value());
  EXPECT_EQ(json["id"], "7");
  EXPECT_EQ(json["window"], "LIST_BOX");
  EXPECT_EQ(json["entries"], nlohmann::json({"one", "two"}));
}

TEST_F(WindowJson, BeyondTheLimitThereIsNothing) {
  const std::size_t length = ui::WindowJson(list_, "7", kNoLimit).value().size();
  EXPECT_TRUE(ui::WindowJson(list_, "7", length));
  EXPECT_FALSE(ui::WindowJson(list_, "7", length - 1));
}

TEST_F(WindowJson, AStopEndsIt) {
  stop::Request(stop::Reason::kUser);
  EXPECT_THROW(ui::WindowJson(list_, "7", kNoLimit), stop::Stopped);
}

}  // namespace
