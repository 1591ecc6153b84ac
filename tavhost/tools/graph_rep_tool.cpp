#include "host/tools/graph_rep_tool.h"

#include <utility>

#include "host/files/database_names.h"
#include "tavhost/base/trace.h"
#include "tavhost/files/disk.h"
#include "tavhost/tools/drawing_reader.h"
#include "tavhost/ui/models/drawing_model.h"

// The text, where its names of files begin, and the files as they were read.
struct TavGraphRepTool::Source {
  SV::String text;
  std::string folder;
  std::vector<drawing_reader::File> files;
};

TavGraphRepTool::TavGraphRepTool(TavWorkbench* workbench, SV::Window* parent)
    : Window(parent, std::make_unique<ui::DrawingModel>()), source_(std::make_unique<Source>()) {
  trace::Call call("TavGraphRepTool::TavGraphRepTool", trace::Window(workbench),
                   trace::Window(parent));
  Drawing().refresh = [this] {
    if (drawing_reader::HaveChanged(source_->files)) Read();
  };
  call.Created("TavGraphRepTool", this);
}

TavGraphRepTool::~TavGraphRepTool() = default;

ui::DrawingModel& TavGraphRepTool::Drawing() { return static_cast<ui::DrawingModel&>(Model()); }

void TavGraphRepTool::SetGraphReps(const SV::String& text) {
  trace::Call call(this, "SetGraphReps", text);
  call.Write();
  source_->text = text;
  // Kept for reading again at intervals, when another script may run in another folder.
  source_->folder = disk::FolderOf(Tav_GetProgramPathFilename("x").GetStr());
  Read();
}

void TavGraphRepTool::SetInterval(long milliseconds) {
  trace::Call call(this, "SetInterval", milliseconds);
  call.Write();
  Drawing().SetInterval(milliseconds);
}

void TavGraphRepTool::Read() {
  drawing_reader::Result result = drawing_reader::Read(source_->text, source_->folder);
  source_->files = std::move(result.files);
  if (result.error.empty()) {
    Drawing().Show(std::move(result.drawing));
  } else {
    Drawing().ShowError(std::move(result.error));
  }
}
