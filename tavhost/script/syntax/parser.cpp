#include "tavhost/script/syntax/parser.h"

#include <utility>

#include "tavhost/base/keywords.h"
#include "tavhost/base/string_of.h"
#include "tavhost/notation/scan.h"

namespace script {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kMaxFoundLength = 32;  // longer words are not quoted in errors

}  // namespace

Parser::Nesting::Nesting(Parser& parser) : parser_(parser) {
  if (parser.nesting_ == kel::kMaxNesting) {
    parser.Fail(parser.Offset(),
                "nested deeper than " + std::to_string(kel::kMaxNesting) + " levels");
  }
  ++parser.nesting_;
}

Parser::Parser(Program& program, base::Arena& arena, base::LongWork* work)
    : program_(program), arena_(arena), work_(work) {
  Enter(program.source.FileOf(0));
}

void Parser::Enter(const Source::File& file) {
  const std::string_view text = file.text.View();
  begin_ = at_ = text.data();
  end_ = begin_ + text.size();
  base_ = file.begin;
  if (text.starts_with(kByteOrderMark)) at_ += kByteOrderMark.size();
}

std::vector<FunctionSyntax> Parser::Parse() {
  program_.functions.push_back(std::make_unique<Function>());
  function_ = program_.functions.back().get();
  functions_.push_back({function_, nullptr});
  Statement* body = ParseStatements(false);
  functions_.front().body = body;
  return std::move(functions_);
}

void Parser::Look() {
  untilLook_ = kLookEvery;
  if (!work_) return;
  const auto read = static_cast<std::uint64_t>(at_ - begin_);
  if (!work_->GoesOn(read, static_cast<std::uint64_t>(end_ - begin_))) {
    throw StoppedReading(program_.source, Offset());
  }
}

// Also comments and line ends behind a backslash; inside brackets line feeds too.
void Parser::SkipBlanks() {
  if (--untilLook_ == 0) [[unlikely]]
    Look();
  while (at_ != end_) {
    switch (*at_) {
      case ' ':
      case '\t':
        ++at_;
        break;
      case '\r':
        if (Peek(1) != '\n') return;
        ++at_;
        break;
      case '\\':
        if (Peek(1) == '\n') {
          at_ += 2;
        } else if (Peek(1) == '\r' && Peek(2) == '\n') {
          at_ += 3;
        } else {
          return;
        }
        break;
      case '#':
        while (at_ != end_ && *at_ != '\n') ++at_;
        break;
      case '\n':
        if (brackets_ == 0) return;
        ++at_;
        break;
      default:
        return;
    }
  }
}

bool Parser::AtStatementEnd() {
  SkipBlanks();
  return at_ == end_ || *at_ == '\n' || *at_ == ';' || *at_ == '}';
}

std::uint32_t Parser::OffsetOf(std::string_view text) const { return OffsetAt(text.data()); }

std::string_view Parser::PeekWord() const {
  if (at_ == end_ || !kel::IsNameStart(*at_)) return {};
  const char* end = at_;
  while (end != end_ && kel::IsNameByte(*end)) ++end;
  return {at_, static_cast<std::size_t>(end - at_)};
}

bool Parser::SkipWord(std::string_view word) {
  SkipBlanks();
  if (PeekWord() != word) return false;
  at_ += word.size();
  return true;
}

std::string_view Parser::ReadName(const char* what) {
  SkipBlanks();
  const std::string_view name = PeekWord();
  if (name.empty()) FailExpected(what);
  RequireVariable(name);
  at_ += name.size();
  return name;
}

void Parser::RequireVariable(std::string_view name) const {
  const keywords::Keyword* const keyword = keywords::Find(name);
  if (keyword && keywords::IsReserved(keyword->role)) {
    Fail(OffsetOf(name), '"' + std::string(name) + "\" cannot be the name of a variable");
  }
}

void Parser::Require(char byte, const char* what) {
  SkipBlanks();
  if (at_ == end_ || *at_ != byte) FailExpected(what);
  ++at_;
}

std::string Parser::Found() const {
  if (at_ == end_) return "the end of the text";
  if (*at_ == '\n') return "the end of the line";
  const char* end = at_ + 1;
  if (kel::IsNameByte(*at_)) {
    while (end != end_ && kel::IsNameByte(*end)) ++end;
  } else {
    while (end != end_ && (static_cast<unsigned char>(*end) & 0xC0) == 0x80) ++end;
  }
  const auto length = static_cast<std::size_t>(end - at_);
  const auto byte = static_cast<unsigned char>(*at_);
  if (length > kMaxFoundLength || byte < ' ' || byte == 0x7F) {
    return length > kMaxFoundLength ? "a word" : "a control character";
  }
  return '"' + std::string(at_, length) + '"';
}

void Parser::Fail(std::uint32_t offset, const std::string& message) const {
  throw SyntaxError{offset, message, at_ == end_};
}

void Parser::FailExpected(const std::string& what) const {
  Fail(Offset(), "expected " + what + ", found " + Found());
}

std::uint32_t Parser::AddConstant(kel::Value value) {
  program_.constants.push_back(std::move(value));
  return static_cast<std::uint32_t>(program_.constants.size() - 1);
}

std::uint32_t Parser::AddTextConstant(std::string_view text) {
  return AddConstant(kel::Value(base::StringOf(text)));
}

std::uint32_t Parser::Slot(std::string_view name) { return function_->layout.Add(name); }

}  // namespace script
