#pragma once

#include <vector>

#include "tavhost/analysis/check.h"
#include "tavhost/base/diagnostic.h"
#include "tavhost/script/code/code.h"
#include "tavhost/script/syntax/parser.h"

namespace check {

// Whether some run of the script takes exactly these answers, window by window. The first answer
// that no run takes is the finding; its place lies in the answers file.
std::vector<base::Diagnostic> CheckAnswers(const script::Program& program,
                                           const std::vector<script::FunctionSyntax>& parsed,
                                           const AnswersFile& answers);

}  // namespace check
