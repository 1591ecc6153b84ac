#include "tavhost/lsp/language_server_stream.h"

#include <algorithm>
#include <charconv>

#include "tavhost/base/ascii.h"

namespace lsp {

namespace {

constexpr std::size_t kLongestMessage = std::size_t{64} << 20;  // bytes
constexpr std::size_t kLongestLine = 4096;
constexpr std::string_view kLength = "content-length:";

// The length that a line of a header gives; nothing when it gives none.
std::optional<std::size_t> LengthOf(std::string_view field) {
  const std::string line = ascii::ToLower(field);
  if (!line.starts_with(kLength)) return std::nullopt;
  const char* at = line.data() + kLength.size();
  const char* const end = line.data() + line.size();
  while (at != end && *at == ' ') ++at;
  std::size_t length = 0;
  const auto [rest, error] = std::from_chars(at, end, length);
  if (error != std::errc() || rest != end) return std::nullopt;
  return length;
}

}  // namespace

bool MessageStream::ReadLine(std::string& line) {
  line.clear();
  for (int c = std::getc(in_); c != EOF; c = std::getc(in_)) {
    if (c == '\n') {
      if (line.ends_with('\r')) line.pop_back();
      return true;
    }
    if (line.size() < kLongestLine) line += static_cast<char>(c);
  }
  return false;
}

std::optional<std::string> MessageStream::Read() {
  std::optional<std::size_t> length;
  std::string line;
  while (ReadLine(line)) {
    if (!line.empty()) {
      if (const auto found = LengthOf(line)) length = found;
      continue;
    }
    if (!length) continue;
    std::string message;
    if (*length > kLongestMessage) {
      for (std::size_t i = 0; i < *length && std::getc(in_) != EOF; ++i) {
      }
      return message;  // no JSON, which its sender is told
    }
    message.resize(*length);
    if (std::fread(message.data(), 1, *length, in_) != *length) return std::nullopt;
    return message;
  }
  return std::nullopt;
}

bool MessageStream::Write(std::string_view message) {
  std::fprintf(out_, "Content-Length: %zu\r\n\r\n", message.size());
  std::fwrite(message.data(), 1, message.size(), out_);
  return std::fflush(out_) == 0 && std::ferror(out_) == 0;
}

}  // namespace lsp
