#include "tavhost/service/json.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <vector>

#include "tavhost/base/utf16.h"
#include "tavhost/notation/kel_text.h"

namespace script::service {

namespace {

void AppendString(std::string& out, std::string_view text) {
  std::string room;
  text = utf16::WellFormed(text, room);
  const std::string literal = nlohmann::json(text).dump();
  // Backspace and form feed have always been written by their numbers.
  if (text.find('\b') == text.npos && text.find('\f') == text.npos) {
    out += literal;
    return;
  }
  std::size_t begin = 0;
  for (std::size_t at = literal.find('\\'); at != literal.npos; at = literal.find('\\', at + 2)) {
    const char escape = literal[at + 1];
    if (escape != 'b' && escape != 'f') continue;
    out.append(literal, begin, at - begin);
    out += escape == 'b' ? "\\u0008" : "\\u000c";
    begin = at + 2;
  }
  out.append(literal, begin);
}

void AppendPlain(std::string& out, const kel::Value& value) {
  switch (value.Kind()) {
    case TavKelInteger:
      out += std::to_string(value.Integer());
      break;
    case TavKelReal:
      if (std::isfinite(value.Real())) {
        // The shortest digits, and no `.0` behind a whole number.
        char digits[32];
        const auto end = std::to_chars(digits, digits + sizeof digits, value.Real()).ptr;
        out.append(digits, end);
      } else {
        out += "null";
      }
      break;
    case TavKelString:
    case TavKelWord:
      AppendString(out, value.Text().View());
      break;
    case TavKelBody: {
      SV::String text;
      kel::AppendText(text, value, false);
      AppendString(out, text.View());
      break;
    }
    default:
      out += "null";
  }
}

// Lists and records in lists and records are taken one after the other, so that their depth costs
// no stack.
void AppendValue(std::string& out, const kel::Value& root) {
  struct Level {
    const kel::Value* value;
    std::size_t next;
  };
  std::vector<Level> levels;
  const auto begin = [&](const kel::Value& value) {
    if (value.Kind() == TavKelList || value.Kind() == TavKelRecord) {
      out += value.Kind() == TavKelList ? '[' : '{';
      levels.push_back({&value, 0});
    } else {
      AppendPlain(out, value);
    }
  };
  begin(root);
  while (!levels.empty()) {
    Level& level = levels.back();
    const bool isList = level.value->Kind() == TavKelList;
    const std::size_t count =
        isList ? level.value->AsList().items.size() : level.value->AsRecord().fields.size();
    if (level.next == count) {
      out += isList ? ']' : '}';
      levels.pop_back();
      continue;
    }
    if (level.next > 0) out += ',';
    const std::size_t index = level.next++;
    if (isList) {
      begin(level.value->AsList().items[index]);
    } else {
      const kel::Field& field = level.value->AsRecord().fields[index];
      AppendString(out, field.name.View());
      out += ':';
      begin(field.value);
    }
  }
}

std::string Finished(std::string json, std::string_view output, const std::string* error) {
  json += ",\"output\":";
  AppendString(json, output);
  json += ",\"error\":";
  if (error) {
    AppendString(json, *error);
  } else {
    json += "null";
  }
  json += '}';
  return json;
}

}  // namespace

std::string ReplyJson(const kel::Value& record, std::string_view output, const std::string* error) {
  std::string json = "{\"variables\":";
  AppendValue(json, record);
  return Finished(std::move(json), output, error);
}

std::string ReplyJson(const kel::Scope& variables, std::string_view output,
                      const std::string* error) {
  std::string json = "{\"variables\":{";
  bool first = true;
  variables.ForEach([&](std::string_view name, const kel::Value& value) {
    if (!first) json += ',';
    first = false;
    AppendString(json, name);
    json += ':';
    AppendValue(json, value);
  });
  json += '}';
  return Finished(std::move(json), output, error);
}

std::string ErrorJson(const std::string& error) {
  return Finished("{\"variables\":{}", "", &error);
}

std::string QuestionJson(std::string_view output, const std::string& question) {
  std::string json = Finished("{\"variables\":{}", output, nullptr);
  json.pop_back();
  return json + ",\"question\":" + question + '}';
}

}  // namespace script::service
