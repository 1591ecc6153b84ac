#include "tests/qt/window_pixels.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QTableView>
#include <QTextEdit>
#include <QToolButton>
#include <QTreeView>
#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <vector>

#include "tavhost/qt/readable_palette.h"
#include "tests/qt/window_parts.h"

namespace window_pixels {

namespace {

constexpr double kLeastContrast = 4.5;
constexpr int kFrame = 4;        // of a button or field, in pixels of the scale
constexpr int kMostEntries = 8;  // of a list, looked at
// Strokes fall between pixels in other ways where the text begins at another fraction of one.
constexpr double kLeastStrokes = 0.9;

double Light(QRgb colour) { return ui::Contrast(QColor(colour), Qt::black); }

bool IsText(const QString& text) {
  return std::any_of(text.begin(), text.end(),
                     [](QChar character) { return character.isLetterOrNumber(); });
}

// A text and where it is drawn, in its part.
struct Place {
  QRect rect;
  QString text;
};

void AddEntries(const QAbstractItemView& view, std::vector<Place>& places) {
  const QAbstractItemModel* const model = view.model();
  if (!model) return;
  const QPoint corner = view.viewport()->pos();
  const QRect shown = view.viewport()->rect();
  int count = 0;
  for (int row = 0; row < model->rowCount(view.rootIndex()) && count < kMostEntries; ++row) {
    for (int column = 0; column < model->columnCount(view.rootIndex()); ++column) {
      const QModelIndex index = model->index(row, column, view.rootIndex());
      const QRect rect = view.visualRect(index).intersected(shown);
      const QString text = index.data().toString();
      if (!(index.flags() & Qt::ItemIsEnabled) || !shown.contains(rect.center())) continue;
      if (rect.isEmpty() || !IsText(text.left(kMostEntries))) continue;
      places.push_back({rect.translated(corner), text});
      ++count;
    }
  }
}

void AddTitles(const QHeaderView& header, std::vector<Place>& places) {
  if (!header.isVisible() || !header.model()) return;
  for (int i = 0; i < std::min(header.count(), kMostEntries); ++i) {
    const QString text = header.model()->headerData(i, header.orientation()).toString();
    const int begin = header.sectionViewportPosition(i);
    const int size = header.sectionSize(i);
    const QRect rect = header.orientation() == Qt::Horizontal
                           ? QRect(begin, 0, size, header.height())
                           : QRect(0, begin, header.width(), size);
    const QRect inside = rect.adjusted(kFrame, kFrame, -kFrame, -kFrame) & header.rect();
    if (inside.width() < kFrame || !IsText(text.left(kMostEntries))) continue;
    places.push_back({inside.translated(header.pos()), text});
  }
}

std::vector<Place> TextsOf(const QWidget& part) {
  std::vector<Place> places;
  const auto within = [&part](int frame) {
    return part.rect().adjusted(frame, frame, -frame, -frame);
  };
  if (const auto* const label = qobject_cast<const QLabel*>(&part)) {
    places.push_back({label->contentsRect(), label->text()});
  } else if (qobject_cast<const QCheckBox*>(&part) || qobject_cast<const QRadioButton*>(&part)) {
    QStyleOptionButton option;
    option.initFrom(&part);
    const auto& button = static_cast<const QAbstractButton&>(part);
    places.push_back(
        {part.style()->subElementRect(QStyle::SE_CheckBoxContents, &option, &part), button.text()});
  } else if (const auto* const button = qobject_cast<const QAbstractButton*>(&part)) {
    const bool isPicture = qobject_cast<const QToolButton*>(&part) && !button->icon().isNull();
    if (!isPicture) places.push_back({within(kFrame), button->text()});
  } else if (const auto* const field = qobject_cast<const QLineEdit*>(&part)) {
    const QString text = field->displayText();
    places.push_back({within(kFrame), text.isEmpty() ? field->placeholderText() : text});
  } else if (const auto* const box = qobject_cast<const QComboBox*>(&part)) {
    QStyleOptionComboBox option;
    option.initFrom(&part);
    places.push_back({part.style()->subControlRect(QStyle::CC_ComboBox, &option,
                                                   QStyle::SC_ComboBoxEditField, &part),
                      box->currentText()});
  } else if (const auto* const bar = qobject_cast<const QProgressBar*>(&part)) {
    places.push_back({within(2), bar->text()});
  } else if (const auto* const plain = qobject_cast<const QPlainTextEdit*>(&part)) {
    places.push_back({plain->viewport()->geometry(), plain->toPlainText()});
  } else if (const auto* const text = qobject_cast<const QTextEdit*>(&part)) {
    places.push_back({text->viewport()->geometry(), text->toPlainText()});
  } else if (const auto* const view = qobject_cast<const QAbstractItemView*>(&part)) {
    AddEntries(*view, places);
    if (const auto* const table = qobject_cast<const QTableView*>(view)) {
      AddTitles(*table->horizontalHeader(), places);
      AddTitles(*table->verticalHeader(), places);
    } else if (const auto* const tree = qobject_cast<const QTreeView*>(view)) {
      AddTitles(*tree->header(), places);
    }
  }
  std::erase_if(places, [](const Place& place) { return !IsText(place.text); });
  return places;
}

QRect InPixels(const QRect& rect, const QImage& picture) {
  const double ratio = picture.devicePixelRatio();
  return QRect(QPoint(qRound(rect.x() * ratio), qRound(rect.y() * ratio)),
               QSize(qRound(rect.width() * ratio), qRound(rect.height() * ratio)))
      .intersected(picture.rect());
}

// How often each colour is there. Of a picture in 32 bits; most of it is runs of one colour.
std::map<QRgb, int> ColoursIn(const QImage& picture, const QRect& rect) {
  std::map<QRgb, int> counts;
  for (int y = rect.top(); y <= rect.bottom(); ++y) {
    const QRgb* const line = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
    for (int x = rect.left(); x <= rect.right();) {
      const int begin = x;
      while (x <= rect.right() && line[x] == line[begin]) ++x;
      counts[line[begin]] += x - begin;
    }
  }
  return counts;
}

QRgb GroundOf(const std::map<QRgb, int>& counts) {
  return std::max_element(counts.begin(), counts.end(),
                          [](const auto& a, const auto& b) { return a.second < b.second; })
      ->first;
}

// How many pixels of strokes: those nearer to the text's colour than to the ground's, by light. The
// ground of a button has many colours.
int Strokes(const QImage& picture, const QRect& rect, QRgb colour) {
  const std::map<QRgb, int> counts = ColoursIn(picture, rect);
  const double text = Light(colour);
  std::map<QRgb, int> others = counts;
  std::erase_if(others, [text](const auto& found) {
    const double light = Light(found.first);
    return std::max(light, text) < 2 * std::min(light, text);
  });
  if (others.empty()) return 0;
  const double ground = Light(GroundOf(others));
  int strokes = 0;
  for (const auto& [found, count] : counts) {
    const double light = Light(found);
    if (std::abs(light - text) < std::abs(light - ground)) strokes += count;
  }
  return strokes;
}

// The same label or button, with all the room that it could want.
std::unique_ptr<QWidget> Roomy(const QWidget& part) {
  std::unique_ptr<QWidget> roomy;
  if (const auto* const label = qobject_cast<const QLabel*>(&part)) {
    auto made = std::make_unique<QLabel>(label->text());
    made->setTextFormat(label->textFormat());
    made->setWordWrap(label->wordWrap());
    made->setAlignment(label->alignment());
    if (label->buddy()) made->setBuddy(made.get());  // its letter is underlined
    roomy = std::move(made);
  } else if (const auto* const button = qobject_cast<const QPushButton*>(&part)) {
    auto made = std::make_unique<QPushButton>(button->text());
    made->setIcon(button->icon());
    made->setDefault(button->isDefault());
    roomy = std::move(made);
  } else if (const auto* const box = qobject_cast<const QCheckBox*>(&part)) {
    roomy = std::make_unique<QCheckBox>(box->text());
  }
  if (!roomy) return roomy;
  roomy->setFont(part.font());
  roomy->setPalette(part.palette());
  roomy->setLayoutDirection(part.layoutDirection());
  roomy->ensurePolished();
  constexpr int kRoom = 40;
  const int width = std::max(part.width(), roomy->sizeHint().width()) + kRoom;
  const int height = roomy->hasHeightForWidth() ? roomy->heightForWidth(width) : 0;
  roomy->resize(width, std::max(height, roomy->sizeHint().height()) + kRoom);
  return roomy;
}

}  // namespace

QImage PictureOf(QWidget& widget) {
  return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

void FindUnreadable(const QImage& picture, const QWidget& window, const QWidget& part,
                    QStringList& faults) {
  if (!part.isEnabled()) return;
  const QPoint corner = window_parts::RectIn(part, window).topLeft();
  for (const Place& place : TextsOf(part)) {
    const QRect rect = InPixels(place.rect.translated(corner), picture);
    if (rect.width() < 2 || rect.height() < 2) continue;  // told as cut or outside
    const std::map<QRgb, int> counts = ColoursIn(picture, rect);
    const QRgb ground = GroundOf(counts);
    double best = 1;
    for (const auto& [colour, count] : counts)
      best = std::max(best, ui::Contrast(QColor(colour), QColor(ground)));
    if (best >= kLeastContrast) continue;
    faults << window_parts::NameOf(part) + QStringLiteral(" has a contrast of %1: %2")
                                               .arg(best, 0, 'f', 1)
                                               .arg(place.text.simplified().left(16));
  }
}

void FindCutStrokes(QWidget& part, QStringList& faults) {
  if (!part.isEnabled()) return;
  const std::vector<Place> places = TextsOf(part);
  const std::unique_ptr<QWidget> roomy = Roomy(part);
  if (!roomy || places.empty()) return;
  const QRgb colour = part.palette().color(part.foregroundRole()).rgb();
  const auto strokes = [colour](QWidget& widget) {
    const QImage picture = PictureOf(widget);
    const std::vector<Place> texts = TextsOf(widget);
    const QRect rect = texts.empty() ? QRect() : InPixels(texts.front().rect, picture);
    return rect.isEmpty() ? 0 : Strokes(picture, rect, colour);
  };
  const int drawn = strokes(part);
  const int wanted = strokes(*roomy);
  if (drawn >= wanted * kLeastStrokes) return;
  faults << window_parts::NameOf(part) +
                QStringLiteral(" shows %1 of %2 pixels of its strokes").arg(drawn).arg(wanted);
}

}  // namespace window_pixels
