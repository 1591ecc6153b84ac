#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tavhost/base/leftover_file.h"
#include "tavhost/base/result.h"

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
  // In the user's own folder, named by the port, and by an address where there is one.
  static base::Result<TokenFile> Write(const std::string& token, const std::string& address,
                                       int port);
  // Beside a socket in the file system. A token that stands there is replaced, another file is not.
  static base::Result<TokenFile> WriteBeside(const std::string& token, const std::string& socket);
  // At a path that somebody has chosen, which may have been there before: then its token counts,
  // which is put in the place of `token`, and the file stays.
  static base::Result<TokenFile> WriteOrRead(std::string& token, const std::string& path);
  TokenFile(TokenFile&& other) noexcept
      : path_(std::exchange(other.path_, {})),
        leftover_(std::exchange(other.leftover_, std::nullopt)) {}
  TokenFile& operator=(TokenFile&& other) noexcept {
    std::swap(path_, other.path_);
    std::swap(leftover_, other.leftover_);
    return *this;
  }
  ~TokenFile();

  const std::string& Path() const { return path_; }

 private:
  TokenFile(std::string path, bool isOurs);

  std::string path_;
  std::optional<LeftoverFile> leftover_;  // none: it was there before
};

// Platform part. The folder for such files, made if need be; empty when there is none.
std::string PrivateFolder();
// Makes a new file that only its owner can read; false when it cannot be made.
bool WritePrivateFile(const std::string& path, std::string_view contents);
// Whether it is a file that nobody but this user can read, as far as the system tells.
bool IsPrivateFile(const std::string& path);

}  // namespace script::service
