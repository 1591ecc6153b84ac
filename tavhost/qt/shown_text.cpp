#include "tavhost/qt/shown_text.h"

#include <utf8.h>

namespace ui {

namespace {

constexpr char16_t kEscapedByte = 0xDC00;  // plus the byte, which is 0x80 or above

int Length(std::size_t size) { return static_cast<int>(size); }

bool IsEscapedByte(const QString& text, qsizetype index) {
  const char16_t unit = text[index].unicode();
  if (unit < kEscapedByte + 0x80 || unit > kEscapedByte + 0xFF) return false;
  return index == 0 || !text[index - 1].isHighSurrogate();
}

}  // namespace

QString Shown(std::string_view text) {
  QString shown = QString::fromUtf8(text.data(), Length(text.size()));
  shown.replace(QChar(0), QChar(0x2400));
  return shown;
}

QString Editable(std::string_view text) {
  QString editable;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    const char* const invalid = utf8::find_invalid(at, end);
    // The reading of UTF-8 takes a byte order mark away.
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    while (std::string_view(at, static_cast<std::size_t>(invalid - at)).starts_with(kMark)) {
      editable += QChar(QChar::ByteOrderMark);
      at += kMark.size();
    }
    editable += QString::fromUtf8(at, static_cast<qsizetype>(invalid - at));
    if (invalid == end) break;
    editable += QChar(static_cast<char16_t>(kEscapedByte + static_cast<unsigned char>(*invalid)));
    at = invalid + 1;
  }
  return editable;
}

std::string Bytes(const QString& text) {
  std::string bytes;
  qsizetype begin = 0;
  const auto append = [&](qsizetype end) {
    const QByteArray part = QStringView(text).mid(begin, end - begin).toUtf8();
    bytes.append(part.constData(), static_cast<std::size_t>(part.size()));
  };
  for (qsizetype i = 0; i < text.size(); ++i) {
    if (!IsEscapedByte(text, i)) continue;
    append(i);
    bytes += static_cast<char>(text[i].unicode() - kEscapedByte);
    begin = i + 1;
  }
  append(text.size());
  return bytes;
}

QString ShownTitle(std::string_view title) {
  constexpr std::size_t kMostTitleBytes = 1000;
  QString shown = Shown(title.substr(0, kMostTitleBytes));
  shown.replace(QLatin1String("[*]"), QLatin1String("[*][*]"));
  return shown;
}

bool HasHugeLine(const QString& text) {
  constexpr qsizetype kMostWrapped = 20000;  // the time to wrap a line grows with its square
  qsizetype begin = 0;
  while (text.size() - begin > kMostWrapped) {
    const qsizetype end = text.indexOf(QLatin1Char('\n'), begin);
    if (end < 0 || end - begin > kMostWrapped) return true;
    begin = end + 1;
  }
  return false;
}

QString ShownLabel(std::string_view label) {
  QString shown = Shown(label);
  shown.replace(QLatin1Char('&'), QLatin1String("&&"));
  return shown;
}

}  // namespace ui
