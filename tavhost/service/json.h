#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/notation/scope.h"
#include "tavhost/notation/value.h"

// Replies of the script service as JSON (RFC 8259):
// `{"variables":{},"output":"","error":null,"exit":null,"errorAt":null}`.
namespace script::service {

// How a request ended, as a reply tells it.
struct Ending {
  struct Place {
    std::string file;
    std::uint32_t line = 0;
    std::uint32_t column = 0;  // 0: not known
    std::string command{};     // that reported the error; empty for others
  };

  std::optional<std::string> error{};
  std::optional<long> exit{};  // the number that the script gave to `exit`
  std::optional<Place> at{};   // of the error
};

// What runs and what waits.
struct Status {
  struct Request {
    std::string id;
    std::string_view path;
    double seconds = 0;  // that it has waited or run
  };
  struct OpenQuestion {
    std::string id;
    double secondsLeft = 0;
  };

  std::optional<Request> running{};
  std::string since{};  // when it began to run
  std::optional<OpenQuestion> question{};
  std::vector<Request> waiting{};
};

// What the writing of a reply may take.
struct Bounds {
  std::size_t bytes;
  std::function<bool()> mustEnd{};  // asked now and then: whether there is no time left
};

// `variables` are the fields of a record, or the variables of a scope without those of outer ones.
// Bytes that are no UTF-8 become U+FFFD, bodies are told as their text, and reals that JSON has no
// number for (infinities, NaN) as null. Nothing is returned when the reply would go beyond its
// bounds; it is not made any further then, whatever the variables hold how often.
std::optional<std::string> ReplyJson(const kel::Value& record, std::string_view output,
                                     const Ending& ending, const Bounds& bounds);
std::optional<std::string> ReplyJson(const kel::Scope& variables, std::string_view output,
                                     const Ending& ending, const Bounds& bounds);
// The reply where that is so: it says that the variables are left out, and the output with them
// where it does not fit into `limit` bytes either.
std::string ReplyWithoutVariables(std::string_view output, const Ending& ending, std::size_t limit);
std::string ErrorJson(const std::string& error, const std::optional<Ending::Place>& at = {});
std::string DoneJson();
std::string StatusJson(const Status& status);
// The reply of a script that waits for an answer; the question is a JSON object.
std::optional<std::string> QuestionJson(std::string_view output, const std::string& question,
                                        std::size_t limit);

}  // namespace script::service
