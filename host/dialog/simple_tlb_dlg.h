#pragma once

#include "host/base/sequence.h"
#include "host/dialog/modal_dialog.h"
#include "host/sv/image.h"

namespace ui {
class TreeListBoxModel;
}

// A dialog with a tree of items, of which one or any number are chosen. Items have ids that the
// caller chooses; an id may stand once under each parent, -1 means no parent. Operations that take
// one id mean the first item of that id, from top to bottom. They return false when there is no
// such item or when it cannot take part.
class TAV_HOST_API TavSimpleTLBDlg : public TavModalDialog {
 public:
  // The style of the dialog: these, added up, one of the two selections among them.
  enum Style : unsigned long {
    kSorted = 0x01,
    kSingleSelection = 0x04,
    kMultipleSelection = 0x08,
    kParentsSelectable = 0x10,
    kChildrenSelectable = 0x20,
    kFlat = 0x80,
  };

  TavSimpleTLBDlg(SV::Window* parent, bool sizeable, unsigned long style, bool checkListBox,
                  bool searchable, bool noCancel, bool noHelp, long columns, bool setDblClick,
                  bool okEnabled, bool unused);
  ~TavSimpleTLBDlg() override;

  void setOKText(const SV::String& text);
  void setCancelText(const SV::String& text);
  void setHeadline(const SV::String& text);  // above the tree
  void setButtonWidthPixel(long width);
  void setMinOutputSizePixel(const SV::Size& size);
  void setMaxOutputSizePixel(const SV::Size& size);

  bool addItem(long id, long parentId, const SV::String& text, bool isParent);
  bool removeItem(long id);  // and all below it
  bool removeItem(long id, long parentId);
  bool selectItem(long id, bool select);
  bool selectItem(long id, long parentId, bool select);
  bool expandItem(long id, bool expand);
  bool expandItem(long id, long parentId, bool expand);
  bool expandToItem(long id);
  bool selectAll();
  bool expandAll();
  void setItemImage(long id, const SV::Image& image);
  void setItemImage2(long id, const SV::Image& image);

  // A button that ends the dialog with 1 and leaves its name. `index` counts the buttons from 1,
  // OK being the first; -1 puts it behind all others.
  void addAdditionalButton(const SV::String& text, const SV::String& name, int index,
                           bool disableIfNoSelection);

  // From top to bottom; with check boxes those that are checked.
  void getSelectedItems(ISequence<long>& ids);
  long Execute() override;
  // The name of the button that ended the dialog with 1: `ok`, or that of an added one.
  SV::String GetEndButton();

 private:
  ui::TreeListBoxModel& Tree();
};
