#include "tavhost/analysis/answer_checker.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/analysis/command_use.h"
#include "tavhost/analysis/findings.h"
#include "tavhost/base/quoted.h"
#include "tavhost/base/string_of.h"
#include "tavhost/script/built_in/built_in.h"
#include "tavhost/ui/answer.h"

namespace check {

using script::CommandAttribute;
using script::CommandElement;
using script::CommandValueKind;
using script::Expr;
using script::ExprKind;
using script::Item;
using script::Statement;
using script::StatementKind;

namespace {

// How many answers may have been taken when a run comes to a place: a set of numbers from 0 to the
// count of answers. The empty set means that no run comes there.
class Positions {
 public:
  explicit Positions(std::size_t count) : at_(count) {}

  bool Has(std::size_t place) const { return at_[place]; }
  void Add(std::size_t place) { at_[place] = true; }
  bool Any() const { return std::find(at_.begin(), at_.end(), true) != at_.end(); }
  std::size_t Count() const { return at_.size(); }
  void Clear() { at_.assign(at_.size(), false); }
  // True when something came in.
  bool Join(const Positions& with) {
    bool grew = false;
    for (std::size_t i = 0; i < at_.size(); ++i) {
      grew = grew || (with.at_[i] && !at_[i]);
      at_[i] = at_[i] || with.at_[i];
    }
    return grew;
  }
  // Something unknown may have opened any number of windows: every later number is possible too.
  void OpenUp() {
    for (std::size_t i = 1; i < at_.size(); ++i) at_[i] = at_[i] || at_[i - 1];
  }
  bool operator<(const Positions& other) const { return at_ < other.at_; }

 private:
  std::vector<bool> at_;
};

// The text of a parameter that is a constant without escapes; nothing for all else.
std::optional<std::string_view> PlainText(const CommandAttribute* attribute) {
  if (!attribute || attribute->value.kind != CommandValueKind::kString ||
      attribute->value.escaped) {
    return std::nullopt;
  }
  return attribute->value.text;
}

// Follows every way through the script at once, with the set of answers that may have been taken by
// then. Loops are gone through until the set grows no more; it can grow only as often as there are
// answers.
class AnswerChecker {
 public:
  AnswerChecker(const script::Program& program, const std::vector<script::FunctionSyntax>& parsed,
                const std::vector<ui::Answer>& answers)
      : program_(program),
        parsed_(parsed),
        answers_(answers),
        exits_(answers.size() + 1),
        now_(answers.size() + 1) {
    for (const auto& function : parsed) FindTreeButtons(function.body);
  }

  // Whether a run takes all answers and ends.
  bool Run() {
    now_.Add(0);
    Walk(parsed_.front().body);
    exits_.Join(now_);
    return exits_.Has(answers_.size());
  }

  // The first answer that no run takes; answers.size() when the script asks for more.
  std::size_t Furthest() const { return furthest_; }
  const std::string& Reason() const { return reason_; }

 private:
  // Collects the sets of all ways that leave a loop, a round of it, a call or a `try` elsewhere
  // than at its end.
  struct Frame {
    explicit Frame(std::size_t count) : leaving(count) {}
    Positions leaving;
  };

  void FindTreeButtons(const Statement* statement) {
    for (; statement; statement = statement->next) {
      if (statement->kind == StatementKind::kCommand &&
          statement->element->name == "TLB_ADD_BUTTON") {
        const CommandAttribute* name = Given(statement->element, "name");
        const auto text = PlainText(name);
        if (text) treeButtons_.emplace(*text);
        treeButtonsKnown_ = treeButtonsKnown_ && (text || !name);
      }
      FindTreeButtons(statement->body);
      const Statement* otherwise = statement->otherwise;
      while (otherwise && otherwise->kind == StatementKind::kIf && !otherwise->next) {
        FindTreeButtons(otherwise->body);
        otherwise = otherwise->otherwise;
      }
      FindTreeButtons(otherwise);
    }
  }

  void Walk(const Statement* statement) {
    ++depth_;
    for (; statement && now_.Any(); statement = statement->next) {
      WalkStatement(statement);
      // An error can lead from any statement to the `catch` around it.
      if (!tries_.empty()) tries_.back()->leaving.Join(now_);
    }
    --depth_;
  }

