#include "tavhost/service/token.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>
#include <tl/expected.hpp>

#include "tavhost/base/ascii.h"
#include "tavhost/base/file_text.h"

namespace script::service {

namespace {

constexpr std::size_t kLeastToken = 32;
constexpr std::size_t kMostToken = 256;
// Of the file, which may have blanks behind the token: what is longer holds something else.
constexpr std::size_t kMostRead = 4096;

// Nothing when it cannot be opened; errno says why.
std::optional<std::string> ReadBeginning(const std::string& path) {
  std::FILE* const file = base::OpenForReading(path);
  if (!file) return std::nullopt;
  std::string text(kMostRead, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file));
  std::fclose(file);
  return text;
}

std::string_view WithoutBlanksBehind(std::string_view text) {
  while (!text.empty() && ascii::IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

bool IsToken(std::string_view text) {
  return text.size() >= kLeastToken && text.size() <= kMostToken &&
         std::all_of(text.begin(), text.end(), ascii::IsLetterOrDigit<char>);
}

tl::unexpected<base::Error> IsReadByOthers(const std::string& path) {
  return base::Failure("the token file " + path + " can be read by others");
}

tl::unexpected<base::Error> HoldsNoToken(const std::string& path) {
  return base::Failure("the token file " + path + " does not hold 32 to 256 letters and digits");
}

tl::unexpected<base::Error> CannotBeWritten(const std::string& path) {
  return base::Failure("the token file " + path +
                       " cannot be written: " + std::generic_category().message(errno));
}

}  // namespace

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
  if (a.size() != b.size()) return false;  // how long a token is, is no secret
  volatile unsigned difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    difference = difference | static_cast<unsigned char>(a[i] ^ b[i]);
  }
  return difference == 0;
}

TokenFile::TokenFile(std::string path, bool isOurs) : path_(std::move(path)) {
  if (isOurs) leftover_.emplace(path_);
}

base::Result<TokenFile> TokenFile::Write(const std::string& token, const std::string& address,
                                         int port) {
  const std::string folder = PrivateFolder();
  std::string name = address.empty() ? "token-" : "token-" + address + '-';
  std::replace(name.begin(), name.end(), ':', '.');  // which no name of a file holds on Windows
  const std::string path = folder + '/' + name + std::to_string(port);
  if (folder.empty()) return base::Failure("the token file cannot be written");
  std::remove(path.c_str());  // left behind by a service that was killed
  if (!WritePrivateFile(path, token + '\n')) {
    return base::Failure("the token file cannot be written");
  }
  return TokenFile(path, true);
}

base::Result<TokenFile> TokenFile::WriteOrRead(std::string& token, const std::string& path) {
  std::error_code ignored;
  const std::filesystem::file_status status = std::filesystem::status(path, ignored);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    return base::Failure("the token file " + path + " is not a regular file");
  }
  std::optional<std::string> text = ReadBeginning(path);
  if (text && text->empty() && IsPrivateFile(path)) {
    // Nobody writes a token by and by: whoever has made this file has not lived to fill it.
    std::remove(path.c_str());
    text.reset();
  }
  if (!text) {
    if (WritePrivateFile(path, token + '\n')) return TokenFile(path, true);
    return CannotBeWritten(path);
  }
  if (!IsPrivateFile(path)) return IsReadByOthers(path);
  const std::string_view found = WithoutBlanksBehind(*text);
  if (!IsToken(found)) return HoldsNoToken(path);
  token = found;
  return TokenFile(path, false);
}

// A service that was killed has left its token there, or the file that it was about to write.
base::Result<TokenFile> TokenFile::WriteBeside(const std::string& token,
                                               const std::string& socket) {
  const std::string path = socket + ".token";
  std::error_code ignored;
  if (std::filesystem::is_regular_file(std::filesystem::symlink_status(path, ignored))) {
    if (!IsPrivateFile(path)) return IsReadByOthers(path);
    const std::optional<std::string> text = ReadBeginning(path);
    if (text && !text->empty() && !IsToken(WithoutBlanksBehind(*text))) return HoldsNoToken(path);
    std::remove(path.c_str());
  }
  if (!WritePrivateFile(path, token + '\n')) return CannotBeWritten(path);
  return TokenFile(path, true);
}

TokenFile::~TokenFile() {
  if (leftover_) leftover_->Remove();
}

}  // namespace script::service
