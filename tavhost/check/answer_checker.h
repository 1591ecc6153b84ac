#pragma once

#include <vector>

#include "tavhost/check/check.h"
#include "tavhost/script/parser.h"
#include "tavhost/script/program.h"

namespace check {

// Whether some run of the script takes exactly these answers, window by window. The first answer
// that no run takes is the finding; its place lies in the answers file.
std::vector<Finding> CheckAnswers(const script::Program& program,
                                  const std::vector<script::FunctionSyntax>& parsed,
                                  const AnswersFile& answers);

}  // namespace check
