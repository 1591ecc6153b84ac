#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "host/base/forward.h"
#include "host/base/point.h"
#include "host/base/size.h"
#include "host/base/string.h"
#include "tavhost/base/string_of.h"

// The trace: one line for every host operation that a plug-in calls. A host operation makes a
// trace::Call first thing; while it runs, the host operations that it uses itself are silent.
//
//   void Clipboard::Clear() {
//     trace::Call call("SV::Clipboard::Clear");
//     call.Write();                                  // no result: written before the work
//     ...
//   int Clipboard::CopyString(const String& text) {
//     trace::Call call("SV::Clipboard::CopyString", text);
//     return call.Result(Copy(text));                // written when it returns
//   TavViewBox::TavViewBox(SV::Window* parent, int fileEditor) {
//     trace::Call call("TavViewBox::TavViewBox", trace::Window(parent), fileEditor);
//     ...
//     call.Created("TavViewBox", this);              // " -> TavViewBox#1"
//   void TavViewBox::SetViewText(const SV::String& text) {
//     trace::Call call(this, "SetViewText", text);   // "TavViewBox#1::SetViewText("t")"
//     call.Write();
//
// Costs one test of a flag when no trace is written. All of it belongs to the user-interface
// thread, on which plug-ins run.
namespace trace {

namespace detail {
extern bool open;          // a trace is written
extern bool active;        // a trace is written and the innermost code running is a plug-in's
extern bool insidePlugin;  // a trace is written and some code of a plug-in is running
SV::String Text(bool value);
SV::String Text(double value);
SV::String Text(std::int64_t value);
SV::String Text(std::uint64_t value);
SV::String Text(std::string_view text);        // as a KEL literal
SV::String Text(const SV::WString& text);      // the same
SV::String PairText(long first, long second);  // "(1, 2)"
SV::String ObjectText(const void* object);
}  // namespace detail

// Where the lines go: a file's name, or "-" for standard error. False when it cannot be opened.
bool Open(std::string_view path);
void Close();
// The errno of the first line of the last trace that could not be written; 0: there was none.
int WriteError();
inline bool IsOpen() { return detail::open; }

// While one lives, code of a plug-in runs; the host makes one around each call into a plug-in.
class PluginScope {
 public:
  PluginScope() : isTraced_(detail::open) {
    if (isTraced_) [[unlikely]] {
      activeBefore_ = std::exchange(detail::active, true);
      insideBefore_ = std::exchange(detail::insidePlugin, true);
    }
  }
  PluginScope(const PluginScope&) = delete;
  PluginScope& operator=(const PluginScope&) = delete;
  ~PluginScope() {
    if (isTraced_) [[unlikely]] {
      detail::active = activeBefore_ && detail::open;
      detail::insidePlugin = insideBefore_ && detail::open;
    }
  }

