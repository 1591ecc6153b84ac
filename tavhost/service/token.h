#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tavhost/base/leftover_file.h"

namespace script::service {

// 128 random bits as 32 hexadecimal digits.
std::string NewToken();
// Takes the same time wherever the first difference lies, so that a token cannot be guessed byte by
// byte from how long a refusal takes.
bool IsEqualInConstantTime(std::string_view a, std::string_view b);

// The file by which clients of the same user learn the token: only its owner can read it. Removed
// with the object, and when the program ends without that.
class TokenFile {
 public:
  // Named by the port. Empty when the file cannot be written.
  static std::optional<TokenFile> Write(const std::string& token, int port);
  TokenFile(TokenFile&& other) noexcept
      : path_(std::exchange(other.path_, {})), leftover_(std::move(other.leftover_)) {}
  TokenFile& operator=(TokenFile&& other) noexcept {
    std::swap(path_, other.path_);
    std::swap(leftover_, other.leftover_);
    return *this;
  }
  ~TokenFile();

  const std::string& Path() const { return path_; }

 private:
  explicit TokenFile(std::string path) : path_(std::move(path)), leftover_(path_) {}

  std::string path_;
  LeftoverFile leftover_;
};

// Platform part. The folder for such files, made if need be; empty when there is none.
std::string PrivateFolder();
// Makes a new file that only its owner can read; false when it cannot be made.
bool WritePrivateFile(const std::string& path, std::string_view contents);

}  // namespace script::service
