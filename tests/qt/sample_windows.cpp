#include "tests/qt/sample_windows.h"
#include "tavhost/ui/models/browser_model.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/drawing_model.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/image_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/table/table_model.h"

#include <algorithm>
#include <filesystem>

namespace sample_windows {

namespace {

using ui::MessageBoxModel;
using ui::MessageKind;

std::string LongText(int lines) {
  std::string text;
  for (int i = 1; i <= lines; ++i) {
    text += "Line " + std::to_string(i) + ": the quick brown fox jumps over the lazy dog.\n";
  }
  return text;
}

std::unique_ptr<ui::ModalModel> Message(MessageKind kind, std::uint32_t style, std::string text,
                                        const char* title = nullptr) {
  auto model = std::make_unique<MessageBoxModel>(kind, style, std::move(text));
  if (title) model->SetTitle(title);
  return model;
}

std::unique_ptr<ui::ModalModel> Text(bool editable, bool fileEditor, std::string text) {
  auto model = std::make_unique<ui::TextBoxModel>(editable, fileEditor);
  model->text = std::move(text);
  if (editable) model->okText = "Save & close";
  if (fileEditor) model->font = ui::FontChoice{"DejaVu Sans Mono", 10};
  return model;
}

std::unique_ptr<ui::ModalModel> Field(std::string caption, std::string text) {
  auto model = std::make_unique<ui::EditFieldModel>(std::move(caption));
  model->SetTitle("tavhost");
  model->text = std::move(text);
  return model;
}

std::unique_ptr<ui::ListBoxModel> List(bool multiple, int entries, int checkBoxes) {
  auto model = std::make_unique<ui::ListBoxModel>(multiple);
  for (int i = 1; i <= entries; ++i) model->Insert("Entry " + std::to_string(i));
  for (int i = 1; i <= checkBoxes; ++i) {
    model->AddCheckBox("Option " + std::to_string(i) + " & more", i % 2 == 1);
  }
  if (entries > 2) model->SetSelected(1, true);
  if (entries > 4 && multiple) model->SetSelected(3, true);
  model->boxText = "Choose what is to be exported. The choice is kept for the next time.";
  return model;
}

std::unique_ptr<ui::ModalModel> OddList() {
  auto model = std::make_unique<ui::ListBoxModel>(true);
  for (const char* entry :
       {"<b>no markup</b> &amp;", "", "two\nlines", "שלום עולם", "🙂 emoji", "\xFF\xFE no UTF-8",
        "a very long entry that is wider than the list "
        "could ever be and has to be scrolled to or cut somewhere"}) {
    model->Insert(entry);
  }
  model->SetTitle("[*] \"quotes\" & <tags>");
  model->okText = "&Take <it>";
  return model;
}

// Parts under parents, in columns where there are several.
std::unique_ptr<ui::TreeListBoxModel> Tree(ui::TreeListBoxModel::Options options, bool images) {
  auto model = std::make_unique<ui::TreeListBoxModel>(options);
  model->SetTitle("Parts");
  model->headline = "Choose the parts that go into the release.";
  const auto icon = [](const char* name) {
    return std::make_shared<const ui::ImageSource>(ui::ImageSource{name, {}});
  };
  for (int group = 1; group <= 4; ++group) {
    const int id = group * 100;
    model->Add(id, -1, "Group " + std::to_string(group) + "\tassembly\t3 parts", true);
    if (images) model->SetImage(model->Find(id), false, icon("folder"));
    for (int part = 1; part <= 3; ++part) {
      model->Add(id + part, id,
                 "Part " + std::to_string(group) + "." + std::to_string(part) + "\tsteel\t" +
                     std::to_string(part * 7) + " kg",
                 false);
      if (!images) continue;
      model->SetImage(model->Find(id + part), false, icon("document"));
      if (part == 2) model->SetImage(model->Find(id + part), true, icon("warning"));
    }
    if (group != 3) model->Expand(model->Find(id), true);
  }
  model->Select(model->Find(102), true);
  return model;
}

std::unique_ptr<ui::ModalModel> TreeWithEverything() {
  ui::TreeListBoxModel::Options options;
  options.multiple = true;
  options.checkBoxes = true;
  options.searchable = true;
  options.columns = 3;
  auto model = Tree(options, true);
  model->Select(model->Find(201), true);
  model->AddButton({"&Details <…>", "details", 2, true});
  return model;
}

std::unique_ptr<ui::ModalModel> Files(std::uint32_t style, bool multiple,
                                      const std::string& start) {
  auto model = std::make_unique<ui::FileDialogModel>(style);
  model->multiple = multiple;
  model->startPath = start;
  model->filters = {{"Texts", "*.txt;*.md"}, {"All files", "*.*"}};
  model->currentFilter = 1;
  model->defaultExtension = "txt";
  if (model->IsSave()) model->fileName = "report.txt";
  return model;
}

std::unique_ptr<ui::ModalModel> Images(const std::string& folder) {
  auto model = std::make_unique<ui::ImageDialogModel>();
  if (folder.empty()) return model;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    model->entries.push_back({file.path().filename().string(), file.path().string()});
  }
  std::sort(model->entries.begin(), model->entries.end(),
            [](const auto& a, const auto& b) { return a.name < b.name; });
  if (!model->entries.empty()) model->selected = model->entries.front().name;
  return model;
}

}  // namespace

