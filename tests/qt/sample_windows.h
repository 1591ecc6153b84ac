#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tavhost/ui/models/drawing_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/table/table_model.h"

// One window of each kind, in the states that are worth looking at.
namespace sample_windows {

struct Sample {
  std::string name;
  std::unique_ptr<ui::ModalModel> model;
  std::shared_ptr<ui::TableModel> table = nullptr;  // that the model shows
};

// `imageFolder` holds the pictures of the image dialog, `startFolder` is where files are chosen.
std::vector<Sample> All(const std::string& imageFolder, const std::string& startFolder);

// Three of them as a script would show them, of a height to stand beside each other.
std::vector<Sample> Three();

// Parts with numbers, a text of several lines, links and, if wanted, handles.
std::shared_ptr<ui::TableModel> Parts(bool handles);
// A drawing with a shape of each kind.
ui::Drawing Pump();

}  // namespace sample_windows