  void WalkStatement(const Statement* statement) {
    for (const Expr* expr : {statement->port, statement->second, statement->third}) {
      if (expr) Evaluate(expr);
    }
    for (const Item* item = statement->items; item; item = item->next) Evaluate(item->expr);
    if (statement->expr && statement->kind != StatementKind::kWhile &&
        statement->kind != StatementKind::kIf) {
      Evaluate(statement->expr);
    }
    switch (statement->kind) {
      case StatementKind::kCommand:
        WalkCommand(statement);
        break;
      case StatementKind::kIf:
        WalkIf(statement);
        break;
      case StatementKind::kWhile:
      case StatementKind::kForIn:
      case StatementKind::kForFrom:
        WalkLoop(statement);
        break;
      case StatementKind::kBreak:
        Leave(loops_);
        break;
      case StatementKind::kContinue:
        Leave(rounds_);
        break;
      case StatementKind::kReturn:
        Leave(calls_);
        break;
      case StatementKind::kExit:
        exits_.Join(now_);
        now_.Clear();
        break;
      case StatementKind::kThrow:
        Leave(tries_);
        break;
      case StatementKind::kTry:
        WalkTry(statement);
        break;
      default:
        break;
    }
  }

  void Leave(std::vector<Frame*>& frames) {
    if (!frames.empty()) frames.back()->leaving.Join(now_);
    now_.Clear();
  }

  void WalkIf(const Statement* statement) {
    Positions end(now_.Count());
    const Statement* branch = statement;
    while (true) {
      Evaluate(branch->expr);
      const Positions before = now_;
      Walk(branch->body);
      end.Join(now_);
      now_ = before;
      const Statement* next = branch->otherwise;
      if (next && next->kind == StatementKind::kIf && !next->next) {
        branch = next;
        continue;
      }
      Walk(next);
      break;
    }
    now_.Join(end);
  }

  void WalkLoop(const Statement* statement) {
    Frame exit(now_.Count());
    loops_.push_back(&exit);
    Positions all = now_;
    do {
      now_ = all;
      if (statement->kind == StatementKind::kWhile) Evaluate(statement->expr);
      all.Join(now_);
      Frame round(now_.Count());
      rounds_.push_back(&round);
      Walk(statement->body);
      rounds_.pop_back();
      now_.Join(round.leaving);
    } while (all.Join(now_));
    loops_.pop_back();
    now_ = all;
    now_.Join(exit.leaving);
  }

  void WalkTry(const Statement* statement) {
    Frame caught(now_.Count());
    caught.leaving.Join(now_);
    tries_.push_back(&caught);
    Walk(statement->body);
    tries_.pop_back();
    Positions end = now_;
    now_ = caught.leaving;
    Walk(statement->otherwise);
    now_.Join(end);
  }

  // Goes through the functions that an expression calls, for the windows in them.
  void Evaluate(const Expr* expr) {
    if (!expr->calls) return;
    ++depth_;
    const script::Path path = script::PathOf(expr);
    if (path.links.empty()) {
      EvaluateParts(expr);
    } else {
      Evaluate(path.root);
      for (const Expr* link : path.links) {
        if (link->kind == ExprKind::kIndex) Evaluate(link->items->expr);
      }
    }
    --depth_;
  }

  void EvaluateParts(const Expr* expr) {
    const bool maySkip = expr->kind == ExprKind::kAnd || expr->kind == ExprKind::kOr;
    const Positions before = now_;
    if (expr->first) Evaluate(expr->first);
    for (const Item* item = expr->items; item; item = item->next) {
      Evaluate(item->expr);
      if (maySkip) now_.Join(before);
    }
    if (expr->kind != ExprKind::kCall || script::FindBuiltIn(expr->text)) return;
    const auto known = program_.functionsByName.find(expr->text);
    if (known == program_.functionsByName.end()) {
      now_.OpenUp();
      return;
    }
    Call(known->second);
  }

  void Call(std::uint32_t index) {
    const script::Function* function = program_.functions[index].get();
    const auto found = std::find_if(parsed_.begin(), parsed_.end(), [function](const auto& parsed) {
      return parsed.function == function;
    });
    // One that is running already, no telling how often, or a chain of calls that is too long for
    // the stack.
    if (found == parsed_.end() || depth_ > kDeepest || !active_.insert(index).second) {
      now_.OpenUp();
      return;
    }
    const auto key = std::make_pair(index, now_);
    const auto memory = results_.find(key);
    if (memory != results_.end()) {
      now_ = memory->second;
    } else {
      Frame returned(now_.Count());
      calls_.push_back(&returned);
      std::vector<Frame*> loops = std::exchange(loops_, {});
      std::vector<Frame*> rounds = std::exchange(rounds_, {});
      Walk(found->body);
      loops_ = std::move(loops);
      rounds_ = std::move(rounds);
      calls_.pop_back();
      now_.Join(returned.leaving);
      results_.emplace(key, now_);
    }
    active_.erase(index);
  }

