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

// What is wrong with a script, in the order of the text; `name` stands for its file. With answers,
// also whether a run of the script can take them.
std::vector<base::Diagnostic> CheckScript(const SV::String& text, const std::string& name,
                                          const AnswersFile* answers = nullptr);

}  // namespace check
