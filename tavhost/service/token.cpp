#include "tavhost/service/token.h"

#include <cstdint>
#include <cstdio>
#include <random>

namespace script::service {

std::string NewToken() {
  std::random_device random;  // the system's own source
  std::string token;
  for (int word = 0; word < 4; ++word) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(random()));
    token += digits;
  }
  return token;
}

bool IsEqualInConstantTime(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;  // every token is as long as every other
  volatile unsigned difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    difference = difference | static_cast<unsigned char>(a[i] ^ b[i]);
  }
  return difference == 0;
}

std::optional<TokenFile> TokenFile::Write(const std::string& token, int port) {
  const std::string folder = PrivateFolder();
  if (folder.empty()) return std::nullopt;
  const std::string path = folder + "/token-" + std::to_string(port);
  std::remove(path.c_str());  // left behind by a service that was killed
  if (!WritePrivateFile(path, token + '\n')) return std::nullopt;
  return TokenFile(path);
}

TokenFile::~TokenFile() {
  if (!path_.empty()) std::remove(path_.c_str());
}

}  // namespace script::service
