// The tree list box: one dialog for the whole process, made by TLB_CREATE, filled by the commands
// behind it and run by TLB_SHOW as often as a script likes. It stays until the next TLB_CREATE.
#include "commands/handlers.h"
#include "commands/support/checks.h"
#include "commands/support/results.h"
#include "host/base/sequence.h"
#include "host/base/string.h"
#include "host/dialog/simple_tlb_dlg.h"
#include "host/dialog/tlb_image_pool.h"
#include "host/dialog/top_window.h"
#include "host/notation/kel_parser.h"
#include "host/sv/application.h"
#include "host/sv/image.h"
#include "host/sv/map_mode.h"

namespace commands {

namespace {

// The parameters of these commands.
constexpr names::Literal kCheckListBox = "checklistbox";
constexpr names::Literal kSizeable = "sizeable";
constexpr names::Literal kSearchable = "searchable";
constexpr names::Literal kNoCancel = "no-cancel";
constexpr names::Literal kNoHelp = "no-help";
constexpr names::Literal kSetDblClick = "setdblclick";
constexpr names::Literal kOkButtonEnabled = "okbutton-enabled";
constexpr names::Literal kMultiSel = "multi-sel";
constexpr names::Literal kNoChildSel = "no-child-sel";
constexpr names::Literal kNoParentSel = "no-parent-sel";
constexpr names::Literal kSorted = "sorted";
constexpr names::Literal kFlat = "flat";
constexpr names::Literal kColumns = "columns";
constexpr names::Literal kTitle = "title";
constexpr names::Literal kOkText = "oktext";
constexpr names::Literal kCancelText = "canceltext";
constexpr names::Literal kBoxText = "boxtext";
constexpr names::Literal kButtonWidth = "button-w";
constexpr names::Literal kId = "id";
constexpr names::Literal kText = "text";
constexpr names::Literal kParentId = "parentid";
constexpr names::Literal kIsParent = "is-parent";
constexpr names::Literal kName = "name";
constexpr names::Literal kIndex = "index";
constexpr names::Literal kDisableIfNoSelection = "disable_if_no_selection";
constexpr names::Literal kX = "x";
constexpr names::Literal kY = "y";
constexpr names::Literal kWidth = "w";
constexpr names::Literal kHeight = "h";
constexpr names::Literal kMinWidth = "min-w";
constexpr names::Literal kMinHeight = "min-h";
constexpr names::Literal kMaxWidth = "max-w";
constexpr names::Literal kMaxHeight = "max-h";
constexpr names::Literal kBitmap = "bitmap";
constexpr names::Literal kBitmap2 = "bitmap2";
constexpr names::Literal kSelect = "select";
constexpr names::Literal kExpand = "expand";

// What `ecode` can be. kNotOk: TLB_SHOW ended otherwise than by OK; kMissing: a parameter that the
// command cannot do without; kRefused: there is no such item, or it cannot take part.
constexpr int kDone = 0;
constexpr int kNotOk = 1;
constexpr int kNoDialog = 2;
constexpr int kMissing = 3;
constexpr int kRefused = 4;

constexpr long kMaxColumns = 16;

// The dialog, owned here; null before the first TLB_CREATE.
TavSimpleTLBDlg* dialog = nullptr;

TavTLBImagePool imagePool;

// The parameters that TLB_CREATE checks behind the title, in this order.
constexpr names::Literal kTexts[] = {kOkText, kCancelText, kBoxText};
constexpr names::Literal kNumbers[] = {kButtonWidth, kNoCancel,    kNoHelp,       kX,
                                       kY,           kWidth,       kHeight,       kMaxWidth,
                                       kMaxHeight,   kMinWidth,    kMinHeight,    kSearchable,
                                       kSorted,      kFlat,        kColumns,      kMultiSel,
                                       kNoChildSel,  kNoParentSel, kCheckListBox, kOkButtonEnabled};

bool CreateFails(TavKelParser& parser, TavScriptResult& result) {
  if (checks::FailsWhenPresent(parser, kTitle, TavKelString, result, checks::kRequired)) {
    return true;
  }
  for (const names::Literal name : kTexts) {
    if (checks::Fails(parser, name, TavKelString, result, checks::kOptional)) return true;
  }
  for (const names::Literal name : kNumbers) {
    if (checks::Fails(parser, name, TavKelInteger, result, checks::kOptional)) return true;
  }
  return false;
}

TavSimpleTLBDlg* MakeDialog(TavKelParser& parser) {
  const bool checkListBox = parser.GetIntValue(kCheckListBox) != 0;
  const bool sizeable = parser.GetBoolValue(kSizeable, true);
  const bool searchable = parser.GetIntValue(kSearchable) != 0;
  const bool noCancel = parser.GetIntValue(kNoCancel) != 0;
  const bool noHelp = parser.GetIntValue(kNoHelp) != 0;
  const bool setDblClick = parser.GetIntValue(kSetDblClick) != 0;
  const bool okEnabled = parser.GetIntValue(kOkButtonEnabled) != 0;
  // multi-sel, sorted and flat count only when they are above 0; the other switches whenever they
  // are not 0.
  unsigned long style = parser.GetIntValue(kMultiSel) > 0 ? TavSimpleTLBDlg::kMultipleSelection
                                                          : TavSimpleTLBDlg::kSingleSelection;
  if (parser.GetIntValue(kNoChildSel) == 0) style |= TavSimpleTLBDlg::kChildrenSelectable;
  if (parser.GetIntValue(kNoParentSel) == 0) style |= TavSimpleTLBDlg::kParentsSelectable;
  if (parser.GetIntValue(kSorted) > 0) style |= TavSimpleTLBDlg::kSorted;
  if (parser.GetIntValue(kFlat) > 0) style |= TavSimpleTLBDlg::kFlat;
  long columns = 1;
  if (parser.TryGetIntValue(kColumns, columns) && (columns < 1 || columns > kMaxColumns)) {
    columns = 1;
  }
  return new TavSimpleTLBDlg(Tav_GetTopWindow(0), sizeable, style, checkListBox, searchable,
                             noCancel, noHelp, columns, setDblClick, okEnabled, false);
}

void SetTexts(TavKelParser& parser) {
  SV::String text;
  if (parser.TryGetStrValue(kTitle, text)) {
    dialog->SetText(text);
  } else {
    const SV::Window* const window = SV::GetpApp()->GetAppWindow();
    dialog->SetText(window ? window->GetText() : SV::String());
  }
  if (parser.TryGetStrValue(kOkText, text)) dialog->setOKText(text);
  if (parser.TryGetStrValue(kCancelText, text)) dialog->setCancelText(text);
  if (parser.TryGetStrValue(kBoxText, text)) dialog->setHeadline(text);
}

// Both halves of a position or size, in dialog units; false when one is missing, since a half alone
// does not count.
bool TryGetPair(TavKelParser& parser, names::Literal first, names::Literal second, long& a,
                long& b) {
  return parser.TryGetIntValue(first, a) && parser.TryGetIntValue(second, b);
}

void SetPlaces(TavKelParser& parser) {
  const SV::MapMode units(SV::MapAppFont);
  long a = 0;
  long b = 0;
  if (parser.TryGetIntValue(kButtonWidth, a)) {
    dialog->setButtonWidthPixel(dialog->LogicToPixel(SV::Size(a, 0), units).Width());
  }
  if (TryGetPair(parser, kX, kY, a, b)) {
    dialog->SetPosPixel(dialog->LogicToPixel(SV::Point(a, b), units));
  }
  if (TryGetPair(parser, kWidth, kHeight, a, b)) {
    dialog->SetSizePixel(dialog->LogicToPixel(SV::Size(a, b), units));
  }
  if (TryGetPair(parser, kMinWidth, kMinHeight, a, b)) {
    dialog->setMinOutputSizePixel(dialog->LogicToPixel(SV::Size(a, b), units));
  }
  if (TryGetPair(parser, kMaxWidth, kMaxHeight, a, b)) {
    dialog->setMaxOutputSizePixel(dialog->LogicToPixel(SV::Size(a, b), units));
  }
}

void SetEcode(TavScriptResult& result, int code) { results::SetInteger(result, "ecode", code); }

// A missing id is no error but an `ecode`, which GetItem sets: the type is checked only when the id
// is there.
bool IdFails(TavKelParser& parser, TavScriptResult& result) {
  return checks::FailsWhenPresent(parser, kId, TavKelInteger, result, checks::kRequired);
}

// What most item commands need when their checks are done: a dialog and an id. False when one of
// them is missing; `ecode` is then set and the command must return.
bool GetItem(TavKelParser& parser, TavScriptResult& result, long& id) {
  if (!dialog) {
    SetEcode(result, kNoDialog);
    return false;
  }
  if (!parser.TryGetIntValue(kId, id)) {
    SetEcode(result, kMissing);
    return false;
  }
  return true;
}

void SetOutcome(TavScriptResult& result, bool done) { SetEcode(result, done ? kDone : kRefused); }

// A switch that is on when absent, and off at 0 and below.
bool IsOn(TavKelParser& parser, names::Literal name) {
  long value = 1;
  parser.TryGetIntValue(name, value);
  return value > 0;
}

// The image of that name; empty for no name and for names that the pool does not know.
SV::Image ImageNamed(TavKelParser& parser, names::Literal name) {
  const SV::String image = parser.GetStrValue(name);
  return image.Len() == 0 ? SV::Image() : imagePool.GetImage(image);
}

}  // namespace

void Command_TLB_CREATE(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (CreateFails(parser, result)) return;

  delete dialog;
  dialog = nullptr;
  dialog = MakeDialog(parser);
  SetTexts(parser);
  SetPlaces(parser);
  SetEcode(result, kDone);
}

void Command_TLB_INSERT(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (IdFails(parser, result)) return;
  if (checks::Fails(parser, kParentId, TavKelInteger, result, checks::kOptional)) return;
  if (checks::FailsWhenPresent(parser, kText, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kIsParent, TavKelInteger, result, checks::kOptional)) return;

  long id = 0;
  if (!GetItem(parser, result, id)) return;
  SV::String text;
  if (!parser.TryGetStrValue(kText, text)) return SetEcode(result, kMissing);
  long parentId = -1;
  parser.TryGetIntValue(kParentId, parentId);
  const bool isParent = parser.GetIntValue(kIsParent) > 0;
  SetOutcome(result, dialog->addItem(id, parentId, text, isParent));
  // Also when the item was refused because its id is taken: the item that has the id gets the
  // images then.
  if (const SV::Image image = ImageNamed(parser, kBitmap); !image.IsEmpty()) {
    dialog->setItemImage(id, image);
  }
  if (const SV::Image image = ImageNamed(parser, kBitmap2); !image.IsEmpty()) {
    dialog->setItemImage2(id, image);
  }
}

void Command_TLB_REMOVE(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (IdFails(parser, result)) return;
  if (checks::Fails(parser, kParentId, TavKelInteger, result, checks::kOptional)) return;

  long id = 0;
  if (!GetItem(parser, result, id)) return;
  long parentId = 0;
  const bool hasParent = parser.TryGetIntValue(kParentId, parentId);
  SetOutcome(result, hasParent ? dialog->removeItem(id, parentId) : dialog->removeItem(id));
}

void Command_TLB_SELECT(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (IdFails(parser, result)) return;
  if (checks::Fails(parser, kParentId, TavKelInteger, result, checks::kOptional)) return;
  if (checks::Fails(parser, kSelect, TavKelInteger, result, checks::kOptional)) return;

  long id = 0;
  if (!GetItem(parser, result, id)) return;
  long parentId = 0;
  const bool hasParent = parser.TryGetIntValue(kParentId, parentId);
  const bool select = IsOn(parser, kSelect);
  SetOutcome(result,
             hasParent ? dialog->selectItem(id, parentId, select) : dialog->selectItem(id, select));
}

void Command_TLB_SELECT_ALL(const char*, TavKelParser&, TavScriptResult& result) {
  if (!dialog) return SetEcode(result, kNoDialog);
  SetOutcome(result, dialog->selectAll());
}

void Command_TLB_EXPAND(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (IdFails(parser, result)) return;
  if (checks::Fails(parser, kParentId, TavKelInteger, result, checks::kOptional)) return;
  if (checks::Fails(parser, kExpand, TavKelInteger, result, checks::kOptional)) return;

  long id = 0;
  if (!GetItem(parser, result, id)) return;
  long parentId = 0;
  const bool hasParent = parser.TryGetIntValue(kParentId, parentId);
  const bool expand = IsOn(parser, kExpand);
  SetOutcome(result,
             hasParent ? dialog->expandItem(id, parentId, expand) : dialog->expandItem(id, expand));
}

void Command_TLB_EXPAND_TO(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (IdFails(parser, result)) return;

  long id = 0;
  if (!GetItem(parser, result, id)) return;
  SetOutcome(result, dialog->expandToItem(id));
}

void Command_TLB_EXPAND_ALL(const char*, TavKelParser&, TavScriptResult& result) {
  if (!dialog) return SetEcode(result, kNoDialog);
  SetOutcome(result, dialog->expandAll());
}

void Command_TLB_ADD_BUTTON(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::FailsWhenPresent(parser, kText, TavKelString, result, checks::kRequired)) return;
  if (checks::FailsWhenPresent(parser, kName, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kIndex, TavKelInteger, result, checks::kOptional)) return;
  if (checks::Fails(parser, kDisableIfNoSelection, TavKelInteger, result, checks::kOptional)) {
    return;
  }

  if (!dialog) return SetEcode(result, kNoDialog);
  const SV::String text = parser.GetStrValue(kText);
  const SV::String name = parser.GetStrValue(kName);
  const long index = parser.GetIntValue(kIndex);
  const bool disable = parser.GetIntValue(kDisableIfNoSelection) != 0;
  dialog->addAdditionalButton(text, name, index < 1 ? -1 : static_cast<int>(index), disable);
  SetEcode(result, kDone);
}

void Command_TLB_SHOW(const char*, TavKelParser&, TavScriptResult& result) {
  if (!dialog) return SetEcode(result, kNoDialog);

  const bool isOk = dialog->Execute() == 1;
  SetEcode(result, isOk ? kDone : kNotOk);
  if (!isOk) {
    results::SetString(result, "endbutton", "cancel");
    return;
  }
  ISequence<long> selected;
  dialog->getSelectedItems(selected);
  SV::String ids;
  for (long i = 0; i < selected.Count(); ++i) {
    if (ids.Len() > 0) ids += ' ';
    ids += SV::String(selected.Get(i));
  }
  results::SetString(result, "selectedids", ids);
  results::SetString(result, "endbutton", dialog->GetEndButton());
}

}  // namespace commands
