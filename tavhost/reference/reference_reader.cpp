#include "tavhost/reference/reference_reader.h"

#include <algorithm>
#include <array>
#include <set>
#include <tl/expected.hpp>

#include "tavhost/base/string_of.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/scan.h"

namespace reference {

namespace {

std::string TextOf(const kel::Operand& operand) {
  switch (operand.kind) {
    case TavKelInteger:
      return std::to_string(operand.integer);
    case TavKelString:
      if (operand.storage == kel::Storage::kEscaped) {
        std::string text(operand.length, '\0');
        text.resize(kel::Unescape({operand.text, operand.length}, text.data()));
        return text;
      }
      [[fallthrough]];
    case TavKelWord:
      return {operand.text, operand.length};
    default:
      return {};
  }
}

// The lines of a script between the quotes: without the line feed behind the opening quote, the
// common indentation and what stands before the closing quote.
std::string Unindent(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t indentation = std::string_view::npos;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t blanks = line.find_first_not_of(' ');
    if (blanks != std::string_view::npos) indentation = std::min(indentation, blanks);
    lines.push_back(blanks == std::string_view::npos ? std::string_view() : line);
  }
  while (!lines.empty() && lines.back().empty()) lines.pop_back();
  while (!lines.empty() && lines.front().empty()) lines.erase(lines.begin());
  std::string script;
  for (const std::string_view line : lines) {
    if (!line.empty()) script += line.substr(indentation);
    script += '\n';
  }
  return script;
}

// Reads one file. Every problem is told with the place where it lies: file and command.
class Reader {
 public:
  Reader(std::string_view file, std::vector<std::string>& problems)
      : file_(file), problems_(problems) {}

  Family Read(const kel::Document& document) {
    Family family;
    family.name = file_;
    for (std::uint32_t i = 0; i < document.Count(); ++i) {
      const kel::Element& element = document.Elements()[i];
      if (i == 0 && element.Name() == "FAMILY") {
        family.title = TextOf(element.main);
        for (std::uint32_t a = 0; a < element.attributeCount; ++a) {
          const kel::Attribute& attribute = element.attributes[a];
          if (attribute.Name() == "text") {
            family.text = TextOf(attribute.operand);
          } else {
            Unknown("attribute", attribute.Name());
          }
        }
        continue;
      }
      family.commands.push_back(ReadCommand(element));
      family.commands.back().family = file_;
    }
    if (family.title.empty() || family.text.empty()) Problem("FAMILY with title and text expected");
    return family;
  }

  void Problem(std::string_view what) {
    std::string line = file_ + ".kel: ";
    if (!where_.empty()) line += where_ + ": ";
    problems_.push_back(line.append(what));
  }

 private:
  void Unknown(std::string_view kind, std::string_view name) {
    Problem(std::string("unknown ").append(kind).append(" ").append(name));
  }

  // A command, or an element of a body; only a command has summary and example for certain.
  Command ReadCommand(const kel::Element& element, bool nested = false) {
    Command command;
    command.name = element.Name();
    const std::string outside = where_;
    where_ = nested ? outside + "/" + command.name : command.name;
    if (element.main.kind != TavKelBody || element.attributeCount != 0) {
      Problem("a body and nothing else expected");
    } else {
      for (std::uint32_t i = 0; i < element.main.length; ++i) {
        ReadPart(element.main.elements[i], command);
      }
    }
    if (command.summary.empty()) Problem("SUMMARY is missing");
    if (!nested && command.example.script.empty()) Problem("EXAMPLE is missing");
    where_ = outside;
    return command;
  }

  void ReadPart(const kel::Element& part, Command& command) {
    const std::string_view name = part.Name();
    if (name == "SUMMARY") {
      command.summary = TextOf(part.main);
    } else if (name == "DETAIL") {
      command.details.push_back(TextOf(part.main));
    } else if (name == "TRAITS") {
      ReadTraits(part, command);
    } else if (name == "MAIN") {
      command.main = ReadParameter(part);
    } else if (name == "PARAMETER") {
      command.parameters.push_back(ReadParameter(part));
      if (command.parameters.back().name.empty()) Problem("PARAMETER without a name");
    } else if (name == "CHOICE") {
      command.choices.push_back(ReadChoice(part));
    } else if (name == "RESULT") {
      command.results.push_back(ReadResult(part));
    } else if (name == "WINDOW") {
      command.window = TextOf(part.main);
    } else if (name == "SEE") {
      command.see = Texts(part.main);
    } else if (name == "EXAMPLE") {
      command.example = ReadExample(part);
    } else {
      Unknown("element", name);
    }
  }

