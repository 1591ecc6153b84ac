// Tables in windows, docked or modal, and the graphrep tool. Docked windows belong to the
// workbench, which finds them by their ids; nothing here outlives a command but the graphrep
// tool's id.
#include <initializer_list>
#include <memory>

#include "commands/handlers.h"
#include "host/browser/editable_browser_objects.h"
#include "host/browser/editable_simple_browser_window.h"
#include "host/browser/shrink_expand_browser_objects.h"
#include "host/browser/simple_browser_window.h"
#include "host/browser/small_browser_window.h"
#include "host/notation/kel_parser.h"
#include "host/services/top_window.h"
#include "host/sv/string.h"
#include "plugin/checks.h"
#include "plugin/results.h"

namespace commands {

namespace {

constexpr int kShown = 0;
constexpr int kUnreadable = 1;

constexpr char kFieldSeparator = ';';
constexpr char kRowSeparator = '\n';
constexpr int kSpecialButtons = 3;  // of the window that edits a table: insert, delete, sort

using Names = std::initializer_list<const char*>;

// Strings that have a default are checked as required ones when they are there.
bool StringsFail(TavKelParser& parser, TavScriptResult& result, Names withDefault, Names optional) {
  for (const char* name : withDefault) {
    if (checks::FailsWhenPresent(parser, name, TavKelString, result, checks::kRequired))
      return true;
  }
  for (const char* name : optional) {
    if (checks::Fails(parser, name, TavKelString, result, checks::kOptional)) return true;
  }
  return false;
}

// One character; all else means the usual one.
char Separator(TavKelParser& parser, const char* name, char usual) {
  const SV::String text = parser.GetStrValue(name);
  return text.Len() == 1 ? text.GetChar(0) : usual;
}

TavBrowserAlignment AlignmentOf(char upperLetter) {
  switch (upperLetter) {
    case 'C':
      return TavBrowserAlignCentre;
    case 'R':
      return TavBrowserAlignRight;
    default:
      return TavBrowserAlignLeft;
  }
}

// A letter for each column from `first` on.
void SetAlignments(TavBrowserObjects& objects, SV::String letters, unsigned long first) {
  letters.ToUpper();
  for (long i = 0; i < letters.Len(); ++i) {
    objects.setColumnAlignment(first + static_cast<unsigned long>(i),
                               AlignmentOf(letters.GetChar(i)), false);
  }
}

// Modal browsers do not count the handle column and number the others from 1.
void SetModalAlignments(TavBrowserObjects& objects, const SV::String& letters) {
  const long columns =
      static_cast<long>(objects.GetColumnCount()) - (objects.HasHandleColumn() ? 1 : 0);
  if (letters.Len() == columns) SetAlignments(objects, letters, 1);
}

void SetReferenceFormats(TavBrowserObjects& objects, TavKelParser& parser) {
  const SV::String models = parser.GetStrValue("modref-format");
  const SV::String objectsFormat = parser.GetStrValue("objref-format");
  if (models.Len() > 0) objects.SetModelRefFormat(models);
  if (objectsFormat.Len() > 0) objects.SetObjectRefFormat(objectsFormat);
}

void SetHeaders(TavBrowserObjects& objects, TavKelParser& parser) {
  const SV::String header = parser.GetStrValue("header");
  const SV::String printHeader = parser.GetStrValue("print-header");
  if (header.Len() > 0) objects.SetHeader(header);
  if (printHeader.Len() > 0) objects.SetPrintHeader(printHeader);
}

}  // namespace

void Command_BROWSER(const char*, TavKelParser& parser, TavScriptResult& result) {
  // print-header is checked twice.
  if (StringsFail(parser, result, {"title", "content"},
                  {"fieldsep", "linesep", "header", "print-header", "modref-format",
                   "objref-format", "print-header", "alignment"})) {
    return;
  }

  const SV::String title = parser.GetStrValue("title");
  auto objects = std::make_unique<TavShrinkExpandBrowserObjects>(
      parser.IsContained("with-handlecolumn") ? 1 : 0, 0);
  objects->Init(0);
  objects->SetShowLinks(parser.IsContained("show-links"));
  SetReferenceFormats(*objects, parser);
  SetHeaders(*objects, parser);
  const bool isRead = objects->ReadFromText(parser.GetStrValue("content"),
                                            Separator(parser, "fieldsep", kFieldSeparator),
                                            Separator(parser, "linesep", kRowSeparator));
  if (isRead) {
    SetModalAlignments(*objects, parser.GetStrValue("alignment"));
    const bool adjustRows = parser.IsContained("adjust-rows");
    if (parser.IsContained("max-size")) {
      TavSimpleBrowserWindow window(Tav_GetTopWindow(0), title, objects.get(), 50, 50, 0, 0, true,
                                    true);
      if (adjustRows) window.adjustRows();
      window.Execute();
    } else {
      TavSmallBrowserWindow window(Tav_GetTopWindow(0), objects.get(), 50, 50, false);
      window.SetText(title);
      if (adjustRows) window.adjustRows();
      window.Execute();
    }
  }
  objects.reset();

  results::SetInteger(result, "ecode", isRead ? kShown : kUnreadable);
}

void Command_EDIT_BROWSER(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (StringsFail(parser, result, {"title", "content"},
                  {"fieldsep", "oktext", "header", "print-header", "alignment"})) {
    return;
  }

  auto objects =
      std::make_unique<TavEditableBrowserObjects>(parser.IsContained("with-handlecolumn") ? 1 : 0);
  objects->Init(0);
  SetHeaders(*objects, parser);
  const bool isRead = objects->ReadFromText(
      parser.GetStrValue("content"), Separator(parser, "fieldsep", kFieldSeparator), kRowSeparator);
  if (isRead) {
    SetModalAlignments(*objects, parser.GetStrValue("alignment"));
    TavEditableSimpleBrowserWindow window(Tav_GetTopWindow(0), objects.get(), 50, 20, true, true);
    window.SetText(parser.GetStrValue("title"));
    const SV::String okText = parser.GetStrValue("oktext");
    if (okText.Len() > 0) window.GetOKButton().SetText(okText);
    if (parser.IsContained("no-special-buttons")) {
      for (int i = 0; i < kSpecialButtons; ++i) window.GetSpecialButton(i).Hide();
    }
    if (parser.IsContained("max-size")) window.Maximize();
    window.Execute();
  }
  // Written back in any case; only a table that was read is returned, however the window closed.
  const SV::String text = objects->WriteToText(kFieldSeparator);
  objects.reset();

  results::SetInteger(result, "ecode", isRead ? kShown : kUnreadable);
  if (isRead) results::SetString(result, "text", text);
}

}  // namespace commands
