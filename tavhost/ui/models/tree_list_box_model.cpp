#include "tavhost/ui/models/tree_list_box_model.h"

#include <algorithm>
#include <utility>

#include "tavhost/base/ascii.h"

namespace ui {

namespace {

// An item's parent and id in one number.
std::uint64_t PlaceKey(std::uint32_t parentItem, std::int32_t id) {
  return std::uint64_t{parentItem} << 32 | static_cast<std::uint32_t>(id);
}

}  // namespace

TreeListBoxModel::TreeListBoxModel(const Options& options)
    : ModalModel(ModalKind::kTreeListBox, "Selection"), options_(options) {
  nodes_.emplace_back();
  nodes_[kRoot].isParent = true;
  nodes_[kRoot].expanded = true;
}

TreeListBoxModel::~TreeListBoxModel() = default;

TreeListBoxModel::Handle TreeListBoxModel::NewNode() {
  if (!free_.empty()) {
    const Handle node = free_.back();
    free_.pop_back();
    nodes_[node] = Node();
    return node;
  }
  nodes_.emplace_back();
  return static_cast<Handle>(nodes_.size() - 1);
}

bool TreeListBoxModel::Add(std::int32_t id, std::int32_t parentId, std::string_view text,
                           bool isParent) {
  const Handle parentItem = parentId == kNoParent ? kRoot : Find(parentId);
  if (parentItem == kNone || FindBelow(parentItem, id) != kNone) return false;
  const Handle item = NewNode();
  Node& node = nodes_[item];
  node.text = text;
  node.id = id;
  node.parent = parentItem;
  node.isParent = isParent;
  node.added = ++additions_;
  const auto [place, isNew] = byId_.try_emplace(id, item);
  if (!isNew) node.sameId = std::exchange(place->second, item);
  byPlace_.emplace(PlaceKey(parentItem, id), item);

  Node& above = nodes_[parentItem];
  node.place = static_cast<std::uint32_t>(above.children.size());
  if (options_.sorted && !above.children.empty()) above.ordered = false;
  above.children.push_back(item);
  if (!above.isParent) {
    above.isParent = true;
    if (above.selected && !IsSelectable(parentItem)) SetSelected(parentItem, false);
  }
  ++count_;
  return true;
}

// Sorting does not look at case and leaves equal texts in the order in which they were added.
void TreeListBoxModel::OrderChildren(Handle parentItem) const {
  Node& node = nodes_[parentItem];
  if (node.ordered) return;
  std::sort(node.children.begin(), node.children.end(),
            [this](Handle a, Handle b) { return nodes_[a].added < nodes_[b].added; });
  if (options_.sorted) {
    std::stable_sort(node.children.begin(), node.children.end(), [this](Handle a, Handle b) {
      return ascii::CompareInUpperCase(nodes_[a].text, nodes_[b].text) < 0;
    });
  }
  for (std::uint32_t i = 0; i < node.children.size(); ++i) nodes_[node.children[i]].place = i;
  node.ordered = true;
}

const std::vector<TreeListBoxModel::Handle>& TreeListBoxModel::Children(Handle parentItem) const {
  OrderChildren(parentItem);
  return nodes_[parentItem].children;
}

std::uint32_t TreeListBoxModel::Row(Handle item) const {
  OrderChildren(nodes_[item].parent);
  return nodes_[item].place;
}

std::uint32_t TreeListBoxModel::Depth(Handle item) const {
  std::uint32_t depth = 0;
  for (; item != kRoot; item = nodes_[item].parent) ++depth;
  return depth;
}

bool TreeListBoxModel::IsShownBefore(Handle a, Handle b) const {
  const std::uint32_t depthA = Depth(a);
  const std::uint32_t depthB = Depth(b);
  for (std::uint32_t depth = depthA; depth > depthB; --depth) a = nodes_[a].parent;
  for (std::uint32_t depth = depthB; depth > depthA; --depth) b = nodes_[b].parent;
  if (a == b) return depthA < depthB;  // an item stands before those below it
  while (nodes_[a].parent != nodes_[b].parent) {
    a = nodes_[a].parent;
    b = nodes_[b].parent;
  }
  OrderChildren(nodes_[a].parent);
  return nodes_[a].place < nodes_[b].place;
}

TreeListBoxModel::Handle TreeListBoxModel::Find(std::int32_t id) const {
  const auto found = byId_.find(id);
  if (found == byId_.end()) return kNone;
  Handle first = found->second;
  for (Handle other = nodes_[first].sameId; other != kNone; other = nodes_[other].sameId) {
    if (IsShownBefore(other, first)) first = other;
  }
  return first;
}

TreeListBoxModel::Handle TreeListBoxModel::FindBelow(Handle parentItem, std::int32_t id) const {
  const auto found = byPlace_.find(PlaceKey(parentItem, id));
  return found == byPlace_.end() ? kNone : found->second;
}

// Several items can have the parent's id; the first of them, from top to bottom, that has such
// a child counts.
TreeListBoxModel::Handle TreeListBoxModel::Find(std::int32_t id, std::int32_t parentId) const {
  if (parentId == kNoParent) return FindBelow(kRoot, id);
  const auto parents = byId_.find(parentId);
  if (parents == byId_.end()) return kNone;
  Handle first = kNone;
  for (Handle parentItem = parents->second; parentItem != kNone;
       parentItem = nodes_[parentItem].sameId) {
    const Handle item = FindBelow(parentItem, id);
    if (item != kNone && (first == kNone || IsShownBefore(item, first))) first = item;
  }
  return first;
}

void TreeListBoxModel::Unlink(Handle item) {
  Node& above = nodes_[nodes_[item].parent];
  // The last child takes the place; the order is made again when it is asked for.
  const std::uint32_t place = nodes_[item].place;
  const Handle last = above.children.back();
  above.children[place] = last;
  nodes_[last].place = place;
  above.children.pop_back();
  if (place != above.children.size()) above.ordered = false;
}

void TreeListBoxModel::Forget(Handle item) {
  Node& node = nodes_[item];
  if (node.selected) SetSelected(item, false);
  const auto found = byId_.find(node.id);
  Handle* link = &found->second;
  while (*link != item) link = &nodes_[*link].sameId;
  *link = node.sameId;
  if (found->second == kNone) byId_.erase(found);
  byPlace_.erase(PlaceKey(node.parent, node.id));
  images_.erase(item);
  node = Node();
  node.removed = true;
  free_.push_back(item);
  --count_;
}

bool TreeListBoxModel::Remove(Handle item) {
  if (item == kNone || item == kRoot) return false;
  Unlink(item);
  std::vector<Handle> waiting{item};
  while (!waiting.empty()) {
    const Handle next = waiting.back();
    waiting.pop_back();
    waiting.insert(waiting.end(), nodes_[next].children.begin(), nodes_[next].children.end());
    Forget(next);
  }
  return true;
}

bool TreeListBoxModel::IsSelectable(Handle item) const {
  return nodes_[item].isParent ? options_.parentsSelectable : options_.childrenSelectable;
}

void TreeListBoxModel::SetSelected(Handle item, bool selected) {
  if (nodes_[item].selected == selected) return;
  nodes_[item].selected = selected;
  selectedCount_ += selected ? 1 : std::size_t(-1);
  if (!options_.multiple) single_ = selected ? item : kNone;
}

bool TreeListBoxModel::Select(Handle item, bool select) {
  if (item == kNone || (select && !IsSelectable(item))) return false;
  if (select && !options_.multiple && single_ != kNone) SetSelected(single_, false);
  SetSelected(item, select);
  return true;
}

void TreeListBoxModel::ClearSelection() {
  if (selectedCount_ == 0) return;
  for (Handle item = 1; item < nodes_.size(); ++item) {
    if (nodes_[item].selected) SetSelected(item, false);
  }
}

bool TreeListBoxModel::SelectAll() {
  if (!options_.multiple) return false;
  for (Handle item = 1; item < nodes_.size(); ++item) {
    if (!nodes_[item].removed && IsSelectable(item)) SetSelected(item, true);
  }
  return true;
}

bool TreeListBoxModel::Expand(Handle item, bool expand) {
  if (item == kNone || !nodes_[item].isParent) return false;
  nodes_[item].expanded = expand;
  return true;
}

bool TreeListBoxModel::ExpandTo(Handle item) {
  if (item == kNone) return false;
  for (Handle above = nodes_[item].parent; above != kRoot; above = nodes_[above].parent) {
    nodes_[above].expanded = true;
  }
  return true;
}

bool TreeListBoxModel::ExpandAll() {
  for (Node& node : nodes_) {
    if (node.isParent) node.expanded = true;
  }
  return true;
}

void TreeListBoxModel::SetImage(Handle item, bool second,
                                std::shared_ptr<const ImageSource> image) {
  if (item == kNone) return;
  Images& images = images_[item];
  (second ? images.second : images.first) = std::move(image);
}

const std::shared_ptr<const ImageSource>& TreeListBoxModel::Image(Handle item, bool second) const {
  static const std::shared_ptr<const ImageSource> none;
  const auto found = images_.find(item);
  if (found == images_.end()) return none;
  return second ? found->second.second : found->second.first;
}

std::string_view TreeListBoxModel::ColumnText(Handle item, long column) const {
  std::string_view rest = nodes_[item].text;
  for (; column > 0; --column) {
    const auto tab = rest.find('\t');
    if (tab == rest.npos) return {};
    rest.remove_prefix(tab + 1);
  }
  return rest.substr(0, rest.find('\t'));
}

TreeListBoxModel::Handle TreeListBoxModel::Next(Handle item) const {
  return nodes_[item].children.empty() ? NextBeside(item) : Children(item).front();
}

TreeListBoxModel::Handle TreeListBoxModel::NextBeside(Handle item) const {
  while (item != kRoot) {
    const Handle parentItem = nodes_[item].parent;
    const std::vector<Handle>& siblings = Children(parentItem);
    const std::size_t next = nodes_[item].place + std::size_t{1};
    if (next < siblings.size()) return siblings[next];
    item = parentItem;
  }
  return kNone;
}

std::vector<TreeListBoxModel::Handle> TreeListBoxModel::Selected() const {
  std::vector<Handle> selected;
  if (selectedCount_ == 0) return selected;
  if (single_ != kNone) return {single_};
  selected.reserve(selectedCount_);
  for (Handle item = Next(kRoot); item != kNone; item = Next(item)) {
    if (nodes_[item].selected) selected.push_back(item);
  }
  return selected;
}

// Answers know buttons by their names alone, and "cancel" is what closes the dialog.
void TreeListBoxModel::AddButton(ExtraButton button) {
  const auto isTaken = [this](const std::string& name) {
    return name == "ok" || name == kCancelButton ||
           std::any_of(extraButtons_.begin(), extraButtons_.end(),
                       [&name](const ExtraButton& other) { return other.answerName == name; });
  };
  button.answerName = button.name;
  for (int number = 2; isTaken(button.answerName); ++number) {
    button.answerName = button.name + '#' + std::to_string(number);
  }
  extraButtons_.push_back(std::move(button));
}

std::string TreeListBoxModel::EndName() const {
  for (const ExtraButton& extra : extraButtons_) {
    if (extra.answerName == EndButton()) return extra.name;
  }
  return EndButton();
}

std::vector<ModalButton> TreeListBoxModel::Buttons() const {
  std::vector<ModalButton> buttons{{"ok", okText, 1}};
  if (options_.hasCancel) buttons.push_back({std::string(kCancelButton), cancelText, 0});
  for (const ExtraButton& extra : extraButtons_) {
    const auto at =
        extra.index < 1
            ? buttons.size()
            : std::min<std::size_t>(static_cast<std::size_t>(extra.index) - 1, buttons.size());
    buttons.insert(buttons.begin() + static_cast<std::ptrdiff_t>(at),
                   {extra.answerName, extra.text, 1});
  }
  return buttons;
}

bool TreeListBoxModel::IsButtonEnabled(std::string_view name) const {
  if (selectedCount_ > 0) return true;
  if (name == "ok") return options_.okStartsEnabled;
  return std::none_of(extraButtons_.begin(), extraButtons_.end(), [name](const ExtraButton& extra) {
    return extra.answerName == name && extra.disableIfNoSelection;
  });
}

}  // namespace ui
