#include <algorithm>

#include "tavhost/analysis/script_checker.h"
#include "tavhost/base/nearest_name.h"
#include "tavhost/notation/scan.h"
#include "tavhost/script/built_in/built_in.h"
#include "tavhost/script/code/compiler.h"

// Expressions: what they read, what they compare, what they call.
namespace check {

using script::Expr;
using script::ExprKind;
using script::Item;
using script::Operator;

namespace {

// The kind that a built-in function returns whatever its arguments; kUnknown when that depends.
Kind KindOfBuiltIn(std::string_view name) {
  for (const char* other : {"ceil", "contains", "ends", "find", "floor", "has", "int", "len",
                            "push", "round", "starts"}) {
    if (name == other) return Kind::kInteger;
  }
  for (const char* other : {"format", "join", "kel_text", "lower", "re_replace", "replace", "str",
                            "time_text", "trim", "type", "upper"}) {
    if (name == other) return Kind::kString;
  }
  for (const char* other :
       {"kel_parse", "keys", "range", "re_all", "re_match", "re_split", "read_lines", "split"}) {
    if (name == other) return Kind::kList;
  }
  return name == "now" || name == "real" || name == "time_make" || name == "time_parse"
             ? Kind::kReal
             : Kind::kUnknown;
}

bool IsComparison(Operator op) { return op >= Operator::kEqual; }

std::string Listed(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? " or " : ", ";
    text += '"' + names[i] + '"';
  }
  return text;
}

}  // namespace

// The name or literal that stands at an offset.
std::string_view ScriptChecker::NameAt(std::uint32_t offset) const {
  const std::string_view text = program_.source.TextFrom(offset);
  std::size_t length = 0;
  while (length < text.size() && (kel::IsNameByte(text[length]))) ++length;
  return text.substr(0, std::max<std::size_t>(1, length));
}

std::string_view ScriptChecker::ConstantText(std::uint32_t offset) const {
  const std::string_view text = program_.source.TextFrom(offset);
  if (text.empty() || text[0] != '"') return NameAt(offset);
  const kel::ScannedString scanned = kel::ScanString(text.data(), text.data() + text.size());
  return text.substr(0, static_cast<std::size_t>(scanned.end - text.data()));
}

const kel::Value* ScriptChecker::ConstantOf(const Expr* expr) const {
  return expr->kind == ExprKind::kConstant ? &program_.constants[expr->index] : nullptr;
}

const Variable* ScriptChecker::VariableOf(const Expr* expr) const {
  if (expr->kind != ExprKind::kName || expr->index >= state_.variables.size()) return nullptr;
  return &state_.variables[expr->index];
}

void ScriptChecker::Read(const Expr* expr) {
  switch (expr->kind) {
    case ExprKind::kConstant:
      return;
    case ExprKind::kName:
      return ReadVariable(expr->index, NameAt(expr->offset));
    case ExprKind::kIndex:
    case ExprKind::kField:
      return ReadPath(expr);
    case ExprKind::kCall:
      return ReadCall(expr);
    case ExprKind::kChain: {
      Read(expr->first);
      const Expr* left = expr->first;
      for (const Item* item = expr->items; item; item = item->next) {
        Read(item->expr);
        if (IsComparison(item->op) && left)
          CheckComparison(left, item->expr, item->op, item->offset);
        left = nullptr;  // further ones compare what came out before
      }
      return;
    }
    default:
      break;
  }
  if (expr->first) Read(expr->first);
  for (const Item* item = expr->items; item; item = item->next) Read(item->expr);
}

std::string ScriptChecker::NearestVariable(std::string_view name) const {
  std::vector<std::string_view> known;
  for (std::uint32_t slot = 0; slot < function_->layout.Count(); ++slot) {
    if (state_.variables[slot].maySet && NameOf(slot) != name) known.push_back(NameOf(slot));
  }
  // Results that have a value here although nothing else in the text names them.
  for (const auto& [other, offset] : firstSet_) {
    if (other != name) known.push_back(other);
  }
  return base::NearestName(name, known);
}

void ScriptChecker::ReadVariable(std::uint32_t slot, std::string_view at) {
  if (slot >= state_.variables.size()) return;
  Variable& variable = state_.variables[slot];
  for (const ResultSource& source : variable.sources) {
    if (source.isRecord || (source.result && TellsOutcome(*source.result))) {
      source.use->outcomeRead = true;
    }
  }
  if (variable.maySet || state_.isOpen || state_.isDead) return;
  const std::string name(NameOf(slot));
  std::string message = "the variable \"" + name + "\" has no value";
  std::string replacement;
  const auto later = firstSet_.find(name);
  const std::uint32_t here = program_.source.OffsetOf(at);
  const script::Source& source = program_.source;
  if (isTop_ && later != firstSet_.end() && later->second > here &&
      &source.FileOf(here) == &source.FileOf(later->second)) {
    message += " here; it gets one in line " + std::to_string(source.PlaceOf(later->second).line);
  } else {
    replacement = NearestVariable(name);
    message += DidYouMean(replacement);
  }
  findings_.Error(at, std::move(message), std::move(replacement));
  variable.SetOther(Kind::kUnknown);  // so that further reads are not complained about
}

