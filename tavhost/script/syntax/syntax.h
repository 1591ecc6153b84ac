#pragma once

#include <algorithm>
#include <cstdint>
#include <new>
#include <string_view>
#include <type_traits>
#include <vector>

#include "tavhost/base/arena.h"

// The parsed form of a script, between parser and compiler. Nodes are plain, lie in an arena and
// go with it all at once. Long runs (operators of one level, statements, list items) are chains,
// never nested, so that the depth of the tree is the depth of the brackets and blocks. The one
// exception are the links of a path such as `a[0].b[1]`: each has the one before it as `first`.
// PathOf takes them apart, so that no walk recurses over them.
namespace script {

template <typename T>
T* NewNode(base::Arena& arena) {
  static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= 8);
  return new (arena.Allocate(sizeof(T))) T();
}

enum class Operator : std::uint8_t {
  kAdd,
  kSubtract,
  kMultiply,
  kDivide,
  kFloorDivide,
  kModulo,
  kEqual,
  kNotEqual,
  kLess,
  kLessEqual,
  kGreater,
  kGreaterEqual,
};

// What an expression is; beside each, the members of Expr that it uses. `index` is the number of a
// constant of the program, or the slot of a variable of the function.
enum class ExprKind : std::uint8_t {
  kConstant,  // constant
  kName,      // slot
  kChain,     // first, then items of one level from left to right
  kAnd,       // items
  kOr,        // items
  kNot,       // first
  kNegate,    // first
  kIndex,     // first [ items->expr ]
  kField,     // first . constant
  kCall,      // text ( items )
  kList,      // items
  kRecord,    // items, each with a constant as its key
};

struct Expr;

// A link of a chain: an operand with the operator before it, an item, an argument, a key.
struct Item {
  Item* next = nullptr;
  Expr* expr = nullptr;
  std::uint32_t offset = 0;  // of the operator or the key
  std::uint32_t key = 0;     // constant: a record's
  Operator op = Operator::kAdd;
};

struct Expr {
  ExprKind kind = ExprKind::kConstant;
  bool calls = false;  // a function that can change variables runs somewhere inside
  std::uint32_t offset = 0;
  std::uint32_t index = 0;  // constant or slot
  std::uint32_t count = 0;  // items
  std::string_view text;    // a called function's name
  Expr* first = nullptr;
  Item* items = nullptr;
};

// `links` are the kIndex and kField of an expression, in the order in which they are written, and
// `root` is what they lead from. An expression of another kind is a root without links.
struct Path {
  const Expr* root;
  std::vector<const Expr*> links;
};

inline Path PathOf(const Expr* expr) {
  Path path{expr, {}};
  const auto isLink = [](const Expr* e) {
    return e->kind == ExprKind::kIndex || e->kind == ExprKind::kField;
  };
  for (; isLink(path.root); path.root = path.root->first) path.links.push_back(path.root);
  std::reverse(path.links.begin(), path.links.end());
  return path;
}

// A value in a command.
enum class CommandValueKind : std::uint8_t { kNone, kWord, kString, kInteger, kReal, kExpr, kBody };

struct CommandElement;

// The members are those of its kind, and `offset`.
struct CommandValue {
  CommandValueKind kind = CommandValueKind::kNone;
  bool escaped = false;
  std::uint32_t offset = 0;
  std::int32_t integer = 0;
  double real = 0;
  std::string_view text;  // word or string, without the quotes
  Expr* expr = nullptr;
  CommandElement* elements = nullptr;
  std::uint32_t count = 0;  // elements
};

// A parameter, or a modifier, whose value has no kind.
struct CommandAttribute {
  CommandAttribute* next = nullptr;
  std::string_view name;
  CommandValue value;
};

// A command, or an element in a command's body.
struct CommandElement {
  CommandElement* next = nullptr;
  std::string_view name;
  CommandValue main;
  CommandAttribute* attributes = nullptr;
  std::uint32_t attributeCount = 0;
};

// What a statement is; beside each, the members of Statement that it uses.
enum class StatementKind : std::uint8_t {
  kAssign,   // slot, path, expr; with `isUpdate` also op, opOffset
  kCall,     // expr
  kCommand,  // port, element, slot of `->`
  kIf,       // expr, body, otherwise
  kWhile,    // expr, body
  kForIn,    // slot, expr, body
  kForFrom,  // slot, expr, second, third, body
  kBreak,
  kContinue,
  kReturn,  // expr or null
  kTry,     // body, slot, otherwise
  kThrow,   // expr
  kPrint,   // items
  kExit,    // expr or null
};

constexpr std::uint32_t kNoSlot = ~std::uint32_t{0};

struct Statement {
  Statement* next = nullptr;
  StatementKind kind = StatementKind::kCall;
  bool isUpdate = false;  // what the path leads to becomes that `op` expr
  Operator op = Operator::kAdd;
  std::uint32_t offset = 0;
  std::uint32_t slot = kNoSlot;
  std::uint32_t slotOffset = 0;  // of the variable's name
  std::uint32_t opOffset = 0;
  std::uint32_t count = 0;  // path or items
  Expr* expr = nullptr;
  Expr* second = nullptr;
  Expr* third = nullptr;
  Item* items = nullptr;  // what print prints; the path of an assignment
  Statement* body = nullptr;
  Statement* otherwise = nullptr;
  Expr* port = nullptr;  // of `send`
  CommandElement* element = nullptr;
};

}  // namespace script
