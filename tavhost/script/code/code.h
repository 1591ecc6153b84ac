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

// A command as the compiler leaves it: an element whose constants are parsed once. The operands
// of dynamic values are filled in for each run.
struct Command {
  // Where a value goes, and the register it comes from.
  struct Patch {
    kel::Operand* operand;
    std::uint32_t reg;
    std::uint32_t offset;  // the value's place in the text
  };
  // Where the result variables go.
  static constexpr std::uint32_t kIntoScope = ~std::uint32_t{0};

  kel::Element element;
  std::string name;
  std::vector<Patch> patches;
  std::uint32_t record = kIntoScope;  // the register of `-> name`
  std::uint32_t port = kIntoScope;    // the register of the port's name; the script's port without
  bool running = false;               // its operands are in use
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

  // Where a name without a value of its own was last found outside.
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
  // Operands that are constants, until all constants stand where they stay.
  std::vector<std::pair<kel::Operand*, std::uint32_t>> constantOperands;
};

// Parses and compiles a text. Throws SyntaxError.
std::shared_ptr<Program> Compile(SV::String text, std::string name, bool stepped = false);

// What is wrong with calling a function that neither the program nor `known` has.
std::string UnknownFunctionText(const std::string& name, const Program& program,
                                std::vector<std::string_view> known);

}  // namespace script
