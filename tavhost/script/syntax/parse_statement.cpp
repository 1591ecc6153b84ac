#include <algorithm>
#include <cstddef>
#include <string>
#include <tl/expected.hpp>

#include "tavhost/base/keywords.h"
#include "tavhost/notation/scan.h"
#include "tavhost/script/built_in/built_in.h"
#include "tavhost/script/syntax/included_file.h"
#include "tavhost/script/syntax/parser.h"

// Statements. A statement begins with a keyword, or with a name that `=`, `+=` or its kin, `[`, `.`
// or, without a blank, `(` follows; all else is a command.
namespace script {

namespace {

constexpr std::uint32_t kMaxParameters = 255;
constexpr std::ptrdiff_t kLongestName = 65535;  // of a command or variable; each is looked at often

bool IsKeyword(std::string_view word) {
  const keywords::Keyword* const keyword = keywords::Find(word);
  return keyword && keyword->role == keywords::Role::kStatement;
}

}  // namespace

Statement* Parser::NewStatement(StatementKind kind, std::uint32_t offset) {
  Statement* statement = NewNode<Statement>(arena_);
  statement->kind = kind;
  statement->offset = offset;
  return statement;
}

void Parser::SetVariable(Statement* statement, std::string_view name) {
  statement->slot = Slot(name);
  statement->slotOffset = OffsetOf(name);
}

Statement* Parser::ParseBlock() {
  Require('{', "\"{\"");
  const Nesting nesting(*this);
  ++blocks_;
  Statement* first = ParseStatements(true);
  --blocks_;
  Require('}', "\"}\"");
  return first;
}

// Up to the text's end or, in a block, before its closing brace.
Statement* Parser::ParseStatements(bool inBlock) {
  Statement* first = nullptr;
  Statement** next = &first;
  while (true) {
    SkipBlanks();
    if (at_ == end_) {
      if (inBlock) FailExpected("\"}\"");
      return first;
    }
    if (*at_ == '\n' || *at_ == ';') {
      ++at_;
      continue;
    }
    if (*at_ == '}') {
      if (!inBlock) Fail(Offset(), "this \"}\" closes nothing");
      return first;
    }
    if (Statement* statement = ParseStatement()) {
      *next = statement;
      while (statement->next) statement = statement->next;  // an included file brings several
      next = &statement->next;
    }
  }
}

// Null for declarations, which leave no statement: a function, `global`, a file read before.
Statement* Parser::ParseStatement() {
  const std::uint32_t offset = Offset();
  const auto most = std::min<std::ptrdiff_t>(end_ - at_, kLongestName + 1);
  const char* const nameEnd = kel::ScanName(at_, at_ + most);
  const std::string_view name(at_, static_cast<std::size_t>(nameEnd - at_));
  if (name.empty()) FailExpected("a statement");
  if (nameEnd - at_ > kLongestName) {
    Fail(offset, "this name is longer than " + std::to_string(kLongestName) + " bytes");
  }
  if (AtInclude(name, nameEnd)) {
    at_ = nameEnd;
    return ParseInclude(offset);
  }
  if (IsKeyword(name)) {
    at_ = nameEnd;
    const bool isBlock =
        name == "if" || name == "while" || name == "for" || name == "func" || name == "try";
    Statement* statement = ParseKeyword(name);
    if (!isBlock && !AtStatementEnd()) FailExpected("the end of the statement");
    return statement;
  }
  Statement* statement = nullptr;
  if (name.find('-') == std::string_view::npos) {
    const char* const begin = at_;
    at_ = nameEnd;
    if (Peek() == '(') {
      at_ = begin;
      statement = NewStatement(StatementKind::kCall, offset);
      statement->expr = ParsePostfix();
      if (statement->expr->kind != ExprKind::kCall) Fail(offset, "this value is not used");
    } else {
      SkipBlanks();
      if (Peek() == '=' || Peek() == '[' || Peek() == '.' || PeekUpdate().length > 0) {
        statement = ParseAssignment(name);
      } else if ((name == "else" || name == "catch") && (Peek() == '{' || PeekWord() == "if")) {
        Fail(offset, name == "else" ? "this \"else\" follows no \"if\""
                                    : "this \"catch\" follows no \"try\"");
      } else {
        at_ = begin;
      }
    }
  }
  if (!statement) statement = ParseCommand(offset, nullptr);
  if (!AtStatementEnd()) FailExpected("the end of the statement");
  return statement;
}

Statement* Parser::ParseKeyword(std::string_view word) {
  const std::uint32_t offset = OffsetOf(word);
  if (word == "if") return ParseIf(offset);
  if (word == "for") return ParseFor(offset);
  if (word == "try") return ParseTry(offset);
  if (word == "print") return ParsePrint(offset);
  if (word == "send") return ParseSend(offset);
  if (word == "while") {
    Statement* statement = NewStatement(StatementKind::kWhile, offset);
    statement->expr = ParseExpression();
    statement->body = ParseLoopBody();
    return statement;
  }
  if (word == "break" || word == "continue") {
    if (loops_ == 0) Fail(offset, '"' + std::string(word) + "\" stands outside a loop");
    return NewStatement(word == "break" ? StatementKind::kBreak : StatementKind::kContinue, offset);
  }
  if (word == "func") {
    ParseFunction(offset);
    return nullptr;
  }
  if (word == "global") {
    ParseGlobal();
    return nullptr;
  }
  if (word == "throw") {
    Statement* statement = NewStatement(StatementKind::kThrow, offset);
    statement->expr = ParseExpression();
    return statement;
  }
  const bool isReturn = word == "return";
  if (isReturn && functions_.front().function == function_) {
    Fail(offset, "\"return\" stands outside a function");
  }
  Statement* statement =
      NewStatement(isReturn ? StatementKind::kReturn : StatementKind::kExit, offset);
  if (!AtStatementEnd()) statement->expr = ParseExpression();
  return statement;
}

Statement* Parser::ParseLoopBody() {
  ++loops_;
  Statement* body = ParseBlock();
  --loops_;
  return body;
}

// Skips `word`, which may stand on a later line; when something else follows, stays where it is and
// returns false.
bool Parser::SkipToWord(std::string_view word) {
  const char* const before = at_;
  SkipBlanks();
  while (Peek() == '\n' || Peek() == ';') {
    if (*at_ == ';') break;
    ++at_;
    SkipBlanks();
  }
  if (PeekWord() == word && kel::ScanName(at_, end_) == at_ + word.size()) {
    at_ += word.size();
    return true;
  }
  at_ = before;
  return false;
}

Statement* Parser::ParseIf(std::uint32_t offset) {
  Statement* first = NewStatement(StatementKind::kIf, offset);
  Statement* branch = first;
  while (true) {
    branch->expr = ParseExpression();
    branch->body = ParseBlock();
    if (!SkipToWord("else")) return first;
    SkipBlanks();
    const std::uint32_t elseOffset = Offset();
    if (!SkipWord("if")) {
      branch->otherwise = ParseBlock();
      return first;
    }
    // A chain: each branch's alternative is the next branch.
    Statement* next = NewStatement(StatementKind::kIf, elseOffset);
    branch->otherwise = next;
    branch = next;
  }
}

Statement* Parser::ParseFor(std::uint32_t offset) {
  Statement* statement = NewStatement(StatementKind::kForIn, offset);
  SetVariable(statement, ReadName("a variable's name"));
  if (SkipWord("in")) {
    statement->expr = ParseExpression();
  } else if (SkipWord("from")) {
    statement->kind = StatementKind::kForFrom;
    statement->expr = ParseExpression();
    if (!SkipWord("to")) FailExpected("\"to\"");
    statement->second = ParseExpression();
    if (SkipWord("step")) statement->third = ParseExpression();
  } else {
    FailExpected("\"in\" or \"from\"");
  }
  statement->body = ParseLoopBody();
  return statement;
}

Statement* Parser::ParseTry(std::uint32_t offset) {
  Statement* statement = NewStatement(StatementKind::kTry, offset);
  statement->body = ParseBlock();
  if (!SkipToWord("catch")) FailExpected("\"catch\"");
  SkipBlanks();
  if (Peek() != '{') SetVariable(statement, ReadName("a variable's name or \"{\""));
  statement->otherwise = ParseBlock();
  return statement;
}

Statement* Parser::ParsePrint(std::uint32_t offset) {
  Statement* statement = NewStatement(StatementKind::kPrint, offset);
  if (AtStatementEnd()) return statement;
  Item** next = &statement->items;
  while (true) {
    Item* item = NewNode<Item>(arena_);
    item->expr = ParseExpression();
    *next = item;
    next = &item->next;
    ++statement->count;
    SkipBlanks();
    if (Peek() != ',') return statement;
    ++at_;
  }
}

// `name = x`, `name[i].field += x` and so on; stands behind the name.
Statement* Parser::ParseAssignment(std::string_view name) {
  RequireVariable(name);
  Statement* statement = NewStatement(StatementKind::kAssign, OffsetOf(name));
  SetVariable(statement, name);
  Item** next = &statement->items;
  for (SkipBlanks(); Peek() == '[' || Peek() == '.'; SkipBlanks()) {
    Item* key = NewNode<Item>(arena_);
    key->offset = Offset();
    if (*at_++ == '[') {
      const Nesting nesting(*this);
      ++brackets_;
      key->expr = ParseExpression();
      Require(']', "\"]\"");
      --brackets_;
    } else {
      SkipBlanks();
      const std::string_view field = PeekWord();
      if (field.empty()) FailExpected("a field's name");
      key->expr = NewExpr(ExprKind::kConstant, Offset());
      key->expr->index = AddTextConstant(field);
      at_ += field.size();
    }
    *next = key;
    next = &key->next;
    ++statement->count;
  }
  const Update update = PeekUpdate();
  if (update.length > 0) {
    ParseUpdate(statement, update);
    return statement;
  }
  Require('=', "\"=\"");
  statement->expr = ParseExpression();
  return statement;
}

// `x += y` is `x = x + y`. Of an item or field the statement keeps the operator, so that its place
// is worked out once.
void Parser::ParseUpdate(Statement* statement, const Update& update) {
  statement->op = update.op;
  statement->opOffset = Offset();
  at_ += update.length;
  Expr* const right = ParseExpression();
  if (statement->count > 0) {
    statement->isUpdate = true;
    statement->expr = right;
    return;
  }
  Expr* const left = NewExpr(ExprKind::kName, statement->slotOffset);
  left->index = statement->slot;
  Expr* const sum = NewExpr(ExprKind::kChain, statement->opOffset);
  sum->first = left;
  AppendItem(sum, nullptr, right, statement->opOffset)->op = update.op;
  statement->expr = sum;
}

void Parser::ParseFunction(std::uint32_t offset) {
  if (blocks_ > 0 || functions_.front().function != function_) {
    Fail(offset, "functions stand at the top level");
  }
  SkipBlanks();
  const std::uint32_t nameOffset = Offset();
  const std::string_view name = ReadName("a function's name");
  if (FindBuiltIn(name)) {
    Fail(nameOffset, '"' + std::string(name) + "\" is a built-in function");
  }
  const auto index = static_cast<std::uint32_t>(program_.functions.size());
  if (!program_.functionsByName.emplace(name, index).second) {
    Fail(nameOffset, "the function \"" + std::string(name) + "\" stands here twice");
  }
  program_.functions.push_back(std::make_unique<Function>());
  Function* function = program_.functions.back().get();
  function->name = std::string(name);
  function->offset = offset;
  Function* const outer = function_;
  function_ = function;

  Require('(', "\"(\"");
  ++brackets_;
  SkipBlanks();
  while (Peek() != ')') {
    SkipBlanks();
    const std::uint32_t parameterOffset = Offset();
    const std::string_view parameter = ReadName("a parameter's name");
    if (Slot(parameter) < function->parameters) {
      Fail(parameterOffset, "the parameter \"" + std::string(parameter) + "\" stands here twice");
    }
    if (++function->parameters > kMaxParameters) {
      Fail(parameterOffset,
           "a function takes at most " + std::to_string(kMaxParameters) + " parameters");
    }
    SkipBlanks();
    if (Peek() != ',' && Peek() != ')') FailExpected("\",\" or \")\"");
    if (Peek() == ',') {
      ++at_;
      SkipBlanks();
      if (Peek() == ')') FailExpected("a parameter's name");
    }
  }
  ++at_;
  --brackets_;
  const std::uint32_t loops = std::exchange(loops_, 0);
  Statement* body = ParseBlock();
  loops_ = loops;
  function_ = outer;
  functions_.push_back({function, body});
}

void Parser::ParseGlobal() {
  while (true) {
    SkipBlanks();
    const std::uint32_t offset = Offset();
    const std::string_view name = ReadName("a variable's name");
    const std::uint32_t slot = Slot(name);
    if (slot < function_->parameters) {
      Fail(offset, "the parameter \"" + std::string(name) + "\" cannot be global");
    }
    function_->layout.MarkGlobal(slot);
    SkipBlanks();
    if (Peek() != ',') return;
    ++at_;
  }
}

// `include` is a keyword only where a file's name follows it.
bool Parser::AtInclude(std::string_view word, const char* behind) const {
  if (word != "include") return false;
  while (behind != end_ && (*behind == ' ' || *behind == '\t')) ++behind;
  return behind != end_ && *behind == '"';
}

// The statements of another file, as if they stood here; null when it was read before. Its
// functions join those of the script.
Statement* Parser::ParseInclude(std::uint32_t offset) {
  if (blocks_ > 0 || functions_.front().function != function_) {
    Fail(offset, "\"include\" stands at the top level");
  }
  SkipBlanks();
  const std::uint32_t nameOffset = Offset();
  const Expr* text = ParsePrimary();
  const std::string wanted(program_.constants[text->index].Text().View());
  if (!AtStatementEnd()) FailExpected("the end of the statement");
  const std::string& from = program_.source.FileOf(base_).name;
  const std::string name = NameBeside(from, wanted);
  if (included_.empty()) included_.push_back({IdentityOf(from), true});
  base::Result<IncludedFile> file = ReadIncludedFile(name);
  if (!file) Fail(nameOffset, "cannot read \"" + name + "\": " + file.error().message);
  for (const Included& other : included_) {
    if (other.identity != file->identity) continue;
    if (other.isOpen) Fail(nameOffset, '"' + name + "\" includes itself");
    return nullptr;
  }
  const Nesting nesting(*this);
  const Source::File* const added = program_.source.Add(std::move(file->text), name);
  if (!added) Fail(nameOffset, "the script is too large");
  const std::size_t index = included_.size();
  included_.push_back({std::move(file->identity), true});
  const char* const begin = begin_;
  const char* const end = end_;
  const char* const at = at_;
  const std::uint32_t base = base_;
  Enter(*added);
  Statement* first = ParseStatements(false);
  included_[index].isOpen = false;
  begin_ = begin;
  end_ = end;
  at_ = at;
  base_ = base;
  return first;
}

Statement* Parser::ParseSend(std::uint32_t offset) {
  SkipBlanks();
  if (Peek() != '"' && Peek() != '(') FailExpected("a port's name as a string");
  Expr* port = ParsePrimary();
  SkipBlanks();
  return ParseCommand(offset, port);
}

}  // namespace script
