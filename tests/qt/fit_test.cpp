// Every window with every kind of text, on small and dense screens, light and dark: nothing is cut,
// off the screen, unreadable or out of the keyboard's reach.
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTextEdit>
#include <functional>
#include <memory>
#include <string>

#include "tavhost/qt/message_window_view.h"
#include "tavhost/qt/percentage_window_view.h"
#include "tavhost/qt/readable_palette.h"
#include "tavhost/qt/style.h"
#include "tavhost/qt/view_factory.h"
#include "tavhost/qt/work_window_view.h"
#include "tavhost/ui/models/browser_model.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/drawing_model.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/image_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/message_window_model.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/ui/models/result_tool_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tavhost/ui/models/text_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"
#include "tavhost/ui/models/work_window_model.h"
#include "tavhost/ui/models/workbench_model.h"
#include "tavhost/ui/table/table_model.h"
#include "tests/qt/dark_palette.h"
#include "tests/qt/qt_fixture.h"
#include "tests/qt/window_faults.h"

namespace {

struct TextKind {
  const char* name;
  std::string text;
};

std::string Lines(int count) {
  std::string text;
  for (int i = 1; i <= count; ++i) {
    text += (i > 1 ? "\n" : "") + std::string("line ") + std::to_string(i) +
            " of a text that goes on and on";
  }
  return text;
}

std::string Repeated(const std::string& part, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += part;
  return text;
}

const std::vector<TextKind>& TextKinds() {
  static const std::vector<TextKind> kinds{
      {"short", "Go on?"},
      {"120 lines", Lines(120)},
      {"long word", std::string(2000, 'W')},
      {"empty", ""},
      {"right-to-left", Repeated("שלום עולם, האם להמשיך? ", 12)},
      {"CJK", Repeated("続行しますか漢字文字列", 30)},
      {"markup", "<b>bold</b> &amp; &lt;i&gt; <table><tr><td>1</table> & <img src=\"x\">"},
  };
  return kinds;
}

// A window of each kind, with a text in each place that a script can fill.
struct Opened {
  std::shared_ptr<void> content;  // what the model shows
  std::unique_ptr<ui::WindowModel> model;
  std::unique_ptr<ui::ModalView> modal;
  std::unique_ptr<QWidget> modeless;

