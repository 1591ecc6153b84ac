// GET_PROXY_SETTINGS on settings that the test makes, in place of the system's.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "commands/handlers.h"
#include "host/notation/kel_parser.h"
#include "host/script/script_result.h"
#include "host/windows/winhttp.h"

namespace {

struct {
  bool fails = false;
  const char16_t* autoConfig = nullptr;
  const char16_t* proxy = nullptr;
  const char16_t* bypass = nullptr;
  std::multiset<const void*> owned;
  std::string log;
} settings;

LPWSTR Copy(const char16_t* text) {
  if (!text) return nullptr;
  const auto units = std::char_traits<char16_t>::length(text) + 1;
  auto* copy = new char16_t[units];
  std::memcpy(copy, text, units * sizeof(char16_t));
  settings.owned.insert(copy);
  return copy;
}

std::string Reply() {
  TavKelParser parser("GET_PROXY_SETTINGS");
  EXPECT_EQ(parser.Parse(), 0);
  TavScriptResult result;
  commands::Command_GET_PROXY_SETTINGS("GET_PROXY_SETTINGS", parser, result);
  return std::string(result.GetText().View());
}

}  // namespace

BOOL WinHttpGetIEProxyConfigForCurrentUser(WINHTTP_CURRENT_USER_IE_PROXY_CONFIG* config) {
  *config = {};
  if (settings.fails) return FALSE;
  config->fAutoDetect = TRUE;
  config->lpszAutoConfigUrl = Copy(settings.autoConfig);
  config->lpszProxy = Copy(settings.proxy);
  config->lpszProxyBypass = Copy(settings.bypass);
  return TRUE;
}

HGLOBAL GlobalFree(HGLOBAL memory) {
  settings.log += "free ";
  const auto found = settings.owned.find(memory);
  if (found == settings.owned.end()) {
    ADD_FAILURE() << "what was not handed out, or twice";
    return nullptr;
  }
  settings.owned.erase(found);
  delete[] static_cast<char16_t*>(memory);
  return nullptr;
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int count, LPSTR bytes,
                        int capacity, LPCSTR, BOOL*) {
  EXPECT_EQ(codePage, 0u);
  EXPECT_EQ(flags, 0u);
  EXPECT_EQ(count, -1);
  EXPECT_EQ(capacity, 2048);
  settings.log += "convert ";
  int i = 0;
  for (; wide[i] && i < capacity; ++i) bytes[i] = static_cast<char>(wide[i]);
  if (i == capacity) return 0;  // as it is where a text does not fit: full, and without a NUL
  bytes[i] = '\0';
  return i + 1;
}

namespace {

class ProxySettings : public testing::Test {
 protected:
  void SetUp() override { settings = {}; }
  void TearDown() override { EXPECT_TRUE(settings.owned.empty()); }
};

TEST_F(ProxySettings, FreesEachStringThatIsThereOnce) {
  settings.autoConfig = u"http://elsewhere/proxy.pac";
  settings.proxy = u"A B";
  settings.bypass = u"local;*.example";
  EXPECT_EQ(Reply(), " ecode:0 proxy:\"A;B\"");
  EXPECT_EQ(settings.log, "convert free free free ");
}

TEST_F(ProxySettings, OtherStringsHaveNoInfluence) {
  settings.autoConfig = u"x;y z";
  settings.bypass = u"a;b c";
  EXPECT_EQ(Reply(), " ecode:0 proxy:\"\"");
  EXPECT_EQ(settings.log, "free free ");
}

TEST_F(ProxySettings, NothingIsFreedWhereNothingIs) {
  EXPECT_EQ(Reply(), " ecode:0 proxy:\"\"");
  EXPECT_EQ(settings.log, "");
}

TEST_F(ProxySettings, AFailureIsTold) {
  settings.fails = true;
  settings.proxy = u"A";
  EXPECT_EQ(Reply(), " ecode:1");
}

TEST_F(ProxySettings, ATextLongerThanTheBufferEndsWithIt) {
  const std::u16string longText(3000, u'p');
  settings.proxy = longText.c_str();
  EXPECT_EQ(Reply(), " ecode:0 proxy:\"" + std::string(2048, 'p') + "\"");
}

}  // namespace
