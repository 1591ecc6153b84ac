#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tavhost/base/arena.h"
#include "tavhost/notation/element.h"
#include "tavhost/notation/scope.h"
#include "tavhost/notation/value.h"
#include "tavhost/script/code/instruction.h"
#include "tavhost/script/syntax/source.h"

namespace script {

// A command as the compiler leaves it: an element whose constant parameters are ready to be read.
// Those that are expressions have operands too, which are filled in before each run of the command.
struct Command {
  // An operand that is filled in for a run, and the register that its value comes from.
  struct Patch {
    kel::Operand* operand;
    std::uint32_t reg;
    std::uint32_t offset;  // the value's place in the text
  };
  // No register: result variables go into the running scope, the command to the script's port.
  static constexpr std::uint32_t kIntoScope = ~std::uint32_t{0};

  kel::Element element;
  std::string name;
  std::vector<Patch> patches;
  std::uint32_t record = kIntoScope;  // the register of `-> name`
  std::uint32_t port = kIntoScope;    // the register that holds the name of another port
  bool running = false;               // a run of it is going on, its operands are in use
};

// Which code a `catch` guards.
struct Handler {
  std::uint32_t begin;  // instructions [begin, end)
  std::uint32_t end;
  std::uint32_t target;
  std::uint32_t slot;  // the caught error's variable, kNoSlot without one
};

// What an instruction stands for in the text: itself and its operands.
struct CodePlace {
  std::uint32_t at;
  std::uint32_t left;
  std::uint32_t right;
};

// One compiled function, or the top level of a text. Registers: first the slots of the layout,
// the parameters foremost, then temporary values.
struct Function {
  std::string name;  // empty for the top level
  std::uint32_t offset = 0;
  std::uint32_t parameters = 0;
  std::uint32_t registers = 0;
  kel::Layout layout;
  std::vector<Instruction> code;
  std::vector<CodePlace> places;  // one for each instruction
  std::vector<Handler> handlers;  // inner ones first

  // Where a global variable that the function only reads was found the last time; good as long as
  // the global scope still has the same generation.
  struct Outer {
    const kel::Value* value = nullptr;
    std::uint64_t generation = ~std::uint64_t{0};
  };
  mutable std::vector<Outer> outer;  // one for each slot
};

// A compiled text.
class Program {
 public:
  Program(SV::String text, std::string name) : source(std::move(text), std::move(name)) {}
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  Source source;
  bool stepped = false;  // stops before each statement can be asked for
  std::vector<kel::Value> constants;
  std::vector<std::unique_ptr<Function>> functions;  // the top level is the first
  std::unordered_map<std::string, std::uint32_t, kel::NameHash, std::equal_to<>> functionsByName;
  std::vector<std::unique_ptr<Command>> commands;
  base::Arena tables;  // of the commands
  // Operands that are constants, by number. They can point at their values only when the table of
  // constants does not grow any more.
  std::vector<std::pair<kel::Operand*, std::uint32_t>> constantOperands;
};

// Parses and compiles a text. Throws SyntaxError.
std::shared_ptr<Program> Compile(SV::String text, std::string name);
// The same for a text that is about to run: a stop ends it by StoppedReading.
std::shared_ptr<Program> CompileToRun(SV::String text, std::string name, bool stepped = false);

// The error text for calling a function that neither the program nor `known` has.
std::string UnknownFunctionText(const std::string& name, const Program& program,
                                std::vector<std::string_view> known);

}  // namespace script
