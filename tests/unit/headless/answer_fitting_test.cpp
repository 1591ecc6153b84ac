#include "tavhost/headless/answer_fitting.h"
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
#include "tavhost/ui/table/table_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <tl/expected.hpp>

namespace {

using ui::Answer;
using Texts = std::vector<std::string>;

Answer Parse(std::string_view text) { return ui::ParseAnswers("a.kel", text).value().at(0); }

std::string Misfit(std::string_view text, ui::ModalModel& window) {
  window.Begin();
  const base::Result<void> fit = ui::ApplyAnswer(Parse(text), window);
  EXPECT_EQ(window.HasEnded(), fit.has_value());
  return fit ? "" : fit.error().message;
}

TEST(AnswerFitting, MessageBoxesTakeTheirButtons) {
  ui::MessageBoxModel box(ui::MessageKind::kQuery, 0x40 | 0x2000, "Write?");
  EXPECT_EQ(Misfit("MESSAGE_BOX button:yes", box), "");
  EXPECT_EQ(box.Result(), 2);
  EXPECT_EQ(Misfit("MESSAGE_BOX", box), "");
  EXPECT_EQ(box.EndButton(), "no") << "without a button the default counts";
  EXPECT_EQ(Misfit("MESSAGE_BOX button:cancel", box), "");
  EXPECT_EQ(box.Result(), 0);
  EXPECT_EQ(Misfit("MESSAGE_BOX result:9", box), "");
  EXPECT_EQ(box.Result(), 9);
  EXPECT_EQ(Misfit("MESSAGE_BOX button:ok", box), "there is no button ok; there are: yes, no");
}

TEST(AnswerFitting, KindAndTitleMustBeTheWindows) {
  ui::MessageBoxModel box(ui::MessageKind::kQuery, 0x10, "Write?");
  EXPECT_EQ(Misfit("LIST_BOX", box), "LIST_BOX does not answer a MESSAGE_BOX");
  EXPECT_EQ(Misfit("MESSAGE_BOX title:\"Question\"", box), "");
  EXPECT_EQ(Misfit("MESSAGE_BOX title:\"Other\"", box),
            "the window's title is \"Question\", not \"Other\"");
  ui::TextBoxModel view(false, false);
  EXPECT_EQ(Misfit("EDIT_BOX", view), "EDIT_BOX does not answer a VIEW_BOX");
  EXPECT_EQ(Misfit("VIEW_BOX", view), "");
  EXPECT_EQ(view.Result(), 1);
}

TEST(AnswerFitting, SelectIsTheWholeSelection) {
  ui::ListBoxModel list(true);
  for (const char* entry : {"a", "b", "c"}) list.Insert(entry);
  list.AddCheckBox("x", false);
  list.AddCheckBox("y", true);
  list.Select("a");
  EXPECT_EQ(Misfit("LIST_BOX", list), "");
  EXPECT_EQ(list.Selected(), std::vector<std::uint32_t>{0}) << "without select it stays";
  EXPECT_EQ(Misfit("LIST_BOX select:(\"c\", \"b\") check:\"x\" uncheck:\"y\"", list), "");
  EXPECT_EQ(list.Selected(), (std::vector<std::uint32_t>{1, 2}));
  EXPECT_TRUE(list.IsChecked("x"));
  EXPECT_FALSE(list.IsChecked("y"));
  EXPECT_EQ(Misfit("LIST_BOX select:()", list), "");
  EXPECT_TRUE(list.Selected().empty());
}

TEST(AnswerFitting, AMisfitLeavesTheListAsItWas) {
  ui::ListBoxModel list(true);
  for (const char* entry : {"a", "b"}) list.Insert(entry);
  list.AddCheckBox("x", false);
  list.Select("a");
  EXPECT_EQ(Misfit("LIST_BOX select:(\"b\", \"z\")", list), "the list has no entry \"z\"");
  EXPECT_EQ(list.Selected(), std::vector<std::uint32_t>{0});
  EXPECT_EQ(Misfit("LIST_BOX select:\"b\" check:(\"x\", \"q\")", list),
            "there is no check box \"q\"");
  EXPECT_EQ(list.Selected(), std::vector<std::uint32_t>{0});
  EXPECT_FALSE(list.IsChecked("x"));
  ui::ListBoxModel one(false);
  for (const char* entry : {"a", "b"}) one.Insert(entry);
  EXPECT_EQ(Misfit("LIST_BOX select:(\"a\", \"b\")", one), "only one entry can be selected");
}

TEST(AnswerFitting, FilesAreTakenAsWritten) {
  ui::FileDialogModel open(0x1020);
  EXPECT_EQ(Misfit("FILE_DIALOG path:\"C:\\\\none\\\\x.txt\"", open), "");
  EXPECT_EQ(open.chosen, Texts{"C:\\none\\x.txt"});
  EXPECT_EQ(Misfit("FILE_DIALOG", open), "");
  EXPECT_TRUE(open.chosen.empty());
  EXPECT_EQ(Misfit("FILE_DIALOG path:(\"a\", \"b\")", open), "only one file can be chosen");
  open.multiple = true;
  EXPECT_EQ(Misfit("FILE_DIALOG path:(\"a\", \"b\")", open), "");
  EXPECT_EQ(open.chosen, (Texts{"a", "b"}));
  ui::DirectoryDialogModel directory("start");
  EXPECT_EQ(Misfit("DIRECTORY_DIALOG", directory), "");
  EXPECT_EQ(directory.path, "start");
  EXPECT_EQ(Misfit("DIRECTORY_DIALOG path:\"other\"", directory), "");
  EXPECT_EQ(directory.path, "other");
  ui::ImageDialogModel images;
  EXPECT_EQ(Misfit("IMAGE_DIALOG path:\"a.png\"", images), "");
  EXPECT_EQ(images.selected, "a.png");
  EXPECT_EQ(Misfit("IMAGE_DIALOG", images), "");
  EXPECT_EQ(images.selected, "");
}

TEST(AnswerFitting, AFieldHoldsOneLine) {
  ui::EditFieldModel field("Name");
  const char* const misfit = "the field holds one line, and the text has a line break";
  for (const char* text : {"a\\nb", "a\\r", "\\xE2\\x80\\xA8", "x\xE2\x80\xA9"}) {
    EXPECT_EQ(Misfit("EDIT_FIELD text:\"" + std::string(text) + '"', field), misfit) << text;
    EXPECT_EQ(field.text, "");
  }
  EXPECT_EQ(Misfit("EDIT_FIELD text:\"a\\tb\xE2\x80\xA7\"", field), "");
  EXPECT_EQ(field.text, "a\tb\xE2\x80\xA7");
  field.text = "a\r\nb";
  const std::string line = ui::AnswerLine(ui::AnswerOf(field));
  EXPECT_EQ(Misfit("EDIT_FIELD", field), "");
  EXPECT_EQ(Misfit(line, field), "") << "the script's own text stays";
  EXPECT_EQ(field.text, "a\r\nb");
  EXPECT_EQ(Misfit("EDIT_FIELD text:\"a\\nb\"", field), misfit);
}

// One item, not selected, and a button that needs a selection.
std::unique_ptr<ui::TreeListBoxModel> Tree(bool okStartsEnabled) {
  ui::TreeListBoxModel::Options options;
  options.multiple = true;
  options.okStartsEnabled = okStartsEnabled;
  auto tree = std::make_unique<ui::TreeListBoxModel>(options);
  tree->Add(1, ui::TreeListBoxModel::kNoParent, "one", false);
  tree->AddButton({"Details", "details", -1, true});
  tree->AddButton({"New", "new", -1, false});
  return tree;
}

TEST(AnswerFitting, AGreyedButtonCannotBePressed) {
  const auto tree = Tree(false);
  const char* const greyed = " cannot be pressed while nothing is selected";
  EXPECT_EQ(Misfit("TREE_LIST_BOX", *tree), std::string("the button ok") + greyed);
  EXPECT_EQ(Misfit("TREE_LIST_BOX button:details", *tree),
            std::string("the button details") + greyed);
  EXPECT_EQ(Misfit("TREE_LIST_BOX button:new", *tree), "");
  EXPECT_EQ(Misfit("TREE_LIST_BOX button:cancel", *tree), "");
  EXPECT_EQ(Misfit("TREE_LIST_BOX result:2", *tree), "");
  EXPECT_EQ(Misfit("TREE_LIST_BOX result:0", *tree), "") << "that of cancel";
  EXPECT_EQ(Misfit("TREE_LIST_BOX result:1", *tree), "") << "that of the button new";
  EXPECT_EQ(Misfit("TREE_LIST_BOX select:1 button:details", *tree), "") << "by what it selects";
  EXPECT_EQ(Misfit("TREE_LIST_BOX", *tree), "") << "which stays";
  EXPECT_EQ(Misfit("TREE_LIST_BOX deselect:1", *tree), std::string("the button ok") + greyed);
  EXPECT_EQ(tree->SelectedCount(), 1u) << "as it was";
  const auto enabled = Tree(true);
  EXPECT_EQ(Misfit("TREE_LIST_BOX", *enabled), "");
  EXPECT_EQ(Misfit("TREE_LIST_BOX button:details", *enabled),
            std::string("the button details") + greyed);
}

TEST(AnswerFitting, AResultOfGreyedButtonsAloneCannotBe) {
  ui::TreeListBoxModel tree{ui::TreeListBoxModel::Options()};
  tree.Add(1, ui::TreeListBoxModel::kNoParent, "one", false);
  tree.AddButton({"Details", "details", 1, true});
  const char* const greyed = "the button details cannot be pressed while nothing is selected";
  EXPECT_EQ(Misfit("TREE_LIST_BOX result:1", tree), greyed);
  EXPECT_EQ(Misfit("TREE_LIST_BOX result:0", tree), "");
  EXPECT_EQ(Misfit("TREE_LIST_BOX select:1 result:1", tree), "");
}

// What is proposed is what its user would get by Enter; an answer has to say so.
TEST(AnswerFitting, TheNameThatIsOfferedIsProposed) {
  ui::FileDialogModel save(0x2020);
  save.startPath = "/x/reports/";
  save.fileName = "report";
  save.defaultExtension = "txt";
  const auto withSlashes = [](std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
  };
  const std::string line = ui::AnswerLine(ui::AnswerOf(save));
  const std::string whole = "/x/reports/report.txt";
  EXPECT_EQ(Misfit("FILE_DIALOG", save), "");
  EXPECT_EQ(save.chosen, Texts());
  EXPECT_EQ(Misfit(line, save), "");
  ASSERT_EQ(save.chosen.size(), 1u);
  EXPECT_EQ(withSlashes(save.chosen.front()), whole) << line;
  EXPECT_EQ(Misfit("FILE_DIALOG button:cancel", save), "");
  EXPECT_EQ(save.chosen, Texts());
  EXPECT_EQ(Misfit("FILE_DIALOG result:2", save), "");
  EXPECT_EQ(save.chosen, Texts());
  EXPECT_EQ(ui::AnswerLine(ui::AnswerOf(save)), "FILE_DIALOG result:2");
  EXPECT_EQ(Misfit("FILE_DIALOG path:\"a\"", save), "");
  EXPECT_EQ(save.chosen, Texts{"a"}) << "as it is written";
}

TEST(AnswerFitting, TheProposedLineFits) {
  const auto tree = Tree(false);
  EXPECT_EQ(ui::AnswerLine(ui::AnswerOf(*tree)), "TREE_LIST_BOX button:cancel");
  EXPECT_EQ(Misfit(ui::AnswerLine(ui::AnswerOf(*tree)), *tree), "");
  EXPECT_EQ(ui::AnswerLine(ui::AnswerOf(*Tree(true))), "TREE_LIST_BOX button:ok");
}

TEST(AnswerFitting, NothingIsChosenByCancel) {
  const char* const misfit = "nothing is chosen by cancel, so no path can stand beside it";
  ui::FileDialogModel open(0x1020);
  EXPECT_EQ(Misfit("FILE_DIALOG path:\"x\" button:cancel", open), misfit);
  EXPECT_TRUE(open.chosen.empty());
  ui::DirectoryDialogModel directory("start");
  EXPECT_EQ(Misfit("DIRECTORY_DIALOG path:\"x\" button:cancel", directory), misfit);
  EXPECT_EQ(Misfit("DIRECTORY_DIALOG button:cancel", directory), "");
  EXPECT_EQ(ui::AnswerLine(ui::AnswerOf(directory)), "DIRECTORY_DIALOG button:cancel");
  ui::ImageDialogModel images;
  EXPECT_EQ(Misfit("IMAGE_DIALOG path:\"x\" button:cancel", images), misfit);
  // The user chose one and then thought better of it.
  images.selected = "x";
  images.Begin();
  images.End("cancel");
  EXPECT_EQ(ui::AnswerLine(ui::AnswerOf(images)), "IMAGE_DIALOG button:cancel");
  EXPECT_EQ(Misfit("MESSAGE_BOX", images), "MESSAGE_BOX does not answer an IMAGE_DIALOG");
}

TEST(AnswerFitting, AResultHasSixteenBits) {
  ui::MessageBoxModel box(ui::MessageKind::kQuery, 0x10, "Write?");
  for (const char* line : {"MESSAGE_BOX result:-32768", "MESSAGE_BOX result:32767"}) {
    EXPECT_EQ(Misfit(line, box), "");
  }
  for (const char* line :
       {"MESSAGE_BOX result:-32769", "MESSAGE_BOX result:32768", "MESSAGE_BOX result:65538"}) {
    EXPECT_EQ(Misfit(line, box), "a window's result lies between -32768 and 32767");
  }
}

TEST(AnswerFitting, OnlyCommandsThatTheWindowShowsCanBeGiven) {
  ui::TableModel table(false);
  ASSERT_TRUE(table.Read("a;b\n3;2\n1;4", nullptr, ';', '\n'));
  const std::string before = table.Write(';');
  const std::pair<ui::EditBrowserModel::Special, const char*> commands[] = {
      {ui::EditBrowserModel::kInsertRow, "INSERT_ROW row:1"},
      {ui::EditBrowserModel::kDeleteRow, "DELETE_ROW row:1"},
      {ui::EditBrowserModel::kSortRows, "SORT_ROWS column:1"}};
  for (const auto& [special, command] : commands) {
    ui::EditBrowserModel browser(table);
    browser.showsSpecial[special] = false;
    const std::string_view name = std::string_view(command).substr(0, 10);
    const std::string line = "EDIT_BROWSER cells:{ CELL row:1 column:1 text:\"x\"; ";
    EXPECT_EQ(Misfit(line + command + " }", browser),
              "the window has no command " + std::string(name.substr(0, name.find(' '))));
    EXPECT_EQ(table.Write(';'), before);
    for (const auto& [other, shown] : commands) {
      if (other == special) continue;
      EXPECT_EQ(Misfit("EDIT_BROWSER cells:{ " + std::string(shown) + " }", browser), "");
      table.Undo();
    }
  }
}

// What was done in a window, written down and given to an equal window, does it again.
TEST(AnswerFitting, RecordingAndReplayingGivesTheSame) {
  using namespace std::string_view_literals;
  const std::string_view hostile[] = {"a",          "",         "with blank", "\"quote\"",
                                      "line\nfeed", "nul\0x"sv, "<&",         "\xC3\x28"};
  ui::ListBoxModel done(true);
  ui::ListBoxModel again(true);
  for (const std::string_view entry : hostile) {
    done.Insert(entry);
    again.Insert(entry);
  }
  done.AddCheckBox("c\"1", true);
  again.AddCheckBox("c\"1", false);
  for (const std::uint32_t index : {1u, 3u, 4u, 5u, 7u}) done.SetSelected(index, true);
  done.SetTitle("t\n");
  again.SetTitle("t\n");
  done.Begin();
  done.End("ok");
  const std::string line = ui::AnswerLine(ui::AnswerOf(done));
  EXPECT_EQ(Misfit(line, again), "") << line;
  EXPECT_EQ(again.Selected(), done.Selected());
  EXPECT_TRUE(again.IsChecked("c\"1"));
  EXPECT_EQ(again.Result(), 1);
}

TEST(AnswerFitting, TheLineToAddIsTheDefaultAnswer) {
  ui::MessageBoxModel box(ui::MessageKind::kQuery, 0x40 | 0x2000, "Write?");
  EXPECT_EQ(ui::AnswerLine(ui::AnswerOf(box)), "MESSAGE_BOX button:no");
  box.SetTitle("Demo");
  EXPECT_EQ(ui::AnswerLine(ui::AnswerOf(box)), "MESSAGE_BOX title:\"Demo\" button:no");
  ui::EditFieldModel field("Name");
  field.text = "x";
  EXPECT_EQ(ui::AnswerLine(ui::AnswerOf(field)), "EDIT_FIELD text:\"x\" button:ok");
}

TEST(AnswerFitting, BrowsersTakeClose) {
  ui::TableModel table(false);
  ui::BrowserModel browser(table, false);
  EXPECT_EQ(Misfit("BROWSER", browser), "");
  EXPECT_EQ(browser.EndButton(), "close");
  EXPECT_EQ(Misfit("BROWSER button:ok", browser), "there is no button ok; there are: close");
}

TEST(AnswerFitting, TablesAreChangedInTheOrderWritten) {
  ui::TableModel table(false);
  ASSERT_TRUE(table.Read("a;b\n1;2\n3;4", nullptr, ';', '\n'));
  ui::EditBrowserModel browser(table);
  const char* const changes =
      "EDIT_BROWSER cells:{ CELL row:1 column:2 text:\"9\"; INSERT_ROW row:3; "
      "CELL row:3 column:1 text:\"x\"; SORT_ROWS column:2; DELETE_ROW row:1 } button:ok";
  EXPECT_EQ(Misfit(changes, browser), "");
  EXPECT_EQ(table.Write(';'), "a;b\n1;9\nx;");
  EXPECT_EQ(ui::AnswerLine(ui::AnswerOf(browser)), changes);
}

TEST(AnswerFitting, AnAnswerThatDoesNotFitLeavesTheTableAsItWas) {
  ui::TableModel table(true);
  ASSERT_TRUE(table.Read("h;a\n1;2", nullptr, ';', '\n'));
  ui::EditBrowserModel browser(table);
  const std::string before = table.Write(';');
  EXPECT_EQ(Misfit("EDIT_BROWSER cells:{ CELL row:1 column:1 text:\"2\"; INSERT_ROW row:1; "
                   "CELL row:1 column:2 text:\"x\" }",
                   browser),
            "the table has no column 2, it has 1");
  EXPECT_EQ(table.Write(';'), before);
  EXPECT_EQ(Misfit("EDIT_BROWSER cells:{ CELL row:0 column:1 text:\"x\" }", browser),
            "the table has no row 0, it has 1");
  EXPECT_EQ(Misfit("EDIT_BROWSER cells:{ INSERT_ROW row:3 }", browser),
            "the table has no row 3, it has 1");
  EXPECT_EQ(Misfit("EDIT_BROWSER cells:{ SORT_ROWS column:0 }", browser),
            "the table has no column 0, it has 1");
}

}  // namespace
