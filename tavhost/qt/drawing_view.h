#pragma once

#include <QAbstractScrollArea>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QPixmap>
#include <QTimer>
#include <map>

#include "tavhost/ui/models/drawing_model.h"

namespace ui {

// Draws shapes as they are, in points, on whatever the painter paints on.
class DrawingPainter {
 public:
  void Paint(QPainter& painter, const Drawing& drawing);
  // The space that the shapes take, texts included.
  QRectF Bounds(const Drawing& drawing);
  // Files of pictures are read afresh.
  void ForgetPictures() { pictures_.clear(); }

 private:
  void PaintShape(QPainter& painter, const DrawingShape& shape);
  const QPixmap& PictureOf(const std::string& file);

  std::map<std::string, QPixmap> pictures_;
};

// A drawing that can be zoomed, dragged and printed; or what is wrong with it.
class DrawingView final : public QAbstractScrollArea, private DrawingObserver {
 public:
  explicit DrawingView(DrawingModel& model);
  ~DrawingView() override;

  void SetZoom(double zoom, const QPointF& fixed);
  void ZoomToFit();
  void Print();
  // All of the drawing, or of what is wrong with it.
  QSize NaturalSize() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  void DrawingChanged() override;
  void UpdateScrollBars();
  double Scale() const;  // pixels to a point
  void PaintPage(QPagedPaintDevice& device);

  DrawingModel& model_;
  DrawingPainter painter_;
  QTimer timer_;
  QRectF bounds_;  // points
  double zoom_ = 1;
  QPoint dragFrom_;
};

}  // namespace ui
