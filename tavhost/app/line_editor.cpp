#include "tavhost/app/line_editor.h"

#include <utility>

#include "tavhost/app/standard_streams.h"
#include "tavhost/headless/terminal_input.h"

namespace app {

namespace {

class PlainReader final : public LineEditor {
 public:
  explicit PlainReader(bool withPrompt) : withPrompt_(withPrompt) {}

  std::optional<std::string> Read(const std::string& prompt) override {
    if (withPrompt_) Print(prompt);
    FlushOutput();
    std::string line;
    // Dialogs that ask in the terminal read by the same function, so that neither takes lines that
    // are meant for the other.
    if (ui::ReadTerminalLine(line) != ui::LineOutcome::kLine) return std::nullopt;
    return line;
  }
  void Remember(const std::string&) override {}

 private:
  bool withPrompt_;
};

}  // namespace

std::unique_ptr<LineEditor> LineEditor::Create(Completer completer) {
  const bool terminal = IsInputTerminal();
  if (terminal && IsOutputTerminal()) {
    if (auto editor = CreateTerminalEditor(std::move(completer))) return editor;
  }
  return std::make_unique<PlainReader>(terminal);
}

}  // namespace app
