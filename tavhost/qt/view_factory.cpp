#include "tavhost/qt/view_factory.h"

#include <cstdlib>

#include "tavhost/qt/browser_view.h"
#include "tavhost/qt/edit_field_view.h"
#include "tavhost/qt/file_dialog_view.h"
#include "tavhost/qt/image_dialog_view.h"
#include "tavhost/qt/list_box_view.h"
#include "tavhost/qt/message_box_view.h"
#include "tavhost/qt/text_box_view.h"
#include "tavhost/qt/tree_list_box_view.h"

namespace ui {

// No default: the compiler names the kind that has no view yet.
std::unique_ptr<ModalView> MakeModalView(ModalModel& model, QWidget* parent, bool isForUser) {
  switch (model.Kind()) {
    case ModalKind::kMessageBox:
      return std::make_unique<MessageBoxView>(static_cast<MessageBoxModel&>(model), parent);
    case ModalKind::kTextBox:
      return std::make_unique<TextBoxView>(static_cast<TextBoxModel&>(model), parent);
    case ModalKind::kEditField:
      return std::make_unique<EditFieldView>(static_cast<EditFieldModel&>(model), parent);
    case ModalKind::kListBox:
      return std::make_unique<ListBoxView>(static_cast<ListBoxModel&>(model), parent);
    case ModalKind::kFileDialog:
      return std::make_unique<FileDialogView>(static_cast<FileDialogModel&>(model), parent,
                                              isForUser);
    case ModalKind::kDirectoryDialog:
      return std::make_unique<DirectoryDialogView>(static_cast<DirectoryDialogModel&>(model),
                                                   parent, isForUser);
    case ModalKind::kImageDialog:
      return std::make_unique<ImageDialogView>(static_cast<ImageDialogModel&>(model), parent);
    case ModalKind::kTreeListBox:
      return std::make_unique<TreeListBoxView>(static_cast<TreeListBoxModel&>(model), parent);
    case ModalKind::kBrowser:
      return std::make_unique<BrowserView>(static_cast<BrowserModel&>(model), parent);
    case ModalKind::kEditBrowser:
      return std::make_unique<EditBrowserView>(static_cast<EditBrowserModel&>(model), parent);
  }
  std::abort();  // a value that is no kind
}

}  // namespace ui