  QWidget& Window() { return modal ? modal->Dialog() : *modeless; }
};

Opened OpenModal(std::unique_ptr<ui::ModalModel> model, const std::string& title,
                 std::shared_ptr<void> content = nullptr) {
  Opened opened;
  model->SetTitle(title);
  model->Begin();
  opened.content = std::move(content);
  opened.modal = ui::MakeModalView(*model, nullptr);
  opened.model = std::move(model);
  opened.modal->Open(0);
  return opened;
}

Opened OpenMessage(const std::string& text, std::uint32_t style) {
  return OpenModal(std::make_unique<ui::MessageBoxModel>(ui::MessageKind::kQuery, style, text),
                   text);
}

Opened OpenText(const std::string& text, bool editable, bool fileEditor) {
  auto model = std::make_unique<ui::TextBoxModel>(editable, fileEditor);
  model->text = text;
  if (editable && !text.empty()) model->okText = text;
  return OpenModal(std::move(model), text);
}

Opened OpenList(const std::string& text, bool multiple, int checkBoxes) {
  auto model = std::make_unique<ui::ListBoxModel>(multiple);
  model->boxText = text;
  if (!text.empty()) model->okText = text;
  for (int i = 0; i < 5; ++i) model->Insert(text);
  for (int i = 0; i < checkBoxes; ++i) model->AddCheckBox(text, i % 2 == 0);
  return OpenModal(std::move(model), text);
}

Opened OpenTree(const std::string& text, const ui::TreeListBoxModel::Options& options,
                bool extraButton) {
  auto model = std::make_unique<ui::TreeListBoxModel>(options);
  model->headline = text;
  if (!text.empty()) model->okText = model->cancelText = text;
  for (int i = 0; i < 4; ++i) {
    model->Add(i, i == 3 ? 0 : ui::TreeListBoxModel::kNoParent, text + "\t" + text, i == 0);
  }
  model->Select(model->Find(1), true);
  if (extraButton) model->AddButton({text, "extra", 1, true});
  return OpenModal(std::move(model), text);
}

std::shared_ptr<ui::TableModel> Table(const std::string& text) {
  std::string quoted;
  for (const char byte : text) quoted += byte == '"' ? std::string("\"\"") : std::string(1, byte);
  const std::string field = '"' + quoted + '"';
  auto table = std::make_shared<ui::TableModel>(false);
  const auto owner = std::make_shared<std::string>(field + ";b\n" + field + ";" + field + "\n1;2");
  EXPECT_TRUE(table->Read(*owner, owner, ';', '\n'));
  table->header = text;
  table->subtitle = text;
  return table;
}

Opened OpenBrowser(const std::string& text, bool large) {
  auto table = Table(text);
  auto model = std::make_unique<ui::BrowserModel>(*table, large);
  return OpenModal(std::move(model), text, std::move(table));
}

Opened OpenEditBrowser(const std::string& text) {
  auto table = Table(text);
  auto model = std::make_unique<ui::EditBrowserModel>(*table);
  if (!text.empty()) model->okText = text;
  return OpenModal(std::move(model), text, std::move(table));
}

Opened OpenFiles(const std::string& text, std::uint32_t style) {
  auto model = std::make_unique<ui::FileDialogModel>(style);
  model->filters = {{text, "*.txt"}, {"All files", "*.*"}};
  model->fileName = text.substr(0, text.find('\n'));
  return OpenModal(std::move(model), text);
}

Opened OpenImages(const std::string& text) {
  auto model = std::make_unique<ui::ImageDialogModel>();
  for (int i = 0; i < 3; ++i) model->entries.push_back({text + std::to_string(i), "none"});
  return OpenModal(std::move(model), text);
}

Opened OpenModeless(std::unique_ptr<ui::WindowModel> model, std::unique_ptr<QWidget> view) {
  Opened opened;
  opened.model = std::move(model);
  opened.modeless = std::move(view);
  opened.modeless->show();
  return opened;
}

Opened OpenMessageWindow(const std::string& text) {
  auto model = std::make_unique<ui::MessageWindowModel>(text);
  auto view = std::make_unique<ui::MessageWindowView>(*model, nullptr);
  return OpenModeless(std::move(model), std::move(view));
}

Opened OpenProgress(const std::string& text, bool second) {
  auto model = std::make_unique<ui::PercentageWindowModel>(text, true, second);
  model->message = model->message2 = text;
  model->SetPercentage(30);
  model->SetPercentage2(70);
  auto view = std::make_unique<ui::PercentageWindowView>(*model, nullptr);
  return OpenModeless(std::move(model), std::move(view));
}

// Tools in their docks, each text a title too.
Opened OpenTools(const std::string& text, std::shared_ptr<ui::WindowModel> content) {
  auto model = std::make_unique<ui::WorkWindowModel>();
  ui::WorkbenchModel& tools = model->workbench;
  ui::Tool& tool = tools.Add("tool", content.get(), 0);
  tools.SetTitle(tool, text);
  tools.SetSubtitle(tool, text);
  tools.SetVisible(tool, true);
  auto view = std::make_unique<ui::WorkWindowView>(*model);
  Opened opened = OpenModeless(std::move(model), std::move(view));
  opened.content = std::move(content);
  return opened;
}

Opened OpenOutput(const std::string& text) {
  auto output = std::make_shared<ui::TextModel>();
  output->Replace(text);
  return OpenTools(text, std::move(output));
}

// Two tables to leaf through, with every button that a script can ask for.
Opened OpenResults(const std::string& text) {
  struct Results {
    std::shared_ptr<ui::TableModel> one;
    std::shared_ptr<ui::TableModel> other;
    ui::ResultToolModel model;
  };
  const auto results = std::make_shared<Results>();
  results->one = Table(text);
  results->other = Table(text);
  ui::ResultToolModel& model = results->model;
  for (int i = 0; i < ui::ResultToolModel::kButtonCount; ++i) {
    model.ShowButton(static_cast<ui::ResultToolModel::Button>(i), true);
  }
  model.Add(*results->one);
  model.Add(*results->other);
  return OpenTools(text, std::shared_ptr<ui::WindowModel>(results, &model));
}

Opened OpenDrawing(const std::string& text, bool mistake) {
  auto drawing = std::make_shared<ui::DrawingModel>();
  ui::Drawing shown;
  shown.shapes.resize(1);
  shown.shapes[0].kind = ui::DrawingShape::Kind::kText;
  shown.shapes[0].points = {{0, 0}};
  shown.shapes[0].text = text;
  if (mistake) {
    drawing->ShowError(text);
  } else {
    drawing->Show(shown);
  }
  return OpenTools(text, std::move(drawing));
}

struct WindowKind {
  const char* name;
  std::function<Opened(const std::string& text)> open;
};

ui::TreeListBoxModel::Options FullTree() {
  ui::TreeListBoxModel::Options options;
  options.multiple = true;
  options.checkBoxes = true;
  options.searchable = true;
  options.columns = 2;
  return options;
}

const std::vector<WindowKind>& WindowKinds() {
  using Text = const std::string&;
  static const std::vector<WindowKind> kinds{
      {"message box", [](Text text) { return OpenMessage(text, 0x80); }},
      {"message box, one button", [](Text text) { return OpenMessage(text, 0x10); }},
      {"view box", [](Text text) { return OpenText(text, false, false); }},
      {"edit box", [](Text text) { return OpenText(text, true, false); }},
      {"file editor", [](Text text) { return OpenText(text, true, true); }},
      {"edit field",
       [](Text text) {
         auto model = std::make_unique<ui::EditFieldModel>(text);
         model->text = text;
         return OpenModal(std::move(model), text);
       }},
      {"list box", [](Text text) { return OpenList(text, false, 2); }},
      {"list box, many check boxes", [](Text text) { return OpenList(text, true, 12); }},
      {"tree list box", [](Text text) { return OpenTree(text, {}, false); }},
      {"tree list box with everything", [](Text text) { return OpenTree(text, FullTree(), true); }},
      {"browser", [](Text text) { return OpenBrowser(text, false); }},
      {"large browser", [](Text text) { return OpenBrowser(text, true); }},
      {"edit browser", OpenEditBrowser},
      {"file dialog", [](Text text) { return OpenFiles(text, ui::FileDialogModel::kOpen); }},
      {"save dialog", [](Text text) { return OpenFiles(text, ui::FileDialogModel::kSaveAs); }},
      {"directory dialog",
       [](Text text) { return OpenModal(std::make_unique<ui::DirectoryDialogModel>(""), text); }},
      {"image dialog", OpenImages},
      {"message window", OpenMessageWindow},
      {"percentage window", [](Text text) { return OpenProgress(text, false); }},
      {"percentage window, two bars", [](Text text) { return OpenProgress(text, true); }},
      {"output window", OpenOutput},
      {"dockable browser", OpenResults},
      {"graphrep tool", [](Text text) { return OpenDrawing(text, false); }},
      {"graphrep tool, a mistake", [](Text text) { return OpenDrawing(text, true); }},
  };
  return kinds;
}

class Fit : public QtTest {
 protected:
  static QStringList FaultsIn(const WindowKind& window, const TextKind& text,
                              QStringList (&find)(QWidget&) = FaultsOf) {
    Opened opened = window.open(text.text);
    if (opened.modal) {
      EXPECT_TRUE(QTest::qWaitForWindowActive(&opened.Window()));
    } else {
      // It does not take the keyboard by itself; a person who wants it there clicks on it.
      EXPECT_TRUE(QTest::qWaitForWindowExposed(&opened.Window()));
      opened.Window().activateWindow();
      EXPECT_TRUE(QTest::qWaitForWindowActive(&opened.Window()));
    }
    QApplication::processEvents();
    return find(opened.Window());
  }
};

TEST_F(Fit, EveryWindowShowsEveryText) {
  Toolkit();
  QApplication::setStyle(ui::MakeStyle(QStringLiteral("fusion")));
  const QString screen = qEnvironmentVariable("TAVHOST_SCREEN");
  const QPalette light = QApplication::palette();
  for (const auto& [look, palette] :
       {std::pair("light", light), std::pair("dark", DarkPalette())}) {
    QApplication::setPalette(palette);
    for (const WindowKind& window : WindowKinds()) {
      for (const TextKind& text : TextKinds()) {
        const QString cell = QStringLiteral("%1 | %2 | %3 | %4")
                                 .arg(QLatin1String(window.name), QLatin1String(text.name), screen,
                                      QLatin1String(look));
        const QStringList faults = FaultsIn(window, text);
        EXPECT_TRUE(faults.isEmpty())
            << qPrintable(cell) << ": " << qPrintable(faults.join(QStringLiteral("; ")));
      }
    }
  }
}

// On the smallest screens too.
TEST_F(Fit, EveryControlIsInReach) {
  Toolkit();
  QApplication::setStyle(ui::MakeStyle(QStringLiteral("fusion")));
  for (const WindowKind& window : WindowKinds()) {
    for (const TextKind& text : TextKinds()) {
      const QStringList faults = FaultsIn(window, text, FaultsOfReach);
      EXPECT_TRUE(faults.isEmpty()) << window.name << " | " << text.name << ": "
                                    << qPrintable(faults.join(QStringLiteral("; ")));
    }
  }
}

// Whatever sizes a script gives.
TEST_F(Fit, NoSizeOfAScriptIsLargerThanTheScreen) {
  Toolkit();
  QApplication::setStyle(ui::MakeStyle(QStringLiteral("fusion")));
  struct Wanted {
    const char* name;
    std::optional<SV::Size> least;
    long buttonWidth;
    int buttons;
    bool sizeable;
  };
  constexpr long kHuge = 2147483647;
  const std::vector<Wanted> all{
      {"a large minimum", SV::Size(2000, 2000), 0, 0, true},
      {"a huge minimum width", SV::Size(kHuge, 10), 0, 0, true},
      {"wide buttons", std::nullopt, 3000, 1, true},
      {"huge buttons", std::nullopt, kHuge, 1, true},
      {"13 buttons", std::nullopt, 0, 13, true},
      {"40 buttons", std::nullopt, 0, 40, true},
      {"40 buttons in a window of one size", std::nullopt, 0, 40, false},
  };
  for (const Wanted& wanted : all) {
    ui::TreeListBoxModel::Options options;
    options.sizeable = wanted.sizeable;
    auto model = std::make_unique<ui::TreeListBoxModel>(options);
    model->minimum = wanted.least;
    model->buttonWidth = wanted.buttonWidth;
    for (int i = 0; i < wanted.buttons; ++i) {
      const std::string name = "button " + std::to_string(i);
      model->AddButton({name, name, 1 + i, true});
    }
    Opened opened = OpenModal(std::move(model), wanted.name);
    EXPECT_TRUE(QTest::qWaitForWindowActive(&opened.Window()));
    QApplication::processEvents();
    const QStringList faults = FaultsOf(opened.Window());
    EXPECT_TRUE(faults.isEmpty()) << wanted.name << ": "
                                  << qPrintable(faults.join(QStringLiteral("; ")));
  }
}

// The minimum sizes of tools count as far as the screen goes.
TEST_F(Fit, NoToolMakesTheWorkWindowLargerThanTheScreen) {
  Toolkit();
  for (const long width : {1500L, 5000L}) {
    ui::WorkWindowModel model;
    ui::TextModel output;
    ui::DrawingModel drawing;
    ui::WorkbenchModel& tools = model.workbench;
    ui::WorkWindowView view(model);
    view.show();
    ui::Tool& beside = tools.Add("output", &output, 0);
    tools.SetVisible(beside, true);
    ui::Tool& tool = tools.Add("drawing", &drawing,
                               ui::tool_flags::kMinimumWidth | ui::tool_flags::kMinimumHeight);
    const SV::Size size(width, width * 3 / 5);
    tools.SetLocation(tool, {ui::ToolSide::kRight, 0, 0});
    tools.SetSize(tool, &ui::Tool::leastVerticalSize, size);
    tools.SetSize(tool, &ui::Tool::leastHorizontalSize, size);
    tools.SetVisible(tool, true);
    QApplication::processEvents();
    const QRect screen = view.screen()->availableGeometry();
    EXPECT_TRUE(screen.contains(view.frameGeometry()))
        << view.frameGeometry().width() << "x" << view.frameGeometry().height();
  }
}

// The finder finds: each fault made on purpose is told, and a window without one has none.
TEST_F(Fit, FaultsAreFound) {
  Toolkit();
  const auto faultsOf = [](const std::function<void(QDialog&)>& fill) {
    QDialog dialog;
    dialog.resize(400, 200);
    dialog.move(10, 40);
    auto* const field = new QLineEdit(&dialog);
    field->setGeometry(10, 150, 200, field->sizeHint().height());
    fill(dialog);
    dialog.setModal(true);
    dialog.show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
    field->setFocus();
    return FaultsOf(dialog).join(QStringLiteral("; ")).toStdString();
  };
  const auto label = [](QDialog& dialog, const QRect& place, const char* text) {
    auto* const made = new QLabel(QLatin1String(text), &dialog);
    made->setGeometry(place);
    return made;
  };
  EXPECT_EQ(faultsOf([](QDialog&) {}), "");
  EXPECT_EQ(faultsOf([&](QDialog& dialog) { label(dialog, {10, 10, 300, 40}, "text"); }), "");
  EXPECT_NE(faultsOf([&](QDialog& dialog) {
              label(dialog, {10, 10, 12, 40}, "some text");
            }).find(" and needs "),
            std::string::npos);
  EXPECT_NE(faultsOf([&](QDialog& dialog) {
              label(dialog, {350, 10, 100, 40}, "text");
            }).find("outside the window"),
            std::string::npos);
  EXPECT_NE(faultsOf([&](QDialog& dialog) {
              label(dialog, {10, 10, 100, 40}, "one");
              label(dialog, {60, 10, 100, 40}, "two");
            }).find("cover each other"),
            std::string::npos);
  EXPECT_NE(faultsOf([&](QDialog& dialog) {
              QLabel* const pale = label(dialog, {10, 10, 100, 40}, "pale");
              QPalette palette = pale->palette();
              palette.setColor(QPalette::WindowText, palette.color(QPalette::Window).darker(115));
              pale->setPalette(palette);
            }).find("has a contrast of"),
            std::string::npos);
  EXPECT_NE(faultsOf([&](QDialog& dialog) {
              QLabel* const tall = label(dialog, {10, 10, 100, 40}, "tall");
              tall->setFixedHeight(tall->sizeHint().height());
              tall->setContentsMargins(0, 12, 0, 0);  // pushes the text out at the bottom
            }).find(" pixels of its strokes"),
            std::string::npos);
  EXPECT_NE(faultsOf([&](QDialog& dialog) {
              auto* const list = new QListWidget(&dialog);
              list->setGeometry(10, 10, 200, 100);
              list->addItem(QStringLiteral("selected"));
              list->setCurrentRow(0);
              QPalette palette = list->palette();
              palette.setColor(QPalette::HighlightedText,
                               palette.color(QPalette::Highlight).lighter(120));
              list->setPalette(palette);
            }).find("has a contrast of"),
            std::string::npos);
  EXPECT_NE(faultsOf([](QDialog& dialog) { dialog.move(-100, 0); }).find("the window is at"),
            std::string::npos);
  EXPECT_NE(faultsOf([](QDialog& dialog) {
              auto* const trap = new QTextEdit(&dialog);  // keeps Tab for itself
              trap->setGeometry(10, 10, 200, 100);
              auto* const behind = new QPushButton(QStringLiteral("OK"), &dialog);
              behind->setGeometry(220, 10, 100, 40);
            }).find("is not reached by Tab"),
            std::string::npos);
}

TEST(ReadablePalette, TextsStandOutAgainstTheirGround) {
  EXPECT_NEAR(ui::Contrast(Qt::white, Qt::black), 21, 1e-9);
  EXPECT_NEAR(ui::Contrast(Qt::black, Qt::white), 21, 1e-9);
  EXPECT_NEAR(ui::Contrast(QColor(48, 140, 198), Qt::white), 3.69, 0.01) << "too pale a selection";
  for (const bool dark : {false, true}) {
    QPalette palette;
    const QColor base = dark ? QColor(30, 30, 30) : QColor(Qt::white);
    const QColor text = dark ? QColor(Qt::white) : QColor(Qt::black);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::PlaceholderText, QColor(text.red(), text.green(), text.blue(), 90));
    palette.setColor(QPalette::Link, dark ? QColor(0, 0, 200) : QColor(120, 170, 255));
    palette.setColor(QPalette::Highlight, QColor(48, 140, 198));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    ui::MakeReadable(palette);
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
      for (const auto role : {QPalette::PlaceholderText, QPalette::Link}) {
        EXPECT_GE(ui::Contrast(palette.color(group, role), base), 4.5) << dark << role;
      }
      EXPECT_GE(ui::Contrast(palette.color(group, QPalette::Highlight), Qt::white), 4.5);
    }
    const QPalette readable = palette;
    ui::MakeReadable(palette);
    EXPECT_EQ(palette, readable) << "what can be read stays";
  }
}

}  // namespace
