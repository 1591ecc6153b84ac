// HTTP_REQUEST on a client that does what the test wants, in place of the host's.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "commands/handlers.h"
#include "host/http/http_client.h"
#include "host/notation/kel_parser.h"
#include "host/script/script_result.h"
#include "host/script/type_check.h"

namespace {

using Lines = std::vector<std::string>;

struct {
  Lines calls;
  std::map<std::string, std::function<void()>> throws;  // by the call that throws
  bool accepts = true;                                  // what the setters return
  bool answers = true;
  TavScriptResult* result = nullptr;
} fake;

void Call(const std::string& name, const std::string& arguments = "") {
  fake.calls.push_back(name + arguments);
  if (const auto thrower = fake.throws.find(name); thrower != fake.throws.end()) thrower->second();
}

std::string Text(const SV::WString& wide) {
  return "(" + std::string(SV::ConvertWStringToUTF8String(wide).View()) + ")";
}

}  // namespace

struct TavHTTPClient::State {
  SV::WString content{u"content"};
  SV::WString header{u"header"};
  SV::WString charset{u"charset"};
  SV::WString host{u"host"};
};

TavHTTPClient::TavHTTPClient(const SV::WString& url, bool (*progress)(double))
    : state_(std::make_unique<State>()) {
  Call("construct", Text(url) + (progress ? " progress" : " null"));
}
TavHTTPClient::~TavHTTPClient() {
  fake.calls.push_back("destroy:" + std::string(fake.result->GetText().View()));
}
bool TavHTTPClient::SetTimeouts(std::uint32_t resolve, std::uint32_t connect, std::uint32_t send,
                                std::uint32_t receive) {
  Call("SetTimeouts", "(" + std::to_string(resolve) + " " + std::to_string(connect) + " " +
                          std::to_string(send) + " " + std::to_string(receive) + ")");
  return fake.accepts;
}
void TavHTTPClient::SetRetryTimes(std::uint32_t count) {
  Call("SetRetryTimes", "(" + std::to_string(count) + ")");
}
bool TavHTTPClient::SetProxy(const SV::WString& proxy) {
  Call("SetProxy", Text(proxy));
  return fake.accepts;
}
bool TavHTTPClient::SendHttpRequest(const SV::WString& verb, bool unused) {
  Call("SendHttpRequest", Text(verb) + (unused ? " true" : " false"));
  return fake.answers;
}
const SV::WString& TavHTTPClient::GetResponseContent() {
  Call("GetResponseContent");
  return state_->content;
}
const unsigned char* TavHTTPClient::GetRawResponseContent() {
  Call("GetRawResponseContent");
  return reinterpret_cast<const unsigned char*>("a\0b\xFFrest");
}
std::uint32_t TavHTTPClient::GetRawResponseReceivedContentLength() {
  Call("GetRawResponseReceivedContentLength");
  return 4;
}
const SV::WString& TavHTTPClient::GetResponseHeader() {
  Call("GetResponseHeader");
  return state_->header;
}
const SV::WString& TavHTTPClient::GetResponseCharset() {
  Call("GetResponseCharset");
  return state_->charset;
}
const SV::WString& TavHTTPClient::GetRequestHost() {
  Call("GetRequestHost");
  return state_->host;
}

namespace {

class HttpRequest : public testing::Test {
 protected:
  void SetUp() override {
    fake = {};
    Tav_EnableGlobalTypeChecking(true);
  }

  static std::string Reply(const SV::String& parameters) {
    SV::String command("HTTP_REQUEST \"url\" ");
    command += parameters;
    TavKelParser parser(command);
    EXPECT_EQ(parser.Parse(), 0) << parameters.View();
    TavScriptResult result;
    fake.result = &result;
    commands::Command_HTTP_REQUEST("HTTP_REQUEST", parser, result);
    return std::string(result.GetText().View());
  }

