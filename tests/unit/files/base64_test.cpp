#include "host/files/base64.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tavhost/files/base64_codec.h"

namespace {

struct Outcome {
  bool success;
  std::string bytes;
};

template <typename Function>
Outcome Run(Function function, const std::string& data) {
  char* buffer = nullptr;
  unsigned long length = 99;
  Outcome outcome;
  outcome.success = function(data.data(), static_cast<unsigned long>(data.size()), buffer, length);
  if (buffer) {
    EXPECT_EQ(buffer[length], '\0');
    outcome.bytes.assign(buffer, length);
  }
  ::operator delete(buffer);
  return outcome;
}

Outcome Encode(const std::string& data) { return Run(Tav_NewBase64Encode, data); }
Outcome Decode(const std::string& text) { return Run(Tav_NewBase64Decode, text); }

std::string RandomBytes(std::mt19937& random, std::size_t length) {
  std::string bytes(length, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

std::string EncodeWith(const base64::Codec& codec, const std::string& data) {
  std::string text(base64::EncodedLength(data.size()), '\0');
  base64::Encode(codec, data.data(), data.size(), text.data());
  return text;
}

Outcome DecodeWith(const base64::Codec& codec, const std::string& text) {
  std::string bytes(text.size() / 4 * 3 + 3 + base64::kDecodeSlack, '\0');
  const base64::Decoded decoded = base64::Decode(codec, text.data(), text.size(), bytes.data());
  bytes.resize(decoded.length);
  return {decoded.whole, bytes};
}

TEST(Base64, EncodesTheRemaindersWithPadding) {
  EXPECT_EQ(Encode("").bytes, "");
  EXPECT_TRUE(Encode("").success);
  EXPECT_EQ(Encode("f").bytes, "Zg==");
  EXPECT_EQ(Encode("fo").bytes, "Zm8=");
  EXPECT_EQ(Encode("foo").bytes, "Zm9v");
  EXPECT_EQ(Encode("foobar").bytes, "Zm9vYmFy");
  EXPECT_EQ(Encode(std::string("\0\xFF\xFE", 3)).bytes, "AP/+");
}

TEST(Base64, DecodesPassingOverLineBreaksAndBlanks) {
  EXPECT_EQ(Decode("").bytes, "");
  EXPECT_TRUE(Decode("").success);
  EXPECT_EQ(Decode("Z m\r\n9v\nYg = = \n").bytes, "foob");
  EXPECT_TRUE(Decode("Z m\r\n9v\nYg = = \n").success);
  EXPECT_EQ(Decode("AP/+").bytes, std::string("\0\xFF\xFE", 3));
}

TEST(Base64, FailsOnForeignBytesAndWrongPadding) {
  for (const char* text : {"Zg=", "Zg", "Z", "Zm9", "Zg===", "=", "====", "Z===", "Zg==Zg==",
                           "Zm9v=", "Zg=x", "Zm9v!", "Zm-v", "Zm_v", "Zm9v\tYg==", "Zm9v\x80"}) {
    EXPECT_FALSE(Decode(text).success) << text;
  }
  EXPECT_FALSE(Decode(std::string("Zm9v\0", 5)).success);
}

TEST(Base64, AFailureKeepsWhatStoodBeforeTheFault) {
  EXPECT_EQ(Decode("Zm9v!").bytes, "foo");
  EXPECT_EQ(Decode("Zm9vYmFy*Zm9v").bytes, "foobar");
}

TEST(Base64, RefusesWhatAStringCouldNotHold) {
  char byte = 0;
  char* buffer = &byte;
  unsigned long length = 1;
  EXPECT_FALSE(Tav_NewBase64Encode(&byte, 0x5FFFFFFEUL, buffer, length));
  EXPECT_EQ(buffer, nullptr);
  EXPECT_EQ(length, 0u);
}

TEST(Base64, VectorsAndPortableCodeAgreeOnEveryLength) {
  const base64::Codec* vectors = base64::Avx2();
  if (!vectors) GTEST_SKIP() << "this processor has no AVX2";
  std::mt19937 random(20240817);
  for (std::size_t length = 0; length < 400; ++length) {
    const std::string data = RandomBytes(random, length);
    const std::string text = EncodeWith(*vectors, data);
    ASSERT_EQ(text, EncodeWith(base64::Portable(), data)) << length;
    for (const auto* codec : {vectors, &base64::Portable()}) {
      const Outcome decoded = DecodeWith(*codec, text);
      ASSERT_TRUE(decoded.success) << length;
      ASSERT_EQ(decoded.bytes, data) << length;
    }
  }
}

TEST(Base64, VectorsAndPortableCodeAgreeOnEveryByteAtEveryPlace) {
  const base64::Codec* vectors = base64::Avx2();
  if (!vectors) GTEST_SKIP() << "this processor has no AVX2";
  const std::string clean = EncodeWith(base64::Portable(), std::string(96, '\x5A'));
  for (std::size_t place = 0; place < clean.size(); ++place) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string text = clean;
      text[place] = static_cast<char>(byte);
      const Outcome expected = DecodeWith(base64::Portable(), text);
      const Outcome decoded = DecodeWith(*vectors, text);
      ASSERT_EQ(decoded.success, expected.success) << place << ' ' << byte;
      ASSERT_EQ(decoded.bytes, expected.bytes) << place << ' ' << byte;
    }
  }
}

TEST(Base64, DecodesTextWithLineBreaksAnywhere) {
  std::mt19937 random(7);
  for (std::size_t lineLength = 1; lineLength < 130; ++lineLength) {
    const std::string data = RandomBytes(random, 500 + random() % 64);
    std::string text;
    for (char letter : Encode(data).bytes) {
      text += letter;
      if (text.size() % (lineLength + 1) == lineLength) text += '\n';
    }
    const Outcome decoded = Decode(text);
    ASSERT_TRUE(decoded.success) << lineLength;
    ASSERT_EQ(decoded.bytes, data) << lineLength;
  }
}

}  // namespace
