// Message boxes, text boxes, list boxes, and dialogs for files, directories and images. Each opens
// above the top window, runs and is gone again when its command ends; only the message window of
// MSGWIN stays.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "commands/handlers.h"
#include "commands/message_window.h"
#include "commands/support/checks.h"
#include "commands/support/results.h"
#include "host/base/sequence.h"
#include "host/base/string.h"
#include "host/dialog/directory_dialog.h"
#include "host/dialog/edit_box.h"
#include "host/dialog/file_dialog.h"
#include "host/dialog/info_box.h"
#include "host/dialog/list_box_dialog.h"
#include "host/dialog/mess_win.h"
#include "host/dialog/multi_list_box_dialog.h"
#include "host/dialog/query_box.h"
#include "host/dialog/simple_edit_dialog.h"
#include "host/dialog/startup_box.h"
#include "host/dialog/top_window.h"
#include "host/dialog/view_box.h"
#include "host/dialog/warning_box.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/sv/application.h"
#include "host/sv/error_box.h"
#include "host/sv/font.h"
#include "host/sv/map_mode.h"
#include "host/tools/image_preview_dialog.h"

namespace commands {

namespace {

// The parameters of these commands.
constexpr names::Literal kTitle = "title";
constexpr names::Literal kFontName = "fontname";
constexpr names::Literal kFontHeight = "fontheight";
constexpr names::Literal kBoxText = "boxtext";
constexpr names::Literal kOkText = "oktext";
constexpr names::Literal kEntries = "entries";
constexpr names::Literal kSelection = "selection";
constexpr names::Literal kWidth = "w";
constexpr names::Literal kHeight = "h";
constexpr names::Literal kTokSep = "toksep";
constexpr names::Literal kExtra = "extra";
constexpr names::Literal kChecked = "checked";
constexpr names::Literal kResultVar = "result-var";
constexpr names::Literal kHide = "hide";
constexpr names::Literal kFileEditor = "fileeditor";
constexpr names::Literal kText = "text";
constexpr names::Literal kCaption = "caption";
constexpr names::Literal kOpen = "open";
constexpr names::Literal kSaveAs = "saveas";
constexpr names::Literal kMultiSel = "multi-sel";
constexpr names::Literal kPath = "path";
constexpr names::Literal kCurFilter = "cur-filter";
constexpr names::Literal kFilter = "filter";  // and, numbered from 1, in pairs with `type`
constexpr names::Literal kType = "type";
constexpr names::Literal kDefaultExt = "default-ext";
constexpr names::Literal kFileName = "filename";
constexpr names::Literal kExtensions = "extensions";

// The message window of MSGWIN, owned here; null when none is shown. It stays from command to
// command, until MSGWIN hides it or the script ends.
TavMessWin* messageWindow = nullptr;

// A modifier and the bit that it sets in the style of a message box.
struct StyleKeyword {
  names::Literal name;
  std::uint32_t value;
};

// In the order in which they are looked for; the first one present counts.
constexpr StyleKeyword kButtonSets[] = {
    {"ok", SV::kMessBoxOk},
    {"ok-cancel", SV::kMessBoxOkCancel},
    {"yes-no", SV::kMessBoxYesNo},
    {"yes-no-cancel", SV::kMessBoxYesNoCancel},
    {"retry-cancel", SV::kMessBoxRetryCancel},
};
constexpr StyleKeyword kDefaultButtons[] = {
    {"def-ok", SV::kMessBoxDefaultOk},       {"def-cancel", SV::kMessBoxDefaultCancel},
    {"def-yes", SV::kMessBoxDefaultYes},     {"def-no", SV::kMessBoxDefaultNo},
    {"def-retry", SV::kMessBoxDefaultRetry},
};

// The value of the first keyword that the command has, `otherwise` when it has none.
template <std::size_t count>
std::uint32_t FirstPresent(const TavKelParser& parser, const StyleKeyword (&keywords)[count],
                           std::uint32_t otherwise) {
  for (const StyleKeyword& keyword : keywords) {
    if (parser.IsContained(keyword.name)) return keyword.value;
  }
  return otherwise;
}

// QUERYBOX, ERRORBOX and WARNINGBOX share a handler; the name under which it was called decides
// which box this is. Every name but the first two makes a warning.
std::unique_ptr<SV::MessBox> MakeMessageBox(const char* name, std::uint32_t style,
                                            const SV::String& text) {
  SV::Window* const parent = Tav_GetTopWindow(0);
  if (std::strcmp(name, "QUERYBOX") == 0) return std::make_unique<TavQueryBox>(parent, style, text);
  if (std::strcmp(name, "ERRORBOX") == 0) {
    return std::make_unique<SV::ErrorBox>(parent, style, text);
  }
  return std::make_unique<TavWarningBox>(parent, style, text);
}

// The value of `endbutton` for what SV::MessBox::Execute returned.
const char* EndButtonOfBox(short executed) {
  switch (executed) {
    case 1:
      return "ok";
    case 2:
      return "yes";
    case 3:
      return "no";
    case 4:
      return "retry";
    default:
      return "cancel";
  }
}

const char* EndButton(bool confirmed) { return confirmed ? "ok" : "cancel"; }

void SetTitleIfPresent(TavKelParser& parser, SV::Window& window) {
  if (parser.IsContained(kTitle)) window.SetText(parser.GetStrValue(kTitle));
}

// The font for a long text: the application's, with the face or the height changed.
void ApplyTextFont(TavKelParser& parser, SV::MultiLineEdit& control) {
  SV::Font font(SV::GetpApp()->GetAppFont());
  const bool hasName = parser.IsContained(kFontName);
  const bool hasHeight = parser.IsContained(kFontHeight);
  if (hasName) font.ChangeName(parser.GetStrValue(kFontName));
  if (hasHeight) font.ChangeSize(SV::Size(0, parser.GetIntValue(kFontHeight)));
  if (hasName || hasHeight) control.ChangeFont(font);
}

// Calls `visit` for each piece between separators; there is none in an empty text. One walk, as
// lists can have many entries.
template <typename Visit>
void ForEachPiece(const SV::String& text, char separator, Visit visit) {
  const char* at = text.GetStr();
  const char* const end = at + text.Len();
  if (at == end) return;
  for (;;) {
    const auto* const found =
        static_cast<const char*>(std::memchr(at, separator, static_cast<std::size_t>(end - at)));
    const char* const pieceEnd = found ? found : end;
    visit(SV::String(at, static_cast<long>(pieceEnd - at)));
    if (!found) return;
    at = found + 1;
  }
}

void Preselect(TavListBoxDialog& dialog, const SV::String& selection, char) {
  dialog.SelectEntry(selection);
}

void Preselect(TavMultiListBoxDialog& dialog, const SV::String& selection, char separator) {
  ForEachPiece(selection, separator,
               [&dialog](const SV::String& entry) { dialog.SelectEntry(entry); });
}

SV::String Selection(TavListBoxDialog& dialog, char) { return dialog.GetSelectEntry(); }

// The selected entries, joined by the separator. None stands before the first entry that is not
// empty, so that empty entries at the start leave no trace.
SV::String Selection(TavMultiListBoxDialog& dialog, char separator) {
  SV::String joined;
  const std::uint32_t count = dialog.GetSelectEntryCount();
  for (std::uint32_t index = 0; index < count; ++index) {
    if (joined.Len() > 0) joined += separator;
    joined += dialog.GetSelectEntry(index);
  }
  return joined;
}

// Calls `visit` with each CHECKBOX element current.
template <typename Visit>
void ForEachCheckBox(TavKelParser& extra, Visit visit) {
  for (unsigned long index = 0; extra.SetCurElemIndex(index); ++index) {
    if (extra.GetCurElemName() == "CHECKBOX") visit();
  }
}

bool ListBoxParametersFail(TavKelParser& parser, TavScriptResult& result) {
  using checks::Fails;
  using checks::kOptional;
  return Fails(parser, kEntries, TavKelString, result, checks::kRequired) ||
         Fails(parser, kTokSep, TavKelString, result, kOptional) ||
         Fails(parser, kSelection, TavKelString, result, kOptional) ||
         Fails(parser, kTitle, TavKelString, result, kOptional) ||
         Fails(parser, kBoxText, TavKelString, result, kOptional) ||
         Fails(parser, kOkText, TavKelString, result, kOptional) ||
         Fails(parser, kWidth, TavKelInteger, result, kOptional) ||
         Fails(parser, kHeight, TavKelInteger, result, kOptional);
}

template <typename Dialog>
void FillListBox(TavKelParser& parser, Dialog& dialog, char separator) {
  if (parser.IsContained(kBoxText)) dialog.SetBoxText(parser.GetStrValue(kBoxText));
  SetTitleIfPresent(parser, dialog);
  if (parser.IsContained(kOkText)) dialog.SetOKText(parser.GetStrValue(kOkText));

  ForEachPiece(parser.GetStrValue(kEntries), separator,
               [&dialog](const SV::String& entry) { dialog.InsertEntry(entry); });
  if (parser.IsContained(kSelection)) {
    Preselect(dialog, parser.GetStrValue(kSelection), separator);
  }

  long width = 0;
  long height = 0;
  if (parser.TryGetIntValue(kWidth, width) && parser.TryGetIntValue(kHeight, height)) {
    const SV::Size units(width, height);
    dialog.ChangeOutputSizePixel(dialog.LogicToPixel(units, SV::MapMode(SV::MapAppFont)));
  }
}

// LISTBOX and MLISTBOX, which differ in their dialogs.
template <typename Dialog>
void RunListBox(TavKelParser& parser, TavScriptResult& result) {
  if (ListBoxParametersFail(parser, result)) return;

  Dialog dialog(Tav_GetTopWindow(0));
  const char separator = parser.IsContained(kTokSep) ? parser.GetStrValue(kTokSep).GetChar(0) : ' ';
  FillListBox(parser, dialog, separator);
  TavKelParser* const extra = parser.GetBodyParser(kExtra);
  if (extra) {
    ForEachCheckBox(*extra, [&] {
      const bool checked = extra->GetIntValue(kChecked) != 0;
      dialog.AddCheckBox(extra->GetStrValue(), checked);
    });
  }

  const bool confirmed = dialog.Execute() == 1;

  results::SetString(result, "selection", Selection(dialog, separator));
  results::SetString(result, "endbutton", EndButton(confirmed));
  if (!extra) return;
  ForEachCheckBox(*extra, [&] {
    const SV::String variable = extra->GetModifier(kResultVar);
    if (variable.Len() == 0) return;
    results::SetIntegerOf(result, SV::String(variable.GetStr()),
                          dialog.IsChecked(extra->GetStrValue()) ? 1 : 0);
  });
}

// Pairs "filter1" with "type1" and so on, up to the first that is not whole.
void AddFilters(TavKelParser& parser, TavFileDialog& dialog) {
  for (int number = 1;; ++number) {
    SV::String filterName = names::Kept(kFilter);
    filterName += SV::String(number);
    SV::String typeName = names::Kept(kType);
    typeName += SV::String(number);
    SV::String filter;
    SV::String type;
    if (!parser.TryGetStrValue(filterName, filter)) return;
    if (!parser.TryGetStrValue(typeName, type)) return;
    dialog.AddFilter(filter, type);
  }
}

TavKelValue* SelectedFiles(TavFileDialog& dialog) {
  ISequence<SV::String> files;
  dialog.GetSelectedFiles(files);
  auto* const list = new TavKelValue(TavKelList);
  if (!list) return nullptr;
  for (long index = 0; index < files.Count(); ++index) {
    list->Append(new TavKelValue(new SV::String(files.Get(index))));
  }
  return list;
}

}  // namespace

void ReleaseMessageWindow() {
  delete messageWindow;
  messageWindow = nullptr;
}

void Command_INFOBOX(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, checks::kMainValue, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kTitle, TavKelString, result, checks::kOptional)) return;

  TavInfoBox box(Tav_GetTopWindow(0), parser.GetStrValue());
  SetTitleIfPresent(parser, box);
  box.Execute();
}

