#include "tavhost/ui/answer.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <tl/expected.hpp>
#include <utility>

#include "host/notation/kel_parser.h"
#include "tavhost/base/string_of.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/scan.h"
#include "tavhost/ui/models/modal_model.h"

namespace ui {

namespace {

enum Parameter : unsigned {
  kTitle = 1u << 0,
  kButton = 1u << 1,
  kResult = 1u << 2,
  kText = 1u << 3,
  kSelect = 1u << 4,
  kDeselect = 1u << 5,
  kCheck = 1u << 6,
  kUncheck = 1u << 7,
  kPath = 1u << 8,
  kCells = 1u << 9,
  kAfter = 1u << 10,
};

struct ParameterName {
  std::string_view name;
  Parameter bit;
};
constexpr ParameterName kParameters[] = {
    {"title", kTitle},       {"button", kButton}, {"result", kResult},   {"text", kText},
    {"select", kSelect},     {"check", kCheck},   {"uncheck", kUncheck}, {"path", kPath},
    {"deselect", kDeselect}, {"cells", kCells},   {"after", kAfter},
};

constexpr unsigned kAnyWindow = kTitle | kButton | kResult;
struct ElementName {
  std::string_view name;
  unsigned parameters;
};
constexpr ElementName kElements[] = {
    {"MESSAGE_BOX", kAnyWindow},
    {"VIEW_BOX", kAnyWindow},
    {"EDIT_BOX", kAnyWindow | kText},
    {"EDIT_FIELD", kAnyWindow | kText},
    {"LIST_BOX", kAnyWindow | kSelect | kCheck | kUncheck},
    {"FILE_DIALOG", kAnyWindow | kPath},
    {"DIRECTORY_DIALOG", kAnyWindow | kPath},
    {"IMAGE_DIALOG", kAnyWindow | kPath},
    {"TREE_LIST_BOX", kAnyWindow | kSelect | kDeselect},
    {"BROWSER", kAnyWindow},
    {"EDIT_BROWSER", kAnyWindow | kCells},
    {kCancelProgress, kAfter},
};

struct CellElement {
  std::string_view name;
  Answer::Cell::Kind kind;
  const char* form;
};
constexpr CellElement kCellElements[] = {
    {"CELL", Answer::Cell::Kind::kCell, "a cell is CELL row:1 column:1 text:\"…\""},
    {"INSERT_ROW", Answer::Cell::Kind::kInsertRow, "a new row is INSERT_ROW row:1"},
    {"DELETE_ROW", Answer::Cell::Kind::kDeleteRow, "a row goes by DELETE_ROW row:1"},
    {"SORT_ROWS", Answer::Cell::Kind::kSortRows, "rows are sorted by SORT_ROWS column:1"},
};

template <typename Table>
const auto* Find(const Table& table, std::string_view name) {
  const auto found = std::find_if(std::begin(table), std::end(table),
                                  [name](const auto& row) { return row.name == name; });
  return found == std::end(table) ? nullptr : &*found;
}

struct Place {
  std::uint32_t line = 1;
  std::uint32_t column = 1;
};

// Turns the elements of an answers file into answers, or says what is wrong with one, and where.
class Reader {
 public:
  Reader(const std::string& file, const kel::Document& document)
      : file_(file), text_(document.Text().View()) {}

  // Why the last element could not be read.
  const base::Error& GetError() const { return error_; }

  bool ReadElement(const kel::Element& element, Answer& answer) {
    answer.element = element.Name();
    answer.line = PlaceOf(element.name).line;
    const ElementName* const known = Find(kElements, element.Name());
    if (!known) return Fail(element.name, "there is no window " + answer.element);
    if (!element.main.IsNone()) {
      return Fail(element.name, answer.element + " takes no main value");
    }
    for (std::uint32_t i = 0; i < element.attributeCount; ++i) {
      const kel::Attribute& attribute = element.attributes[i];
      const ParameterName* const parameter = Find(kParameters, attribute.Name());
      if (!parameter || !(known->parameters & parameter->bit)) {
        return Fail(attribute.name,
                    answer.element + " takes no parameter " + std::string(attribute.Name()));
      }
      if (!ReadParameter(parameter->bit, attribute, answer)) return false;
    }
    if (answer.button && answer.result) {
      return Fail(element.name, "either button or result, not both");
    }
    return true;
  }

 private:
  bool ReadParameter(Parameter parameter, const kel::Attribute& attribute, Answer& answer) {
    switch (parameter) {
      case kTitle:
        return ReadText(attribute, answer.title);
      case kButton:
        return ReadText(attribute, answer.button);
      case kText:
        return ReadText(attribute, answer.text);
      case kResult:
        return ReadInteger(attribute, answer.result);
      case kAfter:
        return ReadInteger(attribute, answer.after);
      case kSelect:
        return ReadTexts(attribute, answer.select);
      case kDeselect:
        return ReadTexts(attribute, answer.deselect);
      case kCheck:
        return ReadTexts(attribute, answer.check);
      case kUncheck:
        return ReadTexts(attribute, answer.uncheck);
      case kPath:
        return ReadTexts(attribute, answer.path);
      case kCells:
        return ReadCells(attribute, answer);
    }
    return false;
  }