  static constexpr char kAll[] =
      " response:\"content\" header:\"header\" charset:\"charset\" host:\"host\"";
};

TEST_F(HttpRequest, AsksInOrderAndEndsTheClientBeforeTheOutcome) {
  EXPECT_EQ(
      Reply("timeouts:\"1;2;3;4\" retry:2 proxy:\"p\" proxyuser:\"u\" proxypw:\"w\" verb:\"\""),
      std::string(kAll) + " ecode:0");
  EXPECT_EQ(fake.calls,
            (Lines{"construct(url) null", "SetTimeouts(1 2 3 4)", "SetRetryTimes(2)", "SetProxy(p)",
                   "SetProxy(u)", "SetProxy(w)", "SendHttpRequest() false", "GetResponseContent",
                   "GetResponseHeader", "GetResponseCharset", "GetRequestHost",
                   "destroy:" + std::string(kAll)}));
}

TEST_F(HttpRequest, WhatIsAbsentIsNotSet) {
  EXPECT_EQ(Reply(""), std::string(kAll) + " ecode:0");
  EXPECT_EQ(fake.calls[1], "SendHttpRequest(GET) false");
}

TEST_F(HttpRequest, TimeoutsAreReadPieceByPiece) {
  for (const auto& [text, numbers] :
       std::map<std::string, std::string>{{"5000", "5000 60000 30000 30000"},
                                          {"", "0 60000 30000 30000"},
                                          {";;;", "0 0 0 0"},
                                          {"1;2;3;4;5", "1 2 3 4"},
                                          {"7;-1;x", "7 4294967295 0 30000"}}) {
    fake = {};
    Reply(SV::String(("timeouts:\"" + text + "\"").c_str()));
    EXPECT_EQ(fake.calls[1], "SetTimeouts(" + numbers + ")") << text;
  }
}

TEST_F(HttpRequest, WhatTheSettersReturnIsIgnored) {
  fake.accepts = false;
  EXPECT_EQ(Reply("timeouts:\"1\" proxy:\"p\""), std::string(kAll) + " ecode:0");
}

TEST_F(HttpRequest, OnlyTheMainValueIsChecked) {
  EXPECT_EQ(Reply("verb:5 timeouts:6 retry:\"x\" proxy:7"), std::string(kAll) + " ecode:0");
  EXPECT_EQ(fake.calls[1], "SetTimeouts(6 60000 30000 30000)");
  EXPECT_EQ(fake.calls[2], "SetRetryTimes(0)");
  EXPECT_EQ(fake.calls[3], "SetProxy(7)");
  EXPECT_EQ(fake.calls[4], "SendHttpRequest(5) false");
}

TEST_F(HttpRequest, BinaryTakesExactlyTheRawBytes) {
  EXPECT_TRUE(Reply("binary").starts_with(" response:\"a\\0b\xFF\" header:"));
  EXPECT_EQ(fake.calls[2], "GetRawResponseReceivedContentLength");
}

TEST_F(HttpRequest, AFailureSetsTheOutcomeAlone) {
  fake.answers = false;
  EXPECT_EQ(Reply(""), " ecode:1");
  EXPECT_EQ(fake.calls.back(), "destroy:");
}

TEST_F(HttpRequest, ExceptionsOfAnyTypeEndItAndKeepWhatWasSet) {
  const std::map<std::string, std::string> kept = {
      {"construct", ""},
      {"SetTimeouts", ""},
      {"SetRetryTimes", ""},
      {"SetProxy", ""},
      {"SendHttpRequest", ""},
      {"GetResponseContent", ""},
      {"GetResponseHeader", " response:\"content\""},
      {"GetResponseCharset", " response:\"content\" header:\"header\""},
      {"GetRequestHost", " response:\"content\" header:\"header\" charset:\"charset\""}};
  const std::vector<std::function<void()>> throwers = {[] { throw std::runtime_error("x"); },
                                                       [] { throw 5; }, [] { throw "text"; }};
  for (const auto& [call, variables] : kept) {
    for (const auto& thrower : throwers) {
      fake = {};
      fake.throws[call] = thrower;
      EXPECT_EQ(Reply("timeouts:\"1\" retry:1 proxy:\"p\""), variables + " ecode:-1") << call;
      if (call != "construct") {
        EXPECT_EQ(fake.calls.back(), "destroy:" + variables);
      }
    }
  }
}

}  // namespace
