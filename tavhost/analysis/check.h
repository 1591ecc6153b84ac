#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/base/string.h"
#include "tavhost/base/diagnostic.h"

namespace check {

// An answers file that is to fit the script.
struct AnswersFile {
  std::string name;
  std::string text;
};

// What is wrong with a script, in the order of the text; nothing is run. `name` stands for its file
// in the findings, and included files are looked for beside it. With answers, the last finding
// tells when no run of the script can take them.
std::vector<base::Diagnostic> CheckScript(const SV::String& text, const std::string& name,
                                          const AnswersFile* answers = nullptr);

}  // namespace check
