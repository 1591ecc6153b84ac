#pragma once

#include <map>
#include <string>
#include <string_view>

#include "tavhost/base/dry_run.h"

namespace app {

// The report of a dry run on standard output: a line for each step, and how many there were of each
// kind at the end. As JSON each line is an object; what else would stand on standard output, such
// as what the script prints, is then an object too.
class DryRunReport {
 public:
  explicit DryRunReport(bool asJson) : asJson_(asJson) {}

  void Tell(const dry_run::Step& step, const std::string& command);
  void Finish();

 private:
  bool asJson_;
  std::map<dry_run::Act, int> counts_;
};

// A text for standard output as such an object, with its line feed.
std::string OutputObject(std::string_view text);

}  // namespace app
