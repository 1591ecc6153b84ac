#include "tavhost/ide/script_tokens.h"

#include <algorithm>

#include "tavhost/base/ascii.h"
#include "tavhost/base/keywords.h"

namespace ide {

namespace {

// What kind of statement the text is in.
enum class Mode : int { kStart = 0, kCommand = 1, kExpression = 2, kSend = 3 };

struct State {
  bool inString = false;
  Mode mode = Mode::kStart;
  int depth = 0;  // open ( and [
};

constexpr int kMostDepth = 0xFFFF;

State Unpack(LineState packed) {
  return {(packed & 1) != 0, static_cast<Mode>((packed >> 1) & 3), packed >> 3};
}

LineState Pack(const State& state) {
  return (state.inString ? 1 : 0) | static_cast<int>(state.mode) << 1 |
         std::min(state.depth, kMostDepth) << 3;
}

bool IsStatementKeyword(std::u16string_view word) {
  const keywords::Keyword* const keyword = keywords::Find(word);
  return keyword && keywords::StandsFirst(keyword->role);
}

// An `if` stands behind `else`.
bool IsExpressionKeyword(std::u16string_view word) {
  const keywords::Keyword* const keyword = keywords::Find(word);
  return keyword && (!keywords::StandsFirst(keyword->role) || word == u"if");
}

using ascii::IsDigit;
bool IsNameStart(char16_t c) { return ascii::IsLetter(c) || c == u'_'; }
bool IsNamePart(char16_t c) { return ascii::IsLetterOrDigit(c) || c == u'_'; }

class Tokenizer {
 public:
  Tokenizer(std::u16string_view line, LineState before, std::vector<Token>& tokens)
      : line_(line), state_(Unpack(before)), tokens_(tokens) {}

  LineState Run() {
    if (state_.inString) ReadString(0);
    while (at_ < line_.size()) Step();
    if (!state_.inString && !continued_ && state_.depth == 0) state_.mode = Mode::kStart;
    return Pack(state_);
  }

 private:
  char16_t Peek(std::size_t ahead) const {
    return at_ + ahead < line_.size() ? line_[at_ + ahead] : u'\0';
  }
  void Add(TokenKind kind, std::size_t begin) { tokens_.push_back({kind, begin, at_ - begin}); }

  void Step() {
    const char16_t c = line_[at_];
    if (c == u'"') return ReadString(at_);
    if (c == u'#') {
      const std::size_t begin = at_;
      at_ = line_.size();
      return Add(TokenKind::kComment, begin);
    }
    if (IsDigit(c)) return ReadNumber();
    if (IsNameStart(c)) return ReadName();
    ReadSign(c);
  }

  // From the quote at `begin`, or from the line's start inside one.
  void ReadString(std::size_t begin) {
    if (!state_.inString) ++at_;
    state_.inString = true;
    if (state_.mode == Mode::kStart) state_.mode = Mode::kCommand;
    while (at_ < line_.size()) {
      const char16_t c = line_[at_++];
      if (c == u'\\' && at_ < line_.size()) {
        ++at_;
      } else if (c == u'"') {
        state_.inString = false;
        break;
      }
    }
    Add(TokenKind::kString, begin);
  }

  void ReadNumber() {
    const std::size_t begin = at_;
    while (IsDigit(Peek(0)) || (Peek(0) == u'.' && IsDigit(Peek(1)))) ++at_;
    const std::size_t sign = Peek(1) == u'+' || Peek(1) == u'-' ? 1 : 0;
    if ((Peek(0) == u'e' || Peek(0) == u'E') && IsDigit(Peek(1 + sign))) {
      at_ += 1 + sign;
      while (IsDigit(Peek(0))) ++at_;
    }
    Add(TokenKind::kNumber, begin);
  }

  bool InExpression() const { return state_.depth > 0 || state_.mode == Mode::kExpression; }

  void ReadName() {
    const std::size_t begin = at_;
    while (at_ < line_.size() && IsNamePart(line_[at_])) ++at_;
    const bool statement = state_.depth == 0 && state_.mode == Mode::kStart;
    if (!InExpression() && !(statement && IsStatementKeyword(line_.substr(begin, at_ - begin)))) {
      // Here names hold `-` where more of them follows.
      while (Peek(0) == u'-' && (IsNamePart(Peek(1)) || Peek(1) == u'-')) {
        ++at_;
        while (at_ < line_.size() && IsNamePart(line_[at_])) ++at_;
      }
    }
    const std::u16string_view name = line_.substr(begin, at_ - begin);
    if (statement) return BeginStatement(name, begin);
    if (InExpression()) return Classify(name, begin);
    if (state_.mode == Mode::kSend) {
      state_.mode = Mode::kCommand;
      return Add(TokenKind::kCommand, begin);
    }
    if (Peek(0) == u':') {
      ++at_;
      return Add(TokenKind::kParameter, begin);
    }
    Add(afterArrow_ ? TokenKind::kVariable : TokenKind::kModifier, begin);
    afterArrow_ = false;
  }

  // Whether `=`, `+=` or its kin stands there.
  bool IsAssignment(std::size_t ahead) const {
    if (Peek(ahead) == u'/' && Peek(ahead + 1) == u'/') ++ahead;
    if (std::u16string_view(u"+-*/%").find(Peek(ahead)) != std::u16string_view::npos) {
      return Peek(ahead + 1) == u'=';
    }
    return Peek(ahead) == u'=' && Peek(ahead + 1) != u'=';
  }

