#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "tavhost/base/long_work.h"
#include "tavhost/script/code/code.h"
#include "tavhost/script/syntax/syntax.h"

namespace script {

// A function as it was parsed; the first of a text is its top level.
struct FunctionSyntax {
  Function* function;
  Statement* body;
};

// Reads a script's text and the files that it includes. Constants and the names of variables and
// functions go into the program, the rest is syntax in an arena, which has to live until it is
// compiled. Throws SyntaxError at the first mistake. Recursion is bounded by the nesting limit.
// With `work`, which is not owned, a stop ends it by StoppedReading.
class Parser {
 public:
  Parser(Program& program, base::Arena& arena, base::LongWork* work = nullptr);

  std::vector<FunctionSyntax> Parse();

 private:
  class Nesting;

  static constexpr std::uint32_t kLookEvery = 4096;

  // parser.cpp
  void SkipBlanks();
  void Look();
  bool AtStatementEnd();
  char Peek(std::ptrdiff_t ahead = 0) const { return end_ - at_ > ahead ? at_[ahead] : '\0'; }
  std::uint32_t Offset() const { return OffsetAt(at_); }
  std::uint32_t OffsetAt(const char* at) const {
    return base_ + static_cast<std::uint32_t>(at - begin_);
  }
  std::uint32_t OffsetOf(std::string_view text) const;
  std::string_view PeekWord() const;     // a name without `-`, "" when none begins here
  bool SkipWord(std::string_view word);  // false when another one stands there
  std::string_view ReadName(const char* what);
  void Require(char byte, const char* what);
  std::string Found() const;  // what stands here, for error texts
  [[noreturn]] void Fail(std::uint32_t offset, const std::string& message) const;
  [[noreturn]] void FailExpected(const std::string& what) const;
  [[noreturn]] void FailBehindAttribute(const CommandAttribute& last) const;
  std::uint32_t AddConstant(kel::Value value);
  std::uint32_t AddTextConstant(std::string_view text);
  // The slot of a variable of the function that is being parsed, a new one when it is new.
  std::uint32_t Slot(std::string_view name);
  void RequireVariable(std::string_view name) const;  // fails for words of the language

  // parse_expression.cpp
  Expr* ParseExpression(int level = 0);
  Expr* ParseOperand(int level);
  Expr* ParsePostfix();
  Expr* ParsePrimary();
  Expr* ParseNumber();
  Expr* ParseParentheses();
  Expr* ParseCall(std::string_view name);
  Expr* NewExpr(ExprKind kind, std::uint32_t offset);
  // At `+=` and its kin: the operator, and how long the sign is. No length: something else.
  struct Update {
    Operator op = Operator::kAdd;
    std::ptrdiff_t length = 0;
  };
  Update PeekUpdate() const;
  bool PeekRecordKey();
  void AddRecordItem(Expr* record, Item*& last, std::unordered_set<std::string>& keys);
  Item* AppendItem(Expr* to, Item* last, Expr* expr, std::uint32_t offset);

  // parse_statement.cpp
  Statement* ParseBlock();
  Statement* ParseStatements(bool inBlock);
  Statement* ParseStatement();
  Statement* ParseKeyword(std::string_view word);
  Statement* ParseIf(std::uint32_t offset);
  Statement* ParseFor(std::uint32_t offset);
  Statement* ParseTry(std::uint32_t offset);
  Statement* ParsePrint(std::uint32_t offset);
  Statement* ParseAssignment(std::string_view name);
  void ParseUpdate(Statement* statement, const Update& update);
  void ParseFunction(std::uint32_t offset);
  void ParseGlobal();
  Statement* ParseInclude(std::uint32_t offset);
  bool AtInclude(std::string_view word, const char* behind) const;
  Statement* ParseSend(std::uint32_t offset);
  Statement* NewStatement(StatementKind kind, std::uint32_t offset);
  void SetVariable(Statement* statement, std::string_view name);
  Statement* ParseLoopBody();
  bool SkipToWord(std::string_view word);

  // parse_command.cpp
  Statement* ParseCommand(std::uint32_t offset, Expr* port);
  CommandElement* ParseElement(Statement* command);
  void ParseAttribute(CommandElement* element, CommandAttribute*& last);
  CommandValue ParseCommandValue(bool isMain);
  CommandValue ParseBody();

  Program& program_;
  base::Arena& arena_;
  base::LongWork* const work_;
  std::uint32_t untilLook_ = kLookEvery;  // tokens
  void Enter(const Source::File& file);

  const char* begin_;  // of the file that is being read
  const char* end_;
  const char* at_;
  std::uint32_t base_;  // the offset of its begin
  // A file that was read, the script itself foremost: no file is read twice.
  struct Included {
    std::string identity;
    bool isOpen;  // still being read
  };
  std::vector<Included> included_;
  std::vector<FunctionSyntax> functions_;
  Function* function_ = nullptr;  // the one being parsed
  std::uint32_t nesting_ = 0;
  std::uint32_t brackets_ = 0;  // open ( and [, in which line feeds are blanks
  std::uint32_t blocks_ = 0;    // open blocks of the function being parsed
  std::uint32_t loops_ = 0;     // open loops of it
};

// One level of brackets or blocks.
class Parser::Nesting {
 public:
  explicit Nesting(Parser& parser);
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;
  ~Nesting() { --parser_.nesting_; }

 private:
  Parser& parser_;
};

}  // namespace script
