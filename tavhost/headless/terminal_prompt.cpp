#include "tavhost/headless/terminal_prompt.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "tavhost/base/ascii.h"
#include "tavhost/base/report.h"
#include "tavhost/headless/answer_fitting.h"
#include "tavhost/headless/offered_path.h"
#include "tavhost/headless/terminal_input.h"
#include "tavhost/ui/models/browser_model.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/image_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"

namespace ui {

namespace {

// More entries than a person reads; the others can still be given by their numbers or texts.
constexpr std::uint32_t kShownEntries = 100;
constexpr std::size_t kDeepest = 20;  // levels that are indented

// Without control bytes, other than tabs and line feeds: a script's text must not drive the
// terminal.
std::string Printable(std::string_view text) {
  std::string out;
  for (const char byte : text) {
    const auto code = static_cast<unsigned char>(byte);
    const bool isControl = (code < 0x20 && byte != '\n' && byte != '\t') || code == 0x7F;
    out += isControl ? '?' : byte;
  }
  return out;
}

void PrintLine(std::string_view text) { report::Text(Printable(text) + '\n'); }

// A word that answers a window of one kind, as `/cancel` does every window.
struct OwnWord {
  std::string_view name;
  std::function<bool(std::string& reason)> take;
};

// Asks for lines until `take` accepts one by ending the window. It returns false for one that does
// not fit, or does not end the window yet, and puts what is to be said of it into its second
// argument.
template <typename Take>
AskOutcome AskUntil(ModalModel& window, const std::string& prompt, Take take,
                    const OwnWord& own = {}) {
  for (;;) {
    report::Text(prompt);
    std::string line;
    switch (ReadTerminalLine(line)) {
      case LineOutcome::kEnd:
        report::Text("\n");
        return AskOutcome::kNoInput;
      case LineOutcome::kStopped:
        report::Text("\n");
        return AskOutcome::kStopped;
      case LineOutcome::kLine:
        break;
    }
    if (line == "/cancel") {
      window.End(kCancelButton);
      return AskOutcome::kAnswered;
    }
    std::string reason;
    bool isTaken = false;
    if (own.take && line == own.name) {
      isTaken = own.take(reason);
    } else {
      // `//` stands for a slash at the start of a text.
      if (line.starts_with("//")) line.erase(0, 1);
      isTaken = take(line, reason);
    }
    if (isTaken) return AskOutcome::kAnswered;
    PrintLine("  " + reason);
  }
}

// The words of a line. Behind `!"` blanks are part of the word, up to the next quote.
std::vector<std::string> Words(std::string_view line) {
  std::vector<std::string> words;
  std::string word;
  bool isQuoted = false;
  bool isEscaped = false;
  for (const char byte : line) {
    const bool isQuote = byte == '"' && !isEscaped && (isQuoted || word == "!");
    isEscaped = isQuoted && byte == '\\' && !isEscaped;
    if (isQuote) isQuoted = !isQuoted;
    if (isQuoted || (byte != ' ' && byte != ',' && byte != '\t')) {
      word += byte;
    } else if (!word.empty()) {
      words.push_back(std::move(word));
      word.clear();
    }
  }
  if (!word.empty()) words.push_back(std::move(word));
  return words;
}

std::optional<std::uint32_t> Number(std::string_view text) {
  std::uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || at != end || text.empty()) return std::nullopt;
  return number;
}

AskOutcome AskMessageBox(MessageBoxModel& box) {
  PrintLine(box.Text());
  std::string prompt;
  for (const ModalButton& button : box.Buttons()) {
    prompt += (prompt.empty() ? "" : ", ") + button.name;
  }
  prompt += " [" + box.DefaultButton() + "]: ";
  return AskUntil(box, prompt, [&](const std::string& line, std::string& reason) {
    if (line.empty()) return box.End(box.DefaultButton());
    const std::string name = ascii::ToLower(line);
    for (const ModalButton& button : box.Buttons()) {
      if (button.name == name || (name.size() == 1 && button.name[0] == name[0])) {
        return box.End(button.name);
      }
    }
    reason = "there is no button " + line;
    return false;
  });
}

AskOutcome AskTextBox(TextBoxModel& box) {
  PrintLine(box.text);
  if (!box.IsEditable()) {
    return AskUntil(
        box, "Enter goes on: ", [&](const std::string&, std::string&) { return box.End("ok"); });
  }
  std::optional<std::string> text;
  const auto take = [&](const std::string& line, std::string& reason) {
    if (line.empty() && !text) return box.End("ok");
    if (line == ".") {
      box.text = text.value_or("");
      return box.End("ok");
    }
    text = text ? *text + '\n' + line : line;
    reason = "(a line with a dot alone ends the text)";
    return false;
  };
  return AskUntil(box, "new text, ended by a line with a dot alone; Enter keeps it: ", take);
}

AskOutcome AskEditField(EditFieldModel& field) {
  const std::string prompt = Printable(field.caption) +
                             (field.text.empty() ? "" : " [" + Printable(field.text) + "]") + ": ";
  const auto takeNoText = [&field](std::string&) {
    field.text.clear();
    return field.End("ok");
  };
  const auto take = [&field](const std::string& line, std::string&) {
    if (!line.empty()) field.text = line;
    return field.End("ok");
  };
  return AskUntil(field, prompt, take, {"/empty", takeNoText});
}

std::string CheckBoxLine(const ListBoxModel::CheckBox& box, std::size_t number) {
  return std::string(box.checked ? "[x]" : "[ ]") + " c" + std::to_string(number) + "  " + box.text;
}

// Turns check boxes over when the line is their numbers alone, "c1 c3", and says how they stand
// then. An entry can still be chosen behind that: nothing ends the window.
bool TurnCheckBoxes(ListBoxModel& list, const std::string& line, std::string& state) {
  std::vector<std::size_t> numbers;
  for (const std::string& word : Words(line)) {
    if (word.size() < 2 || ascii::ToLower(word[0]) != 'c') return false;
    const std::optional<std::uint32_t> number = Number(std::string_view(word).substr(1));
    if (!number || *number < 1 || *number > list.CheckBoxes().size()) return false;
    numbers.push_back(*number);
  }
  for (const std::size_t number : numbers) {
    const ListBoxModel::CheckBox& box = list.CheckBoxes()[number - 1];
    list.SetChecked(box.text, !list.IsChecked(box.text));  // of boxes of one text the first counts
    state += (state.empty() ? "" : "\n  ") + CheckBoxLine(box, number);
  }
  return !numbers.empty();
}

// Reads "2 c1", or an entry's text, into the list. False with a reason; the list is then as it was.
bool TakeListLine(ListBoxModel& list, const std::string& line, std::string& reason) {
  if (line.empty()) return true;
  Answer answer;
  answer.element = ElementOf(list);
  std::vector<std::uint32_t> numbers;
  bool isNumbers = true;
  for (const std::string& word : Words(line)) {
    const bool isBox = word.size() > 1 && ascii::ToLower(word[0]) == 'c';
    const std::optional<std::uint32_t> number =
        Number(isBox ? std::string_view(word).substr(1) : std::string_view(word));
    const std::size_t limit = isBox ? list.CheckBoxes().size() : list.Count();
    if (!number || *number < 1 || *number > limit) {
      isNumbers = false;
      break;
    }
    if (isBox) {
      const ListBoxModel::CheckBox& box = list.CheckBoxes()[*number - 1];
      auto& texts = box.checked ? answer.uncheck : answer.check;
      if (!texts) texts.emplace();
      texts->push_back(box.text);
    } else {
      numbers.push_back(*number - 1);
    }
  }
  if (!isNumbers) {
    answer.check.reset();
    answer.uncheck.reset();
    answer.select = {{line}};
  }
  if (isNumbers && !list.IsMultiple() && numbers.size() > 1) {
    reason = "only one entry can be selected";
    return false;
  }
  answer.button = "ok";
  if (const base::Result<void> fit = ApplyAnswer(answer, list); !fit) {
    reason = fit.error().message;
    return false;
  }
  if (isNumbers && !numbers.empty()) {
    list.ClearSelection();
    for (const std::uint32_t index : numbers) list.SetSelected(index, true);
  }
  return true;
}

AskOutcome AskListBox(ListBoxModel& list) {
  if (!list.boxText.empty()) PrintLine(list.boxText);
  for (std::uint32_t i = 0; i < std::min(list.Count(), kShownEntries); ++i) {
    PrintLine((list.IsSelected(i) ? "* " : "  ") + std::to_string(i + 1) + "  " +
              std::string(list.Entry(i)));
  }
  if (list.Count() > kShownEntries) {
    PrintLine("  and " + std::to_string(list.Count() - kShownEntries) + " more");
  }
  for (std::size_t i = 0; i < list.CheckBoxes().size(); ++i) {
    PrintLine(CheckBoxLine(list.CheckBoxes()[i], i + 1));
  }
  std::string prompt = list.IsMultiple() ? "numbers" : "a number";
  if (!list.CheckBoxes().empty()) prompt += ", c1 and so on for check boxes";
  prompt += ", /none; Enter takes it as it stands: ";
  const auto takeNone = [&list](std::string&) {
    list.ClearSelection();
    return list.End("ok");
  };
  const auto take = [&list](const std::string& line, std::string& reason) {
    if (TurnCheckBoxes(list, line, reason)) return false;
    return TakeListLine(list, line, reason) && list.End("ok");
  };
  return AskUntil(list, prompt, take, {"/none", takeNone});
}

AskOutcome AskFileDialog(FileDialogModel& files) {
  if (!files.startPath.empty()) PrintLine("in " + files.startPath);
  for (const FileDialogModel::Filter& filter : files.filters) {
    PrintLine("  " + filter.text + " (" + filter.type + ")");
  }
  const std::vector<std::string> offered = OfferedPaths(files);
  std::string prompt = "a file's path";
  if (files.AllowsMultiple()) prompt += ", Enter behind the last";
  if (!offered.empty()) prompt += " [" + Printable(offered.front()) + "]";
  std::vector<std::string> chosen;
  return AskUntil(files, prompt + ": ", [&](const std::string& line, std::string& reason) {
    if (!line.empty()) chosen.push_back(WrittenPath(files, line));
    if (!line.empty() && files.AllowsMultiple()) {
      reason = std::to_string(chosen.size()) + " chosen";
      return false;
    }
    files.chosen = chosen.empty() ? offered : chosen;
    if (!files.chosen.empty()) return files.End("ok");
    reason = "a path, or /cancel";
    return false;
  });
}

AskOutcome AskDirectoryDialog(DirectoryDialogModel& directory) {
  const std::string offered = directory.path.empty() ? "" : " [" + Printable(directory.path) + "]";
  return AskUntil(directory, "a directory" + offered + ": ",
                  [&](const std::string& line, std::string& reason) {
                    if (line.empty() && directory.path.empty()) {
                      reason = "a path, or /cancel";
                      return false;
                    }
                    if (!line.empty()) directory.path = line;
                    return directory.End("ok");
                  });
}

AskOutcome AskImageDialog(ImageDialogModel& images) {
  const auto count = static_cast<std::uint32_t>(images.entries.size());
  for (std::uint32_t i = 0; i < std::min(count, kShownEntries); ++i) {
    PrintLine("  " + std::to_string(i + 1) + "  " + images.entries[i].name);
  }
  return AskUntil(
      images,
      "a number or a name; Enter for none: ", [&](const std::string& line, std::string& reason) {
        const std::optional<std::uint32_t> number = Number(line);
        if (number && *number >= 1 && *number <= count) {
          images.selected = images.entries[*number - 1].name;
          return images.End("ok");
        }
        const bool isKnown =
            line.empty() ||
            std::any_of(images.entries.begin(), images.entries.end(),
                        [&](const ImageDialogModel::Entry& entry) { return entry.name == line; });
        if (!isKnown) {
          reason = "there is no image " + line;
          return false;
        }
        images.selected = line;
        return images.End("ok");
      });
}

void PrintTree(const TreeListBoxModel& tree) {
  std::uint32_t shown = 0;
  std::size_t depth = 0;
  for (auto item = tree.Next(TreeListBoxModel::kRoot);
       item != TreeListBoxModel::kNone && shown < kShownEntries; item = tree.Next(item), ++shown) {
    depth = 0;
    for (auto above = tree.Parent(item); above != TreeListBoxModel::kRoot;
         above = tree.Parent(above)) {
      ++depth;
    }
    PrintLine((tree.IsSelected(item) ? "* " : "  ") +
              std::string(2 * std::min(depth, kDeepest), ' ') + std::to_string(tree.Id(item)) +
              "  " + std::string(tree.Text(item)));
  }
  if (tree.Count() > shown) PrintLine("  and " + std::to_string(tree.Count() - shown) + " more");
}

constexpr std::string_view kTreeButton = "TREE_LIST_BOX button:";

// A button's name as answers files write it: in quotes when it is more than a word.
std::string ButtonText(const std::string& name) {
  Answer answer;
  answer.element = "TREE_LIST_BOX";
  answer.button = name;
  return AnswerLine(answer).substr(kTreeButton.size());
}

// The name that such a text stands for. Without quotes it is taken as it is.
std::optional<std::string> ButtonOf(const std::string& text) {
  if (!text.starts_with('"')) return text;
  const auto answers = ParseAnswers("", std::string(kTreeButton) + text);
  if (!answers || answers->size() != 1) return std::nullopt;
  return answers->front().button;
}

// Ids to select, `~` in front of an id to deselect it, `!` in front of an added button's name.
bool TakeTreeLine(TreeListBoxModel& tree, const std::string& line, std::string& reason) {
  Answer answer;
  answer.element = ElementOf(tree);
  answer.button = "ok";
  for (const std::string& word : Words(line)) {
    if (word.starts_with('!')) {
      answer.button = ButtonOf(word.substr(1));
      if (answer.button) continue;
      reason = "a button's name is !name or !\"a name\"";
      return false;
    }
    const bool leaves = word.starts_with('~');
    auto& ids = leaves ? answer.deselect : answer.select;
    if (!ids) ids.emplace();
    ids->push_back(leaves ? word.substr(1) : word);
  }
  if (const base::Result<void> fit = ApplyAnswer(answer, tree); !fit) {
    reason = fit.error().message;
    return false;
  }
  return true;
}

AskOutcome AskTree(TreeListBoxModel& tree) {
  if (!tree.headline.empty()) PrintLine(tree.headline);
  PrintTree(tree);
  std::string prompt = "ids to select, ~id to deselect";
  if (!tree.ExtraButtons().empty()) {
    prompt += ", !button for one of";
    for (const TreeListBoxModel::ExtraButton& extra : tree.ExtraButtons()) {
      prompt +=
          (&extra == &tree.ExtraButtons().front() ? " " : ", ") + ButtonText(extra.answerName);
    }
  }
  prompt += "; Enter takes it as it stands: ";
  return AskUntil(tree, prompt, [&](const std::string& line, std::string& reason) {
    return TakeTreeLine(tree, line, reason);
  });
}

void PrintTable(const TableModel& table) {
  std::string scratch;
  if (!table.header.empty()) PrintLine(table.header);
  const auto print = [&](const std::string& number, auto field) {
    std::string line = number;
    for (std::uint32_t column = 0; column < table.Columns(); ++column) {
      line += (column == 0 ? "  " : " | ") + std::string(field(column));
    }
    PrintLine(line);
  };
  print(" ", [&](std::uint32_t column) { return table.Title(column, scratch); });
  const std::uint32_t shown = std::min(table.Rows(), kShownEntries);
  for (std::uint32_t row = 0; row < shown; ++row) {
    print(std::to_string(row + 1),
          [&](std::uint32_t column) { return table.Cell(row, column, scratch); });
  }
  if (table.Rows() > shown) {
    PrintLine("  and " + std::to_string(table.Rows() - shown) + " more");
  }
}

AskOutcome AskBrowser(BrowserModel& browser) {
  PrintTable(browser.Table());
  return AskUntil(browser, "Enter goes on: ", [&](const std::string&, std::string&) {
    return browser.End("close");
  });
}

// "2 1 text" sets the field in row 2 and column 1.
AskOutcome AskEditBrowser(EditBrowserModel& browser) {
  PrintTable(browser.Table());
  const auto take = [&](const std::string& line, std::string& reason) {
    if (line.empty()) return browser.End("ok");
    const std::size_t first = std::min(line.find(' '), line.size());
    const std::size_t second = std::min(line.find(' ', first + 1), line.size());
    const std::uint32_t row = Number(std::string_view(line).substr(0, first)).value_or(0);
    const std::string column = line.substr(first, second - first);
    const std::uint32_t number = Number(column.substr(column.empty() ? 0 : 1)).value_or(0);
    TableModel& table = browser.Table();
    const std::string text = second < line.size() ? line.substr(second + 1) : "";
    const bool fits =
        row > 0 && number > 0 && table.SetCell(row - 1, number - 1 + table.FirstColumn(), text);
    reason = fits ? "(set; Enter ends)" : "a row's and a column's number, and the new text";
    return false;
  };
  return AskUntil(browser,
                  "row, column and new text of a field; Enter takes it as it stands: ", take);
}

}  // namespace

