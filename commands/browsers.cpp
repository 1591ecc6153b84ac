// Tables in windows, docked or modal, and the graphrep tool. Docked windows belong to the
// workbench, which finds them by their ids; nothing here outlives a command but the graphrep
// tool's id.
#include <initializer_list>
#include <memory>

#include "commands/handlers.h"
#include "commands/support/checks.h"
#include "commands/support/results.h"
#include "host/base/size.h"
#include "host/base/string.h"
#include "host/browser/dockable_browser_tool.h"
#include "host/browser/editable_browser_objects.h"
#include "host/browser/editable_simple_browser_window.h"
#include "host/browser/shrink_expand_browser_objects.h"
#include "host/browser/simple_browser_window.h"
#include "host/browser/small_browser_window.h"
#include "host/dialog/app_work_window.h"
#include "host/dialog/top_window.h"
#include "host/dialog/workbench.h"
#include "host/notation/kel_parser.h"
#include "host/sv/link.h"
#include "host/tools/graph_rep_tool.h"

namespace commands {

namespace {

// The parameters of these commands.
constexpr names::Literal kModRefFormat = "modref-format";
constexpr names::Literal kObjRefFormat = "objref-format";
constexpr names::Literal kHeader = "header";
constexpr names::Literal kPrintHeader = "print-header";
constexpr names::Literal kContent = "content";
constexpr names::Literal kTitle = "title";
constexpr names::Literal kShowButtons = "show-buttons";
constexpr names::Literal kGraphRep = "graphrep";
constexpr names::Literal kHideCloseButton = "hide-close-button";
constexpr names::Literal kNotMovable = "not-movable";
constexpr names::Literal kMinWidth = "min-w";
constexpr names::Literal kMinHeight = "min-h";
constexpr names::Literal kAlign = "align";
constexpr names::Literal kWithHandleColumn = "with-handlecolumn";
constexpr names::Literal kShowLinks = "show-links";
constexpr names::Literal kAlignment = "alignment";
constexpr names::Literal kAdjustRows = "adjust-rows";
constexpr names::Literal kMaxSize = "max-size";
constexpr names::Literal kOkText = "oktext";
constexpr names::Literal kNoSpecialButtons = "no-special-buttons";
constexpr names::Literal kWinId = "winid";
constexpr names::Literal kSubtitle = "subtitle";
constexpr names::Literal kClearContent = "clear-content";
constexpr names::Literal kColumnSizes = "column-sizes";
constexpr names::Literal kFieldSep = "fieldsep";
constexpr names::Literal kLineSep = "linesep";
constexpr names::Literal kInterval = "interval";
constexpr names::Literal kIndex = "index";
constexpr names::Literal kSubIndex = "subindex";

// What `ecode` can be: of the browsers, of CLOSE_DOCKABLE_WINDOW, and of GRAPHREP_TOOL.
constexpr int kShown = 0;
constexpr int kUnreadable = 1;
constexpr int kOtherTool = 2;

constexpr int kHidden = 0;
constexpr int kUnknownWindow = 1;

constexpr int kNoGraphrep = 1;

// Flags of the workbench for the graphrep tool: what the user cannot do with it, and which of its
// least sizes count.
constexpr unsigned long kNoCloseButtonFlags = 28;
constexpr unsigned long kNotMovableFlag = 32;
constexpr unsigned long kMinimumWidthFlag = 64;
constexpr unsigned long kMinimumHeightFlag = 128;

// By which the workbench knows the graphrep tool, from load to unload.
const SV::String graphRepToolId = "090 GraphRepTool";

constexpr char kFieldSeparator = ';';
constexpr char kRowSeparator = '\n';
constexpr int kSpecialButtons = 3;  // of the window that edits a table: insert, delete, sort

using Names = std::initializer_list<names::Literal>;

// Checks strings in the order given. `withDefault` are checked when they are there, and then as
// required ones; `optional` may be missing.
bool StringsFail(TavKelParser& parser, TavScriptResult& result, Names withDefault, Names optional) {
  for (const names::Literal name : withDefault) {
    if (checks::FailsWhenPresent(parser, name, TavKelString, result, checks::kRequired))
      return true;
  }
  for (const names::Literal name : optional) {
    if (checks::Fails(parser, name, TavKelString, result, checks::kOptional)) return true;
  }
  return false;
}

// A separator is a text of one character; any other text, or none, means the usual one.
char Separator(TavKelParser& parser, names::Literal name, char usual) {
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

// One letter for each column, beginning with column `first`: C, R, and any other for left; either
// case will do.
void SetAlignments(TavBrowserObjects& objects, SV::String letters, unsigned long first) {
  letters.ToUpper();
  for (long i = 0; i < letters.Len(); ++i) {
    objects.setColumnAlignment(first + static_cast<unsigned long>(i),
                               AlignmentOf(letters.GetChar(i)), false);
  }
}

// In the windows of BROWSER and EDIT_BROWSER the letters leave the handle column out; the other
// columns are numbered from 1. Letters of another count than the columns are ignored as a whole.
void SetModalAlignments(TavBrowserObjects& objects, const SV::String& letters) {
  const long columns =
      static_cast<long>(objects.GetColumnCount()) - (objects.HasHandleColumn() ? 1 : 0);
  if (letters.Len() == columns) SetAlignments(objects, letters, 1);
}

void SetReferenceFormats(TavBrowserObjects& objects, TavKelParser& parser) {
  const SV::String models = parser.GetStrValue(kModRefFormat);
  const SV::String objectsFormat = parser.GetStrValue(kObjRefFormat);
  if (models.Len() > 0) objects.SetModelRefFormat(models);
  if (objectsFormat.Len() > 0) objects.SetObjectRefFormat(objectsFormat);
}

void SetHeaders(TavBrowserObjects& objects, TavKelParser& parser) {
  const SV::String header = parser.GetStrValue(kHeader);
  const SV::String printHeader = parser.GetStrValue(kPrintHeader);
  if (header.Len() > 0) objects.SetHeader(header);
  if (printHeader.Len() > 0) objects.SetPrintHeader(printHeader);
}

bool ReadContent(TavShrinkExpandBrowserObjects& objects, TavKelParser& parser) {
  return objects.ReadFromText(parser.GetStrValue(kContent),
                              Separator(parser, kFieldSep, kFieldSeparator),
                              Separator(parser, kLineSep, kRowSeparator));
}

// The first column's number: that of the handles is 0.
unsigned long FirstColumn(const TavBrowserObjects& objects) {
  return objects.HasHandleColumn() ? 0 : 1;
}

// In docked browsers the letters and sizes include the handle column. Of another count than the
// columns they are ignored as a whole.
void SetToolAlignments(TavBrowserObjects& objects, const SV::String& letters) {
  if (letters.Len() != static_cast<long>(objects.GetColumnCount())) return;
  SetAlignments(objects, letters, FirstColumn(objects));
}

// One number for each column, joined by single blanks. Two blanks in a row make an empty piece,
// which reads as 0 and hides its column.
void SetColumnSizes(TavBrowserObjects& objects, const SV::String& sizes) {
  const long count = sizes.GetTokenCount(' ');
  if (count == 0 || count != static_cast<long>(objects.GetColumnCount())) return;
  const unsigned long first = FirstColumn(objects);
  for (long i = 0; i < count; ++i) {
    objects.setColumnWidth(first + static_cast<unsigned long>(i),
                           SV::h_atoi(sizes.GetToken(i, ' ')), false, false);
  }
}

// What the workbench calls when the tool was shown, hidden or given the focus.
void CallToolListener(void* tool, void* workbench) {
  static_cast<TavResultTool*>(tool)->ToolListener(static_cast<TavWorkbench*>(workbench));
}

TavDockableBrowserTool* AddBrowserTool(TavWorkbench& workbench, const SV::String& id,
                                       TavKelParser& parser) {
  auto* const tool = new TavDockableBrowserTool(&workbench, Tav_GetTopWindow(0), id, 80, 80);
  workbench.AddTool(id, tool, 0);  // which owns it from here on
  workbench.SetToolTitle(id, parser.GetStrValue(kTitle));
  workbench.SetToolLocation(id, ToolBoxAlignBottom, 0, 1);
  workbench.SetToolPrefVerticalSizePixel(id, SV::Size(300, 450));
  workbench.SetToolPrefHorizontalSizePixel(id, SV::Size(450, 300));
  workbench.SetToolPrefFloatingSizePixel(id, SV::Size(600, 500));
  workbench.AddToolListener(id, SV::Link(static_cast<TavResultTool*>(tool), &CallToolListener));
  // Each word shows its button wherever it stands in the text, in either case, even inside another
  // word.
  SV::String buttons = parser.GetStrValue(kShowButtons);
  buttons.ToLower();
  tool->ShowPrevButton(buttons.Search("prev") >= 0);
  tool->ShowNextButton(buttons.Search("next") >= 0);
  tool->ShowCloseButton(buttons.Search("close") >= 0);
  tool->ShowSaveButton(buttons.Search("save") >= 0);
  tool->ShowPrintButton(buttons.Search("print") >= 0);
  tool->ShowSearchButton(buttons.Search("search") >= 0);
  return tool;
}

// The number, or `absent` when it is not given.
long Number(TavKelParser& parser, names::Literal name, long absent) {
  long number = absent;
  parser.TryGetIntValue(name, number);
  return number;
}

ToolBoxAlign LocationOf(const SV::String& align) {
  if (align == "bottom") return ToolBoxAlignBottom;
  if (align == "right") return ToolBoxAlignRight;
  if (align == "top") return ToolBoxAlignTop;
  return ToolBoxAlignLeft;
}

// Makes the tool from the parameters, places it and shows it.
void AddGraphRepTool(TavWorkbench& workbench, TavKelParser& parser) {
  const SV::String& id = graphRepToolId;
  auto* const tool = new TavGraphRepTool(&workbench, Tav_GetTopWindow(0));
  tool->SetGraphReps(parser.GetStrValue(kGraphRep));
  unsigned long flags = parser.IsContained(kHideCloseButton) ? kNoCloseButtonFlags : 0;
  if (parser.IsContained(kNotMovable)) flags |= kNotMovableFlag;
  tool->SetInterval(Number(parser, kInterval, 10000));
  if (parser.IsContained(kMinWidth)) flags |= kMinimumWidthFlag;
  if (parser.IsContained(kMinHeight)) flags |= kMinimumHeightFlag;
  // The size is the preferred one in any case. As soon as the script gives one half of it, both
  // halves, the other by its default, are the least size as well.
  const SV::Size size(Number(parser, kMinWidth, 300), Number(parser, kMinHeight, 200));
  workbench.AddTool(id, tool, flags);  // which owns it from here on
  workbench.SetToolTitle(id, parser.GetStrValue(kTitle));
  workbench.SetToolLocation(id, LocationOf(parser.GetStrValue(kAlign)), Number(parser, kIndex, 0),
                            Number(parser, kSubIndex, 4711));
  workbench.SetToolPrefVerticalSizePixel(id, size);
  workbench.SetToolPrefHorizontalSizePixel(id, size);
  workbench.SetToolPrefFloatingSizePixel(id, size);
  if (flags & (kMinimumWidthFlag | kMinimumHeightFlag)) {
    workbench.SetToolMinVerticalSizePixel(id, size);
    workbench.SetToolMinHorizontalSizePixel(id, size);
  }
  workbench.SetToolVisible(id, true);
}

}  // namespace

void Command_BROWSER(const char*, TavKelParser& parser, TavScriptResult& result) {
  // `print-header` is checked twice on purpose. The second check cannot fail once the first has
  // passed, but it is a line of the trace, and traces are compared with older ones line by line.
  if (StringsFail(parser, result, {kTitle, kContent},
                  {kFieldSep, kLineSep, kHeader, kPrintHeader, kModRefFormat, kObjRefFormat,
                   kPrintHeader, kAlignment})) {
    return;
  }

  const SV::String title = parser.GetStrValue(kTitle);
  auto objects = std::make_unique<TavShrinkExpandBrowserObjects>(
      parser.IsContained(kWithHandleColumn) ? 1 : 0, 0);
  objects->Init(0);
  objects->SetShowLinks(parser.IsContained(kShowLinks));
  SetReferenceFormats(*objects, parser);
  SetHeaders(*objects, parser);
  const bool isRead = ReadContent(*objects, parser);
  if (isRead) {
    SetModalAlignments(*objects, parser.GetStrValue(kAlignment));
    const bool adjustRows = parser.IsContained(kAdjustRows);
    if (parser.IsContained(kMaxSize)) {
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
  if (StringsFail(parser, result, {kTitle, kContent},
                  {kFieldSep, kOkText, kHeader, kPrintHeader, kAlignment})) {
    return;
  }

  auto objects =
      std::make_unique<TavEditableBrowserObjects>(parser.IsContained(kWithHandleColumn) ? 1 : 0);
  objects->Init(0);
  SetHeaders(*objects, parser);
  const bool isRead = objects->ReadFromText(
      parser.GetStrValue(kContent), Separator(parser, kFieldSep, kFieldSeparator), kRowSeparator);
  if (isRead) {
    SetModalAlignments(*objects, parser.GetStrValue(kAlignment));
    TavEditableSimpleBrowserWindow window(Tav_GetTopWindow(0), objects.get(), 50, 20, true, true);
    window.SetText(parser.GetStrValue(kTitle));
    const SV::String okText = parser.GetStrValue(kOkText);
    if (okText.Len() > 0) window.GetOKButton().SetText(okText);
    if (parser.IsContained(kNoSpecialButtons)) {
      for (int i = 0; i < kSpecialButtons; ++i) window.GetSpecialButton(i).Hide();
    }
    if (parser.IsContained(kMaxSize)) window.Maximize();
    window.Execute();
  }
  // Written back in any case; only a table that was read is returned, however the window closed.
  const SV::String text = objects->WriteToText(kFieldSeparator);
  objects.reset();

  results::SetInteger(result, "ecode", isRead ? kShown : kUnreadable);
  if (isRead) results::SetString(result, "text", text);
}

void Command_DOCKABLE_BROWSER(const char*, TavKelParser& parser, TavScriptResult& result) {
  // `print-header` is checked twice, as in BROWSER.
  if (StringsFail(parser, result, {kTitle, kContent, kWinId},
                  {kSubtitle, kFieldSep, kLineSep, kHeader, kPrintHeader, kModRefFormat,
                   kObjRefFormat, kPrintHeader, kShowButtons, kColumnSizes, kAlignment})) {
    return;
  }

  const SV::String id = parser.GetStrValue(kWinId);
  auto objects = std::make_unique<TavShrinkExpandBrowserObjects>(
      parser.IsContained(kWithHandleColumn) ? 1 : 0, 0);
  objects->Init(0);
  objects->SetShowLinks(parser.IsContained(kShowLinks));
  objects->SetSubtitle(parser.GetStrValue(kSubtitle));
  SetReferenceFormats(*objects, parser);
  SetHeaders(*objects, parser);
  if (!ReadContent(*objects, parser)) {
    objects.reset();
    results::SetInteger(result, "ecode", kUnreadable);
    return;
  }

  TavWorkbench* const workbench = TavAppWorkWindow::GetGlobal()->GetWorkbench();
  SV::Window* const known = workbench->GetToolWindow(id);
  auto* tool = dynamic_cast<TavDockableBrowserTool*>(known);
  if (known && !tool) {
    objects.reset();
    results::SetInteger(result, "ecode", kOtherTool);
    return;
  }
  if (!tool) tool = AddBrowserTool(*workbench, id, parser);
  workbench->SetToolVisible(id, true);
  if (parser.IsContained(kClearContent)) tool->CloseAllResults();
  TavShrinkExpandBrowserObjects& shown = *objects.release();  // the tool's from here on
  tool->AddResult(&shown);
  if (parser.IsContained(kAdjustRows)) tool->AdjustAllRows();
  SetToolAlignments(shown, parser.GetStrValue(kAlignment));
  SetColumnSizes(shown, parser.GetStrValue(kColumnSizes));
  workbench->ToolGrabFocus(id);

  results::SetInteger(result, "ecode", kShown);
}

void Command_CLOSE_DOCKABLE_WINDOW(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kWinId, TavKelString, result, checks::kRequired)) return;

  const SV::String id = parser.GetStrValue(kWinId);
  TavWorkbench* const workbench = TavAppWorkWindow::GetGlobal()->GetWorkbench();
  const bool isKnown = workbench->GetToolWindow(id) != nullptr;
  if (isKnown) workbench->SetToolVisible(id, false);

  results::SetInteger(result, "ecode", isKnown ? kHidden : kUnknownWindow);
}

void Command_GRAPHREP_TOOL(const char*, TavKelParser& parser, TavScriptResult& result) {
  for (const names::Literal name : Names{kTitle, kAlign}) {
    if (checks::Fails(parser, name, TavKelString, result, checks::kOptional)) return;
  }
  for (const names::Literal name : Names{kInterval, kIndex, kSubIndex, kMinWidth, kMinHeight}) {
    if (checks::Fails(parser, name, TavKelInteger, result, checks::kOptional)) return;
  }
  if (checks::FailsWhenPresent(parser, kGraphRep, TavKelString, result, checks::kRequired)) return;

  if (!parser.IsContained(kGraphRep)) {
    results::SetInteger(result, "ecode", kNoGraphrep);
    return;
  }
  TavWorkbench* const workbench = TavAppWorkWindow::GetGlobal()->GetWorkbench();
  if (workbench->GetToolWindow(graphRepToolId)) {
    workbench->SetToolVisible(graphRepToolId, true);
  } else {
    AddGraphRepTool(*workbench, parser);
  }
  if (parser.IsContained(kHideCloseButton)) workbench->SetToolDefaultVisible(graphRepToolId, true);

  results::SetInteger(result, "ecode", kShown);
}

}  // namespace commands
