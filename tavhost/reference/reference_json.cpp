#include "tavhost/reference/reference_json.h"

#include <nlohmann/json.hpp>

namespace reference {

namespace {

using Json = nlohmann::ordered_json;

void Add(Json& object, const char* key, const std::string& text) {
  if (!text.empty()) object[key] = text;
}

void Add(Json& object, const char* key, const std::vector<std::string>& texts) {
  if (!texts.empty()) object[key] = texts;
}

void Add(Json& object, const char* key, const std::vector<ValueMeaning>& meanings) {
  if (meanings.empty()) return;
  Json values = Json::object();
  for (const ValueMeaning& meaning : meanings) values[meaning.value] = meaning.text;
  object[key] = std::move(values);
}

void AddFlag(Json& object, const char* key, bool flag) {
  if (flag) object[key] = true;
}

Json ToJson(const Parameter& parameter) {
  Json object = Json::object();
  Add(object, "name", parameter.name);
  object["type"] = NameOf(parameter.type);
  if (parameter.check != Check::kNone) object["check"] = NameOf(parameter.check);
  AddFlag(object, "required", parameter.required);
  AddFlag(object, "numbered", parameter.numbered);
  Add(object, "required-with", parameter.requiredWith);
  Add(object, "unless", parameter.unless);
  Add(object, "only-with", parameter.onlyWith);
  if (parameter.defaultValue) {
    std::visit([&](const auto& value) { object["default"] = value; }, *parameter.defaultValue);
  }
  Add(object, "absent", parameter.absent);
  Add(object, "unit", parameter.unit);
  if (parameter.min) object["min"] = *parameter.min;
  if (parameter.max) object["max"] = *parameter.max;
  Add(object, "values", parameter.values);
  Add(object, "buttons", parameter.buttons);
  if (!parameter.elements.empty()) object["elements"] = Json::array();
  for (const Command& element : parameter.elements) {
    object["elements"].push_back(ToJson(element));
  }
  object["text"] = parameter.text;
  return object;
}

Json ToJson(const Choice& choice) {
  Json object = Json::object();
  object["names"] = choice.names;
  AddFlag(object, "required", choice.required);
  object["text"] = choice.text;
  return object;
}

Json ToJson(const Result& result) {
  Json object = Json::object();
  object["name"] = result.name;
  object["type"] = NameOf(result.type);
  if (result.also) object["also"] = NameOf(*result.also);
  object["when"] = result.when;
  Add(object, "values", result.values);
  Add(object, "named-by", result.namedBy);
  object["text"] = result.text;
  return object;
}

Json ToJson(const Example& example) {
  Json object = Json::object();
  object["script"] = example.script;
  if (example.output) object["output"] = *example.output;
  Add(object, "answers", example.answers);
  Add(object, "options", example.options);
  Add(object, "needs", example.needs);
  return object;
}

template <typename Item>
Json ToArray(const std::vector<Item>& items) {
  Json array = Json::array();
  for (const Item& item : items) array.push_back(ToJson(item));
  return array;
}

}  // namespace

Json ToJson(const Command& command) {
  Json object = Json::object();
  object["name"] = command.name;
  Add(object, "family", command.family);
  object["summary"] = command.summary;
  Add(object, "details", command.details);
  AddFlag(object, "internal", command.internal);
  AddFlag(object, "crashes", command.crashes);
  if (command.main) object["main"] = ToJson(*command.main);
  object["parameters"] = ToArray(command.parameters);
  if (!command.choices.empty()) object["choices"] = ToArray(command.choices);
  object["results"] = ToArray(command.results);
  Add(object, "window", command.window);
  Add(object, "see", command.see);
  if (!command.example.script.empty()) object["example"] = ToJson(command.example);
  return object;
}

Json ToJson(const Catalogue& catalogue) {
  Json families = Json::array();
  for (const Family& family : catalogue.Families()) {
    Json object = Json::object();
    object["name"] = family.name;
    object["title"] = family.title;
    object["text"] = family.text;
    object["commands"] = ToArray(family.commands);
    families.push_back(std::move(object));
  }
  return Json{{"families", std::move(families)}};
}

}  // namespace reference
