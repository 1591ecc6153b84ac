#include "tavhost/ui/models/drawing_model.h"

#include <algorithm>
#include <utility>

namespace ui {

DrawingTransform DrawingTransform::After(const DrawingTransform& inner) const {
  const DrawingPoint origin = Apply({inner.e, inner.f});
  return {a * inner.a + c * inner.b,
          b * inner.a + d * inner.b,
          a * inner.c + c * inner.d,
          b * inner.c + d * inner.d,
          origin.x,
          origin.y};
}

void DrawingModel::Show(Drawing drawing) {
  drawing_ = std::move(drawing);
  error_.clear();
  Tell();
}

void DrawingModel::ShowError(std::string error) {
  drawing_ = {};
  error_ = std::move(error);
  Tell();
}

void DrawingModel::SetInterval(long milliseconds) {
  interval_ = std::max(0L, milliseconds);
  Tell();
}

void DrawingModel::Tell() {
  for (DrawingObserver* const observer : observers_) observer->DrawingChanged();
}

}  // namespace ui
