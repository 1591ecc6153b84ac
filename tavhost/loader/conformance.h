#pragma once

#include <string>
#include <vector>

#include "tavhost/base/result.h"

namespace loader {

// What the host expects of a plug-in, as tests that each stand alone.
struct ConformanceTest {
  std::string id;
  std::string sentence;  // what it proves
  bool isGate;           // nothing behind it can be tested when it fails
};

// In the order in which they run; a gate stands before the tests that need it.
const std::vector<ConformanceTest>& ConformanceTests();

// Runs a test on a plug-in in this process; fails with what is wrong. A plug-in that is no good may
// crash or hang here.
base::Result<void> RunConformanceTest(const std::string& path, const std::string& id);

}  // namespace loader
