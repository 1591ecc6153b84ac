#pragma once

#include <string_view>
#include <vector>
#include "tavhost/ui/models/image_dialog_model.h"

// The images in the database file area.
namespace image_files {

// Those of a library whose names end in one of the extensions, by name without regard to case.
// The extensions are separated by anything but letters and digits; without any, every kind that
// can be shown.
std::vector<ui::ImageDialogModel::Entry> Find(long libraryId, std::string_view extensions);

}  // namespace image_files
