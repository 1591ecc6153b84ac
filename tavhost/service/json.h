#pragma once

#include <string>
#include <string_view>

#include "tavhost/notation/scope.h"
#include "tavhost/notation/value.h"

// Replies of the script service: `{"variables":{},"output":"","error":null}` (RFC 8259).
namespace script::service {

// The fields of a record or the own variables of a scope as variables. Bytes that are no UTF-8
// become U+FFFD; bodies are their text; reals that JSON has no number for are null.
std::string ReplyJson(const kel::Value& record, std::string_view output, const std::string* error);
std::string ReplyJson(const kel::Scope& variables, std::string_view output,
                      const std::string* error);
std::string ErrorJson(const std::string& error);
// The reply of a script that waits for an answer; the question is a JSON object.
std::string QuestionJson(std::string_view output, const std::string& question);

}  // namespace script::service
