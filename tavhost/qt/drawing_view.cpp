#include "tavhost/qt/drawing_view.h"

#include <QContextMenuEvent>
#include <QFontMetricsF>
#include <QMenu>
#include <QPrintDialog>
#include <QPrinter>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>

#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr double kLeastZoom = 0.05;
constexpr double kMostZoom = 40;
constexpr double kZoomStep = 1.25;
constexpr double kMargin = 8;  // points around the drawing
constexpr double kPointsPerInch = 72;
constexpr int kFontUnits = 100;  // of a text: it is laid out large and scaled, so that its
                                 // proportions are the same at every zoom

QColor ColorOf(const DrawingColor& color) {
  return QColor(color.red, color.green, color.blue, color.alpha);
}

QPen PenOf(const DrawingShape& shape) {
  if (!shape.hasPen) return QPen(Qt::NoPen);
  QPen pen(ColorOf(shape.pen), shape.penWidth);
  if (shape.dash == DrawingDash::kDashed) pen.setStyle(Qt::DashLine);
  if (shape.dash == DrawingDash::kDotted) pen.setStyle(Qt::DotLine);
  pen.setJoinStyle(Qt::MiterJoin);
  return pen;
}

QTransform TransformOf(const DrawingShape& shape) {
  const DrawingTransform& t = shape.transform;
  return QTransform(t.a, t.b, t.c, t.d, t.e, t.f);
}

QPolygonF PolygonOf(const DrawingShape& shape) {
  QPolygonF polygon;
  for (const DrawingPoint& point : shape.points) polygon << QPointF(point.x, point.y);
  return polygon;
}

QRectF BoxOf(const DrawingShape& shape) {
  return QRectF(QPointF(shape.points[0].x, shape.points[0].y),
                QPointF(shape.points[1].x, shape.points[1].y));
}

QFont FontOf(const DrawingShape& shape) {
  QFont font;
  if (!shape.font.empty()) font.setFamily(Shown(shape.font));
  font.setPixelSize(kFontUnits);
  font.setBold(shape.bold);
  font.setItalic(shape.italic);
  font.setHintingPreference(QFont::PreferNoHinting);
  return font;
}

// Where a line of text begins, in font units from the shape's point.
double TextStart(const DrawingShape& shape, double width) {
  switch (shape.align) {
    case DrawingShape::Align::kCentre:
      return -width / 2;
    case DrawingShape::Align::kRight:
      return -width;
    case DrawingShape::Align::kLeft:
      break;
  }
  return 0;
}

// What can be read in it, for screen readers, in the order in which it is drawn.
QString TextsOf(const Drawing& drawing) {
  constexpr qsizetype kMostCharacters = 2000;
  QStringList texts;
  qsizetype characters = 0;
  for (const DrawingShape& shape : drawing.shapes) {
    if (shape.kind != DrawingShape::Kind::kText || characters > kMostCharacters) continue;
    texts << Shown(shape.text).simplified();
    characters += texts.back().size();
  }
  return texts.join(QLatin1String(", "));
}

}  // namespace

const QPixmap& DrawingPainter::PictureOf(const std::string& file) {
  const auto [place, isNew] = pictures_.try_emplace(file);
  if (isNew) place->second = QPixmap(Editable(file));
  return place->second;
}

void DrawingPainter::PaintShape(QPainter& painter, const DrawingShape& shape) {
  painter.setPen(PenOf(shape));
  painter.setBrush(shape.hasFill ? QBrush(ColorOf(shape.fill)) : QBrush(Qt::NoBrush));
  switch (shape.kind) {
    case DrawingShape::Kind::kLine:
    case DrawingShape::Kind::kPolyline:
      painter.setBrush(Qt::NoBrush);
      painter.drawPolyline(PolygonOf(shape));
      return;
    case DrawingShape::Kind::kRectangle:
      if (shape.radius > 0) {
        painter.drawRoundedRect(BoxOf(shape), shape.radius, shape.radius);
      } else {
        painter.drawRect(BoxOf(shape));
      }
      return;
    case DrawingShape::Kind::kEllipse:
      painter.drawEllipse(BoxOf(shape));
      return;
    case DrawingShape::Kind::kPolygon:
      painter.drawPolygon(PolygonOf(shape));
      return;
    case DrawingShape::Kind::kText: {
      painter.setPen(ColorOf(shape.pen));
      painter.translate(shape.points[0].x, shape.points[0].y);
      painter.scale(shape.textSize / kFontUnits, shape.textSize / kFontUnits);
      const QFont font = FontOf(shape);
      const QFontMetricsF metrics(font);
      painter.setFont(font);
      double y = 0;
      for (const QString& line : Shown(shape.text).split(QLatin1Char('\n'))) {
        painter.drawText(QPointF(TextStart(shape, metrics.horizontalAdvance(line)), y), line);
        y += metrics.lineSpacing();
      }
      return;
    }
    case DrawingShape::Kind::kImage: {
      const QPixmap& picture = PictureOf(shape.text);
      if (!picture.isNull()) {
        painter.drawPixmap(BoxOf(shape), picture, QRectF(picture.rect()));
        return;
      }
      // A crossed box in place of a picture that is not there.
      painter.setPen(QPen(Qt::red, 1));
      painter.setBrush(Qt::NoBrush);
      painter.drawRect(BoxOf(shape));
      painter.drawLine(BoxOf(shape).topLeft(), BoxOf(shape).bottomRight());
      painter.drawLine(BoxOf(shape).bottomLeft(), BoxOf(shape).topRight());
      return;
    }
  }
}

