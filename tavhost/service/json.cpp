#include "tavhost/service/json.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "tavhost/base/utf16.h"
#include "tavhost/base/utf8.h"
#include "tavhost/notation/kel_text.h"

namespace script::service {

namespace {

// A reply as it grows, up to its limit. What goes beyond is dropped, and the reply is none.
class JsonReply {
 public:
  explicit JsonReply(std::size_t limit) : limit_(limit) {}

  bool Fits() const { return fits_; }

  void Put(std::string_view text) {
    fits_ = fits_ && text.size() <= limit_ - json_.size();
    if (fits_) json_ += text;
  }

  // A JSON string. Long texts are taken piece by piece: each is copied several times on its way.
  void PutString(std::string_view text) {
    constexpr std::size_t kPiece = std::size_t{64} << 10;
    Put("\"");
    while (!text.empty() && fits_) {
      const std::string_view piece = utf8::PieceOf(text, kPiece);
      PutPiece(piece);
      text.remove_prefix(piece.size());
    }
    Put("\"");
  }

  std::optional<std::string> Take() {
    if (!fits_) return std::nullopt;
    return std::move(json_);
  }

 private:
  void PutPiece(std::string_view text) {
    std::string room;
    text = utf16::WellFormed(text, room);
    const std::string literal = nlohmann::json(text).dump();
    const std::string_view inside(literal.data() + 1, literal.size() - 2);
    // Backspace and form feed have always been written by their numbers.
    if (text.find('\b') == text.npos && text.find('\f') == text.npos) return Put(inside);
    std::size_t begin = 0;
    for (std::size_t at = inside.find('\\'); at != inside.npos; at = inside.find('\\', at + 2)) {
      const char escape = inside[at + 1];
      if (escape != 'b' && escape != 'f') continue;
      Put(inside.substr(begin, at - begin));
      Put(escape == 'b' ? "\\u0008" : "\\u000c");
      begin = at + 2;
    }
    Put(inside.substr(begin));
  }

