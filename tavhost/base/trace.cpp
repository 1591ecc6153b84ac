#include "tavhost/base/trace.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <new>
#include <string>
#include <unordered_map>

#include "host/base/wstring.h"
#include "tavhost/base/file_text.h"
#include "tavhost/base/literal.h"
#include "tavhost/base/standard_write.h"

namespace trace {

namespace detail {

bool open = false;
bool active = false;
bool insidePlugin = false;

}  // namespace detail

namespace {

std::FILE* output = nullptr;
int writeError = 0;  // errno of the first line that could not be written

// What the objects that a plug-in can see are called, by their addresses.
std::unordered_map<const void*, std::string>& Names() {
  static std::unordered_map<const void*, std::string> names;
  return names;
}

// The number that the newest object of each class has.
std::unordered_map<std::string, unsigned>& LastNumbers() {
  static std::unordered_map<std::string, unsigned> numbers;
  return numbers;
}

template <typename T>
SV::String Digits(T value) {
  char digits[32];
  return SV::String(digits, std::to_chars(digits, digits + sizeof digits, value).ptr - digits);
}

std::string NameOf(const void* object) {
  if (!object) return "null";
  const auto found = Names().find(object);
  return found == Names().end() ? "?" : found->second;
}

std::string CallText(std::string_view name, std::initializer_list<SV::String> arguments) {
  std::string text(name);
  text += '(';
  const char* separator = "";
  for (const SV::String& argument : arguments) {
    text += separator;
    text += argument.View();
    separator = ", ";
  }
  text += ')';
  return text;
}

// Every line at once, so that a trace of a crash ends where the crash happened. Behind the first
// that could not be written nothing more is: a trace with a gap misleads.
void WriteOut(std::string_view line) {
  if (!output || writeError != 0) return;
  writeError = output == stderr ? standard_write::Error(line) : standard_write::To(output, line);
}

// The class in an object's name `SV::Button#3`, without namespaces: what its destructor is called.
std::string ClassOf(std::string_view name) {
  name = name.substr(0, name.find('#'));
  const std::size_t colon = name.rfind(':');
  return std::string(colon == std::string_view::npos ? name : name.substr(colon + 1));
}

}  // namespace

namespace detail {

SV::String Text(bool value) { return value ? "true" : "false"; }
SV::String Text(double value) { return Digits(value); }
SV::String Text(std::int64_t value) { return Digits(value); }
SV::String Text(std::uint64_t value) { return Digits(value); }

SV::String Text(std::string_view text) {
  SV::String literal;
  base::AppendLiteral(literal, text, base::kUpperHex);
  return literal;
}

SV::String Text(const SV::WString& text) {
  return Text(SV::ConvertWStringToUTF8String(text).View());
}

SV::String PairText(long first, long second) {
  return base::StringOf("(" + std::to_string(first) + ", " + std::to_string(second) + ")");
}

SV::String ObjectText(const void* object) { return base::StringOf(NameOf(object)); }

}  // namespace detail

bool Open(std::string_view path) {
  Close();
  writeError = 0;
  output = path == "-" ? stderr : base::OpenForWriting(std::string(path));
  if (output) std::setvbuf(output, nullptr, _IONBF, 0);
  detail::open = output != nullptr;
  return detail::open;
}

void Close() {
  errno = 0;
  const bool isLost = output && output != stderr && std::fclose(output) != 0;
  if (isLost && writeError == 0) writeError = errno != 0 ? errno : EIO;
  output = nullptr;
  detail::open = false;
  detail::active = false;
  detail::insidePlugin = false;
}

int WriteError() { return writeError; }

void Name(const char* className, const void* object) {
  if (!IsOpen()) return;
  const unsigned number = ++LastNumbers()[className];
  Names()[object] = std::string(className) + '#' + std::to_string(number);
}

// Without memory for it a line shows `?`: windows get and lose such names at the program's end too.
void NameFixed(const char* name, const void* object) {
  try {
    Names()[object] = name;
  } catch (const std::bad_alloc&) {
  }
}

void Forget(const void* object) { Names().erase(object); }

void detail::ReportLine(const void* object, const char* name,
                        std::initializer_list<SV::String> arguments) {
  WriteOut(CallText(NameOf(object) + "::" + name, arguments) + '\n');
}

void Call::Begin(std::string_view name, std::initializer_list<SV::String> arguments) {
  detail::active = false;
  line_ = new SV::String(base::StringOf(CallText(name, arguments)));
}

void Call::BeginMember(const void* object, const char* name,
                       std::initializer_list<SV::String> arguments) {
  const std::string objectName = NameOf(object);
  if (*name != '~') {
    Begin(objectName + "::" + name, arguments);
    return;
  }
  detail::active = false;
  if (objectName == "?") return;  // written when a more derived class began to end
  Begin(objectName + "::~" + ClassOf(objectName), arguments);
  Forget(object);
}

void Call::WriteLine(std::string_view result) {
  if (!line_ || line_->Len() == 0) return;
  std::string line(line_->View());
  if (!result.empty()) line.append(" -> ").append(result);
  WriteOut(line + '\n');
  *line_ = SV::String();
}

// An operation that ends early, by a stop, still leaves its line.
void Call::End() {
  WriteLine({});
  delete line_;
  detail::active = outer_ && IsOpen();
}

}  // namespace trace
