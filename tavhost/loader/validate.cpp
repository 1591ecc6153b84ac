#include "tavhost/loader/validate.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <random>
#include <tl/expected.hpp>
#include <vector>

#include "tavhost/base/report.h"
#include "tavhost/loader/child_process.h"
#include "tavhost/loader/conformance.h"
#include "tavhost/loader/library_file.h"
#include "tavhost/loader/path_text.h"
#include "tavhost/loader/refusal_texts.h"

namespace loader {

namespace {

constexpr int kExitNothingRun = 2;             // as of a script that cannot be read
constexpr std::chrono::seconds kTimeLimit{5};  // for one test; all together take a second

enum class Verdict { kPassed, kFailed, kCrashed, kTimedOut, kNotRun };

struct TestResult {
  const ConformanceTest* test;
  Verdict verdict;
  std::string reason;
};

const char* VerdictText(Verdict verdict) {
  switch (verdict) {
    case Verdict::kPassed:
      return "passed";
    case Verdict::kFailed:
      return "failed";
    case Verdict::kCrashed:
      return "crashed";
    case Verdict::kTimedOut:
      return "timed out";
    case Verdict::kNotRun:
      return "not run";
  }
  return "";
}

// Begins the line of the child's verdict. A random text: the plug-in under test runs in the child,
// too, and must not write such a line by chance or on purpose.
std::string NewMark() {
  std::random_device random;
  std::string mark = "verdict";
  for (int i = 0; i < 4; ++i) mark += '-' + std::to_string(random());
  return mark;
}

// What stands behind the mark in the child's output, which is empty for a test that passed; false
// when there is no such line, since the child ended too early.
bool FindVerdict(const std::string& output, const std::string& mark, std::string& verdict) {
  const std::size_t at = output.rfind("\n" + mark + ' ');
  if (at == std::string::npos) return false;
  const std::size_t begin = at + mark.size() + 2;
  verdict = output.substr(begin, output.find_first_of("\r\n", begin) - begin);
  return true;
}

TestResult RunOne(const std::string& path, const ConformanceTest& test) {
  const std::string mark = NewMark();
  const ChildOutcome outcome = RunChild({"validate-child", path, test.id, mark}, kTimeLimit);
  std::string verdict;
  switch (outcome.end) {
    case ChildOutcome::End::kNotStarted:
      return {&test, Verdict::kNotRun, outcome.reason};
    case ChildOutcome::End::kCrashed:
      return {&test, Verdict::kCrashed, outcome.reason};
    case ChildOutcome::End::kTimedOut:
      return {&test, Verdict::kTimedOut,
              "no end within " + std::to_string(kTimeLimit.count()) + " seconds"};
    case ChildOutcome::End::kExited:
      break;
  }
  if (!FindVerdict(outcome.output, mark, verdict)) {
    return {&test, Verdict::kFailed,
            "the process ended with exit code " + std::to_string(outcome.code) +
                " before the test was done"};
  }
  if (!verdict.empty()) return {&test, Verdict::kFailed, verdict};
  if (outcome.code != 0) {
    return {&test, Verdict::kFailed,
            "the process ended with exit code " + std::to_string(outcome.code)};
  }
  return {&test, Verdict::kPassed, {}};
}

std::vector<TestResult> RunAll(const std::string& path) {
  std::vector<TestResult> results;
  const ConformanceTest* failedGate = nullptr;
  for (const ConformanceTest& test : ConformanceTests()) {
    // Behind a failed gate nothing more is run, except that of a missing export the other exports
    // are still looked at, so that all missing names are told at once.
    const bool sameKind = failedGate && test.isGate && test.id.starts_with("export.") &&
                          failedGate->id.starts_with("export.");
    if (failedGate && !sameKind) {
      results.push_back({&test, Verdict::kNotRun, "needs " + failedGate->id});
      continue;
    }
    results.push_back(RunOne(path, test));
    if (test.isGate && results.back().verdict != Verdict::kPassed) failedGate = &test;
  }
  return results;
}

void PrintJson(const std::string& path, const std::vector<TestResult>& results, bool passed) {
  auto report = nlohmann::ordered_json::object();
  report["plugin"] = path;
  report["passed"] = passed;
  report["tests"] = nlohmann::ordered_json::array();
  for (const TestResult& result : results) {
    auto entry = nlohmann::ordered_json::object();
    entry["id"] = result.test->id;
    entry["sentence"] = result.test->sentence;
    entry["result"] = VerdictText(result.verdict);
    if (!result.reason.empty()) entry["reason"] = result.reason;
    report["tests"].push_back(std::move(entry));
  }
  std::printf("%s\n", report.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
}

void PrintText(const std::vector<TestResult>& results) {
  for (const TestResult& result : results) {
    const char* verdict = result.verdict == Verdict::kPassed ? "ok" : VerdictText(result.verdict);
    std::printf("%-9s  %s\n", verdict, result.test->sentence.c_str());
    if (!result.reason.empty()) {
      std::printf("%-9s  [%s] %s\n", "", result.test->id.c_str(), result.reason.c_str());
    }
  }
  const auto passed = std::count_if(results.begin(), results.end(), [](const TestResult& result) {
    return result.verdict == Verdict::kPassed;
  });
  std::printf("%d of %d tests passed\n", static_cast<int>(passed),
              static_cast<int>(results.size()));
}

}  // namespace

int RunValidate(const std::string& path, bool json) {
  const base::Result<void> file = CheckLibraryFile(WholePath(path));
  if (!file && file.error().message.starts_with(messages::CannotRead(""))) {
    report::Line("tavhost: plug-in \"" + path + "\" " + file.error().message);
    return kExitNothingRun;
  }
  const std::vector<TestResult> results = RunAll(WholePath(path));
  const bool passed = std::all_of(results.begin(), results.end(), [](const TestResult& result) {
    return result.verdict == Verdict::kPassed;
  });
  if (json) {
    PrintJson(path, results, passed);
  } else {
    PrintText(results);
  }
  return passed ? 0 : 1;
}

int RunValidateChild(const std::string& path, const std::string& test, const std::string& mark) {
  EndWithParent();
  CrashQuietly();
  const base::Result<void> result = RunConformanceTest(path, test);
  std::string fault = result ? "" : result.error().message;
  std::replace_if(
      fault.begin(), fault.end(), [](char byte) { return byte == '\n' || byte == '\r'; }, ' ');
  std::printf("\n%s %s\n", mark.c_str(), fault.c_str());
  std::fflush(stdout);
  return 0;
}

}  // namespace loader
