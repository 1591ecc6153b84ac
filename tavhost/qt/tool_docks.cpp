#include "tavhost/qt/tool_docks.h"

#include <QAction>
#include <QEvent>
#include <QHelpEvent>
#include <QLayout>
#include <QScrollArea>
#include <QStyleOptionDockWidget>
#include <QToolTip>
#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/tool_content.h"

namespace ui {

namespace {

Qt::DockWidgetArea AreaOf(ToolSide side) {
  switch (side) {
    case ToolSide::kTop:
      return Qt::TopDockWidgetArea;
    case ToolSide::kRight:
      return Qt::RightDockWidgetArea;
    case ToolSide::kBottom:
      return Qt::BottomDockWidgetArea;
    default:
      return Qt::LeftDockWidgetArea;
  }
}

// Docks of one side follow each other from top to bottom at the left and right, else from left to
// right.
Qt::Orientation OrderOf(const Tool& tool) {
  return tool.IsVertical() ? Qt::Vertical : Qt::Horizontal;
}

constexpr int kUsualWidth = 300;  // of a tool with a small content

int Pixels(long size) { return static_cast<int>(std::clamp(size, 0L, 16000L)); }

// The bar cuts a title that it does not hold, and shows one line.
bool IsTitleCut(const QDockWidget& dock) {
  QStyleOptionDockWidget bar;
  bar.initFrom(&dock);
  bar.rect = QRect(0, 0, dock.width(), dock.widget()->y());
  bar.closable = dock.features() & QDockWidget::DockWidgetClosable;
  bar.floatable = dock.features() & QDockWidget::DockWidgetFloatable;
  const QRect room = dock.style()->subElementRect(QStyle::SE_DockWidgetTitleBarText, &bar, &dock);
  return dock.fontMetrics().horizontalAdvance(dock.windowTitle()) > room.width();
}

bool TakesAllRoom(const Tool& tool) {
  const WindowContent content = tool.content ? tool.content->Content() : WindowContent::kOther;
  return content == WindowContent::kText || content == WindowContent::kResults;
}

}  // namespace

ToolDocks::ToolDocks(QMainWindow& window, WorkbenchModel& workbench, QWidget* middle)
    : window_(window), workbench_(workbench), middle_(middle) {
  workbench_.AddObserver(*this);
  for (Tool* const tool : workbench_.InOrder()) {
    ToolAdded(*tool);
    if (tool->visible) ShowVisible(*tool);
  }
}

ToolDocks::~ToolDocks() {
  workbench_.RemoveObserver(*this);
  for (const auto& [tool, entry] : entries_) delete entry.dock;
}

QDockWidget* ToolDocks::Dock(std::string_view id) const {
  const auto found = entries_.find(workbench_.Find(id));
  return found == entries_.end() ? nullptr : found->second.dock;
}

std::vector<QAction*> ToolDocks::Actions() const {
  std::vector<QAction*> actions;
  for (const Tool* const tool : workbench_.InOrder()) {
    if (tool->HasFlag(tool_flags::kNoCloseCommand)) continue;
    actions.push_back(entries_.at(tool).dock->toggleViewAction());
  }
  return actions;
}

void ToolDocks::ShowDefaults() {
  std::vector<std::string> ids;
  for (const Tool* const tool : workbench_.InOrder()) ids.push_back(tool->id);
  for (const std::string& id : ids) {
    Tool* const tool = workbench_.Find(id);  // listeners of another may have removed it
    if (!tool) continue;
    const bool stays = tool->visible && tool->HasFlag(tool_flags::kKeptByCloseAll);
    workbench_.SetVisible(*tool, stays || tool->defaultVisible);
  }
}

void ToolDocks::Flush() {
  for (const auto& [tool, entry] : entries_) FlushToolWidget(*entry.content);
}

void ToolDocks::ToolAdded(Tool& tool) {
  auto* const dock = new QDockWidget(&window_);
  dock->setObjectName(QStringLiteral("tool:") + Shown(tool.id));
  QDockWidget::DockWidgetFeatures features;
  if (!tool.HasFlag(tool_flags::kNoCloseButton)) features |= QDockWidget::DockWidgetClosable;
  if (!tool.HasFlag(tool_flags::kNotMovable)) {
    features |= QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable;
  }
  dock->setFeatures(features);
  QWidget* const content = MakeToolWidget(tool);
  dock->setWidget(content);
  dock->hide();
  dock->installEventFilter(this);
  QObject::connect(dock->toggleViewAction(), &QAction::triggered, this,
                   [this, &tool](bool visible) { workbench_.SetVisible(tool, visible); });
  QObject::connect(dock, &QDockWidget::topLevelChanged, this, [this, dock, &tool](bool floating) {
    ShowMiddle();
    if (!floating || !tool.floatingSize) return;
    dock->resize(Pixels(tool.floatingSize->Width()), Pixels(tool.floatingSize->Height()));
  });
  entries_[&tool] = {dock, content};
  ShowTitle(tool);
}

void ToolDocks::ToolRemoved(Tool& tool) {
  const auto found = entries_.find(&tool);
  FlushToolWidget(*found->second.content);
  if (closing) closing(*found->second.dock);
  delete found->second.dock;
  entries_.erase(found);
  ShowMiddle();
}

void ToolDocks::ToolChanged(Tool& tool, ToolChange change) {
  switch (change) {
    case ToolChange::kTitle:
      return ShowTitle(tool);
    case ToolChange::kLocation:
      if (entries_.at(&tool).placed) Place(tool);
      return;
    case ToolChange::kSizes:
      if (tool.visible) ApplySizes(tool);
      return;
    case ToolChange::kVisible:
      return ShowVisible(tool);
  }
}

void ToolDocks::FocusWanted(Tool& tool) {
  const Entry& entry = entries_.at(&tool);
  entry.dock->raise();
  entry.content->setFocus();
}

void ToolDocks::ShowTitle(const Tool& tool) {
  QString title = ShownTitle(tool.title);
  if (!tool.subtitle.empty()) title += QStringLiteral(" \u2013 ") + ShownTitle(tool.subtitle);
  QDockWidget* const dock = entries_.at(&tool).dock;
  title.replace(QLatin1Char('\n'), QLatin1Char(' '));
  dock->setWindowTitle(title);
  dock->setAccessibleName(title);
  dock->toggleViewAction()->setText(ShownLabel(tool.title));
}

// Those at the same side that stand in the main window, in order.
std::vector<const Tool*> ToolDocks::PlacedBeside(const Tool& tool) const {
  std::vector<const Tool*> beside;
  for (const Tool* const other : workbench_.InOrder()) {
    const auto found = entries_.find(other);
    if (other == &tool || other->location.side != tool.location.side) continue;
    if (found == entries_.end() || !found->second.placed || found->second.dock->isFloating()) {
      continue;
    }
    if (window_.dockWidgetArea(found->second.dock) != AreaOf(tool.location.side)) continue;
    beside.push_back(other);
  }
  return beside;
}

void ToolDocks::Place(const Tool& tool) {
  Entry& entry = entries_.at(&tool);
  // Where the user had it when the window's state was kept.
  const bool isFirst = !std::exchange(entry.placed, true);
  if (isFirst && window_.restoreDockWidget(entry.dock)) return;
  window_.addDockWidget(AreaOf(tool.location.side), entry.dock);
  const Tool* before = nullptr;  // the last that stands before it
  const Tool* after = nullptr;
  std::vector<QDockWidget*> tabsBehind;
  const auto inFront = [&tool](const Tool& other) {
    return std::tie(other.location.index, other.location.subIndex, other.id) <
           std::tie(tool.location.index, tool.location.subIndex, tool.id);
  };
  for (const Tool* const other : PlacedBeside(tool)) {
    if (inFront(*other)) {
      before = other;
    } else {
      if (!after) after = other;
      if (other->location.index == tool.location.index) {
        tabsBehind.push_back(entries_.at(other).dock);
      }
    }
  }
  if (before && before->location.index == tool.location.index) {
    window_.tabifyDockWidget(entries_.at(before).dock, entry.dock);
  } else if (after && after->location.index == tool.location.index) {
    window_.tabifyDockWidget(entries_.at(after).dock, entry.dock);
  } else if (before) {
    window_.splitDockWidget(entries_.at(before).dock, entry.dock, OrderOf(tool));
  } else if (after) {
    window_.splitDockWidget(entry.dock, entries_.at(after).dock, OrderOf(tool));
    return;
  }
  // A tab goes behind the others of its place; those that follow it go behind it.
  for (QDockWidget* const dock : tabsBehind) window_.tabifyDockWidget(entry.dock, dock);
}

void ToolDocks::ShowVisible(Tool& tool) {
  Entry& entry = entries_.at(&tool);
  if (!tool.visible) {
    entry.dock->hide();
    ShowMiddle();
    return;
  }
  if (!entry.placed) Place(tool);
  ShowMiddle();
  entry.dock->show();
  entry.dock->raise();
  ApplySizes(tool);
}

QSize ToolDocks::LeastOf(const Tool& tool) {
  const auto& least = tool.IsVertical() ? tool.leastVerticalSize : tool.leastHorizontalSize;
  if (!least) return QSize(0, 0);
  return QSize(tool.HasFlag(tool_flags::kMinimumWidth) ? Pixels(least->Width()) : 0,
               tool.HasFlag(tool_flags::kMinimumHeight) ? Pixels(least->Height()) : 0);
}

// What the window would need beyond the screen for all of its tools.
QSize ToolDocks::Excess() {
  for (const auto& [tool, entry] : entries_) {
    if (tool->visible) entry.dock->layout()->activate();
  }
  window_.layout()->invalidate();
  const QSize excess = window_.layout()->totalMinimumSize() - MostOnScreen(window_);
  return excess.expandedTo(QSize(0, 0));
}

// Minimum sizes count as far as the screen goes.
void ToolDocks::ApplyMinimums() {
  std::vector<QWidget*> sized;  // by scripts
  for (const Tool* const tool : workbench_.InOrder()) {
    const auto found = entries_.find(tool);
    if (found == entries_.end() || !tool->visible || LeastOf(*tool).isNull()) continue;
    sized.push_back(found->second.content);
    sized.back()->setMinimumSize(LeastOf(*tool));
  }
  for (QWidget* const content : sized) {
    const QSize excess = Excess();
    if (excess.isNull()) return;
    content->setMinimumSize((content->minimumSize() - excess).expandedTo(QSize(0, 0)));
  }
  if (!Excess().isNull()) ScrollContents();
}

// What no screen of that size holds at once.
void ToolDocks::ScrollContents() {
  for (const auto& [tool, entry] : entries_) {
    if (!tool->visible || entry.dock->widget() != entry.content) continue;
    auto* const area = new QScrollArea(entry.dock);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidgetResizable(true);
    area->setWidget(entry.content);
    entry.dock->setWidget(area);
  }
}

void ToolDocks::ApplySizes(const Tool& tool) {
  const Entry& entry = entries_.at(&tool);
  ApplyMinimums();
  const bool vertical = tool.IsVertical();
  const auto& preferred = vertical ? tool.verticalSize : tool.horizontalSize;
  if (!preferred || entry.dock->isFloating()) return;
  // No width and no height is none of the script's choice: what it shows has room, beside others.
  const int width = Pixels(preferred->Width());
  if (width > 0 || vertical) {
    const int half = window_.width() / 2;
    const int usual =
        std::clamp(NaturalSizeOf(*entry.content).width(), std::min(kUsualWidth, half), half);
    window_.resizeDocks({entry.dock}, {width > 0 ? width : usual}, Qt::Horizontal);
  }
  if (const int height = Pixels(preferred->Height()); height > 0) {
    window_.resizeDocks({entry.dock}, {height}, Qt::Vertical);
  }
}

void ToolDocks::ShowMiddle() {
  if (!middle_) return;
  middle_->setVisible(std::none_of(entries_.begin(), entries_.end(), [](const auto& entry) {
    return entry.first->visible && !entry.second.dock->isFloating() && TakesAllRoom(*entry.first);
  }));
}

// The whole title where it does not fit in the bar; the rest of the dock has tips of its own.
bool ToolDocks::ShowTip(QDockWidget& dock, const QHelpEvent& event) {
  if (event.pos().y() >= dock.widget()->y() || !IsTitleCut(dock)) return false;
  QToolTip::showText(event.globalPos(), TipOf(dock.windowTitle(), QString()), &dock);
  return true;
}

bool ToolDocks::eventFilter(QObject* object, QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    return ShowTip(static_cast<QDockWidget&>(*object), static_cast<QHelpEvent&>(*event));
  }
  if (event->type() != QEvent::Close) return false;
  for (const auto& [tool, entry] : entries_) {
    if (entry.dock != object) continue;
    // The model hides it, and whoever listens to it hears so.
    event->ignore();
    Tool* const closed = workbench_.Find(tool->id);
    QMetaObject::invokeMethod(
        this, [this, closed] { workbench_.SetVisible(*closed, false); }, Qt::DirectConnection);
    return true;
  }
  return false;
}

}  // namespace ui
