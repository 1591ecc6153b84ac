#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

namespace lsp {

// Messages of the language server protocol: a header with the length, then so many bytes.
class MessageStream {
 public:
  MessageStream(std::FILE* in, std::FILE* out) : in_(in), out_(out) {}

  // The next message's bytes; nothing at the end of the input. Lines that are no header are
  // skipped. The bytes of a message that is too long are skipped too, and it comes back empty.
  std::optional<std::string> Read();
  // False when nobody listens any more.
  bool Write(std::string_view message);

 private:
  bool ReadLine(std::string& line);

  std::FILE* in_;
  std::FILE* out_;
};

}  // namespace lsp
