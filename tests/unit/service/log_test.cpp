#include "tavhost/service/log.h"

#include <gtest/gtest.h>

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

TEST(ServiceLog, NothingDrivesATerminal) {
  EXPECT_EQ(Line(Entry("/\x1B[31m\n\x7F\xC3\xBC")),
            "POST /\\x1B[31m\\x0A\\x7F\\xC3\\xBC 200 1.5 ms");
  EXPECT_EQ(Line(Entry(std::string(300, 'x'))), "POST " + std::string(200, 'x') + "... 200 1.5 ms");
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
