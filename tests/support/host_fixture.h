#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tavhost/base/stop.h"
#include "tavhost/base/trace.h"
#include "tavhost/headless/headless_toolkit.h"
#include "tavhost/sv/main_frames.h"
#include "tavhost/ui/current_toolkit.h"
#include "tavhost/ui/models/modal_model.h"

// Answers each window by a function of the test.
class FunctionAnswers final : public ui::AnswerSource {
 public:
  using Function = std::function<void(ui::ModalModel&)>;

  explicit FunctionAnswers(Function function) : function_(std::move(function)) {}

  bool AnswersWindows() const override { return true; }
  void Answer(ui::ModalModel& window) override { function_(window); }
  void Record(const ui::ModalModel&) override {}

 private:
  Function function_;
};

// A host without a display, its windows answered by `answer`, and a trace of what is called.
class HostTest : public testing::Test {
 protected:
  void SetUp() override {
    stop::Clear();
    const auto* const info = testing::UnitTest::GetInstance()->current_test_info();
    path_ = (std::filesystem::temp_directory_path() /
             (std::string("tavhost-") + info->test_suite_name() + '-' + info->name() + ".trace"))
                .string();
    ui::HeadlessOptions options;
    options.answers = std::make_shared<FunctionAnswers>([this](ui::ModalModel& window) {
      ++shown;
      if (answer) {
        answer(window);
      } else {
        window.End(window.DefaultButton());
      }
    });
    ui::SetToolkit(ui::CreateHeadlessToolkit(options));
    ASSERT_TRUE(trace::Open(path_));
    main_frames::Create();
    inPlugin_ = std::make_unique<trace::PluginScope>();
  }

  void TearDown() override {
    inPlugin_.reset();
    main_frames::Destroy();
    trace::Close();
    ui::SetToolkit(nullptr);
    std::remove(path_.c_str());
    stop::Clear();
  }

  // The lines so far; numbers of objects are those of this process, so `#` stands for them.
  std::vector<std::string> Trace() const {
    std::ifstream file(path_);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
      std::string plain;
      for (std::size_t i = 0; i < line.size(); ++i) {
        plain += line[i];
        if (line[i] == '#') {
          while (i + 1 < line.size() && line[i + 1] >= '0' && line[i + 1] <= '9') ++i;
        }
      }
      lines.push_back(plain);
    }
    return lines;
  }

  std::function<void(ui::ModalModel&)> answer;
  int shown = 0;

 private:
  std::string path_;
  std::unique_ptr<trace::PluginScope> inPlugin_;
};