  void ReadTraits(const kel::Element& part, Command& command) {
    for (std::uint32_t i = 0; i < part.attributeCount; ++i) {
      const std::string_view name = part.attributes[i].Name();
      if (name == "internal") {
        command.internal = true;
      } else if (name == "crashes") {
        command.crashes = true;
      } else {
        Unknown("trait", name);
      }
    }
  }

  Parameter ReadParameter(const kel::Element& part) {
    Parameter parameter;
    parameter.name = TextOf(part.main);
    bool typed = false;
    for (std::uint32_t i = 0; i < part.attributeCount; ++i) {
      const std::string_view name = part.attributes[i].Name();
      const kel::Operand& value = part.attributes[i].operand;
      if (name == "type") {
        parameter.type = TypeOf(value);
        typed = true;
      } else if (name == "check") {
        parameter.check = CheckOf(value);
      } else if (name == "required") {
        parameter.required = true;
      } else if (name == "numbered") {
        parameter.numbered = true;
      } else if (name == "required-with") {
        parameter.requiredWith = Texts(value);
      } else if (name == "unless") {
        parameter.unless = Texts(value);
      } else if (name == "only-with") {
        parameter.onlyWith = Texts(value);
      } else if (name == "default") {
        parameter.defaultValue = LiteralOf(value);
      } else if (name == "absent") {
        parameter.absent = TextOf(value);
      } else if (name == "unit") {
        parameter.unit = TextOf(value);
      } else if (name == "min") {
        parameter.min = NumberOf(value);
      } else if (name == "max") {
        parameter.max = NumberOf(value);
      } else if (name == "values") {
        parameter.values = Meanings(value);
      } else if (name == "buttons") {
        parameter.buttons = Texts(value);
      } else if (name == "elements") {
        ReadElements(value, parameter);
      } else if (name == "text") {
        parameter.text = TextOf(value);
      } else {
        Unknown("attribute", name);
      }
    }
    const std::string called = parameter.name.empty() ? "the main value" : parameter.name;
    if (!typed) Problem(called + " has no type");
    if (parameter.text.empty()) Problem(called + " has no text");
    if (parameter.numbered != parameter.name.ends_with('#'))
      Problem(called + ": numbered and # differ");
    return parameter;
  }

  void ReadElements(const kel::Operand& value, Parameter& parameter) {
    if (value.kind != TavKelBody) {
      Problem("elements: a body expected");
      return;
    }
    for (std::uint32_t i = 0; i < value.length; ++i) {
      parameter.elements.push_back(ReadCommand(value.elements[i], /*nested=*/true));
    }
  }

  Choice ReadChoice(const kel::Element& part) {
    Choice choice;
    choice.names = Texts(part.main);
    for (std::uint32_t i = 0; i < part.attributeCount; ++i) {
      const kel::Attribute& attribute = part.attributes[i];
      if (attribute.Name() == "required") {
        choice.required = true;
      } else if (attribute.Name() == "text") {
        choice.text = TextOf(attribute.operand);
      } else {
        Unknown("attribute", attribute.Name());
      }
    }
    return choice;
  }

  Result ReadResult(const kel::Element& part) {
    Result result;
    result.name = TextOf(part.main);
    bool typed = false;
    for (std::uint32_t i = 0; i < part.attributeCount; ++i) {
      const std::string_view name = part.attributes[i].Name();
      const kel::Operand& value = part.attributes[i].operand;
      if (name == "type") {
        result.type = TypeOf(value);
        typed = true;
      } else if (name == "also") {
        result.also = TypeOf(value);
      } else if (name == "when") {
        result.when = TextOf(value);
      } else if (name == "values") {
        result.values = Meanings(value);
      } else if (name == "named-by") {
        result.namedBy = TextOf(value);
      } else if (name == "text") {
        result.text = TextOf(value);
      } else {
        Unknown("attribute", name);
      }
    }
    if (result.name.empty()) Problem("RESULT without a name");
    if (!typed) Problem(result.name + " has no type");
    if (result.text.empty()) Problem(result.name + " has no text");
    return result;
  }

  Example ReadExample(const kel::Element& part) {
    Example example;
    example.script = Unindent(TextOf(part.main));
    for (std::uint32_t i = 0; i < part.attributeCount; ++i) {
      const std::string_view name = part.attributes[i].Name();
      const std::string text = TextOf(part.attributes[i].operand);
      if (name == "output") {
        example.output = text;
      } else if (name == "answers") {
        example.answers = text;
      } else if (name == "options") {
        example.options = text;
      } else if (name == "needs") {
        example.needs = text;
      } else {
        Unknown("attribute", name);
      }
    }
    return example;
  }

