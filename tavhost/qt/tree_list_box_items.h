#pragma once

#include <QAbstractItemModel>
#include <QIcon>
#include <QString>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tavhost/ui/models/tree_list_box_model.h"

namespace ui {

// The items of a tree list box for a tree view. An index carries the item's handle; nothing is
// copied. With a filter only the matches and what lies above them are there.
class TreeListBoxItems final : public QAbstractItemModel {
 public:
  explicit TreeListBoxItems(TreeListBoxModel& tree) : tree_(tree) {}

  // An empty text shows everything. Matching looks at all columns and not at case.
  void SetFilter(const QString& text);
  bool IsFiltered() const { return filtered_; }
  // Whether the filter lets the item through.
  bool IsShown(TreeListBoxModel::Handle item) const;

  QModelIndex IndexOf(TreeListBoxModel::Handle item) const;
  static TreeListBoxModel::Handle ItemOf(const QModelIndex& index) {
    return index.isValid() ? static_cast<TreeListBoxModel::Handle>(index.internalId())
                           : TreeListBoxModel::kRoot;
  }
  // Every shown item looks different now.
  void Refresh();

  QModelIndex index(int row, int column, const QModelIndex& parent) const override;
  QModelIndex parent(const QModelIndex& index) const override;
  int rowCount(const QModelIndex& parent) const override;
  int columnCount(const QModelIndex&) const override;
  bool hasChildren(const QModelIndex& parent) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  // Columns have no titles; assistive tools are told their numbers.
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  const std::vector<TreeListBoxModel::Handle>& ShownChildren(TreeListBoxModel::Handle item) const;
  QVariant Decoration(TreeListBoxModel::Handle item) const;

  TreeListBoxModel& tree_;
  bool filtered_ = false;
  // With a filter: the shown children of each shown item that has some, and by handle the row in
  // them, -1 for what is not shown.
  std::unordered_map<TreeListBoxModel::Handle, std::vector<TreeListBoxModel::Handle>> children_;
  std::vector<int> rows_;
  mutable std::unordered_map<const ImageSource*, QIcon> icons_;
  mutable std::map<std::pair<const ImageSource*, const ImageSource*>, QIcon> pairs_;
};

}  // namespace ui