  void BeginStatement(std::u16string_view name, std::size_t begin) {
    if (Peek(0) == u':') {  // a command goes on behind its body
      state_.mode = Mode::kCommand;
      ++at_;
      return Add(TokenKind::kParameter, begin);
    }
    if (IsStatementKeyword(name)) {
      state_.mode = name == u"send" ? Mode::kSend : Mode::kExpression;
      if (name == u"else" || name == u"try") state_.mode = Mode::kStart;
      return Add(TokenKind::kKeyword, begin);
    }
    if (afterArrow_) {
      afterArrow_ = false;
      return Add(TokenKind::kVariable, begin);
    }
    if (Peek(0) == u'(') {
      state_.mode = Mode::kExpression;
      return Add(TokenKind::kFunction, begin);
    }
    std::size_t next = 0;
    while (Peek(next) == u' ' || Peek(next) == u'\t') ++next;
    const char16_t sign = Peek(next);
    if (IsAssignment(next) || sign == u'[' || sign == u'.') {
      state_.mode = Mode::kExpression;
      return Add(TokenKind::kVariable, begin);
    }
    state_.mode = Mode::kCommand;
    Add(TokenKind::kCommand, begin);
  }

  void Classify(std::u16string_view name, std::size_t begin) {
    if (afterDot_) {
      afterDot_ = false;
      return Add(TokenKind::kVariable, begin);
    }
    if (IsExpressionKeyword(name)) return Add(TokenKind::kKeyword, begin);
    if (Peek(0) == u':') {
      ++at_;
      return Add(TokenKind::kParameter, begin);
    }
    std::size_t next = 0;
    while (Peek(next) == u' ') ++next;
    Add(Peek(next) == u'(' ? TokenKind::kFunction : TokenKind::kVariable, begin);
  }

  void ReadSign(char16_t c) {
    const std::size_t begin = at_++;
    afterDot_ = c == u'.';
    switch (c) {
      case u'(':
      case u'[':
        ++state_.depth;
        return Add(TokenKind::kBracket, begin);
      case u')':
      case u']':
        state_.depth = std::max(0, state_.depth - 1);
        return Add(TokenKind::kBracket, begin);
      case u'{':
      case u'}':
        if (state_.depth == 0) state_.mode = Mode::kStart;
        return Add(TokenKind::kBracket, begin);
      case u';':
        if (state_.depth == 0) state_.mode = Mode::kStart;
        return;
      case u'>':
        afterArrow_ = state_.depth == 0 && begin > 0 && line_[begin - 1] == u'-';
        return;
      case u'\\':
        continued_ = line_.find_first_not_of(u" \t\r", at_) == std::u16string_view::npos;
        return;
      default:
        return;
    }
  }

  std::u16string_view line_;
  State state_;
  std::vector<Token>& tokens_;
  std::size_t at_ = 0;
  bool continued_ = false;
  bool afterArrow_ = false;
  bool afterDot_ = false;
};

// Calls `use` for each line with its offset and tokens; stops when it returns false.
template <typename Use>
void ForEachLine(std::u16string_view text, Use use) {
  std::vector<Token> tokens;
  LineState state = 0;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(u'\n', begin), text.size());
    tokens.clear();
    state = TokenizeLine(text.substr(begin, end - begin), state, tokens);
    if (!use(begin, tokens)) return;
    begin = end + 1;
  }
}

char16_t Partner(char16_t bracket) {
  constexpr std::u16string_view kBrackets = u"()[]{}";
  const std::size_t index = kBrackets.find(bracket);
  return index == std::u16string_view::npos ? u'\0' : kBrackets[index ^ 1];
}

bool IsOpening(char16_t bracket) { return bracket == u'(' || bracket == u'[' || bracket == u'{'; }

}  // namespace

LineState TokenizeLine(std::u16string_view line, LineState before, std::vector<Token>& tokens) {
  return Tokenizer(line, before, tokens).Run();
}

std::optional<std::size_t> MatchingBracket(std::u16string_view text, std::size_t offset) {
  if (offset >= text.size() || Partner(text[offset]) == u'\0') return std::nullopt;
  std::vector<std::size_t> open;
  std::optional<std::size_t> partner;
  ForEachLine(text, [&](std::size_t begin, const std::vector<Token>& tokens) {
    for (const Token& token : tokens) {
      if (token.kind != TokenKind::kBracket) continue;
      const std::size_t at = begin + token.begin;
      if (IsOpening(text[at])) {
        open.push_back(at);
        continue;
      }
      if (open.empty() || text[open.back()] != Partner(text[at])) {
        if (at == offset) return false;
        continue;
      }
      const std::size_t start = open.back();
      open.pop_back();
      if (at != offset && start != offset) continue;
      partner = at == offset ? start : at;
      return false;
    }
    return true;
  });
  return partner;
}

std::vector<std::u16string_view> NamesIn(std::u16string_view text) {
  std::vector<std::u16string_view> names;
  ForEachLine(text, [&](std::size_t begin, const std::vector<Token>& tokens) {
    bool ofFunction = false;
    for (const Token& token : tokens) {
      const std::u16string_view word = text.substr(begin + token.begin, token.length);
      const bool named =
          token.kind == TokenKind::kVariable || (ofFunction && token.kind == TokenKind::kFunction);
      if (named) names.push_back(word);
      ofFunction = token.kind == TokenKind::kKeyword && word == u"func";
    }
    return true;
  });
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

}  // namespace ide
