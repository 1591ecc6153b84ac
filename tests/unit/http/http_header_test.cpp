#include "tavhost/http/http_header.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using http::BodyEnd;
using http::FirstField;
using http::FramingOf;
using http::HeaderLines;
using http::JoinedFields;

std::string Header(const std::string& fields) { return "HTTP/1.1 200 OK\r\n" + fields + "\r\n"; }

// How a body ends behind these fields; "unclear" where nobody can know.
std::string EndOf(const std::string& fields, const char* verb = "GET", int status = 200) {
  const auto framing = FramingOf(Header(fields), verb, status);
  if (!framing) return "unclear";
  const std::string length = std::to_string(framing->length);
  switch (framing->end) {
    case BodyEnd::kNone:
      return "none " + length;
    case BodyEnd::kLength:
      return length;
    case BodyEnd::kChunks:
      return "chunks";
    case BodyEnd::kClose:
      return "close";
  }
  return "?";
}

TEST(HttpHeader, FieldsByTheirNames) {
  const std::string header =
      Header("A: 1\r\nb:2 \r\na:\t3\r\nno field\r\nLong: x\r\n  y\r\n\tz\r\n");
  EXPECT_EQ(FirstField(header, "a"), "1");
  EXPECT_EQ(FirstField(header, "B"), "2");
  EXPECT_EQ(FirstField(header, "c"), "");
  EXPECT_EQ(FirstField(header, "long"), "x y z");
  EXPECT_EQ(JoinedFields(header, "A"), "1, 3");
  EXPECT_EQ(JoinedFields(header, "c"), "");
  EXPECT_EQ(FirstField("", "a"), "");
}

TEST(HttpHeader, WhereTheBodyEnds) {
  EXPECT_EQ(EndOf(""), "close");
  EXPECT_EQ(EndOf("Content-Length: 5\r\n"), "5");
  EXPECT_EQ(EndOf("content-length:0005 \r\n"), "5");
  EXPECT_EQ(EndOf("Content-Length: 5\r\nContent-Length: 5\r\n"), "5");
  EXPECT_EQ(EndOf("Transfer-Encoding: Chunked\r\n"), "chunks");
  EXPECT_EQ(EndOf("Content-Length: 5\r\n", "HEAD"), "none 5");
  EXPECT_EQ(EndOf("Content-Length: 5\r\n", "GET", 304), "none 5");
  EXPECT_EQ(EndOf("Transfer-Encoding: chunked\r\n", "GET", 204), "none 0");
  EXPECT_EQ(EndOf("Content-Length: 9223372036854775807\r\n"), "9223372036854775807");
}

TEST(HttpHeader, WhereNobodyCanKnow) {
  for (const char* fields : {"Content-Length: 9223372036854775808\r\n",
                             "Content-Length: 18446744073709551617\r\n",
                             "Content-Length: -5\r\n",
                             "Content-Length: +5\r\n",
                             "Content-Length: 5x\r\n",
                             "Content-Length: 0x5\r\n",
                             "Content-Length:\r\n",
                             "Content-Length: 5, 5\r\n",
                             "Content-Length: 5\r\nContent-Length: 6\r\n",
                             "Content-Length: 5\r\nContent-Length:\r\n",
                             "Content-Length : 5\r\n",
                             "Content-Length:\r\n 5\r\n",
                             "Content-Length: 5\r\n 0\r\n",
                             "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n",
                             "Transfer-Encoding:\r\n",
                             "Transfer-Encoding: gzip\r\n",
                             "Transfer-Encoding: gzip, chunked\r\n",
                             "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n",
                             "Transfer-Encoding:\r\n chunked\r\n",
                             "Transfer-Encoding : chunked\r\n"}) {
    EXPECT_EQ(EndOf(fields), "unclear") << fields;
    EXPECT_EQ(EndOf(fields, "HEAD"), "unclear") << fields;
  }
}

struct Lines {
  std::string header;
  HeaderLines lines{header};
  bool taken = true;

  explicit Lines(const std::vector<std::string>& each) {
    for (const std::string& line : each) taken = taken && lines.Append(line);
  }
};

TEST(HttpHeader, LinesMakeAHeader) {
  const Lines whole({"HTTP/1.1 404 Not Found\r\n", "A: 1\r\n", "\r\n"});
  EXPECT_TRUE(whole.taken && whole.lines.IsComplete());
  EXPECT_EQ(whole.lines.Status(), 404);
  EXPECT_EQ(whole.header, "HTTP/1.1 404 Not Found\r\nA: 1\r\n\r\n");
  EXPECT_TRUE(Lines({"HTTP/2 200 \n", "\n"}).lines.IsComplete());
  EXPECT_FALSE(Lines({"HTTP/1.1 200 OK\r\n", "A: 1\r\n"}).lines.IsComplete());
  EXPECT_FALSE(Lines({"HTTP/1.1 200 OK\r\n", "A: 1\r\n", " \r\n"}).lines.IsComplete());
}

TEST(HttpHeader, InterimAnswersAndTrailersAreLeftOut) {
  const Lines all({"HTTP/1.1 100 Continue\r\n", "\r\n", "HTTP/1.1 103 Early Hints\r\n",
                   "Link: x\r\n", "\r\n", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 : 500\r\n", "\r\n",
                   "Location: /trailer\r\n", "\r\n"});
  EXPECT_TRUE(all.taken && all.lines.IsComplete());
  EXPECT_EQ(all.lines.Status(), 200);
  EXPECT_EQ(all.header, "HTTP/1.1 200 OK\r\nHTTP/1.1 : 500\r\n\r\n");
  EXPECT_FALSE(Lines({"HTTP/1.1 100 Continue\r\n", "\r\n"}).lines.IsComplete());
  EXPECT_FALSE(Lines({"HTTP/1.1 101 Switching Protocols\r\n", "\r\n"}).taken);
  EXPECT_FALSE(Lines({"HTTP/1.1\r\n", "\r\n"}).lines.IsComplete());
}

TEST(HttpHeader, TheLimitHoldsForAllLines) {
  const std::string status = "HTTP/1.1 200 OK\r\n";
  const auto fits = [&](std::size_t length) {
    return Lines({status, std::string(length - status.size() - 2, 'x'), "\r\n"}).taken;
  };
  EXPECT_TRUE(fits(http::kHeaderLimit));
  EXPECT_FALSE(fits(http::kHeaderLimit + 1));
  // Interim answers and trailers count.
  EXPECT_FALSE(Lines({"HTTP/1.1 103 x\r\n", std::string(http::kHeaderLimit, 'x'), "\r\n"}).taken);
  EXPECT_FALSE(Lines({status, "\r\n", std::string(http::kHeaderLimit, 'x')}).taken);
}

}  // namespace
