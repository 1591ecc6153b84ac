#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/export.h"

namespace ide {

// What was entered at a console, oldest first, and the way back through it.
class TAV_HOST_API History {
 public:
  // More than anyone leafs through; the file stays small.
  static constexpr std::size_t kMostEntries = 2000;

  // A history's file: an entry a line, line feeds and backslashes in it escaped.
  void Read(std::string_view file);
  std::string Text() const;
  // The entry as the file holds it, its line feed included.
  static std::string LineOf(std::string_view entry);

  // False when there is nothing to keep: it is blank, or the same as the last one.
  bool Add(std::string_view entry);

  // The entry before or after the present one that begins with what was typed when the walk began.
  // `current` is what the line holds now; the answer is what it shows next. At the newest end the
  // typed text comes back.
  std::string Older(const std::string& current);
  std::string Newer(const std::string& current);
  // The walk is over: what was shown was entered or changed.
  void EndWalk() { walking_ = false; }

  const std::vector<std::string>& Entries() const { return entries_; }

 private:
  void BeginWalk(const std::string& current);

  std::vector<std::string> entries_;
  bool walking_ = false;
  std::string typed_;
  std::size_t at_ = 0;  // the entry shown; their number: what was typed
};

}  // namespace ide
