#include "tavhost/qt/accelerators.h"

#include <QAbstractButton>
#include <QLabel>
#include <QPushButton>
#include <QSet>
#include <QToolButton>
#include <algorithm>
#include <vector>

namespace ui {

namespace {

constexpr qsizetype kNone = -1;

// A label as it is read, and which of its characters is underlined.
struct Label {
  QString text;
  qsizetype underlined = kNone;
};

// "&&" is a "&", "&x" an underlined x.
Label Read(const QString& written) {
  Label label;
  for (qsizetype i = 0; i < written.size(); ++i) {
    if (written[i] == QLatin1Char('&') && i + 1 < written.size()) {
      ++i;
      if (written[i] != QLatin1Char('&') && label.underlined == kNone) {
        label.underlined = label.text.size();
      }
    }
    label.text += written[i];
  }
  return label;
}

QString Written(const Label& label) {
  QString written;
  for (qsizetype i = 0; i < label.text.size(); ++i) {
    if (i == label.underlined) written += QLatin1Char('&');
    written += label.text[i];
    if (label.text[i] == QLatin1Char('&')) written += QLatin1Char('&');
  }
  return written;
}

// What a key types by itself; other scripts are typed in several steps, which Alt does not take.
bool HasKey(QChar c) {
  if (!c.isLetterOrNumber()) return false;
  switch (c.script()) {
    case QChar::Script_Han:
    case QChar::Script_Hiragana:
    case QChar::Script_Katakana:
    case QChar::Script_Bopomofo:
    case QChar::Script_Hangul:
    case QChar::Script_Yi:
      return false;
    default:
      return true;
  }
}

// The letters that are taken in a window, in upper case.
class Letters {
 public:
  bool Take(QChar letter) {
    const QChar upper = letter.toUpper();
    if (taken_.contains(upper)) return false;
    taken_.insert(upper);
    return true;
  }

  // Underlines one that is free: at the beginning of a word, else any that every keyboard has, else
  // any that some keyboard has.
  void Choose(Label& label) {
    for (int pass = 0; pass < 3; ++pass) {
      for (qsizetype i = 0; i < label.text.size(); ++i) {
        const QChar c = label.text[i];
        if (!HasKey(c) || (pass < 2 && c.unicode() > 0x7F)) continue;
        if (pass == 0 && i > 0 && label.text[i - 1].isLetterOrNumber()) continue;
        if (!Take(c)) continue;
        label.underlined = i;
        return;
      }
    }
    Append(label);
  }

 private:
  // As is usual where labels are in a script without such keys: "確定(A)".
  void Append(Label& label) {
    const auto isOther = [](QChar c) { return c.isLetter() && !HasKey(c); };
    if (std::none_of(label.text.begin(), label.text.end(), isOther)) return;
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
      if (!Take(QLatin1Char(letter))) continue;
      label.underlined = label.text.size() + 1;
      label.text += QLatin1Char('(') + QString(QLatin1Char(letter)) + QLatin1Char(')');
      return;
    }
  }

  QSet<QChar> taken_;
};

struct Labelled {
  QWidget* widget;
  Label label;
  int rank;  // lower ones choose first
};

QString TextOf(const QWidget& widget) {
  if (const auto* const button = qobject_cast<const QAbstractButton*>(&widget)) {
    return qobject_cast<const QToolButton*>(button) ? QString() : button->text();
  }
  const auto* const label = qobject_cast<const QLabel*>(&widget);
  return label && label->buddy() ? label->text() : QString();
}

void SetText(QWidget& widget, const QString& text) {
  if (auto* const button = qobject_cast<QAbstractButton*>(&widget)) {
    button->setText(text);
  } else {
    static_cast<QLabel&>(widget).setText(text);
  }
}

}  // namespace

void GiveAccelerators(QWidget& window) {
  std::vector<Labelled> all;
  for (QWidget* const widget : window.findChildren<QWidget*>()) {
    const QString text = TextOf(*widget);
    if (text.isEmpty() || widget->window() != &window) continue;
    const bool isPushButton = qobject_cast<QPushButton*>(widget) != nullptr;
    const int rank = !widget->isVisibleTo(&window) ? 2 : isPushButton ? 0 : 1;
    all.push_back({widget, Read(text), rank});
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const Labelled& a, const Labelled& b) { return a.rank < b.rank; });
  Letters letters;
  for (auto& [widget, label, rank] : all) {
    if (label.underlined == kNone || letters.Take(label.text[label.underlined])) continue;
    label.underlined = kNone;
  }
  for (auto& [widget, label, rank] : all) {
    if (label.underlined == kNone) letters.Choose(label);
    SetText(*widget, Written(label));
  }
}

}  // namespace ui
