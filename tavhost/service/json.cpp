#include "tavhost/service/json.h"

#include <charconv>
#include <cmath>
#include <utility>
#include <vector>

#include "tavhost/base/json_writer.h"
#include "tavhost/notation/kel_text.h"

namespace script::service {

namespace {

using base::JsonWriter;

void PutPlain(JsonWriter& out, const kel::Value& value) {
  switch (value.Kind()) {
    case TavKelInteger:
      out.Integer(value.Integer());
      break;
    case TavKelReal:
      if (std::isfinite(value.Real())) {
        // The shortest digits, and no `.0` behind a whole number.
        char digits[32];
        const auto end = std::to_chars(digits, digits + sizeof digits, value.Real()).ptr;
        out.Raw({digits, static_cast<std::size_t>(end - digits)});
      } else {
        out.Null();
      }
      break;
    case TavKelString:
    case TavKelWord:
      out.String(value.Text().View());
      break;
    case TavKelBody: {
      SV::String text;
      kel::AppendText(text, value, false);
      out.String(text.View());
      break;
    }
    default:
      out.Null();
  }
}

// Lists and records in lists and records are taken one after the other, so that their depth costs
// no stack.
void PutValue(JsonWriter& out, const kel::Value& root) {
  struct Level {
    const kel::Value* value;
    std::size_t next;
  };
  std::vector<Level> levels;
  const auto begin = [&](const kel::Value& value) {
    if (value.Kind() == TavKelList) {
      out.BeginArray();
    } else if (value.Kind() == TavKelRecord) {
      out.BeginObject();
    } else {
      return PutPlain(out, value);
    }
    levels.push_back({&value, 0});
  };
  begin(root);
  while (!levels.empty() && !out.IsGivenUp()) {
    Level& level = levels.back();
    if (level.value->Kind() == TavKelList) {
      const auto& items = level.value->AsList().items;
      if (level.next < items.size()) {
        begin(items[level.next++]);
        continue;
      }
      out.EndArray();
    } else {
      const auto& fields = level.value->AsRecord().fields;
      if (level.next < fields.size()) {
        const kel::Field& field = fields[level.next++];
        out.Key(field.name.View());
        begin(field.value);
        continue;
      }
      out.EndObject();
    }
    levels.pop_back();
  }
}

void PutOrNull(JsonWriter& out, const std::optional<std::string>& text) {
  if (text) {
    out.String(*text);
  } else {
    out.Null();
  }
}

void PutPlace(JsonWriter& out, const Ending::Place& place) {
  out.BeginObject();
  out.Key("file").String(place.file);
  out.Key("line").Integer(place.line);
  out.Key("column").Integer(place.column);
  out.Key("command").String(place.command);
  out.EndObject();
}

// The rest behind the variables, but for the brace that ends the reply.
void PutRest(JsonWriter& out, std::string_view output, const Ending& ending) {
  out.Key("output").String(output);
  PutOrNull(out.Key("error"), ending.error);
  out.Key("exit");
  if (ending.exit) {
    out.Integer(*ending.exit);
  } else {
    out.Null();
  }
  out.Key("errorAt");
  if (ending.at) {
    PutPlace(out, *ending.at);
  } else {
    out.Null();
  }
}

// To the millisecond.
std::string Seconds(double seconds) {
  char digits[32];
  const auto end =
      std::to_chars(digits, digits + sizeof digits, seconds, std::chars_format::fixed, 3).ptr;
  return {digits, end};
}

// A request of the status, but for the brace that ends it.
void PutRequest(JsonWriter& out, const Status::Request& request) {
  out.BeginObject();
  out.Key("id").String(request.id);
  out.Key("path").String(request.path);
  out.Key("seconds").Raw(Seconds(request.seconds));
}

// A reply without variables, but for the brace that ends it.
void BeginWithoutVariables(JsonWriter& out, std::string_view output, const Ending& ending) {
  out.BeginObject();
  out.Key("variables").Raw("{}");
  PutRest(out, output, ending);
}

// A reply whose variables `put` writes.
template <typename Put>
std::optional<std::string> Reply(const Put& put, std::string_view output, const Ending& ending,
                                 const Bounds& bounds) {
  JsonWriter reply(bounds.bytes, bounds.mustEnd);
  reply.BeginObject();
  put(reply.Key("variables"));
  PutRest(reply, output, ending);
  reply.EndObject();
  return reply.Take();
}

}  // namespace

std::optional<std::string> ReplyJson(const kel::Value& record, std::string_view output,
                                     const Ending& ending, const Bounds& bounds) {
  return Reply([&](JsonWriter& out) { PutValue(out, record); }, output, ending, bounds);
}

std::optional<std::string> ReplyJson(const kel::Scope& variables, std::string_view output,
                                     const Ending& ending, const Bounds& bounds) {
  const auto put = [&](JsonWriter& out) {
    out.BeginObject();
    variables.ForEach([&](std::string_view name, const kel::Value& value) {
      if (!out.IsGivenUp()) PutValue(out.Key(name), value);
    });
    out.EndObject();
  };
  return Reply(put, output, ending, bounds);
}

std::string ReplyWithoutVariables(std::string_view output, const Ending& ending,
                                  std::size_t limit) {
  JsonWriter reply(limit);
  BeginWithoutVariables(reply, output, ending);
  reply.Key("leftOut").Raw(R"(["variables"])");
  reply.EndObject();
  if (std::optional<std::string> json = reply.Take()) return *std::move(json);
  JsonWriter shorter;
  BeginWithoutVariables(shorter, "", ending);
  shorter.Key("leftOut").Raw(R"(["variables","output"])");
  shorter.EndObject();
  return *shorter.Take();
}

std::string ErrorJson(const std::string& error, const std::optional<Ending::Place>& at) {
  Ending ending;
  ending.error = error;
  ending.at = at;
  JsonWriter reply;
  BeginWithoutVariables(reply, "", ending);
  reply.EndObject();
  return *reply.Take();
}

std::string DoneJson() {
  JsonWriter reply;
  BeginWithoutVariables(reply, "", {});
  reply.EndObject();
  return *reply.Take();
}

std::string StatusJson(const Status& status) {
  JsonWriter reply;
  BeginWithoutVariables(reply, "", {});
  reply.Key("running");
  if (status.running) {
    PutRequest(reply, *status.running);
    reply.Key("since").String(status.since);
    reply.Key("question");
    if (status.question) {
      reply.BeginObject();
      reply.Key("id").String(status.question->id);
      reply.Key("secondsLeft").Raw(Seconds(status.question->secondsLeft));
      reply.EndObject();
    } else {
      reply.Null();
    }
    reply.EndObject();
  } else {
    reply.Null();
  }
  reply.Key("waiting").BeginArray();
  for (const Status::Request& request : status.waiting) {
    PutRequest(reply, request);
    reply.EndObject();
  }
  reply.EndArray();
  reply.EndObject();
  return *reply.Take();
}

std::optional<std::string> QuestionJson(std::string_view output, const std::string& question,
                                        std::size_t limit) {
  JsonWriter reply(limit);
  BeginWithoutVariables(reply, output, {});
  reply.Key("question").Raw(question);
  reply.EndObject();
  return reply.Take();
}

}  // namespace script::service
