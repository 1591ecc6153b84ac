#include "tavhost/reference/reference_text.h"

#include <gtest/gtest.h>

namespace reference {
namespace {

TEST(ReferenceText, DescribesACommandForPeople) {
  const std::string text = CommandText(*Catalogue::Get().Find("FWRITE"));
  EXPECT_TRUE(
      text.starts_with("FWRITE\n  Writes a text to a file, at once or over several commands.\n\n"
                       "    FWRITE [open | close] [text:\"...\"] [file:\"...\"] [base64] "
                       "[binary] [append]\n"))
      << text;
  EXPECT_NE(text.find("Required with open. Not looked at with close."), std::string::npos);
  EXPECT_NE(text.find("\nSee also FREAD and DECODE.\n"), std::string::npos);
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\n', at);
    EXPECT_LE(end - at, 80u) << text.substr(at, end - at);
    at = end + 1;
  }
}

TEST(ReferenceText, ListsEveryCommandOnce) {
  const std::string text = ListText(Catalogue::Get());
  for (const reference::Family& family : Catalogue::Get().Families()) {
    for (const reference::Command& command : family.commands) {
      const std::size_t first = text.find("\n  " + command.name + " ");
      EXPECT_NE(first, std::string::npos) << command.name;
      EXPECT_EQ(text.find("\n  " + command.name + " ", first + 1), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace reference
