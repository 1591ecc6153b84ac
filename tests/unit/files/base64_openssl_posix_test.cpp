// Our base64 beside OpenSSL's, on random data.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <random>
#include <string>

#include "tavhost/files/base64_codec.h"

namespace {

std::string OpensslEncode(const std::string& data) {
  std::string text(base64::EncodedLength(data.size()) + 1, '\0');
  const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                     reinterpret_cast<const unsigned char*>(data.data()),
                                     static_cast<int>(data.size()));
  text.resize(static_cast<std::size_t>(length));
  return text;
}

TEST(Base64BesideOpenssl, BothCodecsGiveTheSameOnRandomData) {
  std::mt19937 random(4711);
  for (int round = 0; round < 2000; ++round) {
    std::string data(random() % 2000, '\0');
    for (char& byte : data) byte = static_cast<char>(random());
    const std::string expected = OpensslEncode(data);
    for (const base64::Codec* codec : {&base64::Portable(), &base64::Best()}) {
      std::string text(expected.size(), '\0');
      base64::Encode(*codec, data.data(), data.size(), text.data());
      ASSERT_EQ(text, expected) << "round " << round;

      std::string bytes(text.size() / 4 * 3 + 3 + base64::kDecodeSlack, '\0');
      const auto decoded = base64::Decode(*codec, text.data(), text.size(), bytes.data());
      ASSERT_TRUE(decoded.whole) << "round " << round;
      ASSERT_EQ(std::string(bytes.data(), decoded.length), data) << "round " << round;
    }
  }
}

TEST(Base64BesideOpenssl, DecodesWhatOpensslDecodes) {
  std::mt19937 random(815);
  constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (int round = 0; round < 2000; ++round) {
    std::string text(4 * (1 + random() % 300), 'A');
    for (char& letter : text) letter = kLetters[random() % 64];
    std::string expected(text.size() / 4 * 3, '\0');
    ASSERT_EQ(EVP_DecodeBlock(reinterpret_cast<unsigned char*>(expected.data()),
                              reinterpret_cast<const unsigned char*>(text.data()),
                              static_cast<int>(text.size())),
              static_cast<int>(expected.size()));
    std::string bytes(expected.size() + 3 + base64::kDecodeSlack, '\0');
    const auto decoded = base64::Decode(base64::Best(), text.data(), text.size(), bytes.data());
    ASSERT_TRUE(decoded.whole);
    ASSERT_EQ(std::string(bytes.data(), decoded.length), expected);
  }
}

}  // namespace