void DrawingPainter::Paint(QPainter& painter, const Drawing& drawing) {
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  const QTransform outer = painter.transform();
  for (const DrawingShape& shape : drawing.shapes) {
    painter.setTransform(TransformOf(shape) * outer);
    PaintShape(painter, shape);
  }
  painter.setTransform(outer);
}

QRectF DrawingPainter::Bounds(const Drawing& drawing) {
  QRectF bounds;
  for (const DrawingShape& shape : drawing.shapes) {
    QRectF own = PolygonOf(shape).boundingRect();
    if (shape.kind == DrawingShape::Kind::kText) {
      const QFontMetricsF metrics(FontOf(shape));
      const double units = shape.textSize / kFontUnits;
      double y = shape.points[0].y;
      own = QRectF();
      for (const QString& line : Shown(shape.text).split(QLatin1Char('\n'))) {
        const double width = metrics.horizontalAdvance(line);
        own |= QRectF(shape.points[0].x + TextStart(shape, width) * units,
                      y - metrics.ascent() * units, width * units, metrics.height() * units);
        y += metrics.lineSpacing() * units;
      }
    } else if (shape.hasPen) {
      const double half = shape.penWidth / 2;
      own.adjust(-half, -half, half, half);
    }
    bounds |= TransformOf(shape).mapRect(own);
  }
  return bounds;
}

DrawingView::DrawingView(DrawingModel& model) : model_(model) {
  setObjectName(QStringLiteral("drawing"));
  setAccessibleName(QStringLiteral("Drawing"));
  setFocusPolicy(Qt::StrongFocus);
  viewport()->setBackgroundRole(QPalette::Base);
  viewport()->setAutoFillBackground(true);
  QObject::connect(&timer_, &QTimer::timeout, this, [this] {
    if (isVisible() && model_.refresh) model_.refresh();
  });
  model_.AddObserver(*this);
  DrawingChanged();
}

DrawingView::~DrawingView() { model_.RemoveObserver(*this); }

void DrawingView::DrawingChanged() {
  painter_.ForgetPictures();
  bounds_ = painter_.Bounds(model_.Shown());
  const long interval = model_.Interval();
  if (interval <= 0) {
    timer_.stop();
  } else if (!timer_.isActive() || timer_.interval() != interval) {
    constexpr long kShortest = 10;  // milliseconds; what is drawn more often nobody sees
    timer_.start(static_cast<int>(std::max(interval, kShortest)));
  }
  setAccessibleDescription(model_.Error().empty() ? TextsOf(model_.Shown())
                                                  : Shown(model_.Error()));
  UpdateScrollBars();
  viewport()->update();
}

double DrawingView::Scale() const { return zoom_ * logicalDpiX() / kPointsPerInch; }

// The drawing begins at its zero point, or further up and left where shapes lie there.
void DrawingView::UpdateScrollBars() {
  const QRectF space =
      (bounds_ | QRectF(0, 0, 1, 1)).adjusted(-kMargin, -kMargin, kMargin, kMargin);
  const auto set = [](QScrollBar& bar, double from, double to, int page) {
    const int first = static_cast<int>(from);
    bar.setRange(first, std::max(first, static_cast<int>(to) - page));
    bar.setPageStep(page);
    bar.setSingleStep(std::max(1, page / 20));
  };
  const double scale = Scale();
  set(*horizontalScrollBar(), space.left() * scale, space.right() * scale, viewport()->width());
  set(*verticalScrollBar(), space.top() * scale, space.bottom() * scale, viewport()->height());
}

void DrawingView::SetZoom(double zoom, const QPointF& fixed) {
  const double before = Scale();
  zoom_ = std::clamp(zoom, kLeastZoom, kMostZoom);
  UpdateScrollBars();
  const double ratio = Scale() / before;
  const auto move = [ratio](QScrollBar& bar, double place) {
    bar.setValue(static_cast<int>((bar.value() + place) * ratio - place));
  };
  move(*horizontalScrollBar(), fixed.x());
  move(*verticalScrollBar(), fixed.y());
  viewport()->update();
}

