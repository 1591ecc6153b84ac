#include "tavhost/qt/qt_toolkit.h"

#include <QAbstractEventDispatcher>
#include <QClipboard>
#include <QDialog>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QLocale>
#include <QPixmap>
#include <QPrinterInfo>
#include <QSaveFile>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "tavhost/qt/accessible_roles.h"
#include "tavhost/qt/remembered_sizes.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/style.h"
#include "tavhost/qt/text_direction.h"
#include "tavhost/qt/view_factory.h"
#include "tavhost/qt/window_settings.h"
#include "tavhost/ui/display.h"
#include "tavhost/ui/models/browser_model.h"
#include "tavhost/ui/models/message_window_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/models/work_window_model.h"
#include "tavhost/ui/printer_info.h"

namespace ui {

namespace {

// Keys typed this soon after a window has come up were meant for what was there before.
constexpr int kKeyGuardMilliseconds = 250;

// The screen said to be there when windows are only drawn, as for scripts without windows.
const SV::Size kScreenWithoutDisplay(1920, 1080);

int argumentCount = 1;
char programName[] = "tavhost";
char* arguments[] = {programName, nullptr};

// For what Qt says, which knows no toolkit.
void (*reportLine)(std::string_view text) = nullptr;
void (*endWithoutDisplay)() = nullptr;

// What Qt has to say is of use in a terminal, except that a platform without a display cannot do
// what displays do, and that a screen reader asks for rows that have gone.
void TakeQtMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
  if (type == QtDebugMsg || type == QtInfoMsg) return;
  // Qt would end the program next, with whatever is under way.
  if (message.startsWith(QLatin1String("The X11 connection broke")) ||
      message.startsWith(QLatin1String("The Wayland connection broke"))) {
    if (endWithoutDisplay) endWithoutDisplay();
  }
  if (message.startsWith(QLatin1String("This plugin does not support")) ||
      message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")) ||
      message.startsWith(QLatin1String("QAccessibleTable::child: Invalid index"))) {
    return;
  }
  reportLine("tavhost: " + message.toStdString());
}

// Want of memory ends what an event was about, not the program: nothing may be thrown through Qt.
class Application final : public QApplication {
 public:
  using QApplication::QApplication;

  bool notify(QObject* receiver, QEvent* event) override {
    try {
      return QApplication::notify(receiver, event);
    } catch (const std::bad_alloc&) {
      reportLine("tavhost: out of memory");
      return false;
    }
  }
};

std::unique_ptr<QApplication> MakeApplication(const ModuleHost& host) {
  reportLine = host.reportLine;
  endWithoutDisplay = host.endWithoutDisplay;
  qInstallMessageHandler(TakeQtMessage);
  if (!HasDisplay() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  auto application = std::make_unique<Application>(argumentCount, arguments);
  application->setApplicationName(QStringLiteral("tavhost"));
  application->setQuitOnLastWindowClosed(false);
  // Beside our own settings, what Qt keeps of its file dialogs; it would go to those of all
  // programs.
  if (const std::unique_ptr<QSettings> settings = WindowSettings()) {
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QFileInfo(settings->fileName()).path());
  }
  InstallAccessibleRoles();
  QApplication::setLayoutDirection(DirectionOfDesktop(QLocale::system().uiLanguages()));
  QApplication::setStyle(MakeStyle(QApplication::style()->objectName()));
  return application;
}

long Scaled(long units, double pixelsPerUnit) {
  constexpr double kMost = std::numeric_limits<std::int32_t>::max();
  const double pixels = std::round(static_cast<double>(units) * pixelsPerUnit);
  return static_cast<long>(std::clamp(pixels, -kMost, kMost));
}

PrinterInfo InfoOf(const QPrinterInfo& printer) {
  return {printer.printerName().toStdString(), printer.printerName().toStdString(),
          printer.location().toStdString(), printer.makeAndModel().toStdString()};
}

const char* PictureName(ModalKind kind) {
  switch (kind) {
    case ModalKind::kMessageBox:
      return "message-box";
    case ModalKind::kTextBox:
      return "text-box";
    case ModalKind::kEditField:
      return "edit-field";
    case ModalKind::kListBox:
      return "list-box";
    case ModalKind::kFileDialog:
      return "file-dialog";
    case ModalKind::kDirectoryDialog:
      return "directory-dialog";
    case ModalKind::kImageDialog:
      return "image-dialog";
    case ModalKind::kTreeListBox:
      return "tree-list-box";
    case ModalKind::kBrowser:
      return "browser";
    case ModalKind::kEditBrowser:
      return "edit-browser";
    default:
      return "window";
  }
}

// Windows that share a remembered size.
QString SizeName(const ModalModel& window) {
  const bool isLarge =
      window.Kind() == ModalKind::kBrowser && static_cast<const BrowserModel&>(window).IsLarge();
  return (isLarge ? QStringLiteral("large-") : QString()) +
         QString::fromLatin1(PictureName(window.Kind()));
}

}  // namespace

