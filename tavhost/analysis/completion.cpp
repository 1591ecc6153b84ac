#include "tavhost/analysis/completion.h"

#include <algorithm>
#include <utility>

#include "tavhost/base/ascii.h"
#include "tavhost/base/keywords.h"
#include "tavhost/reference/reference.h"
#include "tavhost/script/built_in/built_in.h"

namespace check {

namespace {

bool IsNameByte(char c) { return ascii::IsLetterOrDigit(c) || c == '_' || c == '-'; }

using reference::Command;
using reference::Parameter;
using reference::Type;

// One pair of open braces, the script itself foremost, and what its current statement begins with.
struct Level {
  // What describes the statement: a command, or an element of a command's body. Null for others.
  const Command* command = nullptr;
  // Null where statements of the language stand, else the body parameter that they stand in.
  const Parameter* body = nullptr;
  bool started = false;              // the statement has its first word
  std::string_view lastName;         // the name just read, while nothing follows it
  const Parameter* value = nullptr;  // the parameter whose value comes next
};

const Command* FindDescription(const Level& level, std::string_view name) {
  if (!level.body) return reference::Catalogue::Get().Find(name);
  for (const Command& element : level.body->elements) {
    if (element.name == name) return &element;
  }
  return nullptr;
}

// Where the text breaks off: in the innermost open braces, and perhaps in parentheses or a string.
struct Position {
  Level level;
  int parentheses = 0;
  bool inText = false;  // a string or a comment
};

// Reads a text that need not be a whole script, since somebody is still writing it; the parser
// would stop at the first thing that is missing.
class Walker {
 public:
  explicit Walker(std::string_view text) : text_(text) { levels_.emplace_back(); }

  Position Walk() {
    while (at_ < text_.size() && !inText_) Step();
    return {levels_.back(), parentheses_, inText_};
  }

 private:
  void Step() {
    const char c = text_[at_];
    if (c == '"') return SkipString();
    if (c == '#') return SkipComment();
    if (IsNameByte(c)) return ReadName();
    ++at_;
    Level& level = levels_.back();
    if (c == ' ' || c == '\t') return;
    const std::string_view name = std::exchange(level.lastName, {});
    const Parameter* const value = std::exchange(level.value, nullptr);
    switch (c) {
      case '\\':
        if (at_ < text_.size() && text_[at_] == '\n') ++at_;
        break;
      case ':':
        if (parentheses_ == 0 && level.command) level.value = level.command->FindParameter(name);
        break;
      case '(':
        ++parentheses_;
        break;
      case ')':
        parentheses_ = std::max(0, parentheses_ - 1);
        break;
      case '{':
        levels_.push_back({});
        levels_.back().body = value && value->type == Type::kBody ? value : nullptr;
        break;
      case '}':
        if (levels_.size() > 1) levels_.pop_back();
        if (!levels_.back().command) levels_.back().started = false;
        break;
      case '\n':
      case ';':
        if (parentheses_ == 0) StartStatement();
        break;
      default:
        break;
    }
  }

  void StartStatement() {
    Level& level = levels_.back();
    level.command = nullptr;
    level.started = false;
  }

  void SkipString() {
    levels_.back().started = true;
    levels_.back().value = nullptr;
    for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_) {
      if (text_[at_] == '\\') ++at_;
    }
    inText_ = at_ >= text_.size();
    ++at_;
  }

  void SkipComment() {
    at_ = std::min(text_.find('\n', at_), text_.size());
    inText_ = at_ >= text_.size();
  }

  void ReadName() {
    const std::size_t start = at_;
    while (at_ < text_.size() && IsNameByte(text_[at_])) ++at_;
    if (at_ == text_.size()) return;  // the word to complete
    Level& level = levels_.back();
    level.lastName = text_.substr(start, at_ - start);
    level.value = nullptr;
    if (std::exchange(level.started, true)) return;
    level.command = FindDescription(level, level.lastName);
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::vector<Level> levels_;
  int parentheses_ = 0;
  bool inText_ = false;
};

class Candidates {
 public:
  explicit Candidates(std::string_view word) : word_(word) {}

  void Offer(std::string_view name, const char* suffix = "") {
    if (name.starts_with(word_)) found_.push_back(std::string(name) + suffix);
  }
  void OfferParameters(const Command& command) {
    for (const Parameter& parameter : command.parameters) {
      if (parameter.numbered) continue;
      const bool bare = parameter.type == Type::kKeyword || parameter.type == Type::kSwitch;
      Offer(parameter.name, bare ? "" : ":");
    }
  }
  void OfferExpression(const std::vector<std::string>& variables) {
    for (std::uint32_t i = 0; i < script::kBuiltInCount; ++i) Offer(script::kBuiltIns[i].name);
    for (const std::string& name : variables) Offer(name);
  }

  std::vector<std::string> Take() {
    std::sort(found_.begin(), found_.end());
    found_.erase(std::unique(found_.begin(), found_.end()), found_.end());
    return std::move(found_);
  }

 private:
  std::string_view word_;
  std::vector<std::string> found_;
};

}  // namespace

std::string_view WordToComplete(std::string_view before) {
  std::size_t start = before.size();
  while (start > 0 && IsNameByte(before[start - 1])) --start;
  return before.substr(start);
}

std::vector<std::string> CompleteScript(std::string_view before,
                                        const std::vector<std::string>& variables) {
  const Position position = Walker(before).Walk();
  if (position.inText) return {};
  const Level& level = position.level;
  Candidates candidates(WordToComplete(before));
  if (position.parentheses > 0) {
    candidates.OfferExpression(variables);
  } else if (level.started && level.command) {
    if (!level.value) candidates.OfferParameters(*level.command);
  } else if (level.body) {
    for (const Command& element : level.body->elements) candidates.Offer(element.name);
  } else if (level.started) {
    candidates.OfferExpression(variables);
    for (const keywords::Keyword& keyword : keywords::kAll) candidates.Offer(keyword.word);
  } else {
    for (const auto& family : reference::Catalogue::Get().Families()) {
      for (const Command& command : family.commands) {
        if (!command.internal) candidates.Offer(command.name);
      }
    }
    for (const auto& [word, role] : keywords::kAll) {
      if (role == keywords::Role::kStatement || role == keywords::Role::kInclude) {
        candidates.Offer(word);
      }
    }
    candidates.Offer("help");
    candidates.OfferExpression(variables);
  }
  return candidates.Take();
}

}  // namespace check