std::shared_ptr<ui::TableModel> Parts(bool handles) {
  std::string text = handles ? "Id;Name;Mass;Material;Drawing" : "Name;Mass;Material;Drawing";
  for (int i = 1; i <= 60; ++i) {
    const std::string number = std::to_string(i);
    text += '\n';
    if (handles) text += "P-" + std::to_string(1000 + i) + ';';
    text += "Part " + number + ';' + std::to_string(i * 7 % 50) + '.' + std::to_string(i % 10) +
            ';' + (i % 3 ? "steel" : "\"aluminium\nanodised, 20 µm\"") + ";drawing D" + number +
            " (v" + std::to_string(i % 4 + 1) + ')';
  }
  auto table = std::make_shared<ui::TableModel>(handles);
  const auto owner = std::make_shared<std::string>(std::move(text));
  table->Read(*owner, owner, ';', '\n');
  table->SetAlignment(table->FirstColumn() + 1, ui::TableAlignment::kRight);
  table->SetAlignment(table->FirstColumn() + 2, ui::TableAlignment::kCentre);
  return table;
}

ui::Drawing Pump() {
  using ui::DrawingShape;
  using Kind = DrawingShape::Kind;
  ui::Drawing drawing;
  const auto add = [&drawing](Kind kind, std::vector<ui::DrawingPoint> points) -> DrawingShape& {
    DrawingShape shape;
    shape.kind = kind;
    shape.points = std::move(points);
    shape.pen = {0x33, 0x66, 0x99, 255};
    shape.penWidth = 2;
    shape.fill = {0xDD, 0xEE, 0xFF, 255};
    drawing.shapes.push_back(shape);
    return drawing.shapes.back();
  };
  DrawingShape& box = add(Kind::kRectangle, {{10, 20}, {130, 80}});
  box.radius = 8;
  box.hasFill = true;
  add(Kind::kEllipse, {{200, 20}, {260, 80}}).hasFill = true;
  add(Kind::kPolygon, {{215, 35}, {250, 50}, {215, 65}}).hasFill = true;
  add(Kind::kLine, {{130, 50}, {200, 50}}).dash = ui::DrawingDash::kDashed;
  add(Kind::kPolyline, {{260, 50}, {290, 50}, {290, 120}, {70, 120}, {70, 80}});
  DrawingShape& text = add(Kind::kText, {{70, 54}});
  text.text = "Tank 12";
  text.align = DrawingShape::Align::kCentre;
  text.bold = true;
  DrawingShape& turned = add(Kind::kText, {{0, 0}});
  turned.text = "turned by a group";
  turned.transform = {0.966, 0.259, -0.259, 0.966, 20, 150};
  add(Kind::kImage, {{200, 140}, {250, 180}}).text = "no such picture";
  return drawing;
}

