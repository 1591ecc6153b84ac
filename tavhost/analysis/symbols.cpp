#include "tavhost/analysis/symbols.h"

#include <algorithm>
#include <new>
#include <set>
#include <utility>

#include "tavhost/base/arena.h"
#include "tavhost/notation/scan.h"
#include "tavhost/reference/reference.h"
#include "tavhost/script/code/code.h"
#include "tavhost/script/syntax/parser.h"

namespace check {

namespace {

using script::Statement;
using script::StatementKind;

// The place behind the brace that closes the first one in `text`; braces in strings and comments do
// not count.
std::size_t EndOfBlock(std::string_view text) {
  std::size_t depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') {
      const kel::ScannedString scanned =
          kel::ScanString(text.data() + i, text.data() + text.size());
      if (scanned.error) return text.size();
      i = static_cast<std::size_t>(scanned.end - text.data()) - 1;
    } else if (text[i] == '#') {
      i = std::min(text.find('\n', i), text.size());
    } else if (text[i] == '{') {
      ++depth;
    } else if (text[i] == '}' && depth > 0 && --depth == 0) {
      return i + 1;
    }
  }
  return text.size();
}

// Collects names as the syntax gives them. A name is taken once for each function that it belongs
// to, at its first place.
class Collector {
 public:
  explicit Collector(const script::Program& program) : program_(program) {}

  void AddFunction(const script::Function& function) {
    function_ = function.name;
    const std::string_view text = program_.source.TextFrom(function.offset);
    std::size_t at = std::string_view("func").size();
    while (at < text.size() && !kel::IsNameStart(text[at])) ++at;
    Symbol symbol = Make(SymbolKind::kFunction, function.name,
                         function.offset + static_cast<std::uint32_t>(at), {});
    symbol.function.clear();
    symbol.begin = symbol.offset - static_cast<std::uint32_t>(at);
    symbol.end = symbol.begin + static_cast<std::uint32_t>(EndOfBlock(text));
    at += function.name.size();
    std::vector<Symbol> parameters;
    for (std::uint32_t slot = 0; slot < function.parameters; ++slot) {
      const std::string_view name = function.layout.Name(slot).View();
      while (at < text.size() && !kel::IsNameStart(text[at])) ++at;
      symbol.parameters.emplace_back(name);
      seen_.emplace(function_, name);
      parameters.push_back(
          Make(SymbolKind::kParameter, name, function.offset + static_cast<std::uint32_t>(at), {}));
      at += name.size();
    }
    symbols_.push_back(std::move(symbol));
    for (Symbol& parameter : parameters) symbols_.push_back(std::move(parameter));
  }

  void Walk(const Statement* statement, const script::Function& function) {
    for (; statement; statement = statement->next) {
      const bool isCommand = statement->kind == StatementKind::kCommand;
      if (statement->slot != script::kNoSlot) {
        AddVariable(function.layout.Name(statement->slot).View(), statement->slotOffset,
                    isCommand ? statement->element->name : std::string_view(), function);
      } else if (isCommand && !statement->port) {
        AddResults(statement, function);
      }
      const Statement* branch = statement;
      while (branch->kind == StatementKind::kIf && branch->otherwise &&
             branch->otherwise->kind == StatementKind::kIf && !branch->otherwise->next) {
        Walk(branch->body, function);
        branch = branch->otherwise;
      }
      Walk(branch->body, function);
      Walk(branch->otherwise, function);
    }
  }

  void EnterTop() { function_.clear(); }
  void Enter(const script::Function& function) { function_ = function.name; }

  std::vector<Symbol> Take() { return std::move(symbols_); }

 private:
  Symbol Make(SymbolKind kind, std::string_view name, std::uint32_t offset,
              std::string_view command) const {
    const script::Source::File& file = program_.source.FileOf(offset);
    Symbol symbol;
    symbol.kind = kind;
    symbol.name = name;
    symbol.function = function_;
    symbol.command = command;
    symbol.file = file.name;
    symbol.offset = offset - file.begin;
    return symbol;
  }

  void AddVariable(std::string_view name, std::uint32_t offset, std::string_view command,
                   const script::Function& function) {
    const std::uint32_t slot = function.layout.Find(name);
    const bool isGlobal = slot != kel::Layout::kAbsent && function.layout.IsGlobal(slot);
    const std::string owner = isGlobal ? std::string() : function_;
    if (!seen_.emplace(owner, name).second) return;
    Symbol symbol = Make(SymbolKind::kVariable, name, offset, command);
    symbol.function = owner;
    symbols_.push_back(std::move(symbol));
  }

  void AddResults(const Statement* statement, const script::Function& function) {
    const reference::Command* command = reference::Catalogue::Get().Find(statement->element->name);
    if (!command) return;
    for (const reference::Result& result : command->results) {
      if (!result.namedBy.empty()) continue;
      AddVariable(result.name, statement->offset, command->name, function);
    }
  }

  const script::Program& program_;
  std::string function_;
  std::set<std::pair<std::string, std::string>> seen_;
  std::vector<Symbol> symbols_;
};

}  // namespace

std::optional<std::vector<Symbol>> FindSymbols(const SV::String& text, const std::string& name) {
  script::Program program(text, name);
  base::Arena arena;
  try {
    const std::vector<script::FunctionSyntax> parsed = script::Parser(program, arena).Parse();
    Collector collector(program);
    for (std::size_t i = 1; i < parsed.size(); ++i) collector.AddFunction(*parsed[i].function);
    collector.EnterTop();
    collector.Walk(parsed.front().body, *parsed.front().function);
    for (std::size_t i = 1; i < parsed.size(); ++i) {
      collector.Enter(*parsed[i].function);
      collector.Walk(parsed[i].body, *parsed[i].function);
    }
    return collector.Take();
  } catch (const script::SyntaxError&) {
    return std::nullopt;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace check
