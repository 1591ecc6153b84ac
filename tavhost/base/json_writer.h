#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace base {

// Text as JSON (RFC 8259), written from its beginning to its end: nothing of it stands in memory
// twice, and giving it up asks for none. Commas come by themselves; whoever writes closes what it
// opens. Bytes that are no UTF-8 become U+FFFD.
class JsonWriter {
 public:
  // The text is given up beyond `limit` bytes, and when `mustEnd`, which is asked now and then,
  // says so: what comes then is dropped.
  explicit JsonWriter(std::size_t limit = std::string::npos, std::function<bool()> mustEnd = {});

  bool IsGivenUp() const { return isGivenUp_; }
  // The text; nothing when it has been given up.
  std::optional<std::string> Take();

  // What is written next is this field's value.
  JsonWriter& Key(std::string_view name);
  void String(std::string_view text);
  void Integer(long long number);
  void Bool(bool value);
  void Null();
  // What is JSON already.
  void Raw(std::string_view json);
  void BeginObject() { Begin("{"); }
  void EndObject() { End("}"); }
  void BeginArray() { Begin("["); }
  void EndArray() { End("]"); }

 private:
  void Begin(std::string_view bracket);
  void End(std::string_view bracket);
  void Put(std::string_view text);
  void PutComma();
  void PutQuoted(std::string_view text);
  void PutEscaped(std::string_view text);

  const std::size_t limit_;
  const std::function<bool()> mustEnd_;
  std::string json_;
  std::size_t nextLook_;  // the length at which `mustEnd_` is asked
  bool isFirst_ = true;   // of what is open: no comma stands before it
  bool isGivenUp_ = false;
};

}  // namespace base
