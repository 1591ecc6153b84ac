#include "tavhost/sv/modal.h"

#include <string>

#include "host/sv/window.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/toolkit.h"

namespace modal {

namespace {

int nesting = 0;

struct Nested {
  Nested() { ++nesting; }
  Nested(const Nested&) = delete;
  Nested& operator=(const Nested&) = delete;
  ~Nested() { --nesting; }
};

}  // namespace

int Nesting() { return nesting; }

long Run(SV::Window& window) {
  auto& model = static_cast<ui::ModalModel&>(window.Model());
  stop::ThrowIfRequested();
  if (nesting == kMaxNesting) {
    report::Line("tavhost: error: more than " + std::to_string(kMaxNesting) +
                 " dialogs inside each other");
    stop::Request(stop::Reason::kNoAnswer);
    throw stop::Stopped();
  }
  const Nested nested;
  model.Begin();
  ui::CurrentToolkit().RunModal(model);
  stop::ThrowIfRequested();
  return model.Result();
}

}  // namespace modal
