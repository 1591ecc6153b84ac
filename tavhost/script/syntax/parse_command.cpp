#include <string>
#include <unordered_set>

#include "tavhost/base/ascii.h"
#include "tavhost/notation/scan.h"
#include "tavhost/script/syntax/parser.h"

// Commands: elements of the notation in which parentheses hold expressions.
namespace script {

namespace {

constexpr std::uint32_t kManyAttributes = 16;  // from here on names are looked up by hash

}  // namespace

Statement* Parser::ParseCommand(std::uint32_t offset, Expr* port) {
  Statement* command = NewStatement(StatementKind::kCommand, offset);
  command->port = port;
  command->element = ParseElement(command);
  return command;
}

// `command` is null in a body, where no `->` may stand.
CommandElement* Parser::ParseElement(Statement* command) {
  CommandElement* element = NewNode<CommandElement>(arena_);
  const char* const nameEnd = kel::ScanName(at_, end_);
  if (nameEnd == at_) FailExpected(command ? "a command" : "an element's name or \"}\"");
  element->name = {at_, static_cast<std::size_t>(nameEnd - at_)};
  if (command) command->offset = Offset();
  at_ = nameEnd;
  if (Peek() == ':') FailExpected("a blank behind the name");
  CommandAttribute* last = nullptr;
  std::unordered_set<std::string_view> names;
  while (!AtStatementEnd()) {
    if (command && Peek() == '-' && Peek(1) == '>') {
      at_ += 2;
      SetVariable(command, ReadName("a variable's name"));
      break;
    }
    if (!kel::IsNameStart(*at_)) {
      if (element->attributes) FailBehindAttribute(*last);
      if (element->main.kind != CommandValueKind::kNone) {
        FailExpected("a parameter, a modifier or the end of the command");
      }
      element->main = ParseCommandValue(true);
      continue;
    }
    const std::uint32_t offset = Offset();
    ParseAttribute(element, last);
    bool isTwice = false;
    if (element->attributeCount < kManyAttributes) {
      for (const auto* other = element->attributes; other != last; other = other->next) {
        isTwice = isTwice || other->name == last->name;
      }
    } else {
      if (names.empty()) {
        for (const auto* other = element->attributes; other != last; other = other->next) {
          names.insert(other->name);
        }
      }
      isTwice = !names.insert(last->name).second;
    }
    if (isTwice) Fail(offset, '"' + std::string(last->name) + "\" stands here twice");
  }
  return element;
}

// A value behind a name in capitals begins what was meant to be an element of its own.
void Parser::FailBehindAttribute(const CommandAttribute& last) const {
  const bool isName = ascii::ToUpper(last.name) == last.name;
  std::string message = "expected a parameter or a modifier, found " + Found();
  if (isName && last.value.kind == CommandValueKind::kNone && *at_ == '"') {
    message += "; " + std::string(last.name) + " begins behind \";\" or in a line of its own";
  }
  Fail(Offset(), message);
}

void Parser::ParseAttribute(CommandElement* element, CommandAttribute*& last) {
  CommandAttribute* attribute = NewNode<CommandAttribute>(arena_);
  const char* const nameEnd = kel::ScanName(at_, end_);
  attribute->name = {at_, static_cast<std::size_t>(nameEnd - at_)};
  at_ = nameEnd;
  if (Peek() == ':') {
    ++at_;
    SkipBlanks();
    attribute->value = ParseCommandValue(false);
  }
  (last ? last->next : element->attributes) = attribute;
  last = attribute;
  ++element->attributeCount;
}

CommandValue Parser::ParseCommandValue(bool isMain) {
  CommandValue value;
  value.offset = Offset();
  const char first = Peek();
  if (at_ == end_) FailExpected("a value");
  if (first == '(') {
    value.kind = CommandValueKind::kExpr;
    value.expr = ParseParentheses();
  } else if (first == '{') {
    const std::uint32_t offset = value.offset;
    value = ParseBody();
    value.offset = offset;
  } else if (first == '"') {
    const kel::ScannedString scanned = kel::ScanString(at_, end_);
    if (scanned.error) {
      at_ = scanned.end == at_ ? end_ : scanned.end;
      Fail(OffsetAt(scanned.end), scanned.error);
    }
    value.kind = CommandValueKind::kString;
    value.escaped = scanned.isEscaped;
    value.text = {at_ + 1, static_cast<std::size_t>(scanned.end - at_ - 2)};
    at_ = scanned.end;
  } else if (kel::IsDigit(first) || (first == '-' && kel::IsDigit(Peek(1)))) {
    const kel::ScannedNumber number = kel::ScanNumber(at_, end_);
    if (number.error) Fail(Offset(), number.error);
    value.kind = number.isReal ? CommandValueKind::kReal : CommandValueKind::kInteger;
    value.integer = number.integer;
    value.real = number.real;
    at_ = number.end;
  } else if (!isMain && kel::IsNameStart(first)) {
    const char* const end = kel::ScanName(at_, end_);
    value.kind = CommandValueKind::kWord;
    value.text = {at_, static_cast<std::size_t>(end - at_)};
    at_ = end;
  } else {
    FailExpected(isMain ? "a value, a parameter, a modifier or the end of the command" : "a value");
  }
  return value;
}

CommandValue Parser::ParseBody() {
  const Nesting nesting(*this);
  ++at_;
  CommandValue body;
  body.kind = CommandValueKind::kBody;
  CommandElement** next = &body.elements;
  while (true) {
    SkipBlanks();
    if (Peek() == '\n' || Peek() == ';') {
      ++at_;
      continue;
    }
    if (Peek() == '}') {
      ++at_;
      return body;
    }
    if (at_ == end_) FailExpected("\"}\"");
    CommandElement* element = ParseElement(nullptr);
    *next = element;
    next = &element->next;
    ++body.count;
    if (!AtStatementEnd()) FailExpected("the end of the element");
  }
}

}  // namespace script
