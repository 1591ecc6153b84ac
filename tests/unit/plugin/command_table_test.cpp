#include "plugin/command_table.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "commands/handlers.h"

namespace {

using plugin::kCommandCount;
using plugin::kCommandTable;

// The order that scripts see.
const std::vector<std::string> kNames = {
    "INFOBOX",
    "QUERYBOX",
    "ERRORBOX",
    "WARNINGBOX",
    "VIEWBOX",
    "EDITBOX",
    "LISTBOX",
    "MLISTBOX",
    "MSGWIN",
    "CLOSE_DOCKABLE_WINDOW",
    "DOCKABLE_BROWSER",
    "BROWSER",
    "EDIT_BROWSER",
    "EDITFIELD",
    "FILE_EXIST",
    "FILE_EXISTS",
    "FREAD",
    "FWRITE",
    "FDELETE",
    "FILE_DELETE",
    "DELETE_FILES",
    "FCOPY",
    "FILE_COPY",
    "COPY_FILES",
    "MOVE_FILES",
    "FILE_RENAME",
    "FILE_DIALOG",
    "GET_TEMP_FILENAME",
    "ENCODE",
    "DECODE",
    "GET_CWD",
    "SET_CWD",
    "DIR_EXIST",
    "DIR_CREATE",
    "DIR_REMOVE",
    "DIR_LIST",
    "IS_DIR_EMPTY",
    "DB_FILE_LIST",
    "DIRECTORY_DIALOG",
    "TLB_CREATE",
    "TLB_INSERT",
    "TLB_REMOVE",
    "TLB_SELECT",
    "TLB_SELECT_ALL",
    "TLB_EXPAND",
    "TLB_EXPAND_TO",
    "TLB_EXPAND_ALL",
    "TLB_ADD_BUTTON",
    "TLB_SHOW",
    "PERCWIN_CREATE",
    "PERCWIN_SET",
    "PERCWIN_IS_CANCELED",
    "PERCWIN_DESTROY",
    "SET_MP_TYPE_CHECKING",
    "GET_MESSAGE_PORTS",
    "GET_MP_COMMANDS",
    "GET_PRINTER_INFO",
    "SET_PRINTER",
    "SLEEP",
    "GET_DISPLAY_SIZE",
    "COPY_TO_CLIPBOARD",
    "BEEP",
    "CREATE_OUTPUT_WIN",
    "SET_OUTPUT_WIN_SUBTITLE",
    "OUT",
    "SET_OUT_MAX_LINE_COUNT",
    "HTTP_REQUEST",
    "GET_PROXY_SETTINGS",
    "EXECUTE",
    "CRASH",
    "KEL_TO_XML",
    "SERVICE",
    "GRAPHREP_TOOL",
    "IMAGE_PREVIEW_DLG",
    "IS_SCRIPT_SERVICE_RUNNING",
    "INTERNAL_TAVSCRIPT_FINISHED",
};

TEST(CommandTable, HoldsEveryCommandInItsPlace) {
  ASSERT_EQ(kNames.size(), 76u);
  std::vector<std::string> names;
  for (const auto* row = kCommandTable; row->name; ++row) names.push_back(row->name);
  EXPECT_EQ(names, kNames);
}

TEST(CommandTable, EndsWithARowOfNulls) {
  EXPECT_EQ(kCommandCount, 76);
  EXPECT_EQ(kCommandTable[kCommandCount].name, nullptr);
  EXPECT_EQ(kCommandTable[kCommandCount].handler, nullptr);
  EXPECT_STREQ(kCommandTable[kCommandCount - 1].name, "INTERNAL_TAVSCRIPT_FINISHED");
}

TEST(CommandTable, SharesOneHandlerAmongTheQueryTypeBoxesOnly) {
  std::map<TavCommandHandler, std::vector<std::string>> commandsOf;
  for (const auto* row = kCommandTable; row->name; ++row) {
    ASSERT_NE(row->handler, nullptr) << row->name;
    commandsOf[row->handler].push_back(row->name);
  }
  EXPECT_EQ(commandsOf.size(), 74u);
  const std::vector<std::string> boxes = {"QUERYBOX", "ERRORBOX", "WARNINGBOX"};
  for (const auto& [handler, names] : commandsOf) {
    if (names.size() == 1) continue;
    EXPECT_EQ(names, boxes);
  }
}

}  // namespace
