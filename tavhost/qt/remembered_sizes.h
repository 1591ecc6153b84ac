#pragma once

#include <QSize>
#include <QString>
#include <optional>

// The sizes to which a user has pulled dialogs, kept between starts in the user's settings. One for
// each kind of window, as scripts give their windows no names.
namespace ui::remembered_sizes {

std::optional<QSize> Find(const QString& kind);
void Keep(const QString& kind, const QSize& size);

}  // namespace ui::remembered_sizes
