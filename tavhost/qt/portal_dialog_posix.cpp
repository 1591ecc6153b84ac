#include "tavhost/qt/portal_dialog_posix.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFile>
#include <QGuiApplication>
#include <QWidget>

#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

// As the portal wants them: a(sa(us)).
struct PortalPattern {
  uint kind = 0;  // a pattern of names
  QString pattern;
};
struct PortalFilter {
  QString text;
  QList<PortalPattern> patterns;
};

// A portal that is there, or that the bus starts, answers sooner than a person grows impatient.
constexpr int kAnswerMilliseconds = 3000;
// The first version of the interface that chooses folders, and that begins where it is told to.
constexpr uint kFoldersSince = 3;
constexpr uint kStartSince = 4;

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kChooser = QStringLiteral("org.freedesktop.portal.FileChooser");
const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");

QDBusArgument& operator<<(QDBusArgument& out, const PortalPattern& pattern) {
  out.beginStructure();
  out << pattern.kind << pattern.pattern;
  out.endStructure();
  return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, PortalPattern& pattern) {
  in.beginStructure();
  in >> pattern.kind >> pattern.pattern;
  in.endStructure();
  return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const PortalFilter& filter) {
  out.beginStructure();
  out << filter.text << filter.patterns;
  out.endStructure();
  return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, PortalFilter& filter) {
  in.beginStructure();
  in >> filter.text >> filter.patterns;
  in.endStructure();
  return in;
}

void RegisterTypes() {
  qDBusRegisterMetaType<PortalPattern>();
  qDBusRegisterMetaType<QList<PortalPattern>>();
  qDBusRegisterMetaType<PortalFilter>();
  qDBusRegisterMetaType<QList<PortalFilter>>();
}

PortalFilter PortalFilterOf(const FileQuestion::Filter& filter) {
  PortalFilter made{filter.text, {}};
  if (made.text.isEmpty()) made.text = filter.patterns.join(QLatin1Char(' '));
  for (const QString& pattern : filter.patterns) {
    made.patterns << PortalPattern{0, WithoutCase(pattern)};
  }
  return made;
}

// The bytes of a path, with the NUL at its end that the portal wants.
QByteArray PathBytes(const QString& path) { return QFile::encodeName(path) + '\0'; }

// The window above which the portal puts its own; it knows those of X by their number.
QString NameOf(const QWidget* window) {
  if (!window || QGuiApplication::platformName() != QLatin1String("xcb")) return {};
  return QStringLiteral("x11:%1").arg(window->window()->winId(), 0, 16);
}

QDBusMessage CallOf(const QString& path, const QString& interface, const QString& method) {
  return QDBusMessage::createMethodCall(kPortal, path, interface, method);
}

QString OtherCase(QChar letter) {
  const QChar lower = letter.toLower();
  const QChar upper = letter.toUpper();
  return lower == upper ? QString(letter) : QString(lower) + upper;
}

}  // namespace

QString WithoutCase(const QString& pattern) {
  QString made;
  for (qsizetype i = 0; i < pattern.size(); ++i) {
    // The letters of a set stand in it a second time, in the other case.
    const qsizetype end =
        pattern[i] == QLatin1Char('[') ? pattern.indexOf(QLatin1Char(']'), i) : -1;
    if (end > i + 1) {
      QString set = pattern.mid(i + 1, end - i - 1);
      const bool isOthers = set.startsWith(QLatin1Char('!')) || set.startsWith(QLatin1Char('^'));
      made += isOthers ? QStringLiteral("[!") : QStringLiteral("[");
      if (isOthers) set.remove(0, 1);
      made += set.toLower() + (set.toUpper() == set.toLower() ? QString() : set.toUpper());
      made += QLatin1Char(']');
      i = end;
      continue;
    }
    const QString cases = OtherCase(pattern[i]);
    made += cases.size() == 1 ? cases : QLatin1Char('[') + cases + QLatin1Char(']');
  }
  return made;
}

QString PathOf(const QString& url) {
  static const QString kScheme = QStringLiteral("file://");
  if (!url.startsWith(kScheme)) return {};
  const qsizetype path = url.indexOf(QLatin1Char('/'), kScheme.size());
  const QString host = url.mid(kScheme.size(), path - kScheme.size());
  if (path < 0 || (!host.isEmpty() && host != QLatin1String("localhost"))) return {};
  const QByteArray bytes = QByteArray::fromPercentEncoding(url.mid(path).toUtf8());
  return Editable({bytes.constData(), static_cast<std::size_t>(bytes.size())});
}

PortalDialog::PortalDialog(const QDBusConnection& bus, QWidget* above)
    : bus_(bus), portal_(kPortal, bus, QDBusServiceWatcher::WatchForUnregistration), above_(above) {
  RegisterTypes();
  QObject::connect(&portal_, &QDBusServiceWatcher::serviceUnregistered, this,
                   &PortalDialog::TakeLoss);
  // The bus itself may go.
  bus_.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
               QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
               SLOT(TakeLoss()));
}

