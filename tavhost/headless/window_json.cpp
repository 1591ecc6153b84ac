#include "tavhost/headless/window_json.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "tavhost/base/json_writer.h"
#include "tavhost/base/stop.h"
#include "tavhost/headless/answer_fitting.h"
#include "tavhost/ui/answer.h"
#include "tavhost/ui/models/browser_model.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/image_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"
#include "tavhost/ui/table/table_model.h"

namespace ui {

namespace {

using Json = base::JsonWriter;

// More rows of a table than somebody looks through. `row-count` tells how many there are in all,
// and an answer can change every one of them.
constexpr std::uint32_t kShownRows = 1000;

template <typename Model>
const Model& As(const ModalModel& window) {
  return static_cast<const Model&>(window);
}

const char* KindName(MessageKind kind) {
  switch (kind) {
    case MessageKind::kInfo:
      return "info";
    case MessageKind::kQuery:
      return "query";
    case MessageKind::kError:
      return "error";
    case MessageKind::kWarning:
      return "warning";
  }
  return "";
}

void Describe(const MessageBoxModel& box, Json& json) {
  json.Key("kind").String(KindName(box.Message()));
  json.Key("text").String(box.Text());
}

void Describe(const EditFieldModel& field, Json& json) {
  json.Key("caption").String(field.caption);
  json.Key("text").String(field.text);
}

void Describe(const ListBoxModel& list, Json& json) {
  json.Key("caption").String(list.boxText);
  json.Key("multiple").Bool(list.IsMultiple());
  json.Key("entries").BeginArray();
  for (std::uint32_t i = 0; i < list.Count() && !json.IsGivenUp(); ++i) json.String(list.Entry(i));
  json.EndArray();
  json.Key("selected").BeginArray();
  for (const std::uint32_t index : list.Selected()) {
    if (json.IsGivenUp()) break;
    json.String(list.Entry(index));
  }
  json.EndArray();
  json.Key("check-boxes").BeginArray();
  for (const ListBoxModel::CheckBox& box : list.CheckBoxes()) {
    json.BeginObject();
    json.Key("text").String(box.text);
    json.Key("checked").Bool(box.checked);
    json.EndObject();
  }
  json.EndArray();
}

void Describe(const FileDialogModel& files, Json& json) {
  json.Key("save").Bool(files.IsSave());
  json.Key("multiple").Bool(files.AllowsMultiple());
  json.Key("folder").String(files.startPath);
  json.Key("file").String(files.fileName);
  json.Key("extension").String(files.defaultExtension);
  json.Key("filters").BeginArray();
  for (const FileDialogModel::Filter& filter : files.filters) {
    json.BeginObject();
    json.Key("text").String(filter.text);
    json.Key("type").String(filter.type);
    json.EndObject();
  }
  json.EndArray();
  json.Key("current-filter");
  if (files.currentFilter < files.filters.size()) {
    json.String(files.filters[files.currentFilter].text);
  } else {
    json.Null();
  }
}

void Describe(const ImageDialogModel& images, Json& json) {
  json.Key("images").BeginArray();
  for (const ImageDialogModel::Entry& entry : images.entries) json.String(entry.name);
  json.EndArray();
  json.Key("path").String(images.selected);
}

// A flat list of the items from top to bottom, each with its parent's id, however deep the tree is.
void Describe(const TreeListBoxModel& tree, Json& json) {
  json.Key("caption").String(tree.headline);
  json.Key("multiple").Bool(tree.Rules().multiple);
  json.Key("items").BeginArray();
  for (auto item = tree.Next(TreeListBoxModel::kRoot);
       item != TreeListBoxModel::kNone && !json.IsGivenUp(); item = tree.Next(item)) {
    const TreeListBoxModel::Handle above = tree.Parent(item);
    json.BeginObject();
    json.Key("id").Integer(tree.Id(item));
    json.Key("parent");
    if (above == TreeListBoxModel::kRoot) {
      json.Null();
    } else {
      json.Integer(tree.Id(above));
    }
    json.Key("text").String(tree.Text(item));
    json.Key("selectable").Bool(tree.IsSelectable(item));
    json.Key("selected").Bool(tree.IsSelected(item));
    json.EndObject();
  }
  json.EndArray();
}

// Without the column of handles, which answers do not count either.
void Describe(const TableModel& table, Json& json) {
  json.Key("caption").String(table.header);
  json.Key("columns").BeginArray();
  std::string scratch;
  for (std::uint32_t column = table.FirstColumn(); column < table.Columns(); ++column) {
    json.String(table.Title(column, scratch));
  }
  json.EndArray();
  json.Key("row-count").Integer(table.Rows());
  json.Key("rows").BeginArray();
  for (std::uint32_t row = 0; row < std::min(table.Rows(), kShownRows); ++row) {
    json.BeginArray();
    for (std::uint32_t column = table.FirstColumn(); column < table.Columns(); ++column) {
      json.String(table.Cell(row, column, scratch));
    }
    json.EndArray();
  }
  json.EndArray();
}

void DescribeContents(const ModalModel& window, Json& json) {
  switch (window.Kind()) {
    case ModalKind::kMessageBox:
      return Describe(As<MessageBoxModel>(window), json);
    case ModalKind::kTextBox:
      json.Key("text").String(As<TextBoxModel>(window).text);
      return;
    case ModalKind::kEditField:
      return Describe(As<EditFieldModel>(window), json);
    case ModalKind::kListBox:
      return Describe(As<ListBoxModel>(window), json);
    case ModalKind::kFileDialog:
      return Describe(As<FileDialogModel>(window), json);
    case ModalKind::kDirectoryDialog:
      json.Key("path").String(As<DirectoryDialogModel>(window).path);
      return;
    case ModalKind::kImageDialog:
      return Describe(As<ImageDialogModel>(window), json);
    case ModalKind::kTreeListBox:
      return Describe(As<TreeListBoxModel>(window), json);
    case ModalKind::kBrowser:
      return Describe(As<BrowserModel>(window).Table(), json);
    case ModalKind::kEditBrowser:
      return Describe(As<EditBrowserModel>(window).Table(), json);
  }
}

}  // namespace

std::optional<std::string> WindowJson(const ModalModel& window, const std::string& id,
                                      std::size_t limit) {
  Json json(limit, stop::IsRequested);
  json.BeginObject();
  json.Key("id").String(id);
  json.Key("window").String(ElementOf(window));
  json.Key("title").String(window.Title());
  DescribeContents(window, json);
  json.Key("buttons").BeginArray();
  for (const ModalButton& button : window.Buttons()) {
    json.BeginObject();
    json.Key("name").String(button.name);
    json.Key("label").String(button.label);
    if (!window.IsButtonEnabled(button.name)) json.Key("enabled").Bool(false);
    json.EndObject();
  }
  json.EndArray();
  json.Key("default");
  if (window.IsButtonEnabled(window.DefaultButton())) {
    json.String(window.DefaultButton());
  } else {
    json.Null();
  }
  json.Key("answer").String(AnswerLine(AnswerOf(window)));
  json.EndObject();
  std::optional<std::string> text = json.Take();
  if (!text) stop::ThrowIfRequested();
  return text;
}

}  // namespace ui