  void WalkCommand(const Statement* statement) {
    EvaluateValues(statement->element);
    const reference::Command* command =
        statement->port ? nullptr : reference::Catalogue::Get().Find(statement->element->name);
    if (!command || command->name == "EXECUTE") {
      now_.OpenUp();
      return;
    }
    Positions after(now_.Count());
    if (command->name == "PERCWIN_CREATE") {
      for (std::size_t i = 0; i < answers_.size(); ++i) {
        if (now_.Has(i) && answers_[i].element == ui::kCancelProgress) after.Add(i + 1);
      }
      now_.Join(after);
      return;
    }
    if (command->window.empty()) return;
    const CommandUse use = DescribeUse(statement, *command);
    for (std::size_t i = 0; i < now_.Count(); ++i) {
      if (!now_.Has(i)) continue;
      const std::string misfit = i < answers_.size() ? Misfit(answers_[i], use) : "finds no answer";
      if (misfit.empty()) {
        after.Add(i + 1);
        if (i + 1 > furthest_) {
          furthest_ = i + 1;
          reason_.clear();
        }
      } else if (i == furthest_ && reason_.empty()) {
        const auto line = program_.source.PlaceOf(statement->offset).line;
        reason_ = command->name + " in line " + std::to_string(line) + ' ' + misfit;
      }
    }
    now_ = after;
  }

  void EvaluateValues(const CommandElement* element) {
    if (element->main.expr) Evaluate(element->main.expr);
    for (const auto* attribute = element->attributes; attribute; attribute = attribute->next) {
      if (attribute->value.expr) Evaluate(attribute->value.expr);
    }
  }

  // Why the window cannot take the answer; empty when it may.
  std::string Misfit(const ui::Answer& answer, const CommandUse& use) const {
    const reference::Command& command = *use.command;
    const CommandElement* element = use.statement->element;
    if (answer.element != command.window) return "is answered by " + command.window;
    const auto title = PlainText(Given(element, "title"));
    if (answer.title && title && *answer.title != *title) {
      return "has the title " + base::Quoted(*title) + ", not " + base::Quoted(*answer.title);
    }
    if (answer.button && *answer.button != "cancel") {
      std::set<std::string, std::less<>> buttons(use.buttons.begin(), use.buttons.end());
      if (command.window == "TREE_LIST_BOX") {
        buttons = treeButtons_;
        buttons.insert("ok");
      } else if (buttons.empty()) {
        buttons.insert(command.window == "BROWSER" ? "close" : "ok");
      }
      const bool isOpen = command.window == "TREE_LIST_BOX" && !treeButtonsKnown_;
      const bool isKnown = buttons.count(*answer.button) > 0 || IsOneOfSeveral(*answer.button);
      if (!isOpen && !isKnown) {
        return "has no button " + base::Quoted(*answer.button);
      }
    }
    if (answer.select && command.window == "LIST_BOX") return SelectionMisfit(answer, use);
    if (answer.element == "EDIT_BROWSER" && Given(element, "no-special-buttons")) {
      for (const ui::Answer::Cell& cell : answer.cells) {
        if (cell.kind == ui::Answer::Cell::Kind::kCell) continue;
        return "has no command " + std::string(ui::NameOf(cell.kind));
      }
    }
    const bool oneFile = command.window == "FILE_DIALOG" && !Given(element, "multi-sel");
    if (oneFile && answer.path && answer.path->size() > 1) return "lets choose one file only";
    return {};
  }

  // "name#2" and so on: a button of a tree list box whose name another has already.
  bool IsOneOfSeveral(std::string_view button) const {
    const std::size_t mark = button.rfind('#');
    if (mark == button.npos || mark + 1 == button.size()) return false;
    const std::string_view digits = button.substr(mark + 1);
    return digits.find_first_not_of("0123456789") == digits.npos &&
           treeButtons_.count(button.substr(0, mark)) > 0;
  }

