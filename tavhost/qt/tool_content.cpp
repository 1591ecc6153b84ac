#include "tavhost/qt/tool_content.h"

#include <QLabel>

#include "tavhost/qt/drawing_view.h"
#include "tavhost/qt/output_view.h"
#include "tavhost/qt/result_tool_view.h"

namespace ui {

QWidget* MakeToolWidget(Tool& tool) {
  const WindowContent content = tool.content ? tool.content->Content() : WindowContent::kOther;
  switch (content) {
    case WindowContent::kText:
      return new OutputView(*static_cast<TextModel*>(tool.content));
    case WindowContent::kResults:
      return new ResultToolView(*static_cast<ResultToolModel*>(tool.content));
    case WindowContent::kDrawing:
      return new DrawingView(*static_cast<DrawingModel*>(tool.content));
    default: {
      auto* const label = new QLabel(QStringLiteral("This tool has nothing to show."));
      label->setAlignment(Qt::AlignCenter);
      label->setEnabled(false);
      return label;
    }
  }
}

QSize NaturalSizeOf(const QWidget& widget) {
  const auto* const drawing = dynamic_cast<const DrawingView*>(&widget);
  return drawing ? drawing->NaturalSize() : widget.sizeHint();
}

void FlushToolWidget(QWidget& widget) {
  if (auto* const output = dynamic_cast<OutputView*>(&widget)) output->Flush();
}

}  // namespace ui
