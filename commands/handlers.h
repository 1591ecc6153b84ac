#pragma once

#include "host/notation/forward.h"
#include "host/script/forward.h"

// The handler of every command, each in the source file named above it. A handler checks and
// reads its parameters, does its work through the host, and writes result variables; it keeps no
// reference to its arguments. `name` is the name under which the command was called.
namespace commands {

// dialogs.cpp
void Command_INFOBOX(const char* name, TavKelParser& parser, TavScriptResult& result);
// QUERYBOX, ERRORBOX and WARNINGBOX; `name` tells which.
void Command_QUERYBOX(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_VIEWBOX(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_EDITBOX(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_EDITFIELD(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_LISTBOX(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_MLISTBOX(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_MSGWIN(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_FILE_DIALOG(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_DIRECTORY_DIALOG(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_IMAGE_PREVIEW_DLG(const char* name, TavKelParser& parser, TavScriptResult& result);

// files.cpp
void Command_FREAD(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_FWRITE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_GET_TEMP_FILENAME(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_ENCODE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_DECODE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_FILE_EXIST(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_FILE_EXISTS(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_FDELETE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_FILE_DELETE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_DELETE_FILES(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_FCOPY(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_FILE_COPY(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_COPY_FILES(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_MOVE_FILES(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_FILE_RENAME(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_GET_CWD(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_SET_CWD(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_DIR_EXIST(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_DIR_CREATE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_DIR_REMOVE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_DIR_LIST(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_IS_DIR_EMPTY(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_DB_FILE_LIST(const char* name, TavKelParser& parser, TavScriptResult& result);

// tree_list_box.cpp
void Command_TLB_CREATE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_TLB_INSERT(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_TLB_REMOVE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_TLB_SELECT(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_TLB_SELECT_ALL(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_TLB_EXPAND(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_TLB_EXPAND_TO(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_TLB_EXPAND_ALL(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_TLB_ADD_BUTTON(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_TLB_SHOW(const char* name, TavKelParser& parser, TavScriptResult& result);

// progress_output.cpp
void Command_PERCWIN_CREATE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_PERCWIN_SET(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_PERCWIN_IS_CANCELED(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_PERCWIN_DESTROY(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_INTERNAL_TAVSCRIPT_FINISHED(const char* name, TavKelParser& parser,
                                         TavScriptResult& result);
void Command_CREATE_OUTPUT_WIN(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_SET_OUTPUT_WIN_SUBTITLE(const char* name, TavKelParser& parser,
                                     TavScriptResult& result);
void Command_OUT(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_SET_OUT_MAX_LINE_COUNT(const char* name, TavKelParser& parser,
                                    TavScriptResult& result);

// browsers.cpp
void Command_CLOSE_DOCKABLE_WINDOW(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_DOCKABLE_BROWSER(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_BROWSER(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_EDIT_BROWSER(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_GRAPHREP_TOOL(const char* name, TavKelParser& parser, TavScriptResult& result);

// environment.cpp
void Command_SET_MP_TYPE_CHECKING(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_GET_MESSAGE_PORTS(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_GET_MP_COMMANDS(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_GET_PRINTER_INFO(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_SET_PRINTER(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_SLEEP(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_GET_DISPLAY_SIZE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_COPY_TO_CLIPBOARD(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_BEEP(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_CRASH(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_EXECUTE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_KEL_TO_XML(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_SERVICE(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_IS_SCRIPT_SERVICE_RUNNING(const char* name, TavKelParser& parser,
                                       TavScriptResult& result);

// http.cpp
void Command_HTTP_REQUEST(const char* name, TavKelParser& parser, TavScriptResult& result);
void Command_GET_PROXY_SETTINGS(const char* name, TavKelParser& parser, TavScriptResult& result);

}  // namespace commands
