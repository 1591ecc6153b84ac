#pragma once

#include <QString>

// The folders in which a user chose last, kept between starts in the user's settings. One for each
// kind of choice, as what one opens and what one saves often lie apart.
namespace ui::remembered_folders {

QString Find(const QString& kind);  // empty: none that is still there
void Keep(const QString& kind, const QString& folder);

}  // namespace ui::remembered_folders