  Type TypeOf(const kel::Operand& value) {
    const std::string text = TextOf(value);
    for (const Type type : {Type::kString, Type::kInteger, Type::kReal, Type::kSwitch,
                            Type::kKeyword, Type::kBody, Type::kList}) {
      if (NameOf(type) == text) return type;
    }
    Unknown("type", text);
    return Type::kString;
  }

  Check CheckOf(const kel::Operand& value) {
    const std::string text = TextOf(value);
    if (text == NameOf(Check::kRequired)) return Check::kRequired;
    if (text == NameOf(Check::kOptional)) return Check::kOptional;
    Unknown("check", text);
    return Check::kNone;
  }

  double NumberOf(const kel::Operand& value) {
    if (value.kind == TavKelInteger) return value.integer;
    if (value.kind == TavKelReal) return value.real;
    Problem("a number expected");
    return 0;
  }

  Literal LiteralOf(const kel::Operand& value) {
    if (value.kind == TavKelInteger) return value.integer;
    if (value.kind == TavKelReal) return value.real;
    if (value.kind != TavKelString) Problem("default: a string or a number expected");
    return TextOf(value);
  }

  std::vector<std::string> Texts(const kel::Operand& list) {
    std::vector<std::string> texts;
    if (list.kind != TavKelList) {
      Problem("a list expected");
      return texts;
    }
    for (std::uint32_t i = 0; i < list.length; ++i) texts.push_back(TextOf(list.items[i]));
    return texts;
  }

  std::vector<ValueMeaning> Meanings(const kel::Operand& record) {
    std::vector<ValueMeaning> meanings;
    if (record.kind != TavKelRecord) {
      Problem("a record expected");
      return meanings;
    }
    for (std::uint32_t i = 0; i < record.length; ++i) {
      const kel::Attribute& field = record.fields[i];
      meanings.push_back({std::string(field.Name()), TextOf(field.operand)});
    }
    return meanings;
  }

  std::string file_;
  std::vector<std::string>& problems_;
  std::string where_;  // the command, and the element inside it, that is being read
};

// What CheckReferences looks at in one command.
class ReferenceCheck {
 public:
  ReferenceCheck(const Catalogue& catalogue, const Command& command,
                 std::vector<std::string>& problems)
      : catalogue_(catalogue), command_(command), problems_(problems) {}

  void Run() {
    std::set<std::string_view> seen;
    for (const Parameter& parameter : command_.parameters) {
      if (!seen.insert(parameter.name).second) Problem("twice the parameter " + parameter.name);
    }
    if (command_.main) CheckParameter(*command_.main);
    for (const Parameter& parameter : command_.parameters) CheckParameter(parameter);
    for (const Choice& choice : command_.choices) {
      CheckNames(choice.names);
      if (choice.text.empty()) Problem("a choice without text");
    }
    for (const Result& result : command_.results) {
      if (!result.namedBy.empty()) CheckNames({result.namedBy});
    }
    for (const std::string& name : command_.see) {
      if (catalogue_.Find(name) == nullptr) Problem("related command " + name + " is not known");
    }
  }

 private:
  void CheckParameter(const Parameter& parameter) {
    CheckNames(parameter.requiredWith);
    CheckNames(parameter.unless);
    CheckNames(parameter.onlyWith);
  }

  void CheckNames(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      const auto& all = command_.parameters;
      if (std::none_of(all.begin(), all.end(),
                       [&](const Parameter& p) { return p.name == name; })) {
        Problem("there is no parameter " + name);
      }
    }
  }

  void Problem(const std::string& what) {
    problems_.push_back(command_.family + ".kel: " + command_.name + ": " + what);
  }

  const Catalogue& catalogue_;
  const Command& command_;
  std::vector<std::string>& problems_;
};

}  // namespace

Family ReadFamily(const Source& source, std::vector<std::string>& problems) {
  Reader reader(source.name, problems);
  const auto document = kel::Document::Parse(base::StringOf(source.text));
  if (!document) {
    const base::Error& mistake = document.error();
    reader.Problem("line " + std::to_string(mistake.line) + ", column " +
                   std::to_string(mistake.column) + ": " + mistake.message);
    Family family;
    family.name = source.name;
    return family;
  }
  return reader.Read(**document);
}

void CheckReferences(const Catalogue& catalogue, std::vector<std::string>& problems) {
  std::set<std::string_view> names;
  for (const Family& family : catalogue.Families()) {
    for (const Command& command : family.commands) {
      if (!names.insert(command.name).second) {
        problems.push_back(family.name + ".kel: twice the command " + command.name);
      }
      ReferenceCheck(catalogue, command, problems).Run();
    }
  }
}

}  // namespace reference