std::vector<Sample> All(const std::string& imageFolder, const std::string& startFolder) {
  std::vector<Sample> samples;
  const auto add = [&samples](const char* name, std::unique_ptr<ui::ModalModel> model) {
    samples.push_back({name, std::move(model), nullptr});
  };
  add("info", Message(MessageKind::kInfo, 0x10, "The report is ready."));
  add("query", Message(MessageKind::kQuery, 0x80 | 0x1000, "Write the report now?", "Report"));
  add("error", Message(MessageKind::kError, 0x100,
                       "The file C:\\data\\report.txt could not be written:\nthere is no space "
                       "left on the device. Free some, then try again."));
  add("warning", Message(MessageKind::kWarning, 0x20, "<b>1 & 2</b> are replaced."));
  add("long message", Message(MessageKind::kInfo, 0x40, LongText(200)));
  add("long word", Message(MessageKind::kWarning, 0x10, std::string(400, 'x')));
  add("empty message", Message(MessageKind::kInfo, 0x10, ""));
  add("view", Text(false, false, LongText(40)));
  add("view of a file", Text(false, true, LongText(40)));
  add("edit", Text(true, false, LongText(10)));
  add("edit of a file", Text(true, true, "func f(a) {\n\treturn a + 1\n}\n"));
  add("field", Field("Name of the part:", "Bracket"));
  add("field with a long caption",
      Field("The name under which the part is to be stored in the library. It must not be longer "
            "than 64 characters and must not contain any of : * ? \" < > |",
            ""));
  add("list", List(false, 12, 0));
  add("list with check boxes", List(true, 200, 2));
  add("list with many check boxes", List(true, 3, 12));
  add("empty list", List(false, 0, 0));
  add("odd list", OddList());
  {
    auto sized = List(true, 20, 1);
    sized->size = SV::Size(300, 260);
    add("sized list", std::move(sized));
  }
  add("tree", Tree({}, false));
  add("tree with everything", TreeWithEverything());
  ui::TreeListBoxModel::Options flat;
  flat.flat = true;
  flat.hasHelp = false;
  flat.hasCancel = false;
  flat.sizeable = false;
  add("flat tree", Tree(flat, true));
  add("empty tree", std::make_unique<ui::TreeListBoxModel>(ui::TreeListBoxModel::Options()));
  add("open", Files(0x1020, true, startFolder));
  add("save", Files(0x2020, false, startFolder));
  auto directory = std::make_unique<ui::DirectoryDialogModel>(startFolder);
  add("directory", std::move(directory));
  add("images", Images(imageFolder));
  add("no images", Images(""));
  {
    auto table = Parts(false);
    auto model = std::make_unique<ui::BrowserModel>(*table, false);
    model->SetTitle("Parts");
    samples.push_back({"browser", std::move(model), std::move(table)});
  }
  {
    auto table = Parts(true);
    table->header = "Parts of the engine";
    table->subtitle = "as built";
    table->modelFormat = "drawing %n (v%v)";
    table->showsLinks = true;
    table->ExpandAll(true);
    auto model = std::make_unique<ui::BrowserModel>(*table, true);
    model->SetTitle("Parts");
    samples.push_back({"large browser", std::move(model), std::move(table)});
  }
  {
    auto table = Parts(true);
    table->header = "Masses";
    auto model = std::make_unique<ui::EditBrowserModel>(*table);
    model->SetTitle("Masses");
    samples.push_back({"edit browser", std::move(model), std::move(table)});
  }
  {
    auto table = std::make_shared<ui::TableModel>(false);
    auto model = std::make_unique<ui::EditBrowserModel>(*table);
    for (bool& shows : model->showsSpecial) shows = false;
    samples.push_back({"empty edit browser", std::move(model), std::move(table)});
  }
  return samples;
}

std::vector<Sample> Three() {
  constexpr long kHeight = 300;
  std::vector<Sample> samples;
  auto list = std::make_unique<ui::ListBoxModel>(true);
  list->SetTitle("Release");
  list->boxText = "What goes into the release?";
  for (const char* const entry : {"guide.pdf", "licence.txt", "parts.csv", "prices.csv",
                                  "program.zip", "readme.txt", "samples.zip"}) {
    list->Insert(entry);
  }
  for (const std::size_t chosen : {0, 2, 4}) list->SetSelected(chosen, true);
  list->AddCheckBox("Send a message to all users", true);
  list->size = SV::Size(300, kHeight);
  samples.push_back({"list", std::move(list), nullptr});

  ui::TreeListBoxModel::Options options;
  options.multiple = true;
  options.checkBoxes = true;
  options.columns = 2;
  auto tree = std::make_unique<ui::TreeListBoxModel>(options);
  tree->SetTitle("Assemblies");
  tree->headline = "Which parts are to be ordered?";
  const auto add = [&tree](std::int32_t id, std::int32_t parent, const char* text) {
    tree->Add(id, parent, text, false);
    if (parent >= 0) tree->Expand(tree->Find(parent), true);
  };
  add(1, -1, "Engine\t4 parts");
  add(2, 1, "Crankshaft\tsteel");
  add(3, 1, "Piston\taluminium");
  add(4, 3, "Ring\tcast iron");
  add(5, 1, "Valve\tsteel");
  add(6, -1, "Frame\t2 parts");
  add(7, 6, "Beam\tsteel");
  add(8, 6, "Bracket\taluminium");
  for (const std::int32_t chosen : {3, 4, 8}) tree->Select(tree->Find(chosen), true);
  tree->size = SV::Size(370, kHeight);
  samples.push_back({"tree", std::move(tree), nullptr});

  auto table = std::make_shared<ui::TableModel>(false);
  const auto owner = std::make_shared<std::string>(
      "Name;Mass;Material;Stock\nBeam;12.4;steel;31\nBracket;0.8;aluminium;140\n"
      "Crankshaft;9.6;steel;6\nPiston;2.5;aluminium;48\nRing;0.1;cast iron;420\n"
      "Valve;0.3;steel;96");
  table->Read(*owner, owner, ';', '\n');
  for (const std::uint32_t column : {1, 3}) {
    table->SetAlignment(table->FirstColumn() + column, ui::TableAlignment::kRight);
  }
  table->header = "Parts in stock";
  auto browser = std::make_unique<ui::BrowserModel>(*table, false);
  browser->SetTitle("Parts");
  browser->size = SV::Size(460, kHeight);
  samples.push_back({"table", std::move(browser), std::move(table)});
  return samples;
}

}  // namespace sample_windows
