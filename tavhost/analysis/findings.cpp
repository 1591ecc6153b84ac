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
  found_.push_back({offset, length, severity, std::move(message), std::move(replacement)});
}

base::Diagnostic Findings::Describe(const Found& found, const script::Source::Place& place) const {
  base::Diagnostic finding = program_.source.Describe(found.offset, place, found.message);
  const std::string_view about = program_.source.TextFrom(found.offset).substr(0, found.length);
  finding.length = std::max<std::uint32_t>(
      1, static_cast<std::uint32_t>(std::count_if(about.begin(), about.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
      })));
  finding.severity = found.severity;
  finding.replacement = found.replacement;
  if (found.severity == base::Severity::kHint) {
    const std::size_t at = finding.text.find(": error: " + finding.message);
    if (at != std::string::npos) finding.text.replace(at, 9, ": hint: ");
  }
  return finding;
}

std::vector<base::Diagnostic> Findings::Take() {
  std::stable_sort(found_.begin(), found_.end(),
                   [](const Found& a, const Found& b) { return a.offset < b.offset; });
  std::vector<base::Diagnostic> all;
  all.reserve(found_.size());
  script::Source::Cursor places(program_.source);
  for (const Found& found : found_) all.push_back(Describe(found, places.PlaceOf(found.offset)));
  found_.clear();
  return all;
}

}  // namespace check
