// The steps of a window with many entries, each with its processor time, drawn offscreen:
//   window_steps ours-list|qt-list|ours-tree|qt-tree|qt-start COUNT
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QSettings>
#include <QTemporaryDir>
#include <QTreeView>
#include <QTreeWidget>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "bench/compare.h"
#include "tavhost/qt/view_factory.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"

namespace {

void Step(const char* name, const std::function<void()>& work) {
  const double before = bench::CpuSeconds();
  work();
  QApplication::processEvents();
  std::printf("%s %.6f\n", name, bench::CpuSeconds() - before);
}

void OurList(int count) {
  std::unique_ptr<ui::ListBoxModel> model;
  std::unique_ptr<ui::ModalView> view;
  Step("fill and show", [&] {
    model = std::make_unique<ui::ListBoxModel>(false);
    for (int i = 0; i < count; ++i) model->Insert("entry " + std::to_string(i));
    view = ui::MakeModalView(*model, nullptr);
    view->Open(0);
  });
}

void QtList(int count) {
  QListWidget list;
  Step("fill and show", [&] {
    for (int i = 0; i < count; ++i) list.addItem(QStringLiteral("entry ") + QString::number(i));
    list.show();
  });
}

// Parents of 99 items each.
int ParentOf(int item) { return item % 100 ? item - item % 100 : -1; }

void OurTree(int count) {
  ui::TreeListBoxModel::Options options;
  options.multiple = true;
  options.searchable = true;
  ui::TreeListBoxModel model(options);
  std::unique_ptr<ui::ModalView> view;
  Step("insert", [&] {
    for (int i = 0; i < count; ++i) {
      model.Add(i, ParentOf(i), "item " + std::to_string(i), i % 100 == 0);
    }
  });
  Step("show", [&] {
    view = ui::MakeModalView(model, nullptr);
    view->Open(0);
  });
  auto* const tree = view->Dialog().findChild<QTreeView*>();
  Step("expand all", [&] { tree->expandAll(); });
  Step("select all", [&] {
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::ControlModifier);
    QApplication::sendEvent(tree, &key);
  });
  Step("filter", [&] { view->Dialog().findChild<QLineEdit*>()->setText(QStringLiteral("77")); });
}

void QtTree(int count) {
  QTreeWidget tree;
  tree.setHeaderHidden(true);
  tree.setUniformRowHeights(true);
  tree.setSelectionMode(QAbstractItemView::ExtendedSelection);
  Step("insert", [&] {
    QTreeWidgetItem* parent = nullptr;
    for (int i = 0; i < count; ++i) {
      auto* const item =
          i % 100 ? new QTreeWidgetItem(parent) : (parent = new QTreeWidgetItem(&tree));
      item->setText(0, QStringLiteral("item ") + QString::number(i));
    }
  });
  Step("show", [&] { tree.show(); });
  Step("expand all", [&] { tree.expandAll(); });
  Step("select all", [&] { tree.selectAll(); });
  Step("filter", [&] {
    for (int i = 0; i < tree.topLevelItemCount(); ++i) {
      QTreeWidgetItem* const parent = tree.topLevelItem(i);
      bool found = false;
      for (int k = 0; k < parent->childCount(); ++k) {
        const bool matches = parent->child(k)->text(0).contains(QLatin1String("77"));
        parent->child(k)->setHidden(!matches);
        found |= matches;
      }
      parent->setHidden(!found);
    }
  });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  const QTemporaryDir settings;
  QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
  const std::string what = argv[1];
  const int count = std::atoi(argv[2]);
  if (what == "ours-list") OurList(count);
  if (what == "qt-list") QtList(count);
  if (what == "ours-tree") OurTree(count);
  if (what == "qt-tree") QtTree(count);
  if (what == "qt-start") {
    QWidget window;
    window.show();
    QApplication::processEvents();
  }
  std::fflush(stdout);
  return 0;
}
