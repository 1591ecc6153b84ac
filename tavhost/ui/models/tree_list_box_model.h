#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/export.h"
#include "tavhost/ui/image_source.h"
#include "tavhost/ui/models/modal_model.h"

namespace ui {

// A tree of items with ids, its selection, and buttons beside OK and Cancel. Adding, finding and
// selecting cost the same however many items there are; nothing recurses into the tree's depth.
class TAV_HOST_API TreeListBoxModel final : public ModalModel {
 public:
  struct Options {
    bool sizeable = true;
    bool sorted = false;
    bool multiple = false;
    bool parentsSelectable = true;
    bool childrenSelectable = true;
    bool flat = false;
    bool checkBoxes = false;
    bool searchable = false;
    bool hasCancel = true;
    bool hasHelp = true;
    bool endsOnDoubleClick = false;
    bool okStartsEnabled = false;
    long columns = 1;
  };

  struct ExtraButton {
    std::string text;
    std::string name;
    int index;  // from 1, -1 behind all others
    bool disableIfNoSelection;
    // How answers call it: its name, with "#2" and so on behind it where another button has that
    // name already. AddButton gives it.
    std::string answerName = {};
  };

  // An item. Handles stay good until the item is removed; kRoot is the parent of all items.
  using Handle = std::uint32_t;
  static constexpr Handle kNone = 0xFFFFFFFF;
  static constexpr Handle kRoot = 0;
  static constexpr std::int32_t kNoParent = -1;

  explicit TreeListBoxModel(const Options& options);
  ~TreeListBoxModel() override;

  const Options& Rules() const { return options_; }

  // Items by id. All are false, and change nothing, when they cannot be done.
  bool Add(std::int32_t id, std::int32_t parentId, std::string_view text, bool isParent);
  bool Remove(Handle item);
  bool Select(Handle item, bool select);
  bool Expand(Handle item, bool expand);
  bool ExpandTo(Handle item);
  bool SelectAll();
  bool ExpandAll();
  void ClearSelection();
  void SetImage(Handle item, bool second, std::shared_ptr<const ImageSource> image);

  // The first item of that id from top to bottom, or the one under that parent; kNone without one.
  Handle Find(std::int32_t id) const;
  Handle Find(std::int32_t id, std::int32_t parentId) const;

  std::size_t Count() const { return count_; }
  // All handles lie below this one.
  Handle HandleEnd() const { return static_cast<Handle>(nodes_.size()); }
  std::int32_t Id(Handle item) const { return nodes_[item].id; }
  std::string_view Text(Handle item) const { return nodes_[item].text; }
  // The part of the text in a column: texts are cut at tabs.
  std::string_view ColumnText(Handle item, long column) const;
  Handle Parent(Handle item) const { return nodes_[item].parent; }
  bool IsParent(Handle item) const { return nodes_[item].isParent; }
  bool IsExpanded(Handle item) const { return nodes_[item].expanded; }
  bool IsSelected(Handle item) const { return nodes_[item].selected; }
  bool IsSelectable(Handle item) const;
  const std::shared_ptr<const ImageSource>& Image(Handle item, bool second) const;
  // In the order in which they are shown.
  const std::vector<Handle>& Children(Handle parentItem) const;
  // The item's place among its parent's children, from 0.
  std::uint32_t Row(Handle item) const;
  // The item below in a walk from top to bottom through all items; kNone behind the last. Begin
  // with kRoot.
  Handle Next(Handle item) const;
  // The same, passing over what lies below the item itself.
  Handle NextBeside(Handle item) const;
  std::size_t SelectedCount() const { return selectedCount_; }
  std::vector<Handle> Selected() const;  // from top to bottom

  // What is selected now counts as the selection with which the dialog starts.
  void NoteSelection() { selectedAtStart_ = Selected(); }
  const std::vector<Handle>& SelectedAtStart() const { return selectedAtStart_; }

  std::vector<ModalButton> Buttons() const override;
  // Not the first of them: added buttons may stand in front of OK.
  std::string DefaultButton() const override { return "ok"; }
  bool IsButtonEnabled(std::string_view name) const override;
  void AddButton(ExtraButton button);
  const std::vector<ExtraButton>& ExtraButtons() const { return extraButtons_; }
  // The button that ended the dialog by the name that the script gave it, whoever else has it.
  std::string EndName() const;

  std::string headline;
  std::string okText = "OK";
  std::string cancelText = "Cancel";
  long buttonWidth = 0;  // pixels, 0: as wide as its text wants
  // Of the area inside the frame, pixels. A maximum below the minimum gives way.
  std::optional<SV::Size> minimum;
  std::optional<SV::Size> maximum;

 private:
  struct Node {
    std::string text;
    std::vector<Handle> children;  // in order of addition, or as shown when `ordered`
    std::int32_t id = 0;
    Handle parent = kNone;
    Handle sameId = kNone;    // the next item of the same id
    std::uint32_t place = 0;  // among its parent's children
    std::uint64_t added = 0;  // counts up
    bool isParent = false;
    bool expanded = false;
    bool selected = false;
    bool removed = false;
    bool ordered = true;  // the children are in the order in which they are shown
  };

  struct Images {
    std::shared_ptr<const ImageSource> first;
    std::shared_ptr<const ImageSource> second;
  };

  Handle NewNode();
  void OrderChildren(Handle parentItem) const;
  bool IsShownBefore(Handle a, Handle b) const;
  std::uint32_t Depth(Handle item) const;
  Handle FindBelow(Handle parentItem, std::int32_t id) const;
  void Unlink(Handle item);
  void Forget(Handle item);
  void SetSelected(Handle item, bool selected);

  Options options_;
  // The order of children is made when it is asked for.
  mutable std::vector<Node> nodes_;
  std::vector<Handle> free_;
  std::unordered_map<std::int32_t, Handle> byId_;      // the item of that id added last
  std::unordered_map<std::uint64_t, Handle> byPlace_;  // by parent and id
  std::vector<Handle> selectedAtStart_;
  std::unordered_map<Handle, Images> images_;
  std::vector<ExtraButton> extraButtons_;
  std::size_t count_ = 0;
  std::size_t selectedCount_ = 0;
  Handle single_ = kNone;  // the selected item when only one can be
  std::uint64_t additions_ = 0;
};

}  // namespace ui
