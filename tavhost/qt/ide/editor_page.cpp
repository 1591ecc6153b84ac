#include "tavhost/qt/ide/editor_page.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBlock>
#include <QVBoxLayout>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/base/whole_file.h"
#include "tavhost/qt/ide/theme.h"
#include "tavhost/qt/shown_text.h"

namespace ui::ide_view {

namespace {

// Larger files are no scripts, and would make typing slow.
constexpr qint64 kLargestFile = 64 << 20;

QByteArray DigestOf(const QByteArray& bytes) {
  return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

std::string_view View(const QByteArray& bytes) {
  return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

tl::unexpected<QString> Failure(const QString& text) { return tl::unexpected<QString>(text); }

QByteArray Array(const std::string& bytes) {
  return {bytes.data(), static_cast<qsizetype>(bytes.size())};
}

}  // namespace

EditorPage::EditorPage(EditorHelp help, int untitledNumber, QWidget* parent)
    : QWidget(parent),
      untitledNumber_(untitledNumber),
      editor_(new ScriptEditor(std::move(help))),
      notice_(new QFrame),
      noticeText_(new QLabel),
      reload_(new QPushButton(QStringLiteral("Reloa&d"))) {
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  auto* const bar = new QHBoxLayout(notice_);
  auto* const keep = new QPushButton(QStringLiteral("&Keep Mine"));
  noticeText_->setWordWrap(true);
  noticeText_->setTextFormat(Qt::PlainText);
  bar->addWidget(noticeText_, 1);
  bar->addWidget(reload_);
  bar->addWidget(keep);
  notice_->setObjectName(QStringLiteral("notice"));
  notice_->setAutoFillBackground(true);
  notice_->hide();
  layout->addWidget(notice_);
  layout->addWidget(editor_, 1);
  setFocusProxy(editor_);
  connect(reload_, &QPushButton::clicked, this, [this] { Reload(); });
  connect(keep, &QPushButton::clicked, this, [this] {
    notice_->hide();
    editor_->setFocus();
  });
  connect(editor_->document(), &QTextDocument::modificationChanged, this, [this] {
    if (changed) changed();
  });
}

QString EditorPage::Title() const {
  if (!path_.isEmpty()) return QFileInfo(path_).fileName();
  return untitledNumber_ <= 1 ? QStringLiteral("untitled")
                              : QStringLiteral("untitled %1").arg(untitledNumber_);
}

bool EditorPage::IsUntouched() const {
  return path_.isEmpty() && !IsModified() && editor_->document()->isEmpty();
}

EditorPage::Disk EditorPage::LookAt(const QString& path, const Disk* known) {
  Disk disk;
  const QFileInfo info(path);
  disk.exists = info.isFile();
  if (!disk.exists) return disk;
  disk.size = info.size();
  disk.written = info.lastModified();
  if (known && known->exists && known->size == disk.size && known->written == disk.written) {
    disk.digest = known->digest;
    return disk;
  }
  QFile file(path);
  if (file.open(QIODevice::ReadOnly)) disk.digest = DigestOf(file.readAll());
  return disk;
}

base::Result<QByteArray, QString> EditorPage::Read(const QString& path) {
  QFile file(path);
  if (QFileInfo(path).isDir()) return Failure(QStringLiteral("%1 is a folder.").arg(path));
  if (!file.open(QIODevice::ReadOnly)) {
    return Failure(QStringLiteral("%1 cannot be read: %2.").arg(path, file.errorString()));
  }
  if (file.size() > kLargestFile) {
    return Failure(QStringLiteral("%1 is too large for the editor.").arg(path));
  }
  QByteArray bytes = file.readAll();
  if (file.error() != QFileDevice::NoError) {
    return Failure(QStringLiteral("%1 cannot be read: %2.").arg(path, file.errorString()));
  }
  return bytes;
}

void EditorPage::Show(const QByteArray& bytes) {
  editor_->SetText(Editable(ide::TextOf(View(bytes), form_)));
  // A file that the editor could not write back as it was (line ends of several kinds, rare
  // separators) is only to be read.
  const bool kept = Bytes() == bytes;
  editor_->setReadOnly(!kept);
  notice_->hide();
  if (!kept) {
    ShowNotice(QStringLiteral("This file has line ends or characters that would be lost by "
                              "editing; it can be read and run, not changed."),
               false);
  }
}

base::Result<void, QString> EditorPage::Load(const QString& path) {
  const base::Result<QByteArray, QString> bytes = Read(path);
  if (!bytes) return Failure(bytes.error());
  path_ = QFileInfo(path).absoluteFilePath();
  disk_ = LookAt(path_, nullptr);
  Show(*bytes);
  if (changed) changed();
  return {};
}

QByteArray EditorPage::Bytes() const {
  return Array(ide::BytesOf(ui::Bytes(editor_->Text()), form_));
}

base::Result<void, QString> EditorPage::Save(const QString& path) {
  const QByteArray bytes = Bytes();
  base::WholeFile::Options options;
  options.synced = true;
  const auto saved = base::WriteWholeFile(
      ui::Bytes(path), {bytes.constData(), static_cast<std::size_t>(bytes.size())}, options);
  if (!saved) {
    return Failure(
        QStringLiteral("%1 cannot be written: %2.").arg(path, Shown(saved.error().message)));
  }
  path_ = QFileInfo(path).absoluteFilePath();
  disk_ = LookAt(path_, nullptr);
  editor_->document()->setModified(false);
  if (!editor_->isReadOnly()) notice_->hide();
  if (changed) changed();
  return {};
}

void EditorPage::Restore(const QString& path, const QByteArray& bytes) {
  path_ = path;
  Show(bytes);
  editor_->document()->setModified(true);
  if (!path_.isEmpty()) disk_ = LookAt(path_, nullptr);
  if (changed) changed();
}

bool EditorPage::IsChangedOnDisk() const {
  if (path_.isEmpty()) return false;
  const Disk now = LookAt(path_, &disk_);
  return now.exists != disk_.exists || now.digest != disk_.digest;
}

void EditorPage::LookAtDisk() {
  if (path_.isEmpty()) return;
  const Disk now = LookAt(path_, &disk_);
  if (now.exists == disk_.exists && now.digest == disk_.digest) {
    disk_ = now;
    return;
  }
  const QString name = QFileInfo(path_).fileName();
  if (!now.exists) {
    disk_ = now;
    editor_->document()->setModified(true);
    return ShowNotice(QStringLiteral("%1 is no longer there. Saving writes it again.").arg(name),
                      false);
  }
  if (!IsModified()) return Reload();
  // Each change of the file is asked about once.
  ShowNotice(QStringLiteral("%1 was changed by another program, and here too. Reloading drops the "
                            "changes made here.")
                 .arg(name),
             true);
}

void EditorPage::ShowNotice(const QString& text, bool canReload) {
  QPalette colours = palette();
  colours.setColor(QPalette::Window, ColoursFor(palette()).notice);
  notice_->setPalette(colours);
  noticeText_->setText(text);
  reload_->setVisible(canReload);
  notice_->show();
}

void EditorPage::Reload() {
  const base::Result<QByteArray, QString> bytes = Read(path_);
  if (!bytes) return ShowNotice(bytes.error(), true);
  const int line = editor_->Line();
  const int column = editor_->Column();
  const int scroll = editor_->verticalScrollBar()->value();
  disk_ = LookAt(path_, nullptr);
  Show(*bytes);
  editor_->GoTo(line, column);
  editor_->verticalScrollBar()->setValue(scroll);
  editor_->setFocus();
  if (changed) changed();
}

}  // namespace ui::ide_view
