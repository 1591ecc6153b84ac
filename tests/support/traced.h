#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tavhost/base/trace.h"

// The trace of what plug-ins, or what stands in a trace::PluginScope, call while it lives.
class Traced {
 public:
  Traced() { EXPECT_TRUE(trace::Open(path_)); }
  Traced(const Traced&) = delete;
  Traced& operator=(const Traced&) = delete;
  ~Traced() {
    trace::Close();
    std::filesystem::remove(path_);
  }

  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    std::ifstream file(path_);
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
  }
  // How many lines begin with `start`.
  int Count(const std::string& start) const {
    int count = 0;
    for (const std::string& line : Lines()) count += line.starts_with(start) ? 1 : 0;
    return count;
  }

 private:
  const std::string path_ = (std::filesystem::path(testing::TempDir()) / "traced.txt").string();
};
