#include "tavhost/tools/image_files.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

#include "tavhost/base/ascii.h"
#include "tavhost/files/database_area.h"
#include "tavhost/ui/models/image_dialog_model.h"

namespace image_files {

namespace {

using Names = std::vector<std::string>;

constexpr const char* kShownKinds[] = {"bmp", "gif", "ico", "jpeg", "jpg",  "pbm", "pgm", "png",
                                       "ppm", "svg", "tif", "tiff", "webp", "xbm", "xpm"};

std::vector<std::string> WantedKinds(std::string_view extensions) {
  std::vector<std::string> kinds;
  std::string kind;
  for (const char byte : extensions) {
    if (ascii::IsLetterOrDigit(byte)) {
      kind += ascii::ToLower(byte);
    } else if (!kind.empty()) {
      kinds.push_back(std::move(kind));
      kind.clear();
    }
  }
  if (!kind.empty()) kinds.push_back(std::move(kind));
  if (kinds.empty()) kinds.assign(std::begin(kShownKinds), std::end(kShownKinds));
  return kinds;
}

bool IsOfKind(const std::string& lowerName, const std::vector<std::string>& kinds) {
  const std::size_t dot = lowerName.rfind('.');
  return dot != std::string::npos &&
         std::find(kinds.begin(), kinds.end(), lowerName.substr(dot + 1)) != kinds.end();
}

}  // namespace

std::vector<ui::ImageDialogModel::Entry> Find(long libraryId, std::string_view extensions) {
  const std::vector<std::string> kinds = WantedKinds(extensions);
  std::vector<std::pair<std::string, ui::ImageDialogModel::Entry>> found;
  for (std::string& name : database_area::FilesOfLibrary(libraryId).value_or(Names())) {
    std::string lower = ascii::ToLower(name);
    if (!IsOfKind(lower, kinds)) continue;
    std::string file = database_area::FindFile(name, libraryId).value_or(std::string());
    found.emplace_back(std::move(lower),
                       ui::ImageDialogModel::Entry{std::move(name), std::move(file)});
  }
  std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
    return std::tie(a.first, a.second.name) < std::tie(b.first, b.second.name);
  });
  std::vector<ui::ImageDialogModel::Entry> entries;
  entries.reserve(found.size());
  for (auto& [lower, entry] : found) entries.push_back(std::move(entry));
  return entries;
}

}  // namespace image_files
