#include "tavhost/http/http_encoding.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>

namespace {

using http::Body;
using http::BodyEnd;
using http::Decoder;

constexpr int kGzip = MAX_WBITS + 16;
constexpr int kZlib = MAX_WBITS;
constexpr int kBare = -MAX_WBITS;
constexpr std::size_t kLimit = 1 << 20;

std::string Packed(const std::string& text, int bits) {
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, bits, 8, Z_DEFAULT_STRATEGY), Z_OK);
  std::string out(deflateBound(&stream, static_cast<uLong>(text.size())) + 64, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

// What comes out of data that arrives in pieces of that size; "failed" or "cut" when it does not.
std::string Decoded(const std::string& encoding, const std::string& data, std::size_t piece,
                    std::size_t limit = kLimit) {
  SV::String bytes;
  Body body(bytes, limit);
  const auto decoder = Decoder::For(encoding, body);
  if (!decoder) return "unknown";
  for (std::size_t at = 0; at < data.size(); at += piece) {
    if (!decoder->Append(data.data() + at, std::min(piece, data.size() - at))) return "failed";
  }
  body.Finish();
  return decoder->IsComplete(BodyEnd::kLength) ? std::string(bytes.View()) : "cut";
}

TEST(HttpEncoding, UndoesWhatWasAllowed) {
  std::string text;
  for (int i = 0; i < 8000; ++i) text += std::to_string(i * 7919);
  for (const std::size_t piece : {std::size_t{1}, std::size_t{1000}, text.size()}) {
    EXPECT_EQ(Decoded("gzip", Packed(text, kGzip), piece), text);
    EXPECT_EQ(Decoded("X-GZip", Packed(text, kGzip), piece), text);
    EXPECT_EQ(Decoded("deflate", Packed(text, kZlib), piece), text);
    EXPECT_EQ(Decoded("deflate", Packed(text, kBare), piece), text);
    EXPECT_EQ(Decoded("gzip", Packed("a", kGzip) + Packed(text, kGzip), piece), "a" + text);
    EXPECT_EQ(Decoded("", text, piece), text);
    EXPECT_EQ(Decoded("identity", text, piece), text);
  }
}

TEST(HttpEncoding, EmptyBodiesNeedNoFrame) {
  EXPECT_EQ(Decoded("gzip", "", 1), "");
  EXPECT_EQ(Decoded("gzip", Packed("", kGzip), 1), "");
  SV::String bytes;
  Body body(bytes, kLimit);
  EXPECT_TRUE(Decoder::For("gzip", body)->IsComplete(BodyEnd::kChunks));
  EXPECT_FALSE(Decoder::For("gzip", body)->IsComplete(BodyEnd::kClose));
  EXPECT_TRUE(Decoder::For("", body)->IsComplete(BodyEnd::kClose));
}

TEST(HttpEncoding, OneAtATime) {
  const std::string packed = Packed("text", kGzip);
  EXPECT_EQ(Decoded("identity, gzip ,", packed, 100), "text");
  EXPECT_EQ(Decoded(" , identity", "text", 100), "text");
  EXPECT_EQ(Decoded("deflate, gzip", packed, 100), "unknown");
}

TEST(HttpEncoding, RefusesWhatIsBroken) {
  const std::string packed = Packed(std::string(5000, 'x') + "end", kGzip);
  EXPECT_EQ(Decoded("gzip", packed.substr(0, packed.size() - 1), 7), "cut");
  EXPECT_EQ(Decoded("gzip", packed + "more", 7), "failed");
  EXPECT_EQ(Decoded("deflate", Packed("x", kZlib) + "more", 100), "failed");
  std::string wrongSum = packed;
  wrongSum[packed.size() - 6] ^= 1;
  EXPECT_EQ(Decoded("gzip", wrongSum, 100), "failed");
  EXPECT_EQ(Decoded("gzip", "no gzip at all", 100), "failed");
  EXPECT_EQ(Decoded("br", "x", 1), "unknown");
  EXPECT_EQ(Decoded("gzip, gzip", packed, 100), "unknown");
}

TEST(HttpEncoding, TheLimitIsOfWhatComesOut) {
  const std::string packed = Packed(std::string(1000, 'x'), kGzip);
  EXPECT_EQ(Decoded("gzip", packed, 100, 1000), std::string(1000, 'x'));
  EXPECT_EQ(Decoded("gzip", packed, 100, 999), "failed");
  EXPECT_EQ(Decoded("", std::string(1000, 'x'), 100, 999), "failed");
}

TEST(HttpBody, GrowsWithAndWithoutAnAnnouncement) {
  for (const std::uint64_t announced : {0u, 10u, 100'000u, 4'000'000'000u}) {
    SV::String bytes;
    Body body(bytes, kLimit);
    body.Announce(announced);
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
      const std::string piece = std::to_string(i) + '\0';
      ASSERT_TRUE(body.Append(piece.data(), piece.size()));
      expected += piece;
    }
    body.Finish();
    EXPECT_EQ(bytes.View(), expected);
  }
}

}  // namespace
