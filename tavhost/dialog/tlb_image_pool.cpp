#include "host/dialog/tlb_image_pool.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>

#include "host/files/database_names.h"
#include "host/files/system_file_manager.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/image_source.h"

namespace {

// Names that mean an icon of the user interface, whatever files there are.
constexpr std::string_view kIcons[] = {"folder",   "document", "warning", "error",    "information",
                                       "question", "ok",       "cancel",  "computer", "drive",
                                       "home",     "link",     "new",     "trash"};

// Looks for a file in the database area, then by the name as it stands, then beside the script, and
// reads it whole. Whether it is an image is found out when it is drawn.
std::shared_ptr<const ui::ImageSource> Load(const SV::String& name) {
  if (std::find(std::begin(kIcons), std::end(kIcons), name.View()) != std::end(kIcons)) {
    return std::make_shared<ui::ImageSource>(ui::ImageSource{std::string(name.View()), {}});
  }
  SV::String area("db:\\");
  area += name;
  for (const SV::String& path : {area, name, Tav_GetProgramPathFilename(name.GetStr())}) {
    SV::String bytes;
    if (TavSystemFileManager::readStringFromFile(bytes, path, true) != 0 || bytes.Len() == 0) {
      continue;
    }
    auto source = std::make_shared<ui::ImageSource>();
    source->bytes = bytes.View();
    return source;
  }
  return nullptr;
}

}  // namespace

TavTLBImagePool::TavTLBImagePool() {
  trace::Call call("TavTLBImagePool::TavTLBImagePool");
  call.Created("TavTLBImagePool", this);
}

TavTLBImagePool::~TavTLBImagePool() {
  trace::Call call(this, "~TavTLBImagePool");
  call.Write();
  trace::Forget(this);
}

SV::Image TavTLBImagePool::GetImage(const SV::String& name) {
  trace::Call call(this, "GetImage", name);
  const auto known = images_.find(name);
  if (known != images_.end()) {
    call.Result(trace::Object{known->second.Source().get()});
    return known->second;
  }
  const std::shared_ptr<const ui::ImageSource> source = Load(name);
  if (source) trace::Name("SV::Image", source.get());
  call.Result(trace::Object{source.get()});
  if (!source) return SV::Image();
  return images_.emplace(name, SV::Image(source)).first->second;
}
