// Base64 in memory that has been touched, beside OpenSSL and a plain copy.
#include <openssl/evp.h>

#include <cstring>
#include <random>
#include <string>
#include <utility>

#include "bench/compare.h"
#include "tavhost/files/base64_codec.h"

namespace {

constexpr std::size_t kBytes = std::size_t{256} << 20;

const unsigned char* Bytes(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* Bytes(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }

}  // namespace

int main() {
  std::string data(kBytes, '\0');
  std::mt19937_64 random(1);
  for (std::size_t i = 0; i < kBytes; i += 8) {
    const std::uint64_t word = random();
    std::memcpy(&data[i], &word, 8);
  }
  const std::size_t encoded = base64::EncodedLength(kBytes);
  std::string text(encoded + 1, '\0');
  std::string out(kBytes + 64, '\0');
  base64::Encode(base64::Best(), data.data(), kBytes, text.data());

  bench::Compare(
      "encode 256 MiB",
      {{"ours", {}, [&] { base64::Encode(base64::Best(), data.data(), kBytes, text.data()); }},
       {"OpenSSL", {}, [&] { EVP_EncodeBlock(Bytes(text), Bytes(std::as_const(data)), kBytes); }}},
      0.25, 3);
  bench::Compare(
      "decode to 256 MiB",
      {{"ours", {}, [&] { base64::Decode(base64::Best(), text.data(), encoded, out.data()); }},
       {"OpenSSL",
        {},
        [&] {
          EVP_DecodeBlock(Bytes(out), Bytes(std::as_const(text)), static_cast<int>(encoded));
        }}},
      0.25, 3);
  bench::Compare(
      "encode beside copying 256 MiB",
      {{"ours", {}, [&] { base64::Encode(base64::Best(), data.data(), kBytes, text.data()); }},
       {"portable",
        {},
        [&] { base64::Encode(base64::Portable(), data.data(), kBytes, text.data()); }},
       {"memcpy", {}, [&] { std::memcpy(out.data(), data.data(), kBytes); }}},
      1.1, 3);
  bench::Compare(
      "decode beside copying the text",
      {{"ours", {}, [&] { base64::Decode(base64::Best(), text.data(), encoded, out.data()); }},
       {"portable",
        {},
        [&] { base64::Decode(base64::Portable(), text.data(), encoded, out.data()); }},
       {"memcpy", {}, [&] { std::memcpy(out.data(), text.data(), kBytes); }}},
      1.1, 3);
}
