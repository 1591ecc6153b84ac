#include "tavhost/headless/window_json.h"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>

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

using Json = nlohmann::ordered_json;

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
  json["kind"] = KindName(box.Message());
  json["text"] = box.Text();
}

void Describe(const EditFieldModel& field, Json& json) {
  json["caption"] = field.caption;
  json["text"] = field.text;
}

void Describe(const ListBoxModel& list, Json& json) {
  json["caption"] = list.boxText;
  json["multiple"] = list.IsMultiple();
  json["entries"] = Json::array();
  for (std::uint32_t i = 0; i < list.Count(); ++i) json["entries"].push_back(list.Entry(i));
  json["selected"] = Json::array();
  for (const std::uint32_t index : list.Selected()) json["selected"].push_back(list.Entry(index));
  json["check-boxes"] = Json::array();
  for (const ListBoxModel::CheckBox& box : list.CheckBoxes()) {
    json["check-boxes"].push_back({{"text", box.text}, {"checked", box.checked}});
  }
}

void Describe(const FileDialogModel& files, Json& json) {
  json["save"] = files.IsSave();
  json["multiple"] = files.AllowsMultiple();
  json["folder"] = files.startPath;
  json["file"] = files.fileName;
  json["extension"] = files.defaultExtension;
  json["filters"] = Json::array();
  for (const FileDialogModel::Filter& filter : files.filters) {
    json["filters"].push_back({{"text", filter.text}, {"type", filter.type}});
  }
  json["current-filter"] = files.currentFilter < files.filters.size()
                               ? Json(files.filters[files.currentFilter].text)
                               : Json(nullptr);
}

void Describe(const ImageDialogModel& images, Json& json) {
  json["images"] = Json::array();
  for (const ImageDialogModel::Entry& entry : images.entries) json["images"].push_back(entry.name);
  json["path"] = images.selected;
}

// A flat list of the items from top to bottom, each with its parent's id, however deep the tree is.
void Describe(const TreeListBoxModel& tree, Json& json) {
  json["caption"] = tree.headline;
  json["multiple"] = tree.Rules().multiple;
  json["items"] = Json::array();
  for (auto item = tree.Next(TreeListBoxModel::kRoot); item != TreeListBoxModel::kNone;
       item = tree.Next(item)) {
    const TreeListBoxModel::Handle above = tree.Parent(item);
    json["items"].push_back(
        {{"id", tree.Id(item)},
         {"parent", above == TreeListBoxModel::kRoot ? Json(nullptr) : Json(tree.Id(above))},
         {"text", tree.Text(item)},
         {"selectable", tree.IsSelectable(item)},
         {"selected", tree.IsSelected(item)}});
  }
}

// Without the column of handles, which answers do not count either.
void Describe(const TableModel& table, Json& json) {
  json["caption"] = table.header;
  json["columns"] = Json::array();
  std::string scratch;
  for (std::uint32_t column = table.FirstColumn(); column < table.Columns(); ++column) {
    json["columns"].push_back(table.Title(column, scratch));
  }
  json["row-count"] = table.Rows();
  json["rows"] = Json::array();
  for (std::uint32_t row = 0; row < std::min(table.Rows(), kShownRows); ++row) {
    Json cells = Json::array();
    for (std::uint32_t column = table.FirstColumn(); column < table.Columns(); ++column) {
      cells.push_back(table.Cell(row, column, scratch));
    }
    json["rows"].push_back(std::move(cells));
  }
}

void DescribeContents(const ModalModel& window, Json& json) {
  switch (window.Kind()) {
    case ModalKind::kMessageBox:
      return Describe(As<MessageBoxModel>(window), json);
    case ModalKind::kTextBox:
      json["text"] = As<TextBoxModel>(window).text;
      return;
    case ModalKind::kEditField:
      return Describe(As<EditFieldModel>(window), json);
    case ModalKind::kListBox:
      return Describe(As<ListBoxModel>(window), json);
    case ModalKind::kFileDialog:
      return Describe(As<FileDialogModel>(window), json);
    case ModalKind::kDirectoryDialog:
      json["path"] = As<DirectoryDialogModel>(window).path;
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

std::string WindowJson(const ModalModel& window, const std::string& id) {
  Json json = Json::object();  // one that becomes it later does not bear want of memory
  json["id"] = id;
  json["window"] = ElementOf(window);
  json["title"] = window.Title();
  DescribeContents(window, json);
  json["buttons"] = Json::array();
  for (const ModalButton& button : window.Buttons()) {
    json["buttons"].push_back({{"name", button.name}, {"label", button.label}});
  }
  json["default"] = window.DefaultButton();
  json["answer"] = AnswerLine(AnswerOf(window));
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace ui
