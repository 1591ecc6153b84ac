#pragma once

#include <QWidget>
#include <functional>
#include <string>

#include "tavhost/reference/reference.h"

class QLineEdit;
class QPushButton;
class QTextBrowser;
class QTreeWidget;
class QTreeWidgetItem;

namespace ui::ide_view {

// All commands by family, searched as one types, with their documentation.
class CommandBrowser final : public QWidget {
 public:
  // What the browser asks of the window around it.
  struct Help {
    std::function<const reference::Catalogue&()> reference;
    std::function<std::string(const reference::Command&)> usage;
    std::function<void(const QString& text)> insert;
  };
  explicit CommandBrowser(Help help, QWidget* parent = nullptr);

  // Shows a command. False when there is none of that name.
  bool ShowCommand(const QString& name);
  void FocusSearch();
  // The reference is read when the list is first seen.
  void Fill();
  int ShownCount() const;

 protected:
  void showEvent(QShowEvent* event) override;
  void changeEvent(QEvent* event) override;
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void Search(const QString& query);
  void ShowPage();
  void Insert();
  const reference::Command* Current() const;

  Help help_;
  QLineEdit* search_;
  QTreeWidget* list_;
  QTextBrowser* page_;
  QPushButton* insert_;
  bool filled_ = false;
};

}  // namespace ui::ide_view
