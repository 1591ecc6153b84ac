#pragma once

namespace ui {

class ModalModel;

enum class AskOutcome {
  kAnswered,
  kNoInput,  // standard input has ended
  kStopped,  // a stop was asked for
};

// Shows the window on standard error, takes its answer from standard input and ends it. An answer
// that does not fit is asked for again.
AskOutcome AskInTerminal(ModalModel& window);

}  // namespace ui