PortalDialog::~PortalDialog() { CloseRequest(); }

void PortalDialog::Ask(const FileQuestion& question) {
  question_ = question;
  isAsking_ = true;
  ++asked_;
  QDBusMessage version =
      CallOf(kPortalPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  version << kChooser << QStringLiteral("version");
  Call(version, &PortalDialog::TakeVersion);
}

void PortalDialog::Call(const QDBusMessage& message,
                        void (PortalDialog::*take)(const QDBusMessage& reply)) {
  auto* const reply =
      new QDBusPendingCallWatcher(bus_.asyncCall(message, kAnswerMilliseconds), this);
  QObject::connect(reply, &QDBusPendingCallWatcher::finished, this,
                   [this, take, asked = asked_](QDBusPendingCallWatcher* finished) {
                     finished->deleteLater();
                     if (!isAsking_ || asked != asked_) return;
                     if (finished->isError()) return Fail();
                     (this->*take)(finished->reply());
                   });
}

void PortalDialog::TakeVersion(const QDBusMessage& reply) {
  const uint version = qvariant_cast<QDBusVariant>(reply.arguments().value(0)).variant().toUInt();
  using Purpose = FileQuestion::Purpose;
  const bool isToOpen = question_.purpose == Purpose::kOpen;
  const bool begins = question_.purpose == Purpose::kSave || version >= kStartSince;
  if (version == 0 || (isToOpen && !question_.name.isEmpty()) ||
      (question_.purpose == Purpose::kDirectory && version < kFoldersSince) ||
      (question_.isFolderGiven && !begins)) {
    return Fail();
  }
  SendQuestion();
}

void PortalDialog::SendQuestion() {
  const bool isToSave = question_.purpose == FileQuestion::Purpose::kSave;
  static int requests = 0;
  const QString token = QStringLiteral("tavhost%1").arg(++requests);
  QVariantMap options{{QStringLiteral("handle_token"), token},
                      {QStringLiteral("modal"), true},
                      {QStringLiteral("current_folder"), PathBytes(question_.folder)}};
  if (isToSave) {
    if (!question_.name.isEmpty()) options[QStringLiteral("current_name")] = question_.name;
  } else {
    options[QStringLiteral("multiple")] = question_.multiple;
    options[QStringLiteral("directory")] = question_.purpose == FileQuestion::Purpose::kDirectory;
  }
  QList<PortalFilter> filters;
  for (const FileQuestion::Filter& filter : question_.filters) filters << PortalFilterOf(filter);
  if (!filters.isEmpty()) {
    options[QStringLiteral("filters")] = QVariant::fromValue(filters);
    options[QStringLiteral("current_filter")] = QVariant::fromValue(filters[question_.filter]);
  }
  // Before it is asked, as it may answer at once.
  QString asker = bus_.baseService().mid(1);
  asker.replace(QLatin1Char('.'), QLatin1Char('_'));
  Await(kPortalPath + QStringLiteral("/request/%1/%2").arg(asker, token));
  QDBusMessage ask = CallOf(kPortalPath, kChooser,
                            isToSave ? QStringLiteral("SaveFile") : QStringLiteral("OpenFile"));
  ask << NameOf(above_) << question_.title << options;
  Call(ask, &PortalDialog::TakeHandle);
}

// Old portals give the request a name of their own.
void PortalDialog::TakeHandle(const QDBusMessage& reply) {
  const QString handle = qvariant_cast<QDBusObjectPath>(reply.arguments().value(0)).path();
  if (!handle.isEmpty() && handle != handle_) Await(handle);
}

void PortalDialog::Await(const QString& handle) {
  handle_ = handle;
  bus_.connect(kPortal, handle, kRequest, QStringLiteral("Response"), this,
               SLOT(TakeResponse(uint, QVariantMap)));
}

// What is not 0 is a dialog that its user cancelled or closed.
void PortalDialog::TakeResponse(uint response, const QVariantMap& results) {
  if (!isAsking_) return;
  isAsking_ = false;
  handle_.clear();
  QStringList paths;
  if (response == 0) {
    for (const QString& url : results.value(QStringLiteral("uris")).toStringList()) {
      const QString path = PathOf(url);
      paths << (path.isEmpty() ? url : path);
    }
  }
  answered(paths);
}

void PortalDialog::TakeLoss() {
  handle_.clear();
  if (isAsking_) Fail();
}

// The dialog may open only now, or be open.
void PortalDialog::CloseRequest() {
  if (handle_.isEmpty()) return;
  bus_.send(CallOf(handle_, kRequest, QStringLiteral("Close")));
  handle_.clear();
}

void PortalDialog::Fail() {
  CloseRequest();
  isAsking_ = false;
  failed();
}

}  // namespace ui
