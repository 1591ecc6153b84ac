#include "tavhost/qt/readable_palette.h"

#include <QPalette>
#include <algorithm>
#include <cmath>

namespace ui {

namespace {

// What the guidelines ask where they are strict: thin strokes are drawn paler than their colour.
constexpr double kLeastContrast = 7;
constexpr int kSteps = 20;  // from one colour to another

double Luminance(const QColor& colour) {
  const auto linear = [](double channel) {
    return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
         0.0722 * linear(colour.blueF());
}

// `share` of the one, the rest of the other.
QColor Mixed(const QColor& one, const QColor& other, double share) {
  const auto channel = [share](int a, int b) {
    return static_cast<int>(std::lround(a * share + b * (1 - share)));
  };
  return QColor(channel(one.red(), other.red()), channel(one.green(), other.green()),
                channel(one.blue(), other.blue()));
}

// The colour, or as much of the other as it takes for it to stand out against the ground.
QColor StandingOut(const QColor& colour, const QColor& other, const QColor& ground) {
  const QColor opaque = Mixed(colour, ground, colour.alphaF());
  if (Contrast(opaque, ground) >= kLeastContrast) return colour;
  for (int step = 1; step < kSteps; ++step) {
    const QColor mixed = Mixed(other, opaque, static_cast<double>(step) / kSteps);
    if (Contrast(mixed, ground) >= kLeastContrast) return mixed;
  }
  return other;
}

}  // namespace

double Contrast(const QColor& one, const QColor& other) {
  const double a = Luminance(one);
  const double b = Luminance(other);
  return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

void MakeReadable(QPalette& palette) {
  for (const auto group : {QPalette::Active, QPalette::Inactive}) {
    const QColor text = palette.color(group, QPalette::Text);
    const QColor base = palette.color(group, QPalette::Base);
    for (const auto role : {QPalette::PlaceholderText, QPalette::Link, QPalette::LinkVisited}) {
      palette.setColor(group, role, StandingOut(palette.color(group, role), text, base));
    }
    // The ground of what is selected goes away from its text.
    const QColor selected = palette.color(group, QPalette::HighlightedText);
    const bool isLight = Contrast(selected, Qt::black) > Contrast(selected, Qt::white);
    palette.setColor(group, QPalette::Highlight,
                     StandingOut(palette.color(group, QPalette::Highlight),
                                 isLight ? Qt::black : Qt::white, selected));
  }
}

}  // namespace ui