  std::string SelectionMisfit(const ui::Answer& answer, const CommandUse& use) const {
    const CommandElement* element = use.statement->element;
    if (use.command->name == "LISTBOX" && answer.select->size() > 1) {
      return "lets choose one entry only";
    }
    const auto entries = PlainText(Given(element, "entries"));
    const CommandAttribute* separator = Given(element, "toksep");
    const auto separatorText = separator ? PlainText(separator) : std::string_view(" ");
    if (!entries || !separatorText || separatorText->empty()) return {};
    std::set<std::string_view> known;
    std::string_view rest = *entries;
    while (true) {
      const std::size_t end = rest.find(separatorText->front());
      known.insert(rest.substr(0, end));
      if (end == std::string_view::npos) break;
      rest.remove_prefix(end + 1);
    }
    for (const std::string& entry : *answer.select) {
      if (known.count(entry) == 0) return "has no entry " + base::Quoted(entry);
    }
    return {};
  }

  // Blocks, expressions and calls inside one another, as deep as one function alone can have the
  // first two; calls further down are not followed.
  static constexpr std::uint32_t kDeepest = 4000;

  const script::Program& program_;
  const std::vector<script::FunctionSyntax>& parsed_;
  const std::vector<ui::Answer>& answers_;
  std::uint32_t depth_ = 0;
  std::set<std::string, std::less<>> treeButtons_;
  bool treeButtonsKnown_ = true;
  Positions exits_;                 // where runs may have ended
  Positions now_;                   // at the statement that is looked at
  std::vector<Frame*> loops_;       // open ones: where `break` leads
  std::vector<Frame*> rounds_;      // … `continue`
  std::vector<Frame*> calls_;       // … `return`
  std::vector<Frame*> tries_;       // … `throw`, and errors
  std::set<std::uint32_t> active_;  // functions that are being gone through
  // What a function makes of the set at its call: each is gone through once for each set.
  std::map<std::pair<std::uint32_t, Positions>, Positions> results_;
  std::size_t furthest_ = 0;  // answers that some run takes
  std::string reason_;        // why the next one is not taken, at the first window that refused it
};

base::Diagnostic FindingAt(const script::Source& source, std::uint32_t offset, std::size_t length,
                           const std::string& message) {
  base::Diagnostic finding = source.Describe(offset, message);
  finding.length = static_cast<std::uint32_t>(std::max<std::size_t>(1, length));
  return finding;
}

// Where the element of an answer stands in the file. Answers are known by their line; of several in
// one line the one meant is found by passing over those before it.
std::uint32_t OffsetOfAnswer(const script::Source& source, const std::vector<ui::Answer>& answers,
                             std::size_t index) {
  const ui::Answer& answer = answers[index];
  std::size_t at = source.OffsetOf(static_cast<std::int32_t>(answer.line), 1, 0);
  for (std::size_t i = index; i > 0 && answers[i - 1].line == answer.line; --i) {
    at = source.Text().find(answers[i - 1].element, at) + answers[i - 1].element.size();
  }
  const std::size_t found = source.Text().find(answer.element, at);
  return static_cast<std::uint32_t>(found == std::string_view::npos ? at : found);
}

// Its first line is the finding's message.
base::Diagnostic FindingOf(const script::Source& source, const base::Error& error) {
  const auto offset = source.OffsetOf(static_cast<std::int32_t>(error.line),
                                      static_cast<std::int32_t>(error.column), 0);
  return FindingAt(source, offset, 1, error.message.substr(0, error.message.find('\n')));
}

}  // namespace

std::vector<base::Diagnostic> CheckAnswers(const script::Program& program,
                                           const std::vector<script::FunctionSyntax>& parsed,
                                           const AnswersFile& file) {
  const script::Source source(base::StringOf(file.text), file.name);
  const base::Result<std::vector<ui::Answer>> read = ui::ParseAnswers(file.name, file.text);
  if (!read) return {FindingOf(source, read.error())};
  const std::vector<ui::Answer>& answers = *read;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const base::Result<void> fit = ui::CheckAnswer(answers[i]);
    if (fit) continue;
    return {FindingAt(source, OffsetOfAnswer(source, answers, i), answers[i].element.size(),
                      "no window takes this answer: " + fit.error().message)};
  }
  AnswerChecker checker(program, parsed, answers);
  if (checker.Run()) return {};
  const std::size_t at = checker.Furthest();
  if (at >= answers.size()) {
    const auto end = static_cast<std::uint32_t>(source.Text().size());
    return {FindingAt(source, end, 1, "an answer is missing: " + checker.Reason())};
  }
  const std::string why =
      checker.Reason().empty() ? "the script opens no further window" : checker.Reason();
  return {FindingAt(source, OffsetOfAnswer(source, answers, at), answers[at].element.size(),
                    "no run of the script takes this answer: " + why)};
}

}  // namespace check