void Command_QUERYBOX(const char* name, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, checks::kMainValue, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kTitle, TavKelString, result, checks::kOptional)) return;

  const std::uint32_t style =
      FirstPresent(parser, kButtonSets, SV::kMessBoxOk) | FirstPresent(parser, kDefaultButtons, 0);
  std::unique_ptr<SV::MessBox> box = MakeMessageBox(name, style, parser.GetStrValue());
  SetTitleIfPresent(parser, *box);

  const bool wait = SV::GetpApp()->IsWait();
  if (wait) SV::GetpApp()->Wait(false);
  const short executed = box->Execute();
  box.reset();
  results::SetString(result, "endbutton", EndButtonOfBox(executed));
  SV::GetpApp()->Wait(wait);
}

void Command_MSGWIN(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (parser.IsContained(kHide)) {
    ReleaseMessageWindow();
    return;
  }
  if (checks::Fails(parser, checks::kMainValue, TavKelString, result, checks::kRequired)) return;

  const SV::String text = parser.GetStrValue();
  if (TavStartupBox* const startup = TavStartupBox::GetGlobal()) {
    startup->SetAdditionalMessage(text);
  } else if (messageWindow) {
    messageWindow->SetText(text);
  } else {
    messageWindow = new TavMessWin(SV::GetpApp()->GetAppWindow(), text, 0, true);
    messageWindow->Show();
  }
}

