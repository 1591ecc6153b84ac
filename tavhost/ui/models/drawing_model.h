#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tavhost/ui/models/window_model.h"

namespace ui {

struct DrawingColor {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  std::uint8_t alpha = 255;

  bool operator==(const DrawingColor&) const = default;
};

// Of a line; the lengths of dashes grow with its width.
enum class DrawingDash { kSolid, kDashed, kDotted };

struct DrawingPoint {
  double x = 0;
  double y = 0;

  bool operator==(const DrawingPoint&) const = default;
};

// Where a point of a shape stands in the drawing: (a x + c y + e, b x + d y + f).
struct DrawingTransform {
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 1;
  double e = 0;
  double f = 0;

  DrawingPoint Apply(DrawingPoint point) const {
    return {a * point.x + c * point.y + e, b * point.x + d * point.y + f};
  }
  // First the inner one, then this one.
  DrawingTransform After(const DrawingTransform& inner) const;
};

// One shape with all that it takes to draw it. Lengths are points, y grows downwards.
struct DrawingShape {
  enum class Kind { kLine, kRectangle, kEllipse, kPolygon, kPolyline, kText, kImage };
  enum class Align { kLeft, kCentre, kRight };

  Kind kind = Kind::kLine;
  DrawingTransform transform;
  bool hasPen = true;
  DrawingColor pen;
  double penWidth = 1;
  DrawingDash dash = DrawingDash::kSolid;
  bool hasFill = false;
  DrawingColor fill;
  // The ends of a line; opposite corners of what a rectangle, ellipse or image fills; the corners
  // of a polygon; where the baseline of a text begins.
  std::vector<DrawingPoint> points;
  double radius = 0;  // of a rectangle's corners
  std::string text;   // of a text; the file of an image
  std::string font;   // empty: the user interface's own
  double textSize = 12;
  bool bold = false;
  bool italic = false;
  Align align = Align::kLeft;
};

struct Drawing {
  std::vector<DrawingShape> shapes;
};

// Told when another drawing, or another mistake, is to be shown.
class DrawingObserver {
 public:
  virtual void DrawingChanged() = 0;

 protected:
  ~DrawingObserver() = default;
};

// What a graphrep tool shows: a drawing, or why there is none.
class DrawingModel final : public WindowModel {
 public:
  WindowContent Content() const override { return WindowContent::kDrawing; }

  const Drawing& Shown() const { return drawing_; }
  const std::string& Error() const { return error_; }
  void Show(Drawing drawing);
  void ShowError(std::string error);  // the last drawing goes

  // How often files are looked at again, in milliseconds; 0: never.
  long Interval() const { return interval_; }
  void SetInterval(long milliseconds);
  // Looks at the files again; whoever shows the drawing calls it.
  std::function<void()> refresh;

  void AddObserver(DrawingObserver& observer) { observers_.push_back(&observer); }
  void RemoveObserver(DrawingObserver& observer) { std::erase(observers_, &observer); }

 private:
  void Tell();

  Drawing drawing_;
  std::string error_;
  long interval_ = 0;
  std::vector<DrawingObserver*> observers_;
};

}  // namespace ui