  static bool TextOf(const kel::Operand& operand, std::string& text) {
    switch (operand.kind) {
      case TavKelInteger:
        text = std::to_string(operand.integer);
        return true;
      case TavKelString:
      case TavKelWord:
        if (operand.storage == kel::Storage::kEscaped) {
          text = kel::Unescape({operand.text, operand.length}).View();
        } else {
          text.assign(operand.text, operand.length);
        }
        return true;
      default:
        return false;
    }
  }

  bool ReadText(const kel::Attribute& attribute, std::optional<std::string>& out) {
    const bool isText =
        attribute.operand.kind == TavKelString || attribute.operand.kind == TavKelWord;
    std::string text;
    if (!isText || !TextOf(attribute.operand, text)) return FailType(attribute, "a string");
    out = std::move(text);
    return true;
  }

  bool ReadInteger(const kel::Attribute& attribute, std::optional<std::int32_t>& out) {
    if (attribute.operand.kind != TavKelInteger) return FailType(attribute, "an integer");
    out = attribute.operand.integer;
    return true;
  }

  bool ReadTexts(const kel::Attribute& attribute, std::optional<std::vector<std::string>>& out) {
    std::vector<std::string> texts;
    const kel::Operand& operand = attribute.operand;
    const bool isList = operand.kind == TavKelList;
    const kel::Operand* const items = isList ? operand.items : &operand;
    const std::uint32_t count = isList ? operand.length : 1;
    for (std::uint32_t i = 0; i < count; ++i) {
      std::string text;
      if (!TextOf(items[i], text)) return FailType(attribute, "a string or a list of strings");
      texts.push_back(std::move(text));
    }
    out = std::move(texts);
    return true;
  }

  bool ReadCells(const kel::Attribute& attribute, Answer& answer) {
    if (attribute.operand.kind != TavKelBody) return FailType(attribute, "a body");
    for (std::uint32_t i = 0; i < attribute.operand.length; ++i) {
      if (!ReadCell(attribute.operand.elements[i], answer)) return false;
    }
    return true;
  }

  bool ReadCell(const kel::Element& element, Answer& answer) {
    const CellElement* const known = Find(kCellElements, element.Name());
    std::optional<std::int32_t> row;
    std::optional<std::int32_t> column;
    std::optional<std::string> text;
    bool descending = false;
    bool fits = known && element.main.IsNone();
    for (std::uint32_t i = 0; fits && i < element.attributeCount; ++i) {
      const kel::Attribute& attribute = element.attributes[i];
      if (attribute.Name() == "row") {
        if (!ReadInteger(attribute, row)) return false;
      } else if (attribute.Name() == "column") {
        if (!ReadInteger(attribute, column)) return false;
      } else if (attribute.Name() == "text") {
        if (!ReadText(attribute, text)) return false;
      } else {
        descending = attribute.Name() == "descending";
        fits = descending && attribute.operand.IsNone();
      }
    }
    if (!known) return Fail(element.name, "a table takes CELL, INSERT_ROW, DELETE_ROW, SORT_ROWS");
    using Kind = Answer::Cell::Kind;
    const bool isCell = known->kind == Kind::kCell;
    const bool isSort = known->kind == Kind::kSortRows;
    if (!fits || row.has_value() == isSort || column.has_value() != (isCell || isSort) ||
        text.has_value() != isCell || (descending && !isSort)) {
      return Fail(element.name, known->form);
    }
    answer.cells.push_back(
        {row.value_or(0), column.value_or(0), text.value_or(""), known->kind, descending});
    return true;
  }

  bool FailType(const kel::Attribute& attribute, const char* expected) {
    return Fail(attribute.name, std::string(attribute.Name()) + " must be " + expected);
  }

  bool Fail(const char* at, const std::string& message) {
    const Place place = PlaceOf(at);
    error_ = {message, file_, place.line, place.column};
    return false;
  }

  // The line and column of a name that lies in the text. Names are asked for in the order in which
  // they stand there, so that all of them together cost one walk through it.
  Place PlaceOf(const char* at) {
    const auto offset = static_cast<std::size_t>(at - text_.data());
    if (offset < walked_) {
      walked_ = 0;
      place_ = {};
    }
    for (; walked_ < offset; ++walked_) {
      if (text_[walked_] == '\n') {
        ++place_.line;
        place_.column = 1;
      } else if ((static_cast<unsigned char>(text_[walked_]) & 0xC0) != 0x80) {
        ++place_.column;
      }
    }
    return place_;
  }

