#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/export.h"

// The command reference: what each command takes and returns. Its text is part of the program
// (commands/reference/*.kel); it is parsed when first asked for and never changes afterwards.
// commands/reference/README.md says what the fields mean.
namespace reference {

enum class Type { kString, kInteger, kReal, kSwitch, kKeyword, kBody, kList };
// Whether a handler checks a parameter's type, and whether it may then be missing.
enum class Check { kNone, kOptional, kRequired };

// "string", "integer", … as the reference spells them.
TAV_HOST_API std::string_view NameOf(Type type);
TAV_HOST_API std::string_view NameOf(Check check);

// One value that has a meaning of its own.
struct ValueMeaning {
  std::string value;
  std::string text;
};

struct Command;

using Literal = std::variant<std::string, std::int32_t, double>;  // a default value

// A parameter, or the main value, whose name is empty.
struct Parameter {
  std::string name;  // a `#` in it stands for 1, 2, 3 … when `numbered`
  Type type = Type::kString;
  Check check = Check::kNone;
  bool required = false;
  bool numbered = false;
  std::vector<std::string> requiredWith;
  std::vector<std::string> unless;
  std::vector<std::string> onlyWith;
  std::optional<Literal> defaultValue;
  std::string absent;
  std::string unit;
  std::optional<double> min;
  std::optional<double> max;
  std::vector<ValueMeaning> values;
  std::vector<std::string> buttons;
  std::vector<Command> elements;  // of a body
  std::string text;

  // Whether a script that writes `word` means this parameter: `filter12` for `filter#`.
  TAV_HOST_API bool Matches(std::string_view word) const;
};

// Keywords of which one counts: the first given, in this order.
struct Choice {
  std::vector<std::string> names;
  bool required = false;
  std::string text;
};

// A result variable.
struct Result {
  std::string name;
  Type type = Type::kString;
  std::optional<Type> also;
  std::string when = "always";
  std::vector<ValueMeaning> values;
  std::string namedBy;  // the body whose elements name the variable; else empty
  std::string text;
};

// A script that shows the command, and what it needs to run.
struct Example {
  std::string script;
  std::optional<std::string> output;
  std::string answers;
  std::string options;
  std::string needs;
};

// A command, or an element of a body, which has only what describes its parameters.
struct Command {
  std::string name;
  std::string family;
  std::string summary;
  std::vector<std::string> details;
  bool internal = false;  // sent by the host itself
  bool crashes = false;
  std::optional<Parameter> main;
  std::vector<Parameter> parameters;
  std::vector<Choice> choices;
  std::vector<Result> results;
  std::string window;
  std::vector<std::string> see;
  Example example;

  TAV_HOST_API const Parameter* FindParameter(std::string_view word) const;
  TAV_HOST_API const Result* FindResult(std::string_view name) const;
};

// The commands of one file.
struct Family {
  std::string name;  // that of its file: "dialogs"
  std::string title;
  std::string text;
  std::vector<Command> commands;
};

// One file of the reference: its stem and its text.
struct Source {
  std::string_view name;
  std::string_view text;
};

// All commands. Those of this program are read once; tests read catalogues of their own.
class Catalogue {
 public:
  // The reference of this program.
  TAV_HOST_API static const Catalogue& Get();

  // Reads the sources; what is wrong with them is told in `problems`, one line each.
  TAV_HOST_API static Catalogue Read(std::span<const Source> sources,
                                     std::vector<std::string>& problems);

  const std::vector<Family>& Families() const { return families_; }

  // Null when there is no command of exactly this name.
  TAV_HOST_API const Command* Find(std::string_view name) const;

  // The known command whose name is nearest to `name`; null when none is near.
  TAV_HOST_API const Command* Nearest(std::string_view name) const;

 private:
  std::vector<Family> families_;
};

// The files that are part of the program, in the order in which families are listed; their bytes
// are generated when the program is built.
TAV_HOST_API std::span<const Source> EmbeddedSources();

}  // namespace reference
