#include "tavhost/headless/answer_fitting.h"
#include "tavhost/base/quoted.h"
#include "tavhost/headless/offered_path.h"
#include "tavhost/ui/models/browser_model.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/image_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"
#include "tavhost/ui/table/table_model.h"

#include <charconv>
#include <cstdint>
#include <set>
#include <tl/expected.hpp>

namespace ui {

namespace {

template <typename Model>
Model& As(ModalModel& window) {
  return static_cast<Model&>(window);
}
template <typename Model>
const Model& As(const ModalModel& window) {
  return static_cast<const Model&>(window);
}

// The buttons that are offered. `cancel` closes a window that has no such button too.
std::string Choices(const ModalModel& window) {
  std::string names;
  for (const ModalButton& button : window.Buttons()) {
    names += (names.empty() ? "" : ", ") + button.name;
  }
  return names.empty() ? std::string(kCancelButton) : names;
}

std::string WithArticle(std::string_view element) {
  constexpr std::string_view kVowels = "AEIOU";
  const bool isVowel = kVowels.find(element.front()) != kVowels.npos;
  return (isVowel ? "an " : "a ") + std::string(element);
}

// Whether the answer presses what nobody could: a greyed button, by its name or by its result. The
// button's name; empty when it does not. Results that no button gives are free.
std::string GreyedButton(const Answer& answer, const ModalModel& window) {
  if (!answer.result) {
    const std::string button = answer.button.value_or(ImpliedButton(window));
    return window.IsButtonEnabled(button) ? "" : button;
  }
  std::string greyed;
  for (const ModalButton& button : window.Buttons()) {
    if (button.result != *answer.result) continue;
    if (window.IsButtonEnabled(button.name)) return "";
    if (greyed.empty()) greyed = button.name;
  }
  return greyed;
}

// What each of these has done by the time that something does not fit, it undoes.

base::Result<void> ApplyToList(const Answer& answer, ListBoxModel& list) {
  std::vector<std::uint32_t> before;
  if (answer.select) {
    if (!list.IsMultiple() && answer.select->size() > 1) {
      return base::Failure("only one entry can be selected");
    }
    before = list.Selected();
    list.ClearSelection();
    for (const std::string& entry : *answer.select) {
      if (list.Select(entry)) continue;
      list.ClearSelection();
      for (const std::uint32_t index : before) list.SetSelected(index, true);
      return base::Failure("the list has no entry " + base::Quoted(entry));
    }
  }
  const std::vector<ListBoxModel::CheckBox> boxesBefore = list.CheckBoxes();
  const auto set = [&list](const std::optional<std::vector<std::string>>& texts,
                           bool checked) -> base::Result<void> {
    for (const std::string& text : texts.value_or(std::vector<std::string>())) {
      if (!list.SetChecked(text, checked))
        return base::Failure("there is no check box " + base::Quoted(text));
    }
    return {};
  };
  base::Result<void> fit = set(answer.check, true);
  if (fit) fit = set(answer.uncheck, false);
  if (!fit) {
    list.CheckBoxes() = boxesBefore;
    if (answer.select) {
      list.ClearSelection();
      for (const std::uint32_t index : before) list.SetSelected(index, true);
    }
  }
  return fit;
}

// Ids that are to be selected come to the selection, the others leave it. With the selection that
// this makes the button has to be one that can be pressed.
base::Result<void> ApplyToTree(const Answer& answer, TreeListBoxModel& tree) {
  const std::vector<TreeListBoxModel::Handle> before = tree.Selected();
  const auto set = [&tree](const std::optional<std::vector<std::string>>& ids,
                           bool select) -> base::Result<void> {
    for (const std::string& text : ids.value_or(std::vector<std::string>())) {
      std::int32_t id = 0;
      const char* const end = text.data() + text.size();
      const auto [at, error] = std::from_chars(text.data(), end, id);
      if (error != std::errc() || at != end)
        return base::Failure(base::Quoted(text) + " is no id of an item");
      const TreeListBoxModel::Handle item = tree.Find(id);
      if (item == TreeListBoxModel::kNone) return base::Failure("the tree has no item " + text);
      if (!tree.Select(item, select)) return base::Failure("item " + text + " cannot be selected");
    }
    return {};
  };
  if (!tree.Rules().multiple && answer.select && answer.select->size() > 1) {
    return base::Failure("only one item can be selected");
  }
  base::Result<void> fit = set(answer.deselect, false);
  if (fit) fit = set(answer.select, true);
  if (const std::string greyed = GreyedButton(answer, tree); fit && !greyed.empty()) {
    fit = base::Failure("the button " + greyed + " cannot be pressed while nothing is selected");
  }
  if (!fit) {
    tree.ClearSelection();
    for (const TreeListBoxModel::Handle item : before) tree.Select(item, true);
  }
  return fit;
}

bool ApplyCell(const Answer::Cell& cell, TableModel& table) {
  using Kind = Answer::Cell::Kind;
  // Numbers below 1 become ones that no table reaches.
  const auto row = static_cast<std::uint32_t>(cell.row) - 1;
  const auto column = static_cast<std::uint32_t>(cell.column) - 1;
  const bool hasColumn = cell.column > 0 && column < table.Columns() - table.FirstColumn();
  switch (cell.kind) {
    case Kind::kCell:
      return hasColumn && table.SetCell(row, column + table.FirstColumn(), cell.text);
    case Kind::kInsertRow:
      return table.InsertRow(row);
    case Kind::kDeleteRow:
      return table.DeleteRow(row);
    case Kind::kSortRows:
      return hasColumn && table.SortRows(column + table.FirstColumn(), cell.descending);
  }
  return false;
}

// Names what the table lacks.
std::string Misfit(const Answer::Cell& cell, const TableModel& table) {
  using Kind = Answer::Cell::Kind;
  const auto columns = static_cast<std::int64_t>(table.Columns() - table.FirstColumn());
  const bool hasRow = cell.row > 0 && cell.row <= static_cast<std::int64_t>(table.Rows());
  if (cell.kind == Kind::kSortRows || (cell.kind == Kind::kCell && hasRow)) {
    return "the table has no column " + std::to_string(cell.column) + ", it has " +
           std::to_string(columns);
  }
  return "the table has no row " + std::to_string(cell.row) + ", it has " +
         std::to_string(table.Rows());
}

// Whether the window has what it takes: a command that it does not show does not work by keys
// either.
bool IsOffered(Answer::Cell::Kind kind, const EditBrowserModel& browser) {
  using Kind = Answer::Cell::Kind;
  switch (kind) {
    case Kind::kCell:
      return true;
    case Kind::kInsertRow:
      return browser.showsSpecial[EditBrowserModel::kInsertRow];
    case Kind::kDeleteRow:
      return browser.showsSpecial[EditBrowserModel::kDeleteRow];
    case Kind::kSortRows:
      return browser.showsSpecial[EditBrowserModel::kSortRows];
  }
  return false;
}

base::Result<void> ApplyToTable(const Answer& answer, EditBrowserModel& browser) {
  TableModel& table = browser.Table();
  const std::size_t before = table.ChangeCount();
  for (const Answer::Cell& cell : answer.cells) {
    const bool isOffered = IsOffered(cell.kind, browser);
    if (isOffered && ApplyCell(cell, table)) continue;
    std::string misfit = isOffered ? Misfit(cell, table)
                                   : "the window has no command " + std::string(NameOf(cell.kind));
    while (table.ChangeCount() > before) table.Undo();
    return base::Failure(std::move(misfit));
  }
  return {};
}

// The script's own text fits as it is.
base::Result<void> ApplyToField(const Answer& answer, EditFieldModel& field) {
  if (!answer.text || *answer.text == field.text) return {};
  if (WithoutLineBreaks(*answer.text) != *answer.text) {
    return base::Failure("the field holds one line, and the text has a line break");
  }
  field.text = *answer.text;
  return {};
}

base::Result<void> ApplyContents(const Answer& answer, ModalModel& window) {
  switch (window.Kind()) {
    case ModalKind::kMessageBox:
      return {};
    case ModalKind::kTextBox:
      if (answer.text) As<TextBoxModel>(window).text = *answer.text;
      return {};
    case ModalKind::kEditField:
      return ApplyToField(answer, As<EditFieldModel>(window));
    case ModalKind::kListBox:
      return ApplyToList(answer, As<ListBoxModel>(window));
    case ModalKind::kTreeListBox:
      return ApplyToTree(answer, As<TreeListBoxModel>(window));
    case ModalKind::kBrowser:
      return {};
    case ModalKind::kEditBrowser:
      return ApplyToTable(answer, As<EditBrowserModel>(window));
    case ModalKind::kFileDialog: {
      auto& files = As<FileDialogModel>(window);
      if (answer.path && answer.path->size() > 1 && !files.AllowsMultiple()) {
        return base::Failure("only one file can be chosen");
      }
      files.chosen = answer.path.value_or(std::vector<std::string>());
      return {};
    }
    case ModalKind::kDirectoryDialog:
      if (!answer.path) return {};
      if (answer.path->size() != 1) return base::Failure("exactly one directory can be chosen");
      As<DirectoryDialogModel>(window).path = answer.path->front();
      return {};
    case ModalKind::kImageDialog:
      if (answer.path && answer.path->size() > 1)
        return base::Failure("only one image can be chosen");
      As<ImageDialogModel>(window).selected =
          answer.path && !answer.path->empty() ? answer.path->front() : std::string();
      return {};
  }
  return {};
}

void DescribeList(const ListBoxModel& list, Answer& answer) {
  answer.select.emplace();
  for (const std::uint32_t index : list.Selected()) {
    answer.select->emplace_back(list.Entry(index));
  }
  for (const ListBoxModel::CheckBox& box : list.CheckBoxes()) {
    // Boxes of one text count as one, the first.
    if (list.IsChecked(box.text) != box.checked) continue;
    std::optional<std::vector<std::string>>& texts = box.checked ? answer.check : answer.uncheck;
    if (!texts) texts.emplace();
    texts->push_back(box.text);
  }
}

// What has changed since the dialog started.
void DescribeTree(const TreeListBoxModel& tree, Answer& answer) {
  const std::vector<TreeListBoxModel::Handle>& before = tree.SelectedAtStart();
  const std::set<TreeListBoxModel::Handle> selectedBefore(before.begin(), before.end());
  const auto add = [&tree](std::optional<std::vector<std::string>>& ids,
                           TreeListBoxModel::Handle item) {
    if (!ids) ids.emplace();
    ids->push_back(std::to_string(tree.Id(item)));
  };
  for (const TreeListBoxModel::Handle item : tree.Selected()) {
    if (!selectedBefore.count(item)) add(answer.select, item);
  }
  for (const TreeListBoxModel::Handle item : before) {
    if (!tree.IsSelected(item)) add(answer.deselect, item);
  }
}

void DescribeTable(const TableModel& table, Answer& answer) {
  using Kind = Answer::Cell::Kind;
  for (const TableChange& change : table.Changes()) {
    Answer::Cell cell;
    cell.row = static_cast<std::int32_t>(change.row) + 1;
    cell.column = static_cast<std::int32_t>(change.column - table.FirstColumn()) + 1;
    cell.text = change.text;
    cell.kind = static_cast<Kind>(change.kind);
    cell.descending = change.descending;
    answer.cells.push_back(std::move(cell));
  }
}

void DescribeFiles(const FileDialogModel& files, Answer& answer) {
  std::vector<std::string> paths = files.HasEnded() ? files.chosen : OfferedPaths(files);
  if (!paths.empty()) answer.path = std::move(paths);
}

}  // namespace

std::string_view ElementOf(const ModalModel& window) {
  switch (window.Kind()) {
    case ModalKind::kMessageBox:
      return "MESSAGE_BOX";
    case ModalKind::kTextBox:
      return As<TextBoxModel>(window).IsEditable() ? "EDIT_BOX" : "VIEW_BOX";
    case ModalKind::kEditField:
      return "EDIT_FIELD";
    case ModalKind::kListBox:
      return "LIST_BOX";
    case ModalKind::kFileDialog:
      return "FILE_DIALOG";
    case ModalKind::kDirectoryDialog:
      return "DIRECTORY_DIALOG";
    case ModalKind::kImageDialog:
      return "IMAGE_DIALOG";
    case ModalKind::kTreeListBox:
      return "TREE_LIST_BOX";
    case ModalKind::kBrowser:
      return "BROWSER";
    case ModalKind::kEditBrowser:
      return "EDIT_BROWSER";
  }
  return "";
}

std::string ImpliedButton(const ModalModel& window) {
  const bool hasOwn =
      window.Kind() == ModalKind::kMessageBox || window.Kind() == ModalKind::kBrowser;
  return hasOwn ? window.DefaultButton() : "ok";
}

base::Result<void> ApplyAnswer(const Answer& answer, ModalModel& window) {
  if (answer.element != ElementOf(window)) {
    return base::Failure(answer.element + " does not answer " + WithArticle(ElementOf(window)));
  }
  if (answer.title && *answer.title != window.Title()) {
    return base::Failure("the window's title is " + base::Quoted(window.Title()) + ", not " +
                         base::Quoted(*answer.title));
  }
  if (base::Result<void> fit = CheckAnswer(answer); !fit) return fit;
  const std::string button = answer.button.value_or(ImpliedButton(window));
  if (!answer.result) {
    bool found = button == kCancelButton;
    for (const ModalButton& candidate : window.Buttons()) found |= candidate.name == button;
    if (!found) {
      return base::Failure("there is no button " + button + "; there are: " + Choices(window));
    }
  }
  if (base::Result<void> fit = ApplyContents(answer, window); !fit) return fit;
  if (answer.result) {
    window.EndWith(*answer.result);
  } else {
    window.End(button);
  }
  return {};
}

Answer AnswerOf(const ModalModel& window) {
  Answer answer;
  answer.element = ElementOf(window);
  if (window.HasGivenTitle()) answer.title = window.Title();
  switch (window.Kind()) {
    case ModalKind::kMessageBox:
      break;
    case ModalKind::kTextBox:
      if (As<TextBoxModel>(window).IsEditable()) answer.text = As<TextBoxModel>(window).text;
      break;
    case ModalKind::kEditField:
      answer.text = As<EditFieldModel>(window).text;
      break;
    case ModalKind::kListBox:
      DescribeList(As<ListBoxModel>(window), answer);
      break;
    case ModalKind::kTreeListBox:
      DescribeTree(As<TreeListBoxModel>(window), answer);
      break;
    case ModalKind::kBrowser:
      break;
    case ModalKind::kEditBrowser:
      DescribeTable(As<EditBrowserModel>(window).Table(), answer);
      break;
    case ModalKind::kFileDialog:
      DescribeFiles(As<FileDialogModel>(window), answer);
      break;
    case ModalKind::kDirectoryDialog:
      answer.path = {{As<DirectoryDialogModel>(window).path}};
      break;
    case ModalKind::kImageDialog:
      if (!As<ImageDialogModel>(window).selected.empty()) {
        answer.path = {{As<ImageDialogModel>(window).selected}};
      }
      break;
  }
  if (!window.HasEnded()) {
    answer.button = ImpliedButton(window);
    if (!window.IsButtonEnabled(*answer.button)) answer.button = kCancelButton;
  } else if (window.EndButton().empty()) {
    answer.result = static_cast<std::int32_t>(window.Result());
  } else {
    answer.button = window.EndButton();
  }
  // By which nothing is chosen.
  if (answer.button == kCancelButton || !CheckAnswer(answer)) answer.path.reset();
  return answer;
}

}  // namespace ui