  const std::string& file_;
  std::string_view text_;
  base::Error error_;
  std::size_t walked_ = 0;
  Place place_;
};

std::string Literal(std::string_view text) {
  return std::string(TavKelParser::GetKelTextOfStrValue(base::StringOf(text)).View());
}

// Names as words where they can be, as strings otherwise.
std::string WordOrLiteral(const std::string& text) {
  return kel::IsName(text) ? text : Literal(text);
}

// A text that an integer reads back as, to the letter: "-7", but not "007".
bool IsIntegerText(const std::string& text) {
  std::int32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && at == end && std::to_string(number) == text;
}

// The ids of a tree's items as integers, all else as strings. A tree's line may hold texts that
// are no ids: they fit no window, but still read back as they were.
std::string ListItem(const Answer& answer, const std::string& text) {
  return answer.element == "TREE_LIST_BOX" && IsIntegerText(text) ? text : Literal(text);
}

void AppendList(std::string& line, const Answer& answer, const char* name,
                const std::optional<std::vector<std::string>>& texts, bool oneIsPlain) {
  if (!texts) return;
  line += ' ';
  line += name;
  line += ':';
  if (oneIsPlain && texts->size() == 1) {
    line += ListItem(answer, texts->front());
    return;
  }
  line += '(';
  for (std::size_t i = 0; i < texts->size(); ++i) {
    if (i > 0) line += ", ";
    line += ListItem(answer, (*texts)[i]);
  }
  line += ')';
}

// What a window returns as its result when it has ended.
using WindowResult = std::int16_t;
// What those in which paths are chosen return by OK. Every other result cancels them.
constexpr std::int32_t kConfirmed = 1;

std::string CellText(const Answer::Cell& cell) {
  using Kind = Answer::Cell::Kind;
  const std::string row = " row:" + std::to_string(cell.row);
  const std::string column = " column:" + std::to_string(cell.column);
  const std::string name(NameOf(cell.kind));
  switch (cell.kind) {
    case Kind::kCell:
      return name + row + column + " text:" + Literal(cell.text);
    case Kind::kInsertRow:
    case Kind::kDeleteRow:
      return name + row;
    case Kind::kSortRows:
      return name + column + (cell.descending ? " descending" : "");
  }
  return {};
}

}  // namespace

base::Result<std::vector<Answer>> ParseAnswers(const std::string& file, std::string_view text) {
  const auto parsed = kel::Document::Parse(base::StringOf(text));
  if (!parsed) {
    const base::Error& mistake = parsed.error();
    return base::Failure(mistake.message, file, mistake.line, mistake.column);
  }
  const kel::Document& document = **parsed;
  std::vector<Answer> answers;
  Reader reader(file, document);
  for (std::uint32_t i = 0; i < document.Count(); ++i) {
    Answer answer;
    if (!reader.ReadElement(document.Elements()[i], answer)) {
      return tl::unexpected<base::Error>(reader.GetError());
    }
    answers.push_back(std::move(answer));
  }
  return answers;
}

base::Result<void> CheckAnswer(const Answer& answer) {
  using Limits = std::numeric_limits<WindowResult>;
  if (answer.result && (*answer.result < Limits::min() || *answer.result > Limits::max())) {
    return base::Failure("a window's result lies between " + std::to_string(Limits::min()) +
                         " and " + std::to_string(Limits::max()));
  }
  if (answer.after && *answer.after < 1) {
    return base::Failure("after counts the times that the script asks, from 1 on");
  }
  if (answer.path && answer.button == kCancelButton) {
    return base::Failure("nothing is chosen by cancel, so no path can stand beside it");
  }
  if (answer.path && answer.result && *answer.result != kConfirmed) {
    return base::Failure("nothing is chosen by a result other than " + std::to_string(kConfirmed) +
                         ", so no path can stand beside it");
  }
  return {};
}

std::string_view NameOf(Answer::Cell::Kind kind) {
  return std::find_if(std::begin(kCellElements), std::end(kCellElements),
                      [kind](const CellElement& element) { return element.kind == kind; })
      ->name;
}

std::string AnswerLine(const Answer& answer) {
  std::string line = answer.element;
  if (answer.title) line += " title:" + Literal(*answer.title);
  if (answer.text) line += " text:" + Literal(*answer.text);
  AppendList(line, answer, "select", answer.select, true);
  AppendList(line, answer, "deselect", answer.deselect, true);
  AppendList(line, answer, "check", answer.check, false);
  AppendList(line, answer, "uncheck", answer.uncheck, false);
  AppendList(line, answer, "path", answer.path, true);
  if (answer.after) line += " after:" + std::to_string(*answer.after);
  if (!answer.cells.empty()) {
    line += " cells:{ ";
    for (const Answer::Cell& cell : answer.cells) {
      if (&cell != &answer.cells.front()) line += "; ";
      line += CellText(cell);
    }
    line += " }";
  }
  if (answer.button) line += " button:" + WordOrLiteral(*answer.button);
  if (answer.result) line += " result:" + std::to_string(*answer.result);
  return line;
}

}  // namespace ui
