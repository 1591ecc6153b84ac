#pragma once

// What a stop needs of the process's signals, held against plug-ins that are not the program's own:
// their code may leave signals blocked or handled by itself.
namespace loader {

// From now on RestoreSignals brings back what holds at this moment: which signals the thread of
// commands takes, and who handles those that stop a run. On that thread, as RestoreSignals.
void KeepSignals() noexcept;

// Before the first KeepSignals it does nothing.
void RestoreSignals() noexcept;

// Around a call into a plug-in: brings them back behind one that is not the program's own. (The
// program's own leaves signals alone; looking after each of its commands would take longer than
// most of them.)
class CommandSignals {
 public:
  explicit CommandSignals(bool isOwn) noexcept : isOwn_(isOwn) {}
  CommandSignals(const CommandSignals&) = delete;
  CommandSignals& operator=(const CommandSignals&) = delete;
  ~CommandSignals() {
    if (!isOwn_) RestoreSignals();
  }

 private:
  const bool isOwn_;
};

}  // namespace loader
