#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <functional>
#include <memory>

#include "tavhost/app/ide_services.h"
#include "tavhost/qt/find_bar.h"
#include "tavhost/qt/ide/command_browser.h"
#include "tavhost/qt/ide/console.h"
#include "tavhost/qt/ide/editor_tabs.h"
#include "tavhost/qt/ide/ide_window.h"
#include "tavhost/qt/shown_text.h"
#include "tests/qt/events.h"
#include "tests/qt/started_toolkit.h"

// A workbench in a folder of its own. What the test leaves open is closed without questions.
class IdeTest : public testing::Test {
 protected:
  using Window = ui::ide_view::IdeWindow;
  using Page = ui::ide_view::EditorPage;
  static constexpr int kPatience = 60000;  // milliseconds

  void SetUp() override { StartedToolkit(); }
  void TearDown() override { Leave(); }

  Window& Start(const std::vector<std::string>& files = {}) {
    Leave();
    ide::IdeOptions options;
    options.folder = ui::Bytes(folder_.path());
    services_ = std::make_unique<app::IdeServices>();
    window_ = std::make_unique<Window>(*services_, options);
    TakeMainWindow(*window_);
    window_->Start(files);
    window_->show();
    window_->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(window_.get()));
    HandleEvents();
    return *window_;
  }
  // As when the program goes down without closing anything.
  void Leave() {
    if (services_) services_->EndSession();
    LeaveMainWindow();
    window_.reset();
    services_.reset();
  }

  Page& Front() { return *window_->Tabs().Page(); }
  ui::ide_view::ScriptEditor& Editor() { return Front().Editor(); }
  void Type(const QString& text) {
    Editor().setFocus();
    QTest::keyClicks(&Editor(), text);
  }
  QString Console() {
    window_->GetConsole().Flush();
    return window_->GetConsole().Output().toPlainText();
  }
  void Enter(const QString& text) {
    QLineEdit& input = window_->GetConsole().Input();
    input.setFocus();
    input.setText(text);
    QTest::keyClick(&input, Qt::Key_Return);
  }
  QString State() { return window_->findChild<QLabel*>(QStringLiteral("state"))->text(); }

  // A key for the editor in front. Without a display nobody makes the window active again when a
  // dialog has closed.
  void Key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    window_->activateWindow();
    HandleEvents();
    Editor().setFocus();
    QTest::keyClick(&Editor(), static_cast<Qt::Key>(key), modifiers);
  }

  // Runs the script in front and returns when it has ended.
  void Run() {
    Key(Qt::Key_F5);
    HandleEvents();  // started from the event loop
    EXPECT_TRUE(QTest::qWaitFor([this] { return !window_ || !window_->IsRunning(); }, kPatience));
  }
  void RunText(const QString& text) {
    Editor().SetText(text);
    Run();
  }

  // Opens a menu and clicks on an entry of it.
  void Choose(const QString& menu, const QString& entry) {
    for (QMenu* const one : window_->findChildren<QMenu*>()) {
      if (one->title() != menu) continue;
      one->popup(window_->geometry().center());
      for (QAction* const action : one->actions()) {
        if (action->text() != entry) continue;
        return QTest::mouseClick(one, Qt::LeftButton, Qt::NoModifier,
                                 one->actionGeometry(action).center());
      }
    }
    ADD_FAILURE() << "there is no entry " << entry.toStdString();
  }

  QString Path(const QString& name) { return folder_.filePath(name); }
  QString Write(const QString& name, const QByteArray& bytes) {
    QFile file(Path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return Path(name);
  }
  QByteArray Read(const QString& name) {
    QFile file(Path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
  }

  // Answers the next question of the workbench with the button of this text.
  void Answer(const QString& button) {
    QTimer::singleShot(50, qApp, [this, button] {
      auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) {
        ADD_FAILURE() << "no question";
        return;
      }
      question_ = box->text();
      for (QAbstractButton* const one : box->buttons()) {
        if (one->text().remove(QLatin1Char('&')) == button) return one->click();
      }
      ADD_FAILURE() << "no button " << button.toStdString();
      box->reject();
    });
  }

  QTemporaryDir folder_;
  std::unique_ptr<app::IdeServices> services_;
  std::unique_ptr<Window> window_;
  QString question_;
};