void Command_VIEWBOX(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kText, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kTitle, TavKelString, result, checks::kOptional)) return;
  if (checks::Fails(parser, kFontName, TavKelString, result, checks::kOptional)) return;
  if (checks::Fails(parser, kFontHeight, TavKelInteger, result, checks::kOptional)) return;

  TavViewBox box(Tav_GetTopWindow(0), parser.IsContained(kFileEditor) ? 1 : 0);
  SetTitleIfPresent(parser, box);
  box.SetViewText(parser.GetStrValue(kText));
  ApplyTextFont(parser, box.GetTextControl());
  box.Execute();
}

void Command_EDITBOX(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kText, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kTitle, TavKelString, result, checks::kOptional)) return;
  if (checks::Fails(parser, kOkText, TavKelString, result, checks::kOptional)) return;
  if (checks::Fails(parser, kFontName, TavKelString, result, checks::kOptional)) return;
  if (checks::Fails(parser, kFontHeight, TavKelInteger, result, checks::kOptional)) return;

  TavEditBox box(Tav_GetTopWindow(0), parser.IsContained(kFileEditor) ? 1 : 0);
  SetTitleIfPresent(parser, box);
  if (parser.IsContained(kOkText)) box.SetOKText(parser.GetStrValue(kOkText));
  box.SetEditText(parser.GetStrValue(kText));
  ApplyTextFont(parser, box.GetTextControl());
  const bool confirmed = box.Execute() == 1;
  results::SetString(result, "text", box.GetEditText());
  results::SetString(result, "endbutton", EndButton(confirmed));
}

