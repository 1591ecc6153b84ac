#include "tavhost/base/text_history.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

namespace SV {

namespace {

// The least room of a buffer that the history makes: enough for the first lines.
constexpr long kFirstCapacity = 1024;
// A text that lost more lines at once than this, in a string made by other means, counts as
// another text.
constexpr int kMostLinesTried = 1000;

// Where a new text begins: far enough from 0 for a buffer that lost its first bytes before.
constexpr std::uint64_t kOrigin = std::uint64_t{1} << 32;

std::uint64_t lastId = 0;

}  // namespace

// What is known of a buffer that is in a history. Positions count all bytes that the text ever had,
// those that were dropped at its start included.
struct TextHistory::Entry {
  std::uint64_t id;        // of the history
  std::uint64_t version;   // of its text that the buffer's text grew out of
  std::uint64_t position;  // of the first byte of the buffer's room
  bool held;               // the history itself shares the buffer
};

// Buffers by address. Never destroyed: strings that end with the process still ask.
struct TextHistory::Entries {
  static std::unordered_map<const Buffer*, Entry>& All() {
    static auto& all = *new std::unordered_map<const Buffer*, Entry>;
    return all;
  }
};

TextHistory::Entry* TextHistory::Find(const Buffer* buffer) noexcept {
  if (!buffer->IsInHistory()) return nullptr;
  const auto found = Entries::All().find(buffer);
  return found == Entries::All().end() ? nullptr : &found->second;
}

bool TextHistory::MayChangeEnds(const Buffer* buffer) noexcept {
  return buffer->sharers == 2 && Find(buffer)->held;
}

void TextHistory::Follow(const Buffer* from, Buffer* copy) {
  const Entry* const entry = Find(from);
  Entries::All()[copy] = {entry->id, entry->version, entry->position + from->begin, false};
  copy->capacity |= Buffer::kInHistory;
}

void TextHistory::Forget(Buffer* buffer) noexcept {
  Entries::All().erase(buffer);
  buffer->capacity &= ~Buffer::kInHistory;
}

TextHistory::TextHistory() : id_(++lastId), position_(kOrigin) {}

TextHistory::~TextHistory() { LetGo(); }

void TextHistory::LetGo() {
  const Entry* const entry = Find(text_.buffer_);
  if (entry && entry->id == id_) Forget(text_.buffer_);
}

// Takes the text over. Its buffer is in no history or in this one.
void TextHistory::Hold(const String& text, std::uint64_t position) {
  if (text_.buffer_ != text.buffer_) LetGo();
  text_ = text;
  bytes_ = text_.GetStr();
  length_ = static_cast<std::size_t>(text_.Len());
  position_ = position;
  if (text_.buffer_->capacity == 0) return;
  Entries::All()[text_.buffer_] = {id_, ++version_, position - text_.buffer_->begin, true};
  text_.buffer_->capacity |= Buffer::kInHistory;
}

String TextHistory::CopyOfOwn() const {
  const auto length = static_cast<long>(length_);
  String copy;
  std::memcpy(copy.AllocBuffer(std::max(2 * length, kFirstCapacity)), bytes_, length_);
  copy.buffer_->length = static_cast<std::uint32_t>(length_);
  copy.buffer_->Data()[length_] = '\0';
  return copy;
}

String TextHistory::Get() {
  Buffer* const buffer = text_.buffer_;
  if (buffer->capacity == 0) {
    Hold(CopyOfOwn(), position_);
  } else if (buffer->Data() != bytes_ || buffer->length != length_) {
    // Somebody changed the string that they had got and never set it. When they are gone, the
    // buffer only has to get its ends back; else the history goes on in one of its own.
    if (buffer->sharers == 1) {
      buffer->begin = static_cast<std::uint32_t>(bytes_ - buffer->Room());
      buffer->length = static_cast<std::uint32_t>(length_);
      buffer->Data()[length_] = '\0';
    } else {
      Hold(CopyOfOwn(), position_);
    }
  }
  return text_;
}

TextHistory::Change TextHistory::Compare(const String& text) const {
  const Entry* const entry = Find(text.buffer_);
  if (entry && entry->id == id_ && entry->version == version_) {
    Change change = CompareHistory(text, *entry);
    if (change.continues) return change;
  }
  return CompareBytes(text);
}

TextHistory::Change TextHistory::CompareHistory(const String& text, const Entry& entry) const {
  const std::uint64_t end = position_ + length_;
  const std::uint64_t newBegin = entry.position + text.buffer_->begin;
  const std::uint64_t newEnd = newBegin + text.buffer_->length;
  if (newBegin < position_ || newEnd < end) return {};
  const char* const bytes = text.GetStr();
  if (newBegin > position_) {
    // The last byte that was dropped; it lies in front of the new text or in the old one.
    const std::uint64_t last = newBegin - 1;
    if (last >= end && text.buffer_->begin == 0) return {};
    if ((last < end ? bytes_[last - position_] : bytes[-1]) != '\n') return {};
  }
  // What was added and is not in the buffer any more is lost.
  const std::uint64_t addedFrom = std::max(end, entry.position);
  const char* const added = text.buffer_->Room() + (addedFrom - entry.position);
  return {true,
          static_cast<std::size_t>(newBegin - position_),
          {added, static_cast<std::size_t>(newEnd - addedFrom)},
          {}};
}

// For strings made by other means: looks for the line of the old text with which the new begins.
TextHistory::Change TextHistory::CompareBytes(const String& text) const {
  const std::string_view now = text.View();
  std::string_view rest = View();
  for (int tried = 0; tried <= kMostLinesTried; ++tried) {
    if (now.starts_with(rest)) {
      if (rest.empty() && length_ != 0) break;  // nothing is left of it
      return {true, length_ - rest.size(), now.substr(rest.size()), {}};
    }
    const std::size_t lineEnd = rest.find('\n');
    if (lineEnd == std::string_view::npos) break;
    rest.remove_prefix(lineEnd + 1);
  }
  return {};
}

TextHistory::Change TextHistory::Set(const String& text) {
  Change change = Compare(text);
  change.before = text_;
  const std::uint64_t position = change.continues ? position_ + change.dropped : kOrigin;
  const Entry* const entry = Find(text.buffer_);
  if (entry && entry->id != id_) {
    Hold(String(text.GetStr(), text.Len()), position);  // it belongs to another history
  } else {
    Hold(text, position);
  }
  return change;
}

}  // namespace SV
