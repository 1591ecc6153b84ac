#include "tavhost/analysis/findings.h"

#include <algorithm>

namespace check {

std::string DidYouMean(const std::string& nearest) {
  return nearest.empty() ? std::string() : "; did you mean \"" + nearest + "\"?";
}

void Findings::Add(std::uint32_t offset, std::size_t length, base::Severity severity,
                   std::string message, std::string replacement) {
  if (!known_.emplace(offset, message).second) return;
  if (severity == base::Severity::kError) errors_.insert(offset);
  base::Diagnostic finding = program_.source.Describe(offset, message);
  const std::string_view about = program_.source.TextFrom(offset).substr(0, length);
  finding.length = std::max<std::uint32_t>(
      1, static_cast<std::uint32_t>(std::count_if(about.begin(), about.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
      })));
  finding.severity = severity;
  finding.replacement = std::move(replacement);
  if (severity == base::Severity::kHint) {
    const std::size_t at = finding.text.find(": error: " + finding.message);
    if (at != std::string::npos) finding.text.replace(at, 9, ": hint: ");
  }
  found_.emplace_back(offset, std::move(finding));
}

std::vector<base::Diagnostic> Findings::Take() {
  std::stable_sort(found_.begin(), found_.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<base::Diagnostic> all;
  for (auto& [offset, finding] : found_) all.push_back(std::move(finding));
  found_.clear();
  return all;
}

}  // namespace check
