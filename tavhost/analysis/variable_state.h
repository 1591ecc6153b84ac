#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tavhost/analysis/command_use.h"
#include "tavhost/analysis/kinds.h"

namespace check {

// What one variable may be at a place.
struct Variable {
  bool maySet = false;  // some way to the place gives it a value
  bool other = false;   // … that does not come from the sources
  Kind kind = Kind::kUnknown;
  std::vector<ResultSource> sources;

  void SetOther(Kind to) {
    *this = Variable();
    maySet = other = true;
    kind = to;
  }
  void SetSource(const ResultSource& source, Kind to) {
    *this = Variable();
    maySet = true;
    kind = to;
    sources.push_back(source);
  }
  void Join(const Variable& with) {
    if (!with.maySet) return;
    kind = maySet ? Joined(kind, with.kind) : with.kind;
    maySet = true;
    other = other || with.other;
    for (const ResultSource& source : with.sources) {
      if (std::find(sources.begin(), sources.end(), source) == sources.end()) {
        sources.push_back(source);
      }
    }
    if (sources.size() > kMostSources) Forget();
  }

 private:
  // With more sources than this a variable counts as unknown: joining them again and again would
  // take time out of proportion to the script, for findings that nobody could act on.
  static constexpr std::size_t kMostSources = 16;

  void Forget() {
    for (const ResultSource& source : sources) source.use->outcomeRead = true;
    sources.clear();
    other = true;
  }
};

// What is known at a place of one function, a variable for each slot. A place that no run comes to
// has all its variables too: what stands there is walked like everything else.
struct State {
  std::vector<Variable> variables;
  bool isOpen = false;  // something may have set variables that nobody sees in the text
  bool isDead = false;  // no run comes here

  // The state where two ways come together.
  void Join(const State& with) {
    if (with.isDead) return;
    if (isDead) {
      *this = with;
      return;
    }
    isOpen = isOpen || with.isOpen;
    for (std::size_t i = 0; i < variables.size(); ++i) variables[i].Join(with.variables[i]);
  }
};

}  // namespace check
