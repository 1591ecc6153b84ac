#include "tavhost/ide/script_tokens.h"

#include <gtest/gtest.h>

#include <string>

namespace ide {
namespace {

// The tokens as text: a letter for the kind, the words behind it.
std::string Tokens(std::u16string_view text) {
  constexpr char kLetters[] = "csnkCfpmvb";
  std::string shown;
  LineState state = 0;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(u'\n', begin), text.size());
    const std::u16string_view line = text.substr(begin, end - begin);
    std::vector<Token> tokens;
    state = TokenizeLine(line, state, tokens);
    for (const Token& token : tokens) {
      if (token.kind == TokenKind::kBracket) continue;
      if (!shown.empty()) shown += ' ';
      shown += kLetters[static_cast<int>(token.kind)];
      shown += '=';
      for (const char16_t c : line.substr(token.begin, token.length)) shown += static_cast<char>(c);
    }
    begin = end + 1;
  }
  return shown;
}

TEST(ScriptTokensTest, ACommandWithItsParts) {
  EXPECT_EQ(Tokens(u"QUERYBOX \"Go?\" title:\"Demo\" yes-no id:-3 # ask"),
            "C=QUERYBOX s=\"Go?\" p=title: s=\"Demo\" m=yes-no p=id: n=3 c=# ask");
  EXPECT_EQ(Tokens(u"LISTBOX entries:(a + b) -> choice"), "C=LISTBOX p=entries: v=a v=b v=choice");
  EXPECT_EQ(Tokens(u"INFOBOX (\"x\" + len(who))"), "C=INFOBOX s=\"x\" f=len v=who");
}

TEST(ScriptTokensTest, StatementsAndExpressions) {
  EXPECT_EQ(Tokens(u"if endbutton == \"yes\" and not x { exit 1 } else { A }"),
            "k=if v=endbutton s=\"yes\" k=and k=not v=x k=exit n=1 k=else C=A");
  EXPECT_EQ(Tokens(u"for i from a to 3 { total = i-1; OUT text:(i + \"\\n\") }"),
            "k=for v=i k=from v=a k=to n=3 v=total v=i n=1 C=OUT p=text: v=i s=\"\\n\"");
  EXPECT_EQ(Tokens(u"func greet(who) { return who.to }"),
            "k=func f=greet v=who k=return v=who v=to");
  EXPECT_EQ(Tokens(u"send \"P\" ASK to:\"x\""), "k=send s=\"P\" C=ASK p=to: s=\"x\"");
  EXPECT_EQ(Tokens(u"r.name = 1.5e-3; greet(r)"), "v=r v=name n=1.5e-3 f=greet v=r");
  EXPECT_EQ(Tokens(u"n += m; n -= -1; n *=m; n/=m; n //= m; n %= m"),
            "v=n v=m v=n n=1 v=n v=m v=n v=m v=n v=m v=n v=m");
  EXPECT_EQ(Tokens(u"r = (:); r.a += b"), "v=r v=r v=a v=b");
  EXPECT_EQ(Tokens(u"GO -5; GO == x"), "C=GO n=5 C=GO m=x");
  EXPECT_EQ(Tokens(u"if:1"), "p=if: n=1");
}

TEST(ScriptTokensTest, ABodyHoldsElementsAndTheCommandGoesOnBehindIt) {
  EXPECT_EQ(Tokens(u"LISTBOX extra:{ CHECKBOX \"Sub\" checked:1 } title:\"T\" -> c"),
            "C=LISTBOX p=extra: C=CHECKBOX s=\"Sub\" p=checked: n=1 p=title: s=\"T\" v=c");
}

TEST(ScriptTokensTest, WhatIsOpenGoesOnInTheNextLine) {
  EXPECT_EQ(Tokens(u"print \"a\nb # c\" + d"), "k=print s=\"a s=b # c\" v=d");
  EXPECT_EQ(Tokens(u"x = (1,\n  y)\nGO"), "v=x n=1 v=y C=GO");
  EXPECT_EQ(Tokens(u"GO \\\n  title:\"t\"\nGO"), "C=GO p=title: s=\"t\" C=GO");
  EXPECT_EQ(Tokens(u"GO\n  yes"), "C=GO C=yes");
}

TEST(ScriptTokensTest, BracketsMatchOutsideOfStringsAndComments) {
  const std::u16string text = u"if (a[1] == \")\") { # }\n  b = \"}\"\n}";
  EXPECT_EQ(MatchingBracket(text, 3), text.find(u") {"));
  EXPECT_EQ(MatchingBracket(text, text.find(u") {")), 3u);
  EXPECT_EQ(MatchingBracket(text, text.find(u"[")), text.find(u"]"));
  EXPECT_EQ(MatchingBracket(text, text.find(u"{")), text.size() - 1);
  EXPECT_EQ(MatchingBracket(text, text.size() - 1), text.find(u"{"));
  EXPECT_EQ(MatchingBracket(text, text.find(u"}")), std::nullopt);  // in the comment
  EXPECT_EQ(MatchingBracket(text, 0), std::nullopt);
  EXPECT_EQ(MatchingBracket(text, text.size()), std::nullopt);
  EXPECT_EQ(MatchingBracket(u"(]", 0), std::nullopt);
  EXPECT_EQ(MatchingBracket(u"(]", 1), std::nullopt);
  EXPECT_EQ(MatchingBracket(u"(()", 0), std::nullopt);
  EXPECT_EQ(MatchingBracket(u"(()", 1), 2u);
}

TEST(ScriptTokensTest, NamesAreThoseOfVariablesAndFunctions) {
  const auto names = NamesIn(u"total = 1\nfunc greet(who) { }\nASK -> answer\nlen(total) # nobody");
  EXPECT_EQ(names, (std::vector<std::u16string_view>{u"answer", u"greet", u"total", u"who"}));
}

}  // namespace
}  // namespace ide
