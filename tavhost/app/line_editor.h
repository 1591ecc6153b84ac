#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace app {

// Reads lines for a prompt: in a terminal with editing, a history that outlives the program, and
// completion; from anything else as they come.
class LineEditor {
 public:
  // The words that could stand in place of the last word of `before`, the line up to the cursor.
  using Completer = std::function<std::vector<std::string>(std::string_view before)>;

  virtual ~LineEditor() = default;

  // A line without its line feed. Empty at the end of the input, or when a stop was asked for
  // meanwhile.
  virtual std::optional<std::string> Read(const std::string& prompt) = 0;
  // Adds an entry to the history; it may hold several lines.
  virtual void Remember(const std::string& entry) = 0;

  // The best one for standard input.
  static std::unique_ptr<LineEditor> Create(Completer completer);
};

// Platform part: one for a terminal, null when there is none to be had.
std::unique_ptr<LineEditor> CreateTerminalEditor(LineEditor::Completer completer);

}  // namespace app
