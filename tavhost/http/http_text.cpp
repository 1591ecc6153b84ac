#include "tavhost/http/http_text.h"

#include <algorithm>
#include <new>
#include <utility>

#include "tavhost/base/ascii.h"
#include "tavhost/base/stop.h"
#include "tavhost/http/http_transport.h"

namespace http {

namespace {

constexpr std::size_t kLongestMark = 4;
// Looked for only in what is said to be UTF-32: the first begins like that of UTF-16.
constexpr std::string_view kUtf32LittleMark("\xFF\xFE\0\0", 4);
constexpr std::string_view kUtf32BigMark("\0\0\xFE\xFF", 4);
constexpr std::size_t kTextLimit = SV::String::kMaxLength;

// The room made for a text at first: what most texts need that are not ASCII alone.
std::uint64_t RoomFor(std::uint64_t bytes) { return bytes + bytes / 8; }

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

BodyText::BodyText(std::string_view charset, std::uint64_t expected)
    : charset_(ascii::ToLower(charset)), expected_(expected) {
  if (charset_.empty() || IsToldByAMark(charset_) || IsUtf8Name(charset_)) return;
  converter_ = MakeConverter(charset_);
  if (!converter_) converter_ = MakeSystemConverter(charset_);
  if (converter_) {
    way_ = Way::kConverted;
  } else {
    charset_.clear();  // nobody knows it: it says nothing
  }
}

// By the first bytes, or all of them when there are fewer than a mark can have.
void BodyText::Decide() {
  const std::string_view first = first_;
  const auto convert = [this](const char* charset, std::size_t mark) {
    converter_ = MakeConverter(charset);
    way_ = Way::kConverted;
    mark_ = mark;
  };
  if (first.starts_with("\xEF\xBB\xBF")) {
    way_ = Way::kSame;
    mark_ = 3;
    fallback_ = "utf-8";
  } else if (IsUtf8Name(charset_)) {
    way_ = Way::kSame;
    fallback_ = "utf-8";
  } else if (charset_ == "utf-32") {
    const bool isMarked = first.starts_with(kUtf32LittleMark) || first.starts_with(kUtf32BigMark);
    convert(first.starts_with(kUtf32LittleMark) ? "utf-32le" : "utf-32be", isMarked ? 4 : 0);
  } else if (first.starts_with("\xFF\xFE")) {
    convert("utf-16le", 2);
  } else if (first.starts_with("\xFE\xFF")) {
    convert("utf-16be", 2);
  } else if (charset_ == "utf-16") {
    convert("utf-16be", 0);  // RFC 2781, 4.3
  } else {
    way_ = Way::kSame;
  }
}

void BodyText::TakeFirst() {
  Decide();
  const std::string first = std::exchange(first_, {});
  Append(std::string_view(first).substr(mark_));
}

void BodyText::Append(std::string_view bytes) {
  switch (way_) {
    case Way::kUnknown:
      first_.append(bytes);
      return first_.size() < kLongestMark ? void() : TakeFirst();
    case Way::kSame:
      return TakeChecked(bytes);
    case Way::kConverted:
      return ConvertNow(bytes);
    case Way::kLater:
      return;
  }
}

void BodyText::TakeChecked(std::string_view bytes) {
  if (!check_.Append(bytes)) way_ = Way::kLater;
}

void BodyText::ConvertNow(std::string_view bytes) {
  if (full_) return;
  try {
    if (!writer_) {
      bytes_ = std::make_unique<SV::String>();
      writer_ = std::make_unique<Body>(*bytes_, kTextLimit);
      writer_->Announce(RoomFor(expected_));
    }
    full_ = !converter_->Append(bytes, *writer_);
  } catch (const std::bad_alloc&) {
    full_ = true;
  }
}

SV::String BodyText::Finish(const SV::String& body) {
  if (way_ == Way::kUnknown) TakeFirst();
  if (way_ == Way::kSame && !check_.IsComplete()) way_ = Way::kLater;
  if (way_ == Way::kLater) return ConvertLater(body);
  if (way_ == Way::kSame) {
    SV::String text = body;
    return text.Erase(0, static_cast<long>(mark_));
  }
  if (converter_ && !full_ && writer_) {
    full_ = !converter_->Finish(*writer_);
    converter_.reset();
    writer_->Finish();
  }
  if (full_) throw std::bad_alloc();
  return bytes_ ? *bytes_ : SV::String();
}

SV::String BodyText::ConvertLater(const SV::String& body) const {
  constexpr std::size_t kSlice = std::size_t{1} << 20;  // some milliseconds of work
  const std::unique_ptr<Converter> converter = MakeConverter(fallback_);
  SV::String text;
  Body writer(text, kTextLimit);
  std::string_view left = body.View().substr(mark_);
  writer.Announce(RoomFor(left.size()));
  while (!left.empty()) {
    stop::ThrowIfRequested();
    PaintWhileWaiting();
    const std::string_view slice = left.substr(0, kSlice);
    left.remove_prefix(slice.size());
    if (!converter->Append(slice, writer)) throw std::bad_alloc();
  }
  if (!converter->Finish(writer)) throw std::bad_alloc();
  writer.Finish();
  return text;
}

}  // namespace http