QtToolkit::QtToolkit(const ModuleHost& host, const QtOptions& options)
    : host_(host), options_(options), application_(MakeApplication(host)) {
  if (host_.wakeUpDescriptor >= 0) {
    wakeUp_ = std::make_unique<QSocketNotifier>(host_.wakeUpDescriptor, QSocketNotifier::Read);
    QObject::connect(wakeUp_.get(), &QSocketNotifier::activated, [this] { Woken(); });
  }
  // In each turn of each event loop, also those that Qt runs itself.
  QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake,
                   application_.get(), [this] {
                     if (closing_ || !host_.isStopRequested() || !HasSomethingOnTop()) return;
                     closing_ = true;
                     QMetaObject::invokeMethod(
                         application_.get(), [this] { CloseWhatStandsOnTop(); },
                         Qt::QueuedConnection);
                   });
}

QtToolkit::~QtToolkit() {
  if (host_.isStopRequested()) tone_.Stop();
  progress_.clear();
  messages_.clear();
  workView_.reset();
  wakeUp_.reset();
}

void QtToolkit::Woken() {
  host_.clearWakeUp();
  if (painting_ == 0) host_.runPostedWork();
}

bool QtToolkit::IsOwn(const QWidget& window) const {
  return std::any_of(open_.begin(), open_.end(),
                     [&window](ModalView* view) { return &view->Dialog() == &window; });
}

bool QtToolkit::HasSomethingOnTop() const {
  const QWidget* const modal = QApplication::activeModalWidget();
  return QApplication::activePopupWidget() || (modal && !IsOwn(*modal));
}

// A script that is to stop cannot, as long as a window of Qt's own or of the workbench is open
// inside one of its waits: a question, a menu, a dialog for files or printing. Each is closed as by
// its user. That lets its own loop end, behind which another may open; the next turn closes that
// one. The windows that the script opened end by themselves.
void QtToolkit::CloseWhatStandsOnTop() {
  closing_ = false;
  if (!host_.isStopRequested()) return;  // heeded meanwhile
  while (QWidget* const popup = QApplication::activePopupWidget()) {
    popup->close();
    if (QApplication::activePopupWidget() == popup) popup->hide();
    if (QApplication::activePopupWidget() == popup) break;
  }
  while (QWidget* const modal = QApplication::activeModalWidget()) {
    if (IsOwn(*modal)) break;
    if (auto* const dialog = qobject_cast<QDialog*>(modal)) {
      dialog->reject();
    } else {
      modal->close();
    }
    if (QApplication::activeModalWidget() == modal) modal->hide();
    if (QApplication::activeModalWidget() == modal) break;
  }
}

void QtToolkit::ProcessEvents() {
  application_->processEvents();
  Woken();
}

// What was posted waits for the next ProcessEvents, and so does what the user types and clicks,
// except in the workbench: its Stop must work meanwhile, and it lets nothing run beside a script.
void QtToolkit::ProcessPainting() {
  struct Painting {
    int& depth;
    explicit Painting(int& count) : depth(count) { ++depth; }
    ~Painting() { --depth; }
  };
  {
    const Painting painting(painting_);
    application_->processEvents(mainWindow_ ? QEventLoop::AllEvents
                                            : QEventLoop::ExcludeUserInputEvents);
  }
  // Its wake-up may have been used up.
  if (painting_ == 0 && host_.hasPostedWork()) {
    QMetaObject::invokeMethod(
        application_.get(), [this] { Woken(); }, Qt::QueuedConnection);
  }
}

// Handles what needs no user: painting, and the wake-up itself.
void QtToolkit::WaitForEvents(std::uint32_t milliseconds) {
  if (host_.isStopRequested() || host_.hasPostedWork()) return;
  QTimer timer;
  timer.setSingleShot(true);
  timer.start(static_cast<int>(std::min<std::uint32_t>(milliseconds, 0x7FFFFFFF)));
  application_->processEvents(QEventLoop::WaitForMoreEvents);
}

QWidget* QtToolkit::ParentOf(const WindowModel& window) const {
  for (const ModalView* view : open_) {
    if (&const_cast<ModalView*>(view)->Model() == window.parent) {
      return &const_cast<ModalView*>(view)->Dialog();
    }
  }
  // Above the window that is on top now, whatever its parent is.
  return open_.empty() ? mainWindow_ : &open_.back()->Dialog();
}

// Those of scripts stand above the main window, whatever dialog is open.
QWidget* QtToolkit::ParentOfMessages() const {
  if (mainWindow_) return mainWindow_;
  return workView_ && workView_->isVisible() ? workView_.get() : nullptr;
}

