#include "tavhost/ide/history.h"

#include <algorithm>

namespace ide {

namespace {

std::string Unescaped(std::string_view line) {
  std::string entry;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] != '\\' || i + 1 == line.size()) {
      entry += line[i];
      continue;
    }
    ++i;
    entry += line[i] == 'n' ? '\n' : line[i];
  }
  return entry;
}

}  // namespace

void History::Read(std::string_view file) {
  entries_.clear();
  while (!file.empty()) {
    const std::size_t end = std::min(file.find('\n'), file.size());
    Add(Unescaped(file.substr(0, end)));
    file.remove_prefix(std::min(end + 1, file.size()));
  }
  walking_ = false;
}

std::string History::LineOf(std::string_view entry) {
  std::string line;
  for (const char c : entry) {
    if (c == '\n') {
      line += "\\n";
    } else if (c == '\\') {
      line += "\\\\";
    } else {
      line += c;
    }
  }
  return line + '\n';
}

std::string History::Text() const {
  std::string text;
  for (const std::string& entry : entries_) text += LineOf(entry);
  return text;
}

bool History::Add(std::string_view entry) {
  walking_ = false;
  if (entry.find_first_not_of(" \t\r\n") == std::string_view::npos) return false;
  if (!entries_.empty() && entries_.back() == entry) return false;
  entries_.emplace_back(entry);
  if (entries_.size() > kMostEntries) {
    entries_.erase(entries_.begin(), entries_.end() - static_cast<std::ptrdiff_t>(kMostEntries));
  }
  return true;
}

void History::BeginWalk(const std::string& current) {
  if (walking_) return;
  walking_ = true;
  typed_ = current;
  at_ = entries_.size();
}

std::string History::Older(const std::string& current) {
  BeginWalk(current);
  for (std::size_t i = at_; i > 0; --i) {
    if (!entries_[i - 1].starts_with(typed_) || entries_[i - 1] == current) continue;
    at_ = i - 1;
    return entries_[at_];
  }
  return current;
}

std::string History::Newer(const std::string& current) {
  BeginWalk(current);
  for (std::size_t i = at_ + 1; i < entries_.size(); ++i) {
    if (!entries_[i].starts_with(typed_) || entries_[i] == current) continue;
    at_ = i;
    return entries_[at_];
  }
  at_ = entries_.size();
  return typed_;
}

}  // namespace ide
