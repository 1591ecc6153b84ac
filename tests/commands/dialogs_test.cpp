// Dialog commands in states of the host that no script can bring about: a start-up box that is
// still shown, and an application without a main window.
#include <algorithm>

#include "commands/handlers.h"
#include "host/base/string.h"
#include "host/notation/kel_parser.h"
#include "host/script/script_result.h"
#include "tavhost/dialog/startup_box.h"
#include "tavhost/sv/application.h"
#include "tavhost/ui/models/modal_model.h"
#include "tests/support/fake_toolkit.h"
#include "tests/support/host_fixture.h"

namespace {

class DialogCommands : public HostTest {
 protected:
  std::string Run(void (*handler)(const char*, TavKelParser&, TavScriptResult&),
                  const SV::String& command) {
    TavKelParser parser(command);
    EXPECT_EQ(parser.Parse(), 0) << command.View();
    TavScriptResult result;
    handler("NAME", parser, result);
    return std::string(result.GetText().View());
  }

  bool HasTraced(const std::string& line) const {
    const std::vector<std::string> lines = Trace();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  }
};

TEST_F(DialogCommands, MsgwinWritesIntoTheStartUpBoxWhileItShows) {
  const FakeToolkit toolkit;
  Run(commands::Command_MSGWIN, "MSGWIN \"mine\"");
  startup_box::Show();
  EXPECT_EQ(Run(commands::Command_MSGWIN, "MSGWIN \"loading\""), "");
  EXPECT_EQ(toolkit.message, "loading");
  EXPECT_TRUE(HasTraced("TavStartupBox::SetAdditionalMessage(\"loading\")"));
  EXPECT_FALSE(HasTraced("TavMessWin#::SetText(\"loading\")"));

  Run(commands::Command_MSGWIN, "MSGWIN 12 hide");
  EXPECT_TRUE(HasTraced("TavMessWin#::~TavMessWin()"));
  EXPECT_EQ(toolkit.message, "loading");
  startup_box::Hide();

  Run(commands::Command_MSGWIN, "MSGWIN \"next\"");
  EXPECT_TRUE(HasTraced("TavMessWin::TavMessWin(app, \"next\", 0, true) -> TavMessWin#"));
  Run(commands::Command_MSGWIN, "MSGWIN hide");
  EXPECT_EQ(Run(commands::Command_MSGWIN, "MSGWIN hide"), "");
}

TEST_F(DialogCommands, WithoutAMainWindowEditfieldKeepsItsOwnTitle) {
  std::string title;
  answer = [&title](ui::ModalModel& window) {
    title = window.Title();
    window.End("ok");
  };
  Run(commands::Command_EDITFIELD, "EDITFIELD caption:\"c\"");
  EXPECT_EQ(title, "tavhost");
  application::SetAppWindow(nullptr);
  EXPECT_EQ(Run(commands::Command_EDITFIELD, "EDITFIELD caption:\"c\" text:\"x\""),
            " ecode:0 text:\"x\"");
  EXPECT_EQ(title, "Input");
  Run(commands::Command_EDITFIELD, "EDITFIELD caption:\"c\" title:\"\"");
  EXPECT_EQ(title, "");
}

TEST_F(DialogCommands, WithoutAMainWindowTheTreeListBoxHasNoTitle) {
  std::string title = "none";
  answer = [&title](ui::ModalModel& window) {
    title = window.Title();
    window.End("cancel");
  };
  Run(commands::Command_TLB_CREATE, "TLB_CREATE");
  Run(commands::Command_TLB_SHOW, "TLB_SHOW");
  EXPECT_EQ(title, "tavhost");
  application::SetAppWindow(nullptr);
  EXPECT_EQ(Run(commands::Command_TLB_CREATE, "TLB_CREATE"), " ecode:0");
  EXPECT_EQ(Run(commands::Command_TLB_SHOW, "TLB_SHOW"), " ecode:1 endbutton:\"cancel\"");
  EXPECT_EQ(title, "");
}

}  // namespace
