#include "tavhost/script/built_in/built_in_system.h"

#include <string>

#include "tavhost/base/environment.h"
#include "tavhost/base/string_of.h"
#include "tavhost/script/built_in/built_in_support.h"
#include "tavhost/script/operations.h"

namespace script {

using kel::Value;

// One variable, empty when there is none; without an argument a record of them all.
Value Environment(Engine&, Value* arguments, std::uint32_t count) {
  if (count > 0) {
    const std::string name(TextArgument("env", arguments, 0).View());
    return TextValue(base::EnvironmentVariable(name).value_or(std::string()));
  }
  Value all = Value::Record();
  for (const auto& [name, value] : base::EnvironmentVariables()) {
    all.MutableRecord().At(base::StringOf(name)) = TextValue(value);
  }
  return all;
}

// At the input's end the argument, if there is one, stands for the line.
Value ReadLine(Engine& engine, Value* arguments, std::uint32_t count) {
  std::string line;
  if (engine.ReadLine(line)) return TextValue(line);
  if (count > 0) return arguments[0];
  throw ScriptError("read_line: the input has ended");
}

Value ReadLines(Engine& engine, Value*, std::uint32_t) {
  Value lines = Value::List();
  std::string line;
  while (engine.ReadLine(line)) {
    engine.ChargeBytes(line.size());
    lines.MutableList().items.push_back(TextValue(line));
  }
  return lines;
}

}  // namespace script
