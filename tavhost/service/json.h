#pragma once

#include <string>
#include <string_view>

#include "tavhost/notation/scope.h"
#include "tavhost/notation/value.h"

// Replies of the script service as JSON (RFC 8259): `{"variables":{},"output":"","error":null}`.
namespace script::service {

// `variables` are the fields of a record, or the variables of a scope without those of outer ones.
// Bytes that are no UTF-8 become U+FFFD, bodies are told as their text, and reals that JSON has no
// number for (infinities, NaN) as null. A null `error` is none.
std::string ReplyJson(const kel::Value& record, std::string_view output, const std::string* error);
std::string ReplyJson(const kel::Scope& variables, std::string_view output,
                      const std::string* error);
std::string ErrorJson(const std::string& error);
// The reply of a script that waits for an answer; the question is a JSON object.
std::string QuestionJson(std::string_view output, const std::string& question);

}  // namespace script::service
