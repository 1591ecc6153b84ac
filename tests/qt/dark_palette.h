#pragma once

#include <QColor>
#include <QPalette>

#include "tavhost/qt/readable_palette.h"

// A dark look, as it comes from a desktop through our style.
inline QPalette DarkPalette() {
  QPalette palette;
  palette.setColor(QPalette::Window, QColor(45, 45, 48));
  palette.setColor(QPalette::WindowText, Qt::white);
  palette.setColor(QPalette::Base, QColor(30, 30, 30));
  palette.setColor(QPalette::AlternateBase, QColor(45, 45, 48));
  palette.setColor(QPalette::Text, Qt::white);
  palette.setColor(QPalette::PlaceholderText, Qt::gray);
  palette.setColor(QPalette::Button, QColor(60, 60, 64));
  palette.setColor(QPalette::ButtonText, Qt::white);
  palette.setColor(QPalette::Highlight, QColor(42, 130, 218));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  ui::MakeReadable(palette);
  return palette;
}
