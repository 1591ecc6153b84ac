#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "tavhost/base/diagnostic.h"
#include "tavhost/script/code/code.h"

namespace check {

// Collects what is found in one program; the same message at the same place is taken once. Places
// are pieces of the program's text, or offsets with a length in bytes.
class Findings {
 public:
  explicit Findings(const script::Program& program) : program_(program) {}

  void Error(std::string_view at, std::string message, std::string replacement = {}) {
    Add(OffsetOf(at), at.size(), base::Severity::kError, std::move(message),
        std::move(replacement));
  }
  void Hint(std::string_view at, std::string message, std::string replacement = {}) {
    Add(OffsetOf(at), at.size(), base::Severity::kHint, std::move(message), std::move(replacement));
  }
  void Error(std::uint32_t offset, std::size_t length, std::string message,
             std::string replacement = {}) {
    Add(offset, length, base::Severity::kError, std::move(message), std::move(replacement));
  }
  void Hint(std::uint32_t offset, std::size_t length, std::string message) {
    Add(offset, length, base::Severity::kHint, std::move(message), {});
  }

  bool HasErrorAt(std::uint32_t offset) const { return errors_.count(offset) != 0; }

  // In the order of the text.
  std::vector<base::Diagnostic> Take();

 private:
  std::uint32_t OffsetOf(std::string_view at) const { return program_.source.OffsetOf(at); }
  void Add(std::uint32_t offset, std::size_t length, base::Severity severity, std::string message,
           std::string replacement);

  struct Found {
    std::uint32_t offset;
    std::size_t length;
    base::Severity severity;
    std::string message;
    std::string replacement;
  };

  base::Diagnostic Describe(const Found& found, const script::Source::Place& place) const;

  const script::Program& program_;
  std::set<std::uint32_t> errors_;
  std::set<std::pair<std::uint32_t, std::string>> known_;
  std::vector<Found> found_;
};

// `; did you mean "NAME"?`, or nothing.
std::string DidYouMean(const std::string& nearest);

}  // namespace check