 private:
  bool isTraced_;
  bool activeBefore_ = false;
  bool insideBefore_ = false;
};

// Marks an operation that is written even when another host operation uses it.
inline constexpr struct EvenNested {
} kEvenNested;

// Gives the object its name, the class and the next number of that class. Objects made inside the
// host get theirs by this too when a plug-in can see them.
void Name(const char* className, const void* object);
// A fixed name without a number: `app`, `top`, `SV::Application`.
void NameFixed(const char* name, const void* object);
// The object is gone, and its address may come again.
void Forget(const void* object);

// An argument or result that is an object or a window: `null`, its name, or `?` when it has none.
struct Object {
  const void* address;
};
inline Object Window(const void* window) { return {window}; }

// A value as it stands in a line: numbers and switches plain, texts as KEL literals, sizes and
// positions in parentheses, enumerators by their numbers.
template <typename T>
SV::String ArgumentText(const T& value) {
  if constexpr (std::same_as<T, Object>) {
    return detail::ObjectText(value.address);
  } else if constexpr (std::same_as<T, bool>) {
    return detail::Text(value);
  } else if constexpr (std::floating_point<T>) {
    return detail::Text(static_cast<double>(value));
  } else if constexpr (std::unsigned_integral<T>) {
    return detail::Text(static_cast<std::uint64_t>(value));
  } else if constexpr (std::integral<T> || std::is_enum_v<T>) {
    return detail::Text(static_cast<std::int64_t>(value));
  } else if constexpr (std::same_as<T, SV::String>) {
    return detail::Text(value.View());
  } else if constexpr (std::same_as<T, SV::Size>) {
    return detail::PairText(value.Width(), value.Height());
  } else if constexpr (std::same_as<T, SV::Point>) {
    return detail::PairText(value.X(), value.Y());
  } else if constexpr (std::convertible_to<T, const char*>) {
    const char* text = value;
    return text ? detail::Text(std::string_view(text)) : SV::String("null");
  } else {
    return detail::Text(std::string_view(value));
  }
}

namespace detail {
[[gnu::cold]] void ReportLine(const void* object, const char* name,
                              std::initializer_list<SV::String> arguments);
}

// Writes a line for what a user did with an object that has a name, whatever code is running.
template <typename... Arguments>
void Report(const void* object, const char* name, const Arguments&... arguments) {
  if (detail::open) [[unlikely]]
    detail::ReportLine(object, name, {ArgumentText(arguments)...});
}

// One host operation, for as long as it runs. What it does is explained at the head of this file.
class Call {
 public:
  // A free function, a static member, or a constructor, by its whole name.
  template <typename... Arguments>
  explicit Call(const char* name, const Arguments&... arguments) : active_(detail::active) {
    if (active_) [[unlikely]]
      Begin(name, {ArgumentText(arguments)...});
  }
  // A member function of an object that has a name. A destructor is written under the object's
  // own class, whatever base class reports it, and once: the object then has no name any more.
  template <typename... Arguments>
  Call(const void* object, const char* name, const Arguments&... arguments)
      : active_(detail::active) {
    if (active_) [[unlikely]]
      BeginMember(object, name, {ArgumentText(arguments)...});
  }
  // A free function that is written even when the host itself calls it on a plug-in's behalf.
  template <typename... Arguments>
  Call(EvenNested, const char* name, const Arguments&... arguments)
      : active_(detail::insidePlugin), outer_(detail::active) {
    if (active_) [[unlikely]]
      Begin(name, {ArgumentText(arguments)...});
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  ~Call() {
    if (active_) [[unlikely]]
      End();
  }

  // Writes the line of an operation without a result.
  void Write() {
    if (active_) [[unlikely]]
      WriteLine({});
  }
  // Writes the line with the result and hands the result on.
  template <typename T>
  T Result(T value) {
    if (active_) [[unlikely]]
      WriteLine(ArgumentText(value).View());
    return value;
  }
  // The result is a text that the operation lends.
  const SV::WString& ResultText(const SV::WString& text) {
    if (active_) [[unlikely]]
      WriteLine(detail::Text(text).View());
    return text;
  }
  // The result is a pointer to an object or window.
  template <typename T>
  T* ResultObject(T* object) {
    if (active_) [[unlikely]]
      WriteLine(ArgumentText(Object{object}).View());
    return object;
  }
  // Ends a constructor: names the object and writes the line.
  void Created(const char* className, const void* object) {
    if (!active_) return;
    Name(className, object);
    WriteLine(detail::ObjectText(object).View());
  }

 private:
  // Cold, so that what leads to them stands apart from the code that always runs.
  [[gnu::cold]] void Begin(std::string_view name, std::initializer_list<SV::String> arguments);
  [[gnu::cold]] void BeginMember(const void* object, const char* name,
                                 std::initializer_list<SV::String> arguments);
  [[gnu::cold]] void WriteLine(std::string_view result);
  [[gnu::cold]] void End();

  bool active_;                 // this operation is written
  bool outer_ = true;           // what `active` goes back to
  SV::String* line_ = nullptr;  // owned; made only while a trace is written, empty once written
};

}  // namespace trace
