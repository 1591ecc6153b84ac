#include "tavhost/service/request_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using script::service::kBodyLimit;
using script::service::kHeaderLimit;
using script::service::RequestReader;
using Progress = RequestReader::Progress;

// How far a text gets that comes in pieces of this size; the body is kept in `body`.
Progress Read(RequestReader& reader, const std::string& text, std::size_t piece) {
  Progress progress = Progress::kNeedsMore;
  for (std::size_t at = 0; at < text.size(); at += piece) {
    reader.Add(std::string_view(text).substr(at, piece));
    do {
      progress = reader.Read();
    } while (progress == Progress::kHasHeader);
    if (progress != Progress::kNeedsMore) break;
  }
  return progress;
}

Progress Read(const std::string& text) {
  RequestReader reader;
  return Read(reader, text, text.size());
}

const std::string kBegin = "POST /script HTTP/1.1\r\nHost: localhost\r\n";

TEST(ServiceRequestReader, PiecesOfAnySizeMakeTheSameRequest) {
  for (const std::string& request :
       {kBegin + "Content-Length: 5\r\n\r\nx = 1",
        "\r\n\r\n" + kBegin +
            "Transfer-Encoding: chunked\r\n\r\n2;a=b\r\nx \r\n3\r\n= 1\r\n0\r\nA: b\r\n\r\n"}) {
    for (std::size_t piece = 1; piece <= request.size(); ++piece) {
      RequestReader reader;
      ASSERT_EQ(Read(reader, request, piece), Progress::kIsComplete) << piece;
      EXPECT_EQ(reader.Get().body(), "x = 1");
      EXPECT_EQ(reader.Get()["Host"], "localhost");
    }
  }
}

TEST(ServiceRequestReader, OneBehindTheOther) {
  RequestReader reader;
  std::string text;
  for (int i = 0; i < 3; ++i) text += kBegin + "Content-Length: 1\r\n\r\n" + std::to_string(i);
  reader.Add(text + "\r\nGET");
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(reader.Read(), Progress::kHasHeader);
    ASSERT_EQ(reader.Read(), Progress::kIsComplete);
    EXPECT_EQ(reader.Get().body(), std::to_string(i));
    reader.Begin();
  }
  EXPECT_EQ(reader.Read(), Progress::kNeedsMore);
  EXPECT_EQ(reader.PendingBytes(), 3u);
}

TEST(ServiceRequestReader, NothingHasBegunBeforeItsFirstLetter) {
  RequestReader reader;
  EXPECT_FALSE(reader.HasBegun());
  reader.Add("\r\n\r\n");
  EXPECT_EQ(reader.Read(), Progress::kNeedsMore);
  EXPECT_FALSE(reader.HasBegun());
}

TEST(ServiceRequestReader, Limits) {
  const std::string end = "\r\n\r\n";
  const std::string begin = kBegin + "X: ";
  const std::size_t room = kHeaderLimit - begin.size() - end.size();
  for (const std::size_t piece : {std::size_t{1}, std::size_t{1000}, 3 * kHeaderLimit}) {
    RequestReader fits;
    EXPECT_EQ(Read(fits, begin + std::string(room, 'x') + end, piece), Progress::kIsComplete);
    RequestReader exceeds;
    EXPECT_EQ(Read(exceeds, begin + std::string(room + 1, 'x') + end, piece),
              Progress::kHeaderTooLong);
  }
  EXPECT_EQ(Read(std::string(kHeaderLimit, 'x')), Progress::kHeaderTooLong);
  const auto length = [](std::size_t bytes) {
    return kBegin + "Content-Length: " + std::to_string(bytes) + "\r\n\r\n";
  };
  EXPECT_EQ(Read(length(kBodyLimit)), Progress::kNeedsMore);
  EXPECT_EQ(Read(length(kBodyLimit + 1)), Progress::kBodyTooLong);
  const std::string endless = kBegin + "Transfer-Encoding: chunked\r\n\r\n";
  EXPECT_EQ(Read(endless + std::string(2 * kHeaderLimit, '0')), Progress::kMalformed);
}

TEST(ServiceRequestReader, Malformed) {
  for (const std::string& request : std::vector<std::string>{
           std::string(1, '\0'), "\x16\x03\x01", " GET", "GET\r\n\r\n", "GARBAGE\r\n\r\n",
           "POST / HTTP/9.9\r\n\r\n", kBegin + "A b: c\r\n\r\n", kBegin + "A : c\r\n\r\n",
           kBegin + "A: b\r\n c\r\n\r\n", kBegin + "A: b\r\n\tc\r\n\r\n", kBegin + " : b\r\n\r\n",
           kBegin + "Content-Length: x\r\n\r\n",
           kBegin + "Transfer-Encoding: chunked\r\n\r\nx\r\n"}) {
    EXPECT_EQ(Read(request), Progress::kMalformed) << request;
  }
}

}  // namespace
