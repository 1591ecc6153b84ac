#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tavhost/notation/scope.h"
#include "tavhost/notation/value.h"

// Replies of the script service as JSON (RFC 8259): `{"variables":{},"output":"","error":null}`.
namespace script::service {

// `variables` are the fields of a record, or the variables of a scope without those of outer ones.
// Bytes that are no UTF-8 become U+FFFD, bodies are told as their text, and reals that JSON has no
// number for (infinities, NaN) as null. A null `error` is none. Nothing is returned when the reply
// would be longer than `limit` bytes; it is not made any further then, so that memory and time are
// bounded by the limit, whatever the variables hold how often.
std::optional<std::string> ReplyJson(const kel::Value& record, std::string_view output,
                                     const std::string* error, std::size_t limit);
std::optional<std::string> ReplyJson(const kel::Scope& variables, std::string_view output,
                                     const std::string* error, std::size_t limit);
std::string ErrorJson(const std::string& error);
// The reply of a script that waits for an answer; the question is a JSON object.
std::optional<std::string> QuestionJson(std::string_view output, const std::string& question,
                                        std::size_t limit);

}  // namespace script::service
