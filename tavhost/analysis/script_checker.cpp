#include "tavhost/analysis/script_checker.h"

#include "tavhost/analysis/command_use.h"
#include "tavhost/base/keywords.h"
#include "tavhost/base/nearest_name.h"

namespace check {

using script::CommandAttribute;
using script::CommandElement;
using script::CommandValue;
using script::CommandValueKind;
using script::Expr;
using script::ExprKind;
using script::Item;
using script::kNoSlot;
using script::Statement;
using script::StatementKind;

namespace {

constexpr std::string_view kScriptPort = "TavScript";

// The keyword that a misspelt first word of a statement likely means; empty for none.
std::string NearestKeyword(std::string_view word) {
  std::vector<std::string_view> candidates;
  for (const keywords::Keyword& keyword : keywords::kAll) {
    if (keywords::StandsFirst(keyword.role)) candidates.push_back(keyword.word);
  }
  return base::NearestName(word, candidates);
}

// An executed text has variables of its own, so EXECUTE changes none of the script's, unless its
// text declares names `global` or is worked out only when the script runs.
bool MaySetAnything(const Statement* statement) {
  const CommandElement* element = statement->element;
  if (element->name != "EXECUTE") return false;
  return element->main.kind != CommandValueKind::kString ||
         element->main.text.find("global") != std::string_view::npos;
}

// The `if` of an `else if`; null where the chain ends.
const Statement* ElseIf(const Statement* statement) {
  const Statement* otherwise = statement->otherwise;
  return otherwise && otherwise->kind == StatementKind::kIf && !otherwise->next ? otherwise
                                                                                : nullptr;
}

}  // namespace

ScriptChecker::ScriptChecker(const script::Program& program,
                             const std::vector<script::FunctionSyntax>& parsed, Findings& findings)
    : program_(program), parsed_(parsed), findings_(findings) {}

void ScriptChecker::Check() {
  Prepare();
  for (std::size_t i = 0; i < parsed_.size(); ++i) CheckFunction(parsed_[i], i == 0);
  ReportUnread();
}

// What has to be known of the whole script before any of it is judged.
void ScriptChecker::Prepare() {
  for (const script::FunctionSyntax& parsed : parsed_) {
    isTop_ = &parsed == &parsed_.front();
    function_ = parsed.function;
    PrepareStatements(parsed.body, *parsed.function);
    if (isTop_) continue;
    for (std::uint32_t slot = parsed.function->parameters; slot < parsed.function->layout.Count();
         ++slot) {
      readByFunctions_.emplace(NameOf(slot));
    }
  }
  setAtTop_.insert(setByFunctions_.begin(), setByFunctions_.end());
}

void ScriptChecker::PrepareStatements(const Statement* statement,
                                      const script::Function& function) {
  const auto note = [&](std::string_view name, std::uint32_t offset) {
    if (isTop_) {
      setAtTop_.emplace(name);
      firstSet_.emplace(name, offset);
      return;
    }
    const std::uint32_t slot = function.layout.Find(name);
    if (slot != kel::Layout::kAbsent && function.layout.IsGlobal(slot)) {
      setByFunctions_.emplace(name);
    }
  };
  for (; statement; statement = statement->next) {
    if (statement->slot != kNoSlot) note(NameOf(statement->slot), statement->slotOffset);
    if (statement->kind == StatementKind::kCommand) {
      const CommandElement* element = statement->element;
      const reference::Command* command =
          statement->port ? nullptr : reference::Catalogue::Get().Find(element->name);
      if (!command || MaySetAnything(statement)) hasOpenCommands_ = true;
      if (!command) continue;
      if (element->name == "SET_MP_TYPE_CHECKING" && Given(element, "off")) typesChecked_ = false;
      if (element->name == "TLB_ADD_BUTTON") {
        const CommandAttribute* name = Given(element, "name");
        if (name && name->value.kind == CommandValueKind::kString) {
          treeButtons_.emplace_back(name->value.text);
        } else if (name) {
          treeButtonsKnown_ = false;
        }
      }
      auto& use = uses_[statement];
      use = std::make_unique<CommandUse>(DescribeUse(statement, *command));
      if (use->hasHiddenResults) hasOpenCommands_ = true;
      if (statement->slot != kNoSlot) continue;
      for (const reference::Result& result : command->results) {
        if (result.namedBy.empty()) note(result.name, statement->offset);
      }
      for (const std::string_view name : use->ownResults) note(name, statement->offset);
      continue;
    }
    const Statement* branch = statement;
    while (branch->kind == StatementKind::kIf && ElseIf(branch)) {
      PrepareStatements(branch->body, function);
      branch = ElseIf(branch);
    }
    PrepareStatements(branch->body, function);
    PrepareStatements(branch->otherwise, function);
  }
}

void ScriptChecker::CheckFunction(const script::FunctionSyntax& parsed, bool isTop) {
  function_ = parsed.function;
  isTop_ = isTop;
  state_ = State();
  state_.variables.resize(function_->layout.Count());
  for (std::uint32_t slot = 0; slot < function_->layout.Count(); ++slot) {
    const std::string_view name = NameOf(slot);
    const bool isKnown = isTop ? name == "args"
                               : slot < function_->parameters || name == "args" ||
                                     setAtTop_.find(name) != setAtTop_.end();
    if (isKnown) state_.variables[slot].SetOther(Kind::kUnknown);
  }
  // A function may be called behind anything.
  state_.isOpen = !isTop && hasOpenCommands_;
  Walk(parsed.body);
}

void ScriptChecker::Walk(const Statement* statement) {
  for (; statement; statement = statement->next) WalkStatement(statement);
}

void ScriptChecker::WalkStatement(const Statement* statement) {
  switch (statement->kind) {
    case StatementKind::kAssign:
      WalkAssignment(statement);
      break;
    case StatementKind::kCall:
      Read(statement->expr);
      break;
    case StatementKind::kCommand:
      WalkCommand(statement);
      break;
    case StatementKind::kIf:
      WalkIf(statement);
      break;
    case StatementKind::kWhile:
    case StatementKind::kForIn:
    case StatementKind::kForFrom:
      WalkLoop(statement);
      break;
    case StatementKind::kBreak:
      if (!loops_.empty()) loops_.back()->exit.Join(state_);
      state_.isDead = true;
      break;
    case StatementKind::kContinue:
      state_.isDead = true;
      break;
    case StatementKind::kReturn:
    case StatementKind::kExit:
    case StatementKind::kThrow:
      if (statement->expr) Read(statement->expr);
      state_.isDead = true;
      break;
    case StatementKind::kTry:
      WalkTry(statement);
      break;
    case StatementKind::kPrint:
      for (const Item* item = statement->items; item; item = item->next) Read(item->expr);
      break;
  }
}

void ScriptChecker::WalkIf(const Statement* statement) {
  State end = state_;
  end.isDead = true;  // until a branch comes to its end
  for (const Statement* branch = statement;;) {
    Read(branch->expr);
    State before = state_;
    Walk(branch->body);
    end.Join(state_);
    state_ = std::move(before);
    const Statement* next = ElseIf(branch);
    if (!next) {
      Walk(branch->otherwise);
      break;
    }
    branch = next;
  }
  end.Join(state_);
  state_ = std::move(end);
}

void ScriptChecker::WalkLoop(const Statement* statement) {
  const bool isWhile = statement->kind == StatementKind::kWhile;
  if (!isWhile) {
    for (const Expr* expr : {statement->expr, statement->second, statement->third}) {
      if (expr) Read(expr);
    }
  }
  Loop loop;
  loop.exit = state_;
  // What a round sets has values at the start of the next one. The body is walked only once, with
  // all that it may set joined in beforehand.
  JoinAssigned(statement->body, state_);
  if (isWhile) Read(statement->expr);
  State end = state_;
  if (!isWhile) Set(statement->slot, Kind::kUnknown);
  loops_.push_back(&loop);
  Walk(statement->body);
  loops_.pop_back();
  end.Join(state_);
  end.Join(loop.exit);
  state_ = std::move(end);
}

void ScriptChecker::WalkTry(const Statement* statement) {
  State caught = state_;
  JoinAssigned(statement->body, caught);
  Walk(statement->body);
  State end = std::move(state_);
  state_ = std::move(caught);
  if (statement->slot != kNoSlot) Set(statement->slot, Kind::kRecord);
  Walk(statement->otherwise);
  end.Join(state_);
  state_ = std::move(end);
}

void ScriptChecker::WalkAssignment(const Statement* statement) {
  for (const Item* key = statement->items; key; key = key->next) Read(key->expr);
  Read(statement->expr);
  if (statement->count > 0) {
    // Changes a value that has to be there.
    ReadVariable(statement->slot, NameAt(statement->slotOffset));
    CheckChanged(statement);
    Set(statement->slot, state_.variables[statement->slot].kind);
    return;
  }
  const Expr* expr = statement->expr;
  if (expr->kind == ExprKind::kName && expr->index < state_.variables.size()) {
    SetSlot(state_, statement->slot, Variable(state_.variables[expr->index]));
    return;
  }
  Set(statement->slot, KindOfExpr(expr));
}

// `list.name = x`, where the list was likely meant to be an empty record.
void ScriptChecker::CheckChanged(const Statement* statement) {
  const Variable& variable = state_.variables[statement->slot];
  const kel::Value* const key = ConstantOf(statement->items->expr);
  if (state_.isDead || state_.isOpen || !key || !key->IsText()) return;
  if (!variable.maySet || variable.kind != Kind::kList) return;
  findings_.Error(statement->items->offset, 1,
                  "the index of a list must be an integer, not a string; the empty record is (:)");
}

void ScriptChecker::SetSlot(State& state, std::uint32_t slot, const Variable& value) const {
  if (slot < state.variables.size()) state.variables[slot] = value;
}

void ScriptChecker::Set(std::uint32_t slot, Kind kind) {
  if (slot < state_.variables.size()) state_.variables[slot].SetOther(kind);
}

void ScriptChecker::WalkElement(const CommandElement* element) {
  WalkValue(element->main);
  for (const auto* attribute = element->attributes; attribute; attribute = attribute->next) {
    WalkValue(attribute->value);
  }
}

void ScriptChecker::WalkValue(const CommandValue& value) {
  if (value.expr) Read(value.expr);
  for (const auto* inner = value.elements; inner; inner = inner->next) WalkElement(inner);
}

void ScriptChecker::WalkCommand(const Statement* statement) {
  if (statement->port) Read(statement->port);
  WalkElement(statement->element);
  const CommandElement* element = statement->element;
  const kel::Value* port = statement->port ? ConstantOf(statement->port) : nullptr;
  const bool isOurs =
      !statement->port || (port && port->IsText() && port->Text().View() == kScriptPort);
  const reference::Command* command =
      isOurs ? reference::Catalogue::Get().Find(element->name) : nullptr;
  if (!command) {
    if (isOurs) {
      const reference::Command* nearest = reference::Catalogue::Get().Nearest(element->name);
      const std::string name = nearest ? nearest->name : NearestKeyword(element->name);
      findings_.Error(element->name,
                      "unknown command \"" + std::string(element->name) + '"' + DidYouMean(name),
                      name);
    }
    if (statement->slot != kNoSlot) {
      Set(statement->slot, Kind::kRecord);
    } else {
      state_.isOpen = true;
    }
    return;
  }
  CommandChecker::Surroundings around{
      program_, findings_, [this](const Expr* expr) { return KindOfExpr(expr); },
      [this](std::string_view name) {
        const std::uint32_t slot = function_->layout.Find(name);
        return slot != kel::Layout::kAbsent && state_.variables[slot].maySet;
      },
      typesChecked_};
  CommandChecker(around).Check(element, *command);
  if (MaySetAnything(statement)) {
    state_.isOpen = true;
    for (const Variable& variable : state_.variables) {
      for (const ResultSource& source : variable.sources) source.use->outcomeRead = true;
    }
  }
  const auto found = uses_.find(statement);
  if (found != uses_.end()) SetResults(statement, found->second.get());
}

void ScriptChecker::SetResults(const Statement* statement, CommandUse* use) {
  const auto set = [&](std::uint32_t slot, const ResultSource& source, Kind kind) {
    if (slot >= state_.variables.size()) return;
    state_.variables[slot].SetSource(source, kind);
    // A function may read the top level's variable, and anybody a global one: no telling that the
    // outcome stays unread.
    const bool isShared = isTop_ ? readByFunctions_.count(std::string(NameOf(slot))) != 0
                                 : function_->layout.IsGlobal(slot);
    if (isShared) use->outcomeRead = true;
  };
  if (statement->slot != kNoSlot) {
    set(statement->slot, {use, nullptr, true}, Kind::kRecord);
    return;
  }
  for (const reference::Result& result : use->command->results) {
    if (!result.namedBy.empty()) continue;
    const std::uint32_t slot = function_->layout.Find(result.name);
    if (slot == kel::Layout::kAbsent) continue;
    // A result that is not always set leaves an older value in its place.
    Variable before = state_.variables[slot];
    set(slot, {use, &result, false}, result.also ? Kind::kUnknown : KindOf(result.type));
    if (result.when != "always") state_.variables[slot].Join(before);
  }
  for (const std::string_view name : use->ownResults) {
    const std::uint32_t slot = function_->layout.Find(name);
    if (slot != kel::Layout::kAbsent) set(slot, {use, nullptr, false}, Kind::kInteger);
  }
  if (use->hasHiddenResults) state_.isOpen = true;
}

void ScriptChecker::JoinAssigned(const Statement* statement, State& state) {
  const auto join = [&](std::uint32_t slot, const Variable& value) {
    if (slot < state.variables.size()) state.variables[slot].Join(value);
  };
  Variable something;
  something.SetOther(Kind::kUnknown);
  for (; statement; statement = statement->next) {
    const auto found = uses_.find(statement);
    if (statement->kind == StatementKind::kCommand && statement->slot == kNoSlot) {
      if (found == uses_.end() || MaySetAnything(statement) || found->second->hasHiddenResults) {
        state.isOpen = true;
      }
      if (found == uses_.end()) continue;
      CommandUse* use = found->second.get();
      for (const reference::Result& result : use->command->results) {
        Variable value;
        value.SetSource({use, &result, false}, result.also ? Kind::kUnknown : KindOf(result.type));
        join(function_->layout.Find(result.name), value);
      }
      Variable own;
      own.SetSource({use, nullptr, false}, Kind::kInteger);
      for (const std::string_view name : use->ownResults) {
        join(function_->layout.Find(name), own);
      }
      continue;
    }
    if (statement->slot != kNoSlot) {
      if (found != uses_.end()) {
        Variable record;
        record.SetSource({found->second.get(), nullptr, true}, Kind::kRecord);
        join(statement->slot, record);
      } else if (statement->kind == StatementKind::kAssign && statement->count > 0) {
        Variable changed;  // in part: its kind stays
        if (statement->slot < state.variables.size()) {
          changed.SetOther(state.variables[statement->slot].kind);
        }
        join(statement->slot, changed);
      } else {
        join(statement->slot, something);
      }
    }
    // Functions that are called anywhere inside may set what they declare global.
    for (const std::string& name : setByFunctions_) {
      if (isTop_) join(function_->layout.Find(name), something);
    }
    const Statement* branch = statement;
    while (branch->kind == StatementKind::kIf && ElseIf(branch)) {
      JoinAssigned(branch->body, state);
      branch = ElseIf(branch);
    }
    JoinAssigned(branch->body, state);
    JoinAssigned(branch->otherwise, state);
  }
}

void ScriptChecker::ReportUnread() {
  for (const auto& [statement, use] : uses_) {
    if (!use->asksUser || use->outcomeRead) continue;
    findings_.Hint(statement->element->name,
                   std::string(statement->element->name) +
                       ": the script never looks at how the user closed this window");
  }
}

}  // namespace check
