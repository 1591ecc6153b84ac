#include "tavhost/analysis/check.h"

#include <new>

#include "tavhost/analysis/answer_checker.h"
#include "tavhost/analysis/findings.h"
#include "tavhost/analysis/script_checker.h"
#include "tavhost/base/arena.h"
#include "tavhost/script/code/code.h"
#include "tavhost/script/syntax/parser.h"

namespace check {

namespace {

// What only the compiler notices: a `push` to what is no variable, a script too large.
void CheckCompiled(const SV::String& text, const std::string& name, Findings& findings) {
  try {
    script::Compile(text, name);  // reads included files again
  } catch (const script::SyntaxError& mistake) {
    if (!findings.HasErrorAt(mistake.offset)) {
      findings.Error(mistake.offset, 1, mistake.message);
    }
  }
}

}  // namespace

std::vector<base::Diagnostic> CheckScript(const SV::String& text, const std::string& name,
                                          const AnswersFile* answers) {
  script::Program program(text, name);
  base::Arena arena;
  Findings findings(program);
  try {
    const std::vector<script::FunctionSyntax> parsed = script::Parser(program, arena).Parse();
    ScriptChecker(program, parsed, findings).Check();
    CheckCompiled(text, name, findings);
    std::vector<base::Diagnostic> found = findings.Take();
    if (answers) {
      for (base::Diagnostic& finding : CheckAnswers(program, parsed, *answers)) {
        found.push_back(std::move(finding));
      }
    }
    return found;
  } catch (const script::SyntaxError& mistake) {
    findings.Error(mistake.offset, 1, mistake.message);
  } catch (const std::bad_alloc&) {
    findings.Error(0, 1, "out of memory");
  }
  return findings.Take();
}

}  // namespace check