void ScriptChecker::ReadPath(const Expr* expr) {
  const script::Path path = script::PathOf(expr);
  if (path.links.front()->kind == ExprKind::kField) {
    ReadField(path.links.front());
  } else {
    Read(path.root);
  }
  for (const Expr* link : path.links) {
    if (link->kind == ExprKind::kIndex) Read(link->items->expr);
  }
}

// `choice.endbutton`: only that result of the record is read. For the first link of a path.
void ScriptChecker::ReadField(const Expr* expr) {
  const Variable* variable = VariableOf(expr->first);
  const std::string_view field = program_.constants[expr->index].Text().View();
  const bool isResults = variable && variable->maySet && !variable->other &&
                         !variable->sources.empty() &&
                         std::all_of(variable->sources.begin(), variable->sources.end(),
                                     [](const ResultSource& source) { return source.isRecord; });
  if (!isResults) return Read(expr->first);
  std::vector<std::string_view> known;
  const CommandUse* first = variable->sources.front().use;
  bool isKnown = false;
  for (const ResultSource& source : variable->sources) {
    CommandUse* use = source.use;
    const reference::Result* result = use->command->FindResult(field);
    if (result && TellsOutcome(*result)) use->outcomeRead = true;
    isKnown = isKnown || (result && result->namedBy.empty()) || use->hasHiddenResults;
    for (const std::string_view own : use->ownResults) {
      isKnown = isKnown || own == field;
      known.push_back(own);
    }
    for (const reference::Result& other : use->command->results) {
      if (other.namedBy.empty()) known.emplace_back(other.name);
    }
  }
  if (isKnown || state_.isDead) return;
  const std::string nearest = base::NearestName(field, known);
  const std::string_view dot = program_.source.TextFrom(expr->offset);
  std::size_t at = 1;
  while (at < dot.size() && !kel::IsNameStart(dot[at])) ++at;
  findings_.Error(
      dot.substr(at, field.size()),
      first->command->name + " sets no result \"" + std::string(field) + '"' + DidYouMean(nearest),
      nearest);
}

void ScriptChecker::ReadCall(const Expr* expr) {
  for (const Item* item = expr->items; item; item = item->next) Read(item->expr);
  const std::string name(expr->text);
  if (const script::BuiltIn* builtIn = script::FindBuiltIn(name)) {
    if (expr->count < builtIn->least ||
        (builtIn->most != script::kAnyNumber && expr->count > builtIn->most)) {
      findings_.Error(expr->text,
                      script::ArityText(name, builtIn->least, builtIn->most, expr->count));
    }
    if (builtIn->changesVariable && expr->items && expr->items->expr->kind == ExprKind::kName) {
      Set(expr->items->expr->index, Kind::kList);
    }
    return;
  }
  const auto known = program_.functionsByName.find(expr->text);
  if (known == program_.functionsByName.end()) {
    std::vector<std::string_view> names;
    for (const auto& [other, unused] : program_.functionsByName) names.emplace_back(other);
    for (std::uint32_t i = 0; i < script::kBuiltInCount; ++i) {
      names.emplace_back(script::kBuiltIns[i].name);
    }
    findings_.Error(expr->text, script::UnknownFunctionText(name, program_, {}),
                    base::NearestName(name, names));
    return;
  }
  const std::uint32_t takes = program_.functions[known->second]->parameters;
  if (expr->count != takes) {
    findings_.Error(expr->text, script::ArityText(name, takes, takes, expr->count));
  }
  if (!isTop_) return;
  for (const std::string& global : setByFunctions_) {
    const std::uint32_t slot = function_->layout.Find(global);
    if (slot == kel::Layout::kAbsent) continue;
    Variable something;
    something.SetOther(Kind::kUnknown);
    state_.variables[slot].Join(something);
  }
}

std::vector<ResultSource> ScriptChecker::SourcesOf(const Expr* expr) const {
  std::vector<ResultSource> sources;
  if (const Variable* variable = VariableOf(expr)) {
    if (!variable->other && !state_.isOpen) sources = variable->sources;
    for (const ResultSource& source : sources) {
      if (!source.result) return {};
    }
    return sources;
  }
  if (expr->kind != ExprKind::kField) return sources;
  const Variable* record = VariableOf(expr->first);
  if (!record || record->other || state_.isOpen) return sources;
  const std::string_view field = program_.constants[expr->index].Text().View();
  for (const ResultSource& source : record->sources) {
    const reference::Result* result = source.use->command->FindResult(field);
    if (!source.isRecord || !result) return {};
    sources.push_back({source.use, result, false});
  }
  return sources;
}

