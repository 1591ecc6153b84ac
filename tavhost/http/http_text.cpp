#include "tavhost/http/http_text.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <utility>

#include "tavhost/base/ascii.h"
#include "tavhost/base/stop.h"
#include "tavhost/http/http_body.h"
#include "tavhost/http/http_converter.h"
#include "tavhost/http/http_spent_memory.h"
#include "tavhost/http/http_transport.h"

namespace http {

namespace {

// The first begins like that of UTF-16, which has no use for a NUL as first character: it is looked
// for first, but not in what is said to be UTF-16.
constexpr std::string_view kUtf32LittleMark("\xFF\xFE\0\0", 4);
constexpr std::string_view kUtf32BigMark("\0\0\xFE\xFF", 4);
constexpr std::size_t kTextLimit = SV::String::kMaxLength;

// The order of its bytes is told by a byte-order mark.
bool IsToldByAMark(std::string_view charset) { return charset == "utf-16" || charset == "utf-32"; }

bool IsUtf8Name(std::string_view charset) { return charset == "utf-8" || charset == "utf8"; }

}  // namespace

std::string CharsetOf(std::string_view contentType) {
  const std::string lower = ascii::ToLower(contentType);
  std::size_t at = lower.find(';');
  while (at != std::string::npos) {
    at = lower.find_first_not_of("; \t", at);
    if (at == std::string::npos) break;
    if (lower.compare(at, 8, "charset=") == 0) {
      std::string_view value = contentType.substr(at + 8);
      if (value.starts_with('"')) {
        value.remove_prefix(1);
        return std::string(value.substr(0, value.find('"')));
      }
      return std::string(value.substr(0, value.find_first_of("; \t")));
    }
    at = lower.find(';', at);
  }
  return {};
}

namespace {

// How a body is written.
struct Writing {
  std::string charset;         // empty where nothing tells
  std::size_t markLength = 0;  // of the byte-order mark
};

// What is said of the charset, in lower case, and the first bytes tell it together.
Writing WritingOf(const std::string& said, std::string_view body) {
  if (body.starts_with("\xEF\xBB\xBF")) return {"utf-8", 3};
  if (IsUtf8Name(said)) return {"utf-8"};
  if (said != "utf-16") {
    if (body.starts_with(kUtf32LittleMark)) return {"utf-32le", 4};
    if (body.starts_with(kUtf32BigMark)) return {"utf-32be", 4};
  }
  if (said == "utf-32") return {"utf-32be"};
  if (body.starts_with("\xFF\xFE")) return {"utf-16le", 2};
  if (body.starts_with("\xFE\xFF")) return {"utf-16be", 2};
  if (said == "utf-16") return {"utf-16be"};  // RFC 2781, 4.3
  return {};
}

// Goes through a text slice by slice; `take` returns false to leave early.
template <typename Take>
bool ForEachSlice(std::string_view text, std::size_t slice, Take take) {
  while (!text.empty()) {
    stop::ThrowIfRequested();
    PaintWhileWaiting();
    const std::string_view next = text.substr(0, slice);
    text.remove_prefix(next.size());
    if (!take(next)) return false;
  }
  return true;
}

bool IsUtf8(std::string_view text, std::size_t slice) {
  Utf8Check check;
  return ForEachSlice(text, slice, [&](std::string_view next) { return check.Append(next); }) &&
         check.IsComplete();
}

// `use(end)` is told how far the bytes have been read.
template <typename Use>
SV::String Converted(Converter& converter, std::string_view bytes, std::size_t slice, Use use) {
  SV::String text;
  Body writer(text, kTextLimit);
  writer.Announce(converter.RoomFor(bytes.size()) +
                  converter.RoomFor(std::min(slice, bytes.size())));
  const auto write = [&](std::size_t length, auto convert) {
    char* const room = writer.Room(converter.RoomFor(length));
    if (!room) throw std::length_error("the answer is too long as a text");
    writer.Advance(static_cast<std::size_t>(convert(room) - room));
  };
  ForEachSlice(bytes, slice, [&](std::string_view next) {
    write(next.size(), [&](char* room) { return converter.Append(next, room); });
    use(next.data() + next.size());
    return true;
  });
  write(0, [&](char* room) { return converter.Finish(room); });
  writer.Finish();
  return text;
}

template <typename Use>
SV::String TextBy(std::string_view charset, SV::String body, std::size_t slice, Use use) {
  const std::string said = ascii::ToLower(charset);
  const std::string_view bytes = body.View();
  std::unique_ptr<Converter> converter;
  std::size_t markLength = 0;
  if (!said.empty() && !IsToldByAMark(said) && !IsUtf8Name(said)) {
    converter = MakeConverter(said);
    if (!converter) converter = MakeSystemConverter(said, bytes.size());
  }
  if (!converter) {  // what nobody knows says nothing
    const Writing writing = WritingOf(said, bytes);
    markLength = writing.markLength;
    const bool mayBeUtf8 = writing.charset.empty() || IsUtf8Name(writing.charset);
    if (mayBeUtf8 && IsUtf8(bytes.substr(markLength), slice)) {
      return body.Erase(0, static_cast<long>(markLength));
    }
    converter = MakeConverter(writing.charset.empty() ? "windows-1252" : writing.charset);
  }
  return Converted(*converter, bytes.substr(markLength), slice, use);
}

}  // namespace

SV::String TextOf(std::string_view charset, const SV::String& body, std::size_t slice) {
  return TextBy(charset, body, slice, [](const char*) {});
}

SV::String TakeTextOf(std::string_view charset, SV::String& body) {
  SV::String taken = std::move(body);
  body = SV::String();
  SpentMemory spent(taken);
  return TextBy(charset, std::move(taken), kSliceOfText,
                [&spent](const char* end) { spent.UpTo(end); });
}

}  // namespace http
