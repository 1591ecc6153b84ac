#include "tavhost/reference/reference.h"

#include <algorithm>
#include <array>

#include "tavhost/base/ascii.h"
#include "tavhost/base/nearest_name.h"
#include "tavhost/reference/reference_reader.h"

namespace reference {

namespace {

constexpr std::array<std::string_view, 7> kTypeNames = {"string",  "integer", "real", "switch",
                                                        "keyword", "body",    "list"};
constexpr std::array<std::string_view, 3> kCheckNames = {"none", "optional", "required"};

bool IsDecimalNumber(std::string_view text) {
  return !text.empty() && text.front() != '0' &&
         std::all_of(text.begin(), text.end(), ascii::IsDigit<char>);
}

}  // namespace

std::string_view NameOf(Type type) { return kTypeNames[static_cast<std::size_t>(type)]; }
std::string_view NameOf(Check check) { return kCheckNames[static_cast<std::size_t>(check)]; }

bool Parameter::Matches(std::string_view word) const {
  if (!numbered) return word == name;
  const std::string_view stem = std::string_view(name).substr(0, name.size() - 1);
  return word.starts_with(stem) && IsDecimalNumber(word.substr(stem.size()));
}

const Parameter* Command::FindParameter(std::string_view word) const {
  const auto found = std::find_if(parameters.begin(), parameters.end(),
                                  [&](const Parameter& p) { return p.Matches(word); });
  return found == parameters.end() ? nullptr : &*found;
}

const Result* Command::FindResult(std::string_view word) const {
  const auto found = std::find_if(results.begin(), results.end(), [&](const Result& r) {
    return r.namedBy.empty() && r.name == word;
  });
  return found == results.end() ? nullptr : &*found;
}

const Catalogue& Catalogue::Get() {
  static const Catalogue catalogue = [] {
    std::vector<std::string> problems;  // none, or a test of the same bytes had failed
    return Read(EmbeddedSources(), problems);
  }();
  return catalogue;
}

Catalogue Catalogue::Read(std::span<const Source> sources, std::vector<std::string>& problems) {
  Catalogue catalogue;
  for (const Source& source : sources) {
    catalogue.families_.push_back(ReadFamily(source, problems));
  }
  CheckReferences(catalogue, problems);
  return catalogue;
}

const Command* Catalogue::Find(std::string_view name) const {
  for (const Family& family : families_) {
    for (const Command& command : family.commands) {
      if (command.name == name) return &command;
    }
  }
  return nullptr;
}

const Command* Catalogue::Nearest(std::string_view name) const {
  std::vector<std::string_view> names;
  for (const Family& family : families_) {
    for (const Command& command : family.commands) names.push_back(command.name);
  }
  const std::string nearest = base::NearestName(name, names);
  return nearest.empty() ? nullptr : Find(nearest);
}

}  // namespace reference