void DrawingView::ZoomToFit() {
  const QRectF space = bounds_.adjusted(-kMargin, -kMargin, kMargin, kMargin);
  if (bounds_.isEmpty()) return SetZoom(1, QPointF());
  const double perPoint = Scale() / zoom_;
  SetZoom(std::min(viewport()->width() / space.width(), viewport()->height() / space.height()) /
              perPoint,
          QPointF());
  horizontalScrollBar()->setValue(static_cast<int>(space.left() * Scale()));
  verticalScrollBar()->setValue(static_cast<int>(space.top() * Scale()));
}

// Drawings are made for paper, whatever the desktop's colours are.
void DrawingView::paintEvent(QPaintEvent*) {
  QPainter painter(viewport());
  if (!model_.Error().empty()) {
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(viewport()->rect().adjusted(8, 8, -8, -8), Qt::TextWordWrap,
                     QStringLiteral("The drawing cannot be shown.\n") + Shown(model_.Error()));
    return;
  }
  painter.fillRect(viewport()->rect(), Qt::white);
  painter.translate(-horizontalScrollBar()->value(), -verticalScrollBar()->value());
  painter.scale(Scale(), Scale());
  painter_.Paint(painter, model_.Shown());
}

QSize DrawingView::NaturalSize() const {
  constexpr QSizeF kMost(1e5, 1e5);
  return (bounds_.size() * Scale() + QSizeF(2, 2) * kMargin).boundedTo(kMost).toSize();
}

void DrawingView::resizeEvent(QResizeEvent*) { UpdateScrollBars(); }

void DrawingView::wheelEvent(QWheelEvent* event) {
  if (!(event->modifiers() & Qt::ControlModifier)) return QAbstractScrollArea::wheelEvent(event);
  SetZoom(zoom_ * (event->angleDelta().y() > 0 ? kZoomStep : 1 / kZoomStep), event->position());
  event->accept();
}

void DrawingView::keyPressEvent(QKeyEvent* event) {
  const QPointF middle(viewport()->width() / 2.0, viewport()->height() / 2.0);
  if (event->matches(QKeySequence::Print)) return Print();
  switch (event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
      return SetZoom(zoom_ * kZoomStep, middle);
    case Qt::Key_Minus:
      return SetZoom(zoom_ / kZoomStep, middle);
    case Qt::Key_0:
      return ZoomToFit();
    case Qt::Key_1:
      return SetZoom(1, middle);
    default:
      QAbstractScrollArea::keyPressEvent(event);
  }
}

void DrawingView::mousePressEvent(QMouseEvent* event) { dragFrom_ = event->pos(); }

void DrawingView::mouseMoveEvent(QMouseEvent* event) {
  if (!(event->buttons() & Qt::LeftButton)) return;
  const QPoint moved = event->pos() - dragFrom_;
  dragFrom_ = event->pos();
  horizontalScrollBar()->setValue(horizontalScrollBar()->value() - moved.x());
  verticalScrollBar()->setValue(verticalScrollBar()->value() - moved.y());
}

void DrawingView::contextMenuEvent(QContextMenuEvent* event) {
  QMenu menu(this);
  const QPointF place = event->pos();
  menu.addAction(QStringLiteral("Zoom &in"), this,
                 [=, this] { SetZoom(zoom_ * kZoomStep, place); });
  menu.addAction(QStringLiteral("Zoom &out"), this,
                 [=, this] { SetZoom(zoom_ / kZoomStep, place); });
  menu.addAction(QStringLiteral("Whole &drawing"), this, [this] { ZoomToFit(); });
  menu.addAction(QStringLiteral("&Actual size"), this, [=, this] { SetZoom(1, place); });
  menu.addSeparator();
  menu.addAction(QStringLiteral("&Print…"), this, [this] { Print(); });
  menu.exec(event->globalPos());
}

// In its own size, smaller where the page is.
void DrawingView::PaintPage(QPagedPaintDevice& device) {
  QPainter painter(&device);
  if (!painter.isActive()) return;
  const double dots = device.logicalDpiX() / kPointsPerInch;
  const QRectF space = bounds_.adjusted(-kMargin, -kMargin, kMargin, kMargin);
  const double fit = std::min(
      {1.0, device.width() / (space.width() * dots), device.height() / (space.height() * dots)});
  painter.scale(dots * fit, dots * fit);
  painter.translate(-space.topLeft());
  painter_.Paint(painter, model_.Shown());
}

void DrawingView::Print() {
  QPrinter printer(QPrinter::HighResolution);
  QPrintDialog dialog(&printer, this);
  if (dialog.exec() == QDialog::Accepted) PaintPage(printer);
}

}  // namespace ui