// Before the window above which they stand goes, which would take them along.
void QtToolkit::LeaveMessagesAlone() {
  for (const auto& [model, view] : messages_) {
    if (!view->parentWidget()) continue;
    const bool isShown = view->isVisible();
    view->setParent(nullptr, view->windowFlags());
    if (isShown) view->show();
  }
}

void QtToolkit::SetMainWindow(QWidget* window) {
  LeaveMessagesAlone();
  mainWindow_ = window;
}

// Not to be answered by others, nor pictured or recorded for them.
bool QtToolkit::IsForUser() const {
  const bool isForOthers =
      options_.answers && (options_.answers->AnswersWindows() || options_.answers->IsRecording());
  return !isForOthers && options_.screenshots.empty();
}

void QtToolkit::RunModal(ModalModel& window) {
  const std::optional<SV::Size> size = window.size;
  const std::unique_ptr<ModalView> view = MakeModalView(window, ParentOf(window), IsForUser());
  struct Open {
    std::vector<ModalView*>& stack;
    Open(std::vector<ModalView*>& views, ModalView* top) : stack(views) { stack.push_back(top); }
    ~Open() { stack.pop_back(); }
  } open(open_, view.get());

  if (options_.answers && options_.answers->AnswersWindows()) {
    AnswerWithoutUser(*view);
  } else {
    const QString kind = SizeName(window);
    // Message boxes are as large as their texts. A size that the script gives comes before one that
    // the user likes.
    const bool remembers = window.Kind() != ModalKind::kMessageBox && !size;
    if (const auto remembered = remembers ? remembered_sizes::Find(kind) : std::nullopt;
        remembered && !window.maximized) {
      window.size = SV::Size(remembered->width(), remembered->height());
    }
    view->Open(kKeyGuardMilliseconds);
    const QSize opened = view->WantedSize();
    LetUserAnswer(*view);
    if (remembers && view->WantedSize() != opened && !view->Dialog().isMaximized()) {
      remembered_sizes::Keep(kind, view->WantedSize());
    }
  }
  view->Dialog().hide();
  window.size = size;  // the view's own choice is none of the model's
  if (!window.HasEnded()) {
    window.End(kCancelButton);
  } else if (options_.answers) {
    options_.answers->Record(window);
  }
}

// Shown as long as it takes to paint it.
void QtToolkit::AnswerWithoutUser(ModalView& view) {
  view.Open(0);
  application_->processEvents(QEventLoop::ExcludeUserInputEvents);
  TakePicture(view.Dialog(), QString::fromLatin1(PictureName(view.Model().Kind())));
  options_.answers->Answer(view.Model());
  if (view.Model().Kind() == ModalKind::kFileDialog ||
      view.Model().Kind() == ModalKind::kDirectoryDialog) {
    return;  // these show folders that need not be there
  }
  view.ShowModel();
  application_->processEvents(QEventLoop::ExcludeUserInputEvents);
}

void QtToolkit::LetUserAnswer(ModalView& view) {
  bool pictured = options_.screenshots.empty();
  while (!view.Model().HasEnded() && !host_.isStopRequested()) {
    application_->processEvents(pictured ? QEventLoop::WaitForMoreEvents : QEventLoop::AllEvents);
    if (pictured) continue;
    TakePicture(view.Dialog(), QString::fromLatin1(PictureName(view.Model().Kind())));
    pictured = true;
  }
}

// Lets what has changed appear; what the user does meanwhile waits.
void QtToolkit::Paint() { application_->processEvents(QEventLoop::ExcludeUserInputEvents); }

void QtToolkit::Show(WindowModel& window) {
  switch (window.Content()) {
    case WindowContent::kMessage:
      return ShowMessage(static_cast<MessageWindowModel&>(window));
    case WindowContent::kProgress:
      return ShowProgress(static_cast<PercentageWindowModel&>(window));
    case WindowContent::kWorkbench:
      return ShowWorkWindow(static_cast<WorkWindowModel&>(window));
    default:
      return;
  }
}

void QtToolkit::ShowMessage(MessageWindowModel& window) {
  std::unique_ptr<MessageWindowView>& view = messages_[&window];
  if (!view) view = std::make_unique<MessageWindowView>(window, ParentOfMessages());
  view->Open();
  Paint();
}

void QtToolkit::ShowProgress(PercentageWindowModel& window) {
  if (options_.answers) options_.answers->ProgressShown(window);
  std::unique_ptr<PercentageWindowView>& view = progress_[&window];
  if (!view) view = std::make_unique<PercentageWindowView>(window, ParentOf(window));
  view->Open();
  Paint();
}