void ScriptChecker::CheckComparison(const Expr* left, const Expr* right, Operator op,
                                    std::uint32_t offset) {
  if (state_.isDead) return;
  const Kind a = KindOfExpr(left);
  const Kind b = KindOfExpr(right);
  const bool differ =
      a != Kind::kUnknown && b != Kind::kUnknown && a != b && !(IsNumber(a) && IsNumber(b));
  const bool isEquality = op == Operator::kEqual || op == Operator::kNotEqual;
  if (differ) {
    std::string message = isEquality
                              ? std::string(WordFor(a)) + " never equals " + WordFor(b)
                              : std::string("cannot compare ") + WordFor(a) + " with " + WordFor(b);
    findings_.Error(
        offset, isEquality || op == Operator::kLessEqual || op == Operator::kGreaterEqual ? 2 : 1,
        std::move(message));
    return;
  }
  if (!isEquality) return;
  CheckCompared(left, right);
  CheckCompared(right, left);
}

// `expr` is a command's result that is compared with a constant: tells when the command never sets
// it to that value, as with a button that the box does not have.
void ScriptChecker::CheckCompared(const Expr* expr, const Expr* constant) {
  const kel::Value* value = ConstantOf(constant);
  if (!value || !(value->IsText() || value->Kind() == TavKelInteger)) return;
  const std::vector<ResultSource> sources = SourcesOf(expr);
  if (sources.empty()) return;
  std::vector<std::string> possible;
  for (const ResultSource& source : sources) {
    const bool isButton = source.result->name == "endbutton";
    if (isButton && source.use->command->name == "TLB_SHOW") {
      if (!treeButtonsKnown_) return;
      possible.insert(possible.end(), {"ok", "cancel"});
      possible.insert(possible.end(), treeButtons_.begin(), treeButtons_.end());
    } else if (isButton && !source.use->buttons.empty()) {
      possible.insert(possible.end(), source.use->buttons.begin(), source.use->buttons.end());
    } else {
      if (source.result->values.empty()) return;
      for (const auto& known : source.result->values) possible.push_back(known.value);
    }
  }
  std::sort(possible.begin(), possible.end());
  possible.erase(std::unique(possible.begin(), possible.end()), possible.end());
  const std::string given =
      value->IsText() ? std::string(value->Text().View()) : std::to_string(value->Integer());
  if (std::find(possible.begin(), possible.end(), given) != possible.end()) return;
  const reference::Command& command = *sources.front().use->command;
  const std::string& result = sources.front().result->name;
  if (!value->IsText()) {
    findings_.Hint(ConstantText(constant->offset),
                   command.name + " never sets \"" + result + "\" to " + given);
    return;
  }
  const std::string nearest = base::NearestName(given, {possible.begin(), possible.end()});
  const std::string what = result == "endbutton" ? "this box never returns \"" : "";
  findings_.Error(ConstantText(constant->offset),
                  what.empty()
                      ? command.name + " never sets \"" + result + "\" to \"" + given + '"' +
                            DidYouMean(nearest)
                      : what + given + "\", only " + Listed(possible) + DidYouMean(nearest),
                  nearest.empty() ? nearest : '"' + nearest + '"');
}

Kind ScriptChecker::KindOfExpr(const Expr* expr) const {
  switch (expr->kind) {
    case ExprKind::kConstant:
      return KindOf(program_.constants[expr->index]);
    case ExprKind::kName: {
      const Variable* variable = VariableOf(expr);
      return variable && variable->maySet && !state_.isOpen ? variable->kind : Kind::kUnknown;
    }
    case ExprKind::kChain:
      return KindOfChain(expr);
    case ExprKind::kNot:
      return Kind::kInteger;
    case ExprKind::kNegate: {
      const Kind kind = KindOfExpr(expr->first);
      return IsNumber(kind) ? kind : Kind::kUnknown;
    }
    case ExprKind::kList:
      return Kind::kList;
    case ExprKind::kRecord:
      return Kind::kRecord;
    case ExprKind::kCall:
      return script::FindBuiltIn(expr->text) ? KindOfBuiltIn(expr->text) : Kind::kUnknown;
    case ExprKind::kField: {
      const std::vector<ResultSource> sources = SourcesOf(expr);
      if (sources.empty()) return Kind::kUnknown;
      Kind kind = KindOf(sources.front().result->type);
      for (const ResultSource& source : sources) {
        kind = source.result->also ? Kind::kUnknown : Joined(kind, KindOf(source.result->type));
      }
      return kind;
    }
    default:
      return Kind::kUnknown;
  }
}

Kind ScriptChecker::KindOfChain(const Expr* expr) const {
  Kind kind = KindOfExpr(expr->first);
  for (const Item* item = expr->items; item; item = item->next) {
    const Kind right = KindOfExpr(item->expr);
    if (IsComparison(item->op)) {
      kind = Kind::kInteger;
    } else if (item->op == Operator::kAdd && (kind == Kind::kString || right == Kind::kString)) {
      kind = Kind::kString;
    } else if (item->op == Operator::kAdd && kind == Kind::kList && right == Kind::kList) {
      kind = Kind::kList;
    } else if (!IsNumber(kind) || !IsNumber(right)) {
      kind = Kind::kUnknown;
    } else if (item->op == Operator::kDivide || kind != right) {
      kind = Kind::kReal;
    }
  }
  return kind;
}

}  // namespace check
