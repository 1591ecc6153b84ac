#include "host/dialog/simple_tlb_dlg.h"

#include <cstdint>
#include <string>

#include "tavhost/base/trace.h"
#include "tavhost/ui/models/tree_list_box_model.h"

namespace {

using ui::TreeListBoxModel;

TreeListBoxModel::Options OptionsOf(bool sizeable, unsigned long style, bool checkListBox,
                                    bool searchable, bool noCancel, bool noHelp, long columns,
                                    bool setDblClick, bool okEnabled) {
  TreeListBoxModel::Options options;
  options.sizeable = sizeable;
  options.sorted = (style & TavSimpleTLBDlg::kSorted) != 0;
  options.multiple = (style & TavSimpleTLBDlg::kMultipleSelection) != 0;
  options.parentsSelectable = (style & TavSimpleTLBDlg::kParentsSelectable) != 0;
  options.childrenSelectable = (style & TavSimpleTLBDlg::kChildrenSelectable) != 0;
  options.flat = (style & TavSimpleTLBDlg::kFlat) != 0;
  options.checkBoxes = checkListBox;
  options.searchable = searchable;
  options.hasCancel = !noCancel;
  options.hasHelp = !noHelp;
  options.columns = columns;
  options.endsOnDoubleClick = setDblClick;
  options.okStartsEnabled = okEnabled;
  return options;
}

// Ids have 32 bits on every system, whatever `long` has.
std::int32_t Narrow(long value) { return static_cast<std::int32_t>(value); }

}  // namespace

TavSimpleTLBDlg::TavSimpleTLBDlg(SV::Window* parent, bool sizeable, unsigned long style,
                                 bool checkListBox, bool searchable, bool noCancel, bool noHelp,
                                 long columns, bool setDblClick, bool okEnabled, bool unused)
    : TavModalDialog(parent, std::make_unique<TreeListBoxModel>(
                                 OptionsOf(sizeable, style, checkListBox, searchable, noCancel,
                                           noHelp, columns, setDblClick, okEnabled))) {
  trace::Call call("TavSimpleTLBDlg::TavSimpleTLBDlg", trace::Window(parent), sizeable, style,
                   checkListBox, searchable, noCancel, noHelp, columns, setDblClick, okEnabled,
                   unused);
  call.Created("TavSimpleTLBDlg", this);
}

TavSimpleTLBDlg::~TavSimpleTLBDlg() = default;

TreeListBoxModel& TavSimpleTLBDlg::Tree() { return static_cast<TreeListBoxModel&>(Model()); }

void TavSimpleTLBDlg::setOKText(const SV::String& text) {
  trace::Call call(this, "setOKText", text);
  call.Write();
  Tree().okText = text.View();
}

void TavSimpleTLBDlg::setCancelText(const SV::String& text) {
  trace::Call call(this, "setCancelText", text);
  call.Write();
  Tree().cancelText = text.View();
}

void TavSimpleTLBDlg::setHeadline(const SV::String& text) {
  trace::Call call(this, "setHeadline", text);
  call.Write();
  Tree().headline = text.View();
}

void TavSimpleTLBDlg::setButtonWidthPixel(long width) {
  trace::Call call(this, "setButtonWidthPixel", width);
  call.Write();
  Tree().buttonWidth = width;
}

void TavSimpleTLBDlg::setMinOutputSizePixel(const SV::Size& size) {
  trace::Call call(this, "setMinOutputSizePixel", size);
  call.Write();
  Tree().minimum = size;
}

void TavSimpleTLBDlg::setMaxOutputSizePixel(const SV::Size& size) {
  trace::Call call(this, "setMaxOutputSizePixel", size);
  call.Write();
  Tree().maximum = size;
}

bool TavSimpleTLBDlg::addItem(long id, long parentId, const SV::String& text, bool isParent) {
  trace::Call call(this, "addItem", id, parentId, text, isParent);
  return call.Result(Tree().Add(Narrow(id), Narrow(parentId), text.View(), isParent));
}

bool TavSimpleTLBDlg::removeItem(long id) {
  trace::Call call(this, "removeItem", id);
  return call.Result(Tree().Remove(Tree().Find(Narrow(id))));
}

bool TavSimpleTLBDlg::removeItem(long id, long parentId) {
  trace::Call call(this, "removeItem", id, parentId);
  return call.Result(Tree().Remove(Tree().Find(Narrow(id), Narrow(parentId))));
}

bool TavSimpleTLBDlg::selectItem(long id, bool select) {
  trace::Call call(this, "selectItem", id, select);
  return call.Result(Tree().Select(Tree().Find(Narrow(id)), select));
}

bool TavSimpleTLBDlg::selectItem(long id, long parentId, bool select) {
  trace::Call call(this, "selectItem", id, parentId, select);
  return call.Result(Tree().Select(Tree().Find(Narrow(id), Narrow(parentId)), select));
}

bool TavSimpleTLBDlg::expandItem(long id, bool expand) {
  trace::Call call(this, "expandItem", id, expand);
  return call.Result(Tree().Expand(Tree().Find(Narrow(id)), expand));
}

bool TavSimpleTLBDlg::expandItem(long id, long parentId, bool expand) {
  trace::Call call(this, "expandItem", id, parentId, expand);
  return call.Result(Tree().Expand(Tree().Find(Narrow(id), Narrow(parentId)), expand));
}

bool TavSimpleTLBDlg::expandToItem(long id) {
  trace::Call call(this, "expandToItem", id);
  return call.Result(Tree().ExpandTo(Tree().Find(Narrow(id))));
}

bool TavSimpleTLBDlg::selectAll() {
  trace::Call call(this, "selectAll");
  return call.Result(Tree().SelectAll());
}

bool TavSimpleTLBDlg::expandAll() {
  trace::Call call(this, "expandAll");
  return call.Result(Tree().ExpandAll());
}

void TavSimpleTLBDlg::setItemImage(long id, const SV::Image& image) {
  trace::Call call(this, "setItemImage", id, trace::Object{image.Source().get()});
  call.Write();
  Tree().SetImage(Tree().Find(Narrow(id)), false, image.Source());
}

void TavSimpleTLBDlg::setItemImage2(long id, const SV::Image& image) {
  trace::Call call(this, "setItemImage2", id, trace::Object{image.Source().get()});
  call.Write();
  Tree().SetImage(Tree().Find(Narrow(id)), true, image.Source());
}

void TavSimpleTLBDlg::addAdditionalButton(const SV::String& text, const SV::String& name, int index,
                                          bool disableIfNoSelection) {
  trace::Call call(this, "addAdditionalButton", text, name, index, disableIfNoSelection);
  call.Write();
  Tree().AddButton(
      {std::string(text.View()), std::string(name.View()), index, disableIfNoSelection});
}

void TavSimpleTLBDlg::getSelectedItems(ISequence<long>& ids) {
  trace::Call call(this, "getSelectedItems");
  call.Write();
  for (const TreeListBoxModel::Handle item : Tree().Selected()) ids.Append(Tree().Id(item));
}

// What is selected now is what a record of the user's answer is told against.
long TavSimpleTLBDlg::Execute() {
  Tree().NoteSelection();
  return TavModalDialog::Execute();
}

SV::String TavSimpleTLBDlg::GetEndButton() {
  trace::Call call(this, "GetEndButton");
  return call.Result(SV::String(Tree().EndName().c_str()));
}
