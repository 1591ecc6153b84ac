#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tavhost/analysis/command_checker.h"
#include "tavhost/analysis/command_use.h"
#include "tavhost/analysis/findings.h"
#include "tavhost/analysis/variable_state.h"
#include "tavhost/script/code/code.h"
#include "tavhost/script/syntax/parser.h"

namespace check {

// Walks a parsed script once, function by function, and keeps what each variable may hold at the
// place it has come to (`state_`). Every report follows from that: a read of what cannot have a
// value, a comparison that never holds, a command that gets what it does not take.
class ScriptChecker {
 public:
  ScriptChecker(const script::Program& program, const std::vector<script::FunctionSyntax>& parsed,
                Findings& findings);

  void Check();

 private:
  struct Loop {
    State exit;  // joined from every `break`
  };

  // script_checker.cpp
  void Prepare();
  void PrepareStatements(const script::Statement* statement, const script::Function& function);
  void CheckFunction(const script::FunctionSyntax& parsed, bool isTop);
  void Walk(const script::Statement* statement);
  void WalkStatement(const script::Statement* statement);
  void WalkIf(const script::Statement* statement);
  void WalkLoop(const script::Statement* statement);
  void WalkTry(const script::Statement* statement);
  void WalkAssignment(const script::Statement* statement);
  void CheckChanged(const script::Statement* statement);
  void WalkCommand(const script::Statement* statement);
  void WalkValue(const script::CommandValue& value);
  void WalkElement(const script::CommandElement* element);
  // What the variables hold behind a command.
  void SetResults(const script::Statement* statement, CommandUse* use);
  // What `statement` and those behind it may set, whatever way a run takes through them.
  void JoinAssigned(const script::Statement* statement, State& state);
  void Set(std::uint32_t slot, Kind kind);
  void SetSlot(State& state, std::uint32_t slot, const Variable& value) const;
  // Windows of which the script never learns that the user cancelled them.
  void ReportUnread();

  // expression_checker.cpp
  void Read(const script::Expr* expr);
  void ReadVariable(std::uint32_t slot, std::string_view at);
  void ReadPath(const script::Expr* expr);
  void ReadField(const script::Expr* expr);
  void ReadCall(const script::Expr* expr);
  void CheckComparison(const script::Expr* left, const script::Expr* right, script::Operator op,
                       std::uint32_t offset);
  void CheckCompared(const script::Expr* expr, const script::Expr* constant);
  Kind KindOfExpr(const script::Expr* expr) const;
  Kind KindOfChain(const script::Expr* expr) const;
  const Variable* VariableOf(const script::Expr* expr) const;
  // The command results, one of which the expression is for certain; empty when it may be anything.
  std::vector<ResultSource> SourcesOf(const script::Expr* expr) const;
  const kel::Value* ConstantOf(const script::Expr* expr) const;
  std::string NearestVariable(std::string_view name) const;
  std::string_view NameAt(std::uint32_t offset) const;
  std::string_view ConstantText(std::uint32_t offset) const;

  std::string_view NameOf(std::uint32_t slot) const { return function_->layout.Name(slot).View(); }

  const script::Program& program_;
  const std::vector<script::FunctionSyntax>& parsed_;
  Findings& findings_;
  std::unordered_map<const script::Statement*, std::unique_ptr<CommandUse>> uses_;
  std::set<std::string, std::less<>> setAtTop_;                 // by the top level and by `global`
  std::set<std::string, std::less<>> setByFunctions_;           // by `global`
  std::set<std::string, std::less<>> readByFunctions_;          // names that may be the top level's
  std::map<std::string, std::uint32_t, std::less<>> firstSet_;  // at the top level: offset
  std::vector<std::string> treeButtons_;                        // names that TLB_ADD_BUTTON gives
  bool treeButtonsKnown_ = true;
  bool hasOpenCommands_ = false;  // anywhere: what may set any variable
  bool typesChecked_ = true;

  const script::Function* function_ = nullptr;
  bool isTop_ = true;
  State state_;
  std::vector<Loop*> loops_;
};

}  // namespace check
