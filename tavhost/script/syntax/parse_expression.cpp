#include "tavhost/notation/scan.h"
#include "tavhost/script/built_in/built_in.h"
#include "tavhost/script/syntax/parser.h"

// Expressions: operators by their levels, then the values they work on.
namespace script {

namespace {

// Loosest first; no operator binds as loosely as kNoLevel.
enum Level {
  kNoLevel = -1,
  kOrLevel,
  kAndLevel,
  kNotLevel,
  kCompareLevel,
  kAddLevel,
  kMultiplyLevel,
  kUnaryLevel
};

// With kNoLevel: there is none.
struct FoundOperator {
  int level = kNoLevel;
  ExprKind kind = ExprKind::kChain;
  Operator op = Operator::kAdd;
  std::ptrdiff_t length = 0;
};

FoundOperator OperatorAt(const char* at, const char* end, std::string_view word) {
  if (!word.empty()) {
    if (word == "or") return FoundOperator{kOrLevel, ExprKind::kOr, Operator::kAdd, 2};
    if (word == "and") return FoundOperator{kAndLevel, ExprKind::kAnd, Operator::kAdd, 3};
    return {};
  }
  if (at == end) return {};
  const char next = end - at > 1 ? at[1] : '\0';
  const auto found = [](int level, Operator op, std::ptrdiff_t length) {
    return FoundOperator{level, ExprKind::kChain, op, length};
  };
  switch (*at) {
    case '+':
      return found(kAddLevel, Operator::kAdd, 1);
    case '-':
      if (next == '>') return {};
      return found(kAddLevel, Operator::kSubtract, 1);
    case '*':
      return found(kMultiplyLevel, Operator::kMultiply, 1);
    case '/':
      if (next == '/') return found(kMultiplyLevel, Operator::kFloorDivide, 2);
      return found(kMultiplyLevel, Operator::kDivide, 1);
    case '%':
      return found(kMultiplyLevel, Operator::kModulo, 1);
    case '=':
      if (next != '=') return {};
      return found(kCompareLevel, Operator::kEqual, 2);
    case '!':
      if (next != '=') return {};
      return found(kCompareLevel, Operator::kNotEqual, 2);
    case '<':
      if (next == '=') return found(kCompareLevel, Operator::kLessEqual, 2);
      return found(kCompareLevel, Operator::kLess, 1);
    case '>':
      if (next == '=') return found(kCompareLevel, Operator::kGreaterEqual, 2);
      return found(kCompareLevel, Operator::kGreater, 1);
    default:
      return {};
  }
}

}  // namespace

Parser::Update Parser::PeekUpdate() const {
  const FoundOperator found = OperatorAt(at_, end_, {});
  const bool isArithmetic = found.level == kAddLevel || found.level == kMultiplyLevel;
  if (!isArithmetic || Peek(found.length) != '=') return {};
  return {found.op, found.length + 1};
}

Expr* Parser::NewExpr(ExprKind kind, std::uint32_t offset) {
  Expr* expr = NewNode<Expr>(arena_);
  expr->kind = kind;
  expr->offset = offset;
  return expr;
}

Item* Parser::AppendItem(Expr* to, Item* last, Expr* expr, std::uint32_t offset) {
  Item* item = NewNode<Item>(arena_);
  item->expr = expr;
  item->offset = offset;
  (last ? last->next : to->items) = item;
  ++to->count;
  to->calls = to->calls || expr->calls;
  return item;
}

// An expression whose operators bind at least as tightly as `level`, from 0. Operators of one level
// become one chain, read from left to right.
Expr* Parser::ParseExpression(int level) {
  Expr* left = ParseOperand(level);
  while (true) {
    SkipBlanks();
    const FoundOperator first = OperatorAt(at_, end_, PeekWord());
    if (first.level < level) return left;
    Expr* chain = NewExpr(first.kind, Offset());
    Item* last = nullptr;
    if (chain->kind == ExprKind::kChain) {
      chain->first = left;
      chain->calls = left->calls;
    } else {
      last = AppendItem(chain, nullptr, left, left->offset);
    }
    for (FoundOperator op = first; op.level == first.level;
         SkipBlanks(), op = OperatorAt(at_, end_, PeekWord())) {
      const std::uint32_t offset = Offset();
      at_ += op.length;
      Expr* right = ParseExpression(first.level + 1);
      last = AppendItem(chain, last, right, offset);
      last->op = op.op;
    }
    left = chain;
  }
}

Expr* Parser::ParseOperand(int level) {
  SkipBlanks();
  const std::uint32_t offset = Offset();
  // Of a run of prefixes only counts whether it is odd or even, so one or two of them are enough.
  // An even run keeps two: `- - x` has to fail, too, when x is no number.
  const auto wrap = [&](ExprKind kind, std::uint32_t times, Expr* expr) {
    for (times = times > 2 ? 2 - times % 2 : times; times > 0; --times) {
      Expr* outer = NewExpr(kind, offset);
      outer->first = expr;
      outer->calls = expr->calls;
      expr = outer;
    }
    return expr;
  };
  if (level <= kNotLevel && PeekWord() == "not") {
    std::uint32_t times = 0;
    while (SkipWord("not")) ++times;
    return wrap(ExprKind::kNot, times, ParseExpression(kNotLevel + 1));
  }
  std::uint32_t times = 0;
  for (; Peek() == '-' && !kel::IsDigit(Peek(1)); SkipBlanks()) {
    ++at_;
    ++times;
  }
  return wrap(ExprKind::kNegate, times, ParsePostfix());
}

Expr* Parser::ParsePostfix() {
  Expr* expr = ParsePrimary();
  for (SkipBlanks(); Peek() == '[' || Peek() == '.'; SkipBlanks()) {
    const std::uint32_t offset = Offset();
    Expr* outer = nullptr;
    if (*at_++ == '[') {
      const Nesting nesting(*this);
      ++brackets_;
      outer = NewExpr(ExprKind::kIndex, offset);
      AppendItem(outer, nullptr, ParseExpression(), offset);
      Require(']', "\"]\"");
      --brackets_;
    } else {
      SkipBlanks();
      const std::string_view name = PeekWord();
      if (name.empty()) FailExpected("a field's name");
      outer = NewExpr(ExprKind::kField, offset);
      outer->index = AddTextConstant(name);
      at_ += name.size();
    }
    outer->first = expr;
    outer->calls = outer->calls || expr->calls;
    expr = outer;
  }
  return expr;
}

Expr* Parser::ParsePrimary() {
  SkipBlanks();
  const std::uint32_t offset = Offset();
  if (at_ == end_) FailExpected("an expression");
  if (kel::IsDigit(*at_) || *at_ == '-') return ParseNumber();
  if (*at_ == '(') return ParseParentheses();
  if (*at_ == '"') {
    const kel::ScannedString scanned = kel::ScanString(at_, end_);
    if (scanned.error) {
      at_ = scanned.end == at_ ? end_ : scanned.end;
      Fail(OffsetAt(scanned.end), scanned.error);
    }
    const std::string_view inside(at_ + 1, static_cast<std::size_t>(scanned.end - at_ - 2));
    Expr* text = NewExpr(ExprKind::kConstant, offset);
    text->index = scanned.isEscaped ? AddConstant(kel::Value(kel::Unescape(inside)))
                                    : AddTextConstant(inside);
    at_ = scanned.end;
    return text;
  }
  const std::string_view name = PeekWord();
  if (name.empty() || name == "and" || name == "or" || name == "not") {
    FailExpected("an expression");
  }
  at_ += name.size();
  if (name == "true" || name == "false") {
    Expr* constant = NewExpr(ExprKind::kConstant, offset);
    constant->index = AddConstant(kel::Value(std::int32_t{name == "true"}));
    return constant;
  }
  SkipBlanks();
  if (Peek() == '(') return ParseCall(name);
  Expr* variable = NewExpr(ExprKind::kName, offset);
  variable->index = Slot(name);
  return variable;
}

Expr* Parser::ParseNumber() {
  const std::uint32_t offset = Offset();
  const kel::ScannedNumber number = kel::ScanNumber(at_, end_);
  if (number.error) Fail(offset, number.error);
  Expr* constant = NewExpr(ExprKind::kConstant, offset);
  constant->index =
      AddConstant(number.isReal ? kel::Value(number.real) : kel::Value(number.integer));
  at_ = number.end;
  return constant;
}

// `(x)` is x itself, `(a, b)` and `(a,)` are lists, `()` is the empty list, `(x: 1)` a record,
// `(:)` the empty one.
Expr* Parser::ParseParentheses() {
  const Nesting nesting(*this);
  const std::uint32_t offset = Offset();
  ++at_;
  ++brackets_;
  Expr* list = NewExpr(ExprKind::kList, offset);
  Item* last = nullptr;
  std::unordered_set<std::string> keys;
  bool commaSeen = false;
  bool mayEnd = true;
  SkipBlanks();
  const bool isRecord = PeekRecordKey();
  if (isRecord) list->kind = ExprKind::kRecord;
  if (Peek() == ':') {
    list->kind = ExprKind::kRecord;
    ++at_;
    SkipBlanks();
    if (Peek() != ')') FailExpected("\")\" of the empty record");
  }
  while (true) {
    SkipBlanks();
    if (mayEnd && Peek() == ')') break;
    if (isRecord) {
      if (!PeekRecordKey()) FailExpected("a field's name and \":\"");
      AddRecordItem(list, last, keys);
    } else {
      const std::uint32_t itemOffset = Offset();
      last = AppendItem(list, last, ParseExpression(), itemOffset);
    }
    SkipBlanks();
    if (Peek() != ',') {
      if (Peek() != ')') FailExpected("\",\" or \")\"");
      break;
    }
    ++at_;
    commaSeen = true;
    mayEnd = true;
  }
  ++at_;
  --brackets_;
  if (!isRecord && !commaSeen && list->items && !list->items->next) return list->items->expr;
  return list;
}

bool Parser::PeekRecordKey() {
  if (Peek() == '"') {
    const kel::ScannedString scanned = kel::ScanString(at_, end_);
    return !scanned.error && scanned.end != end_ && *scanned.end == ':';
  }
  const char* nameEnd = kel::ScanName(at_, end_);
  return nameEnd != at_ && nameEnd != end_ && *nameEnd == ':';
}

void Parser::AddRecordItem(Expr* record, Item*& last, std::unordered_set<std::string>& keys) {
  const std::uint32_t offset = Offset();
  SV::String key;
  if (Peek() == '"') {
    const kel::ScannedString scanned = kel::ScanString(at_, end_);
    key = kel::Unescape({at_ + 1, static_cast<std::size_t>(scanned.end - at_ - 2)});
    at_ = scanned.end + 1;
  } else {
    const char* nameEnd = kel::ScanName(at_, end_);
    key = SV::String(at_, static_cast<long>(nameEnd - at_));
    at_ = nameEnd + 1;
  }
  const std::string text(key.View());
  if (!keys.insert(text).second) Fail(offset, "the field \"" + text + "\" stands here twice");
  last = AppendItem(record, last, ParseExpression(), offset);
  last->key = AddConstant(kel::Value(key));
}

Expr* Parser::ParseCall(std::string_view name) {
  const Nesting nesting(*this);
  Expr* call = NewExpr(ExprKind::kCall, OffsetOf(name));
  call->text = name;
  ++at_;
  ++brackets_;
  Item* last = nullptr;
  SkipBlanks();
  while (Peek() != ')') {
    SkipBlanks();
    const std::uint32_t offset = Offset();
    last = AppendItem(call, last, ParseExpression(), offset);
    SkipBlanks();
    if (Peek() != ',' && Peek() != ')') FailExpected("\",\" or \")\"");
    if (Peek() == ',') {
      ++at_;
      SkipBlanks();
      if (Peek() == ')') FailExpected("an expression");
    }
  }
  ++at_;
  --brackets_;
  const BuiltIn* builtIn = FindBuiltIn(name);
  call->calls = call->calls || !builtIn || builtIn->changesVariable;
  return call;
}

}  // namespace script