void Command_EDITFIELD(const char*, TavKelParser& parser, TavScriptResult& result) {
  constexpr std::uint32_t kFieldStyle = 0x3F10;
  if (checks::Fails(parser, kCaption, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kText, TavKelString, result, checks::kOptional)) return;
  if (checks::Fails(parser, kTitle, TavKelString, result, checks::kOptional)) return;

  const SV::String caption = parser.GetStrValue(kCaption);
  TavSimpleEditDialog dialog(Tav_GetTopWindow(0), caption, kFieldStyle);
  if (parser.IsContained(kText)) dialog.setFieldValue(parser.GetStrValue(kText));
  if (parser.IsContained(kTitle)) {
    dialog.SetText(parser.GetStrValue(kTitle));
  } else if (const SV::Window* const app = SV::GetpApp()->GetAppWindow()) {
    dialog.SetText(app->GetText());
  }
  // Any result but 0 confirms.
  const bool confirmed = dialog.Execute() != 0;
  results::SetInteger(result, "ecode", confirmed ? 0 : 1);
  if (confirmed) results::SetString(result, "text", dialog.getFieldValue());
}

void Command_LISTBOX(const char*, TavKelParser& parser, TavScriptResult& result) {
  RunListBox<TavListBoxDialog>(parser, result);
}

