#include "tavhost/service/log.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using script::service::LogEntry;
using script::service::LogLine;

const std::string kSecret = "0123456789abcdef0123456789abcdef";

// Behind the date.
std::string Line(const LogEntry& entry, TavWSLogFormat format = TavWSLogShort) {
  const std::string line = LogLine(entry, format, kSecret);
  return line.substr(line.find(' ') + 1);
}

LogEntry Entry(const std::string& target) {
  LogEntry entry;
  entry.client = "127.0.0.1:5";
  entry.method = "POST";
  entry.target = target;
  entry.agent = "curl \"7\"";
  entry.status = 200;
  entry.bytes = 12;
  entry.time = std::chrono::microseconds(1500);
  return entry;
}

TEST(ServiceLog, BothForms) {
  EXPECT_EQ(Line(Entry("/script")), "POST /script 200 1.5 ms");
  EXPECT_EQ(Line(Entry("/script"), TavWSLogLong),
            "127.0.0.1:5 POST /script 200 1.5 ms 12 bytes \"curl \\x227\\x22\"");
  EXPECT_EQ(script::service::DateText(std::chrono::system_clock::time_point()),
            "1970-01-01T00:00:00Z");
}

TEST(ServiceLog, WhatNeverCameIsADash) {
  LogEntry entry;
  entry.status = 400;
  EXPECT_EQ(Line(entry), "- - 400 0.0 ms");
}

TEST(ServiceLog, ARequestWhoseClientLeft) {
  LogEntry entry = Entry("/script");
  entry.status = 0;
  EXPECT_EQ(Line(entry), "POST /script - 1.5 ms the client left");
}

TEST(ServiceLog, AReplyThatWasCutOff) {
  LogEntry entry = Entry("/script");
  entry.cut = {4096, 30000};
  EXPECT_EQ(Line(entry), "POST /script 200 1.5 ms cut off at 4096 of 30000 bytes");
}

TEST(ServiceLog, NothingDrivesATerminal) {
  EXPECT_EQ(Line(Entry("/\x1B[31m\n\x7F\xC3\xBC")),
            "POST /\\x1B[31m\\x0A\\x7F\\xC3\\xBC 200 1.5 ms");
  EXPECT_EQ(Line(Entry(std::string(300, 'x'))), "POST " + std::string(200, 'x') + "... 200 1.5 ms");
}

TEST(ServiceLog, NoSecretsWithPercentSigns) {
  std::string once = "/";
  std::string twice = "/";
  for (const char c : kSecret) {
    char code[8];
    std::snprintf(code, sizeof code, "%02x", static_cast<unsigned>(c));
    (once += '%') += code;
    (twice += "%25") += code;
  }
  EXPECT_EQ(Line(Entry(once)), "POST /*** 200 1.5 ms");
  EXPECT_EQ(Line(Entry(twice)), "POST /*** 200 1.5 ms");
  EXPECT_EQ(Line(Entry("/a%20b%")), "POST /a%20b% 200 1.5 ms") << "else it stays as it came";
}

TEST(ServiceLog, NoSecrets) {
  EXPECT_EQ(Line(Entry("/script?token=" + kSecret)), "POST /script?*** 200 1.5 ms");
  EXPECT_EQ(Line(Entry("/" + kSecret + "/" + kSecret)), "POST /***/*** 200 1.5 ms");
  EXPECT_EQ(Line(Entry("/0123456789ABCDEF0123456789abcdef")), "POST /*** 200 1.5 ms");
  EXPECT_EQ(Line(Entry(std::string(190, 'x') + kSecret)),
            "POST " + std::string(190, 'x') + "*** 200 1.5 ms");
  LogEntry entry = Entry("/script");
  entry.agent = kSecret;
  EXPECT_TRUE(Line(entry, TavWSLogLong).ends_with("\"***\""));
}

}  // namespace