AskOutcome AskInTerminal(ModalModel& window) {
  PrintLine("--- " + window.Title() + " ---");
  switch (window.Kind()) {
    case ModalKind::kMessageBox:
      return AskMessageBox(static_cast<MessageBoxModel&>(window));
    case ModalKind::kTextBox:
      return AskTextBox(static_cast<TextBoxModel&>(window));
    case ModalKind::kEditField:
      return AskEditField(static_cast<EditFieldModel&>(window));
    case ModalKind::kListBox:
      return AskListBox(static_cast<ListBoxModel&>(window));
    case ModalKind::kFileDialog:
      return AskFileDialog(static_cast<FileDialogModel&>(window));
    case ModalKind::kDirectoryDialog:
      return AskDirectoryDialog(static_cast<DirectoryDialogModel&>(window));
    case ModalKind::kImageDialog:
      return AskImageDialog(static_cast<ImageDialogModel&>(window));
    case ModalKind::kTreeListBox:
      return AskTree(static_cast<TreeListBoxModel&>(window));
    case ModalKind::kBrowser:
      return AskBrowser(static_cast<BrowserModel&>(window));
    case ModalKind::kEditBrowser:
      return AskEditBrowser(static_cast<EditBrowserModel&>(window));
  }
  return AskOutcome::kStopped;
}

}  // namespace ui