void Command_MLISTBOX(const char*, TavKelParser& parser, TavScriptResult& result) {
  RunListBox<TavMultiListBoxDialog>(parser, result);
}

void Command_FILE_DIALOG(const char*, TavKelParser& parser, TavScriptResult& result) {
  constexpr std::uint32_t kAlways = 0x20;
  constexpr std::uint32_t kToOpen = 0x1000;
  constexpr std::uint32_t kToSave = 0x2000;
  if (checks::Fails(parser, kPath, TavKelString, result, checks::kOptional)) return;
  if (checks::Fails(parser, kFileName, TavKelString, result, checks::kOptional)) return;
  if (checks::Fails(parser, kDefaultExt, TavKelString, result, checks::kOptional)) return;

  const std::uint32_t mode = parser.IsContained(kOpen)     ? kToOpen
                             : parser.IsContained(kSaveAs) ? kToSave
                                                           : 0;
  TavFileDialog dialog(Tav_GetTopWindow(0), mode | kAlways);
  const bool multiple = parser.GetBoolValue(kMultiSel, false);
  if (multiple) dialog.AllowMultiSelectOnOpen();
  if (parser.IsContained(kPath)) dialog.SetPath(parser.GetStrValue(kPath));
  AddFilters(parser, dialog);
  // `cur-filter` only says that the dialog is to start with a filter of the script's choice; its
  // value is never read. The filter is named by `filter`, the parameter without a number, which
  // holds the text that one of the numbered ones gave it.
  if (parser.IsContained(kCurFilter)) dialog.SetCurFilter(parser.GetStrValue(kFilter));
  if (parser.IsContained(kDefaultExt)) dialog.SetDefaultExt(parser.GetStrValue(kDefaultExt));
  if (parser.IsContained(kFileName)) dialog.SetInitialFileName(parser.GetStrValue(kFileName));

  const bool wait = SV::GetpApp()->IsWait();
  if (wait) SV::GetpApp()->Wait(false);
  const bool confirmed = dialog.Execute() == 1;
  results::SetString(result, "endbutton", EndButton(confirmed));
  if (multiple) {
    results::SetValue(result, "path", SelectedFiles(dialog));
  } else {
    results::SetString(result, "path", dialog.GetPath());
  }
  SV::GetpApp()->Wait(wait);
}

void Command_DIRECTORY_DIALOG(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kPath, TavKelString, result, checks::kOptional)) return;

  SV::String path;
  if (parser.IsContained(kPath)) {
    path = parser.GetStrValue(kPath);
    // The dialog takes folders without a backslash at the end; only a drive, "C:\", needs it.
    const long last = path.Len() - 1;
    if (last >= 3 && path.GetChar(last) == '\\') path.Erase(last, 1);
  }
  const bool confirmed = ExecuteDirectoryDialog(Tav_GetTopWindow(0), path);
  results::SetString(result, "endbutton", EndButton(confirmed));
  results::SetString(result, "path", path);
}

void Command_IMAGE_PREVIEW_DLG(const char*, TavKelParser& parser, TavScriptResult& result) {
  SV::String extensions;
  if (parser.IsContained(kExtensions)) extensions = parser.GetStrValue(kExtensions);

  TavImagePreviewDialog dialog(Tav_GetTopWindow(0));
  dialog.Init(extensions);
  SetTitleIfPresent(parser, dialog);
  if (dialog.Execute() == 1) {
    results::SetInteger(result, "ecode", 0);
    SV::String file("db:\\");
    file += dialog.GetPreviewControl().GetSelected();
    results::SetString(result, "files", file);
  } else {
    results::SetInteger(result, "ecode", 1);
    results::SetString(result, "files", "");
  }
}

}  // namespace commands