void QtToolkit::ShowWorkWindow(WorkWindowModel& window) {
  if (toolsShownElsewhere_) return;
  if (!workView_) {
    workView_ = std::make_unique<WorkWindowView>(window);
    workView_->Docks().closing = [this](QDockWidget& dock) {
      if (!dock.isHidden()) TakePicture(dock, QStringLiteral("tool"));
    };
  }
  workView_->show();
  Paint();
}

void QtToolkit::Update(WindowModel& window) {
  if (const auto found = messages_.find(&window); found != messages_.end()) {
    found->second->ShowModel();
    if (!found->second->isVisible()) found->second->Open();  // its user had closed it
    Paint();
  } else if (const auto bars = progress_.find(&window); bars != progress_.end()) {
    if (bars->second->ShowModel()) Paint();
  }
}

void QtToolkit::Close(WindowModel& window) {
  if (const auto found = messages_.find(&window); found != messages_.end()) {
    TakePicture(*found->second, QStringLiteral("message-window"));
    messages_.erase(found);
  } else if (const auto bars = progress_.find(&window); bars != progress_.end()) {
    if (options_.answers) {
      options_.answers->ProgressClosed(static_cast<PercentageWindowModel&>(window));
    }
    bars->second->ShowNow();
    TakePicture(*bars->second, QStringLiteral("percentage-window"));
    progress_.erase(bars);
  } else if (workView_ && &window == workWindow_) {
    workView_->hide();  // it may be closing itself
  }
}

void QtToolkit::SetWorkWindow(WorkWindowModel* window) {
  LeaveMessagesAlone();
  workView_.reset();
  workWindow_ = window;
}

void QtToolkit::TakePicture(QWidget& widget, const QString& name) {
  if (options_.screenshots.empty()) return;
  const QString folder = Editable(options_.screenshots);
  QDir().mkpath(folder);
  const QString file = QStringLiteral("%1/%2-%3.png")
                           .arg(folder)
                           .arg(++pictures_, 3, 10, QLatin1Char('0'))
                           .arg(name);
  // Whole or not at all, and only what is stored counts as written.
  QSaveFile picture(file);
  const bool written = picture.open(QIODevice::WriteOnly) && widget.grab().save(&picture, "PNG") &&
                       picture.flush();  // which commit() does too, and forgets how it went
  if (written && picture.commit()) return;
  options_.pictureNotWritten(Bytes(file), Bytes(picture.errorString()));
}

SV::Size QtToolkit::ScreenSizePixel() {
  if (options_.screen) return *options_.screen;
  if (!HasDisplay()) return kScreenWithoutDisplay;
  // In the pixels in which all sizes of windows are, of which a fine screen has several for one.
  const QSize size = QGuiApplication::primaryScreen()->size();
  return {size.width(), size.height()};
}

// A quarter of a mean character's width, an eighth of its height.
SV::Size QtToolkit::DialogUnitsToPixel(const SV::Size& units) {
  const QFontMetricsF metrics(QApplication::font());
  const QString letters = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
  const double width = metrics.horizontalAdvance(letters) / static_cast<double>(letters.size());
  return {Scaled(units.Width(), width / 4), Scaled(units.Height(), metrics.height() / 8)};
}

FontChoice QtToolkit::ApplicationFont() {
  const QFont font = QApplication::font();
  return {font.family().toStdString(), font.pointSize()};
}

void QtToolkit::ShowWaitCursor(bool on) {
  if (on == (QGuiApplication::overrideCursor() != nullptr)) return;
  if (on) {
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
  } else {
    QGuiApplication::restoreOverrideCursor();
  }
}

void QtToolkit::ClearClipboard() { QGuiApplication::clipboard()->clear(); }

bool QtToolkit::CopyToClipboard(std::string_view utf8) {
  const QString text = QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
  QGuiApplication::clipboard()->setText(text);
  return QGuiApplication::clipboard()->text() == text;
}

void QtToolkit::Beep(std::uint32_t frequency, std::uint32_t milliseconds) {
  if (!tone_.Play(frequency, milliseconds)) QApplication::beep();
}

std::optional<PrinterInfo> QtToolkit::DefaultPrinter() {
  if (!options_.printer.empty()) {
    return PrinterInfo{options_.printer, options_.printer, "", ""};
  }
  const QPrinterInfo printer = QPrinterInfo::defaultPrinter();
  if (printer.isNull()) return std::nullopt;
  return InfoOf(printer);
}

std::optional<PrinterInfo> QtToolkit::FindPrinter(std::string_view name) {
  if (!options_.printer.empty() && name == options_.printer) return DefaultPrinter();
  const QPrinterInfo printer = QPrinterInfo::printerInfo(
      QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
  if (printer.isNull()) return std::nullopt;
  return InfoOf(printer);
}

}  // namespace ui
