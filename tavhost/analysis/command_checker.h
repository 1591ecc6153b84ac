#pragma once

#include <functional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tavhost/analysis/findings.h"
#include "tavhost/analysis/kinds.h"
#include "tavhost/reference/reference.h"
#include "tavhost/script/code/code.h"
#include "tavhost/script/syntax/syntax.h"

namespace check {

// Holds one command of a script, and the elements in its bodies, against their description in the
// command reference.
class CommandChecker {
 public:
  // What the checker has to know of the place where the command stands.
  struct Surroundings {
    const script::Program& program;
    Findings& findings;
    // What is known of an expression's value here.
    std::function<Kind(const script::Expr*)> kindOf;
    // Whether the script has a variable of that name.
    std::function<bool(std::string_view)> isVariable;
    bool typesChecked = true;  // the script never switches the checks off
  };

  explicit CommandChecker(const Surroundings& around) : around_(around) {}

  void Check(const script::CommandElement* element, const reference::Command& command);

 private:
  void CheckAttribute(const script::CommandAttribute* attribute);
  std::string MeantForMain(const script::CommandAttribute* attribute) const;
  void CheckUnknown(const script::CommandAttribute* attribute);  // of no such parameter
  // `at` is what a mistake is shown at.
  void CheckValue(const reference::Parameter& parameter, const script::CommandValue& value,
                  std::string_view at);
  void CheckSwitch(const reference::Parameter& parameter, const script::CommandValue& value,
                   std::string_view at);
  void CheckConstant(const reference::Parameter& parameter, const script::CommandValue& value,
                     std::string_view at);
  void CheckBody(const reference::Parameter& parameter, const script::CommandValue& value);
  void CheckMain();
  void CheckMissing(const reference::Parameter& parameter);
  void CheckChoices();
  // A parameter that has no effect beside others, or without others. `given` is its name in the
  // text.
  void CheckEffect(const reference::Parameter& parameter, std::string_view given);

  const script::CommandAttribute* Given(std::string_view name) const;
  bool AnyGiven(const std::vector<std::string>& names) const;
  Kind KindOfValue(const script::CommandValue& value) const;
  std::string_view TextOf(const script::CommandValue& value) const;
  std::string Prefix(std::string_view name) const;  // `CMD: parameter "x"`

  const Surroundings& around_;
  const script::CommandElement* element_ = nullptr;
  const reference::Command* command_ = nullptr;
  // What element_ is given, where that is so much that looking through it takes long.
  std::unordered_map<std::string_view, const script::CommandAttribute*> given_;
  bool mainMistaken_ = false;  // what was meant as main value has been complained about
};

}  // namespace check
