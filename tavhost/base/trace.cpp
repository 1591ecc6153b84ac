#include "tavhost/base/trace.h"

#include <charconv>
#include <cstdio>
#include <string>
#include <unordered_map>

namespace trace {

namespace detail {

bool open = false;
bool active = false;
bool insidePlugin = false;

}  // namespace detail

namespace {

std::FILE* output = nullptr;

std::unordered_map<const void*, std::string>& Names() {
  static std::unordered_map<const void*, std::string> names;
  return names;
}

std::unordered_map<std::string, unsigned>& LastNumbers() {
  static std::unordered_map<std::string, unsigned> numbers;
  return numbers;
}

template <typename T>
std::string Digits(T value) {
  char digits[32];
  return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

void AppendEscaped(std::string& out, char byte) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  const auto code = static_cast<unsigned char>(byte);
  switch (byte) {
    case '"':
      out += "\\\"";
      break;
    case '\\':
      out += "\\\\";
      break;
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    case '\0':
      out += "\\0";
      break;
    default:
      if (code < 0x20 || code == 0x7F) {
        out += {'\\', 'x', kHex[code >> 4], kHex[code & 15]};
      } else {
        out += byte;
      }
  }
}

std::string CallText(std::string name, std::initializer_list<std::string> arguments) {
  name += '(';
  const char* separator = "";
  for (const std::string& argument : arguments) {
    name += separator;
    name += argument;
    separator = ", ";
  }
  name += ')';
  return name;
}

void WriteOut(const std::string& line) {
  if (!output) return;
  std::fwrite(line.data(), 1, line.size(), output);
  std::fflush(output);
}

// Without namespaces, as destructors are called.
std::string ClassOf(std::string_view name) {
  name = name.substr(0, name.find('#'));
  const std::size_t colon = name.rfind(':');
  return std::string(colon == std::string_view::npos ? name : name.substr(colon + 1));
}

}  // namespace

namespace detail {

std::string Text(bool value) { return value ? "true" : "false"; }
std::string Text(double value) { return Digits(value); }
std::string Text(std::int64_t value) { return Digits(value); }
std::string Text(std::uint64_t value) { return Digits(value); }

std::string Text(std::string_view text) {
  std::string literal = "\"";
  for (const char byte : text) AppendEscaped(literal, byte);
  literal += '"';
  return literal;
}

std::string ObjectText(const void* object) {
  if (!object) return "null";
  const auto found = Names().find(object);
  return found == Names().end() ? "?" : found->second;
}

}  // namespace detail

bool Open(const std::string& path) {
  Close();
  output = path == "-" ? stderr : std::fopen(path.c_str(), "wb");
  detail::open = output != nullptr;
  return detail::open;
}

void Close() {
  if (output && output != stderr) std::fclose(output);
  output = nullptr;
  detail::open = false;
  detail::active = false;
  detail::insidePlugin = false;
}

void Name(const char* className, const void* object) {
  if (!IsOpen()) return;
  const unsigned number = ++LastNumbers()[className];
  Names()[object] = std::string(className) + '#' + std::to_string(number);
}

void NameFixed(const char* name, const void* object) { Names()[object] = name; }

void Forget(const void* object) { Names().erase(object); }

void detail::ReportLine(const void* object, const char* name,
                        std::initializer_list<std::string> arguments) {
  WriteOut(CallText(ObjectText(object) + "::" + name, arguments) + '\n');
}

void Call::Begin(const char* name, std::initializer_list<std::string> arguments) {
  detail::active = false;
  line_ = new std::string(CallText(name, arguments));
}

void Call::BeginMember(const void* object, const char* name,
                       std::initializer_list<std::string> arguments) {
  const std::string objectName = detail::ObjectText(object);
  if (*name != '~') {
    Begin((objectName + "::" + name).c_str(), arguments);
    return;
  }
  detail::active = false;
  if (objectName == "?") return;  // written when a more derived class began to end
  Begin((objectName + "::~" + ClassOf(objectName)).c_str(), arguments);
  Forget(object);
}

void Call::WriteLine(std::string_view result) {
  if (!line_ || line_->empty()) return;
  if (!result.empty()) {
    *line_ += " -> ";
    *line_ += result;
  }
  *line_ += '\n';
  WriteOut(*line_);
  line_->clear();
}

// An operation that ends early, by a stop, still leaves its line.
void Call::End() {
  WriteLine({});
  delete line_;
  detail::active = outer_ && IsOpen();
}

}  // namespace trace
