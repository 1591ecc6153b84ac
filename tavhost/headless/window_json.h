#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "tavhost/ui/models/modal_model.h"

namespace ui {

// The window as a JSON object, for a program that answers it: what a user would see of it, and the
// answer that confirms it as it stands; nothing where that takes more than `limit` bytes. Bytes
// that are no UTF-8 become U+FFFD. A stop leaves it as stop::Stopped.
std::optional<std::string> WindowJson(const ModalModel& window, const std::string& id,
                                      std::size_t limit);

}  // namespace ui
