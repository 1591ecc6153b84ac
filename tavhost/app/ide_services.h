#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tavhost/base/diagnostic.h"
#include "tavhost/base/stop.h"
#include "tavhost/ide/ide_host.h"
#include "tavhost/script/runner.h"

namespace app {

// What the workbench asks of this program: to run scripts and entries of its console, to check and
// to complete. On the user-interface thread; while something runs, its events call back in here.
class IdeServices final : public ide::IdeHost {
 public:
  IdeServices();
  ~IdeServices() override;

  Outcome RunScript(const std::string& path, const std::string& name, const std::string& text,
                    const Sinks& sinks) override;
  Outcome RunEntry(const std::string& text, const Sinks& sinks) override;
  bool IsRunning() const override { return running_; }
  void Stop() override;
  bool IsStopAsked() const override;
  void EndSession() override;
  bool IsEndAsked() const override;
  // Why the whole program is to end; kNone while it is not.
  stop::Reason EndReason() const;
  std::vector<base::Diagnostic> Check(const std::string& name, const std::string& text) override;
  std::vector<std::string> Complete(const std::string& before,
                                    const std::vector<std::string>& names) override;
  std::vector<Variable> Variables() override;
  const reference::Catalogue& Reference() override;
  std::string Usage(const reference::Command& command) override;
  void SetTitle(const std::string& title) override;
  void SetServiceLog(std::function<void(const std::string&)> show) override;

 private:
  Outcome OutcomeOf(const script::Outcome& outcome);

  std::unique_ptr<script::Session> session_;  // of the console
  Sinks entrySinks_;
  bool running_ = false;
  bool stopAsked_ = false;  // by the workbench
  // An interrupt, the system or the time limit: the program is to end.
  stop::Reason endReason_ = stop::Reason::kNone;
};

}  // namespace app
