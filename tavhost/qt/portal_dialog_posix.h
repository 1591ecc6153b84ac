#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QVariantMap>

#include "tavhost/qt/native_file_dialog.h"

namespace ui {

// The desktop's file dialog as its portal offers it on the session bus. It fails when there is no
// portal, when that does not answer soon, cannot keep to the question, or goes while it is open.
//
// The one class for the meta-object compiler, as signals from the bus come to slots only.
class PortalDialog final : public NativeFileDialog {
  Q_OBJECT

 public:
  PortalDialog(const QDBusConnection& bus, QWidget* above);
  ~PortalDialog() override;

  void Ask(const FileQuestion& question) override;

 private Q_SLOTS:
  void TakeResponse(uint response, const QVariantMap& results);
  void TakeLoss();

 private:
  void TakeVersion(const QDBusMessage& reply);
  void SendQuestion();
  void TakeHandle(const QDBusMessage& reply);
  void Await(const QString& handle);
  void Call(const QDBusMessage& message, void (PortalDialog::*take)(const QDBusMessage& reply));
  void CloseRequest();
  void Fail();

  QDBusConnection bus_;
  QDBusServiceWatcher portal_;
  QWidget* const above_;
  FileQuestion question_;
  QString handle_;  // of the request that is open; empty: none
  bool isAsking_ = false;
  int asked_ = 0;  // replies to an earlier question are none to this one
};

// A pattern that fits the names of `pattern` in upper and lower case, for who looks at case.
QString WithoutCase(const QString& pattern);

// The path of a URL of a file on this machine, as in Editable; of others, which are no path, empty.
QString PathOf(const QString& url);

}  // namespace ui