  const std::size_t limit_;
  std::string json_;
  bool fits_ = true;
};

void PutPlain(JsonReply& out, const kel::Value& value) {
  switch (value.Kind()) {
    case TavKelInteger:
      out.Put(std::to_string(value.Integer()));
      break;
    case TavKelReal:
      if (std::isfinite(value.Real())) {
        // The shortest digits, and no `.0` behind a whole number.
        char digits[32];
        const auto end = std::to_chars(digits, digits + sizeof digits, value.Real()).ptr;
        out.Put({digits, static_cast<std::size_t>(end - digits)});
      } else {
        out.Put("null");
      }
      break;
    case TavKelString:
    case TavKelWord:
      out.PutString(value.Text().View());
      break;
    case TavKelBody: {
      SV::String text;
      kel::AppendText(text, value, false);
      out.PutString(text.View());
      break;
    }
    default:
      out.Put("null");
  }
}

// Lists and records in lists and records are taken one after the other, so that their depth costs
// no stack.
void PutValue(JsonReply& out, const kel::Value& root) {
  struct Level {
    const kel::Value* value;
    std::size_t next;
  };
  std::vector<Level> levels;
  const auto begin = [&](const kel::Value& value) {
    if (value.Kind() == TavKelList || value.Kind() == TavKelRecord) {
      out.Put(value.Kind() == TavKelList ? "[" : "{");
      levels.push_back({&value, 0});
    } else {
      PutPlain(out, value);
    }
  };
  begin(root);
  while (!levels.empty() && out.Fits()) {
    Level& level = levels.back();
    const bool isList = level.value->Kind() == TavKelList;
    const std::size_t count =
        isList ? level.value->AsList().items.size() : level.value->AsRecord().fields.size();
    if (level.next == count) {
      out.Put(isList ? "]" : "}");
      levels.pop_back();
      continue;
    }
    if (level.next > 0) out.Put(",");
    const std::size_t index = level.next++;
    if (isList) {
      begin(level.value->AsList().items[index]);
    } else {
      const kel::Field& field = level.value->AsRecord().fields[index];
      out.PutString(field.name.View());
      out.Put(":");
      begin(field.value);
    }
  }
}

// The rest behind the variables, but for the brace that ends the reply.
void PutRest(JsonReply& out, std::string_view output, const Ending& ending) {
  out.Put(",\"output\":");
  out.PutString(output);
  out.Put(",\"error\":");
  if (ending.error) {
    out.PutString(*ending.error);
  } else {
    out.Put("null");
  }
  out.Put(",\"exit\":");
  out.Put(ending.exit ? std::to_string(*ending.exit) : "null");
  out.Put(",\"errorAt\":");
  if (!ending.at) return out.Put("null");
  out.Put("{\"file\":");
  out.PutString(ending.at->file);
  out.Put(",\"line\":" + std::to_string(ending.at->line) +
          ",\"column\":" + std::to_string(ending.at->column) + ",\"command\":");
  out.PutString(ending.at->command);
  out.Put("}");
}

// To the millisecond.
std::string Seconds(double seconds) {
  char digits[32];
  const auto end =
      std::to_chars(digits, digits + sizeof digits, seconds, std::chars_format::fixed, 3).ptr;
  return {digits, end};
}

// A request of the status, but for the brace that ends it.
void PutRequest(JsonReply& out, const Status::Request& request) {
  out.Put("{\"id\":");
  out.PutString(request.id);
  out.Put(",\"path\":");
  out.PutString(request.path);
  out.Put(",\"seconds\":" + Seconds(request.seconds));
}

constexpr char kNoVariables[] = "{\"variables\":{}";

}  // namespace

std::optional<std::string> ReplyJson(const kel::Value& record, std::string_view output,
                                     const Ending& ending, std::size_t limit) {
  JsonReply reply(limit);
  reply.Put("{\"variables\":");
  PutValue(reply, record);
  PutRest(reply, output, ending);
  reply.Put("}");
  return reply.Take();
}

std::optional<std::string> ReplyJson(const kel::Scope& variables, std::string_view output,
                                     const Ending& ending, std::size_t limit) {
  JsonReply reply(limit);
  reply.Put("{\"variables\":{");
  bool first = true;
  variables.ForEach([&](std::string_view name, const kel::Value& value) {
    if (!reply.Fits()) return;
    if (!first) reply.Put(",");
    first = false;
    reply.PutString(name);
    reply.Put(":");
    PutValue(reply, value);
  });
  reply.Put("}");
  PutRest(reply, output, ending);
  reply.Put("}");
  return reply.Take();
}

std::string ErrorJson(const std::string& error, const std::optional<Ending::Place>& at) {
  JsonReply reply(std::string::npos);
  reply.Put(kNoVariables);
  Ending ending;
  ending.error = error;
  ending.at = at;
  PutRest(reply, "", ending);
  reply.Put("}");
  return *reply.Take();
}

std::string DoneJson() {
  JsonReply reply(std::string::npos);
  reply.Put(kNoVariables);
  PutRest(reply, "", {});
  reply.Put("}");
  return *reply.Take();
}

std::string StatusJson(const Status& status) {
  JsonReply reply(std::string::npos);
  reply.Put(kNoVariables);
  PutRest(reply, "", {});
  reply.Put(",\"running\":");
  if (status.running) {
    PutRequest(reply, *status.running);
    reply.Put(",\"since\":");
    reply.PutString(status.since);
    reply.Put(",\"question\":");
    if (status.question) {
      reply.Put("{\"id\":");
      reply.PutString(status.question->id);
      reply.Put(",\"secondsLeft\":" + Seconds(status.question->secondsLeft) + "}");
    } else {
      reply.Put("null");
    }
    reply.Put("}");
  } else {
    reply.Put("null");
  }
  reply.Put(",\"waiting\":[");
  for (std::size_t i = 0; i < status.waiting.size(); ++i) {
    if (i > 0) reply.Put(",");
    PutRequest(reply, status.waiting[i]);
    reply.Put("}");
  }
  reply.Put("]}");
  return *reply.Take();
}

std::optional<std::string> QuestionJson(std::string_view output, const std::string& question,
                                        std::size_t limit) {
  JsonReply reply(limit);
  reply.Put(kNoVariables);
  PutRest(reply, output, {});
  reply.Put(",\"question\":");
  reply.Put(question);
  reply.Put("}");
  return reply.Take();
}

}  // namespace script::service
