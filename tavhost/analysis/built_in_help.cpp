#include "tavhost/analysis/built_in_help.h"

#include <algorithm>
#include <iterator>

namespace check {

namespace {

constexpr BuiltInHelp kHelp[] = {
    {"abs", "abs(x)", "The number without its sign."},
    {"ceil", "ceil(x)", "The next integer that is not smaller."},
    {"contains", "contains(x, y)",
     "Whether a text holds a text, a list an item, a record a field."},
    {"ends", "ends(text, part)", "Whether the text ends with the part."},
    {"env", "env(name)", "An environment variable's text; without a name, a record of all."},
    {"find", "find(text, part)", "Where the part begins; -1 when it does not occur."},
    {"floor", "floor(x)", "The next integer that is not larger."},
    {"format", "format(text, ...)", "The text with `{}` replaced by the values that follow."},
    {"has", "has(record, name)", "Whether the record has a field of that name."},
    {"int", "int(x)", "The integer of a real, cut towards 0, or of a text."},
    {"join", "join(list, sep)", "The items' texts with the separator between them."},
    {"kel_parse", "kel_parse(text)", "A list of records, one for each element of a KEL text."},
    {"kel_text", "kel_text(x)", "The value as KEL, strings quoted."},
    {"keys", "keys(record)", "The names of the record's fields."},
    {"len", "len(x)", "Characters of a string, items of a list, fields of a record."},
    {"lower", "lower(text)", "The text in small letters."},
    {"max", "max(a, b, ...)", "The largest of the values, or of the one list given."},
    {"min", "min(a, b, ...)", "The smallest of the values, or of the one list given."},
    {"now", "now()", "Milliseconds since 1970."},
    {"push", "push(list, x)", "Puts x at the end of a variable's list; the new length."},
    {"range", "range(a, b, step)", "The integers from a up to but without b."},
    {"re_all", "re_all(text, pattern)", "A list of text and groups for each match."},
    {"re_match", "re_match(text, pattern)",
     "The first match and its groups; empty when there is none."},
    {"re_replace", "re_replace(text, pattern, new)", "The text with every match replaced."},
    {"re_split", "re_split(text, pattern)", "What lies between the matches."},
    {"read_line", "read_line(otherwise)", "The next line of standard input."},
    {"read_lines", "read_lines()", "All lines of standard input that are left."},
    {"real", "real(x)", "The real of an integer or of a text."},
    {"replace", "replace(text, old, new)", "The text with every `old` replaced."},
    {"round", "round(x)", "The nearest integer, halves away from 0."},
    {"slice", "slice(x, from, to)",
     "The part of a text or list from `from` up to but without `to`."},
    {"split", "split(text, sep)", "A list of the pieces between separators."},
    {"starts", "starts(text, part)", "Whether the text begins with the part."},
    {"str", "str(x)", "The value's text, as `print` writes it."},
    {"time_make", "time_make(record, zone)", "The instant of a record of year, month, day, ..."},
    {"time_parse", "time_parse(text, format, zone)", "The instant that a text says."},
    {"time_parts", "time_parts(instant, zone)", "A record of year, month, day, ..."},
    {"time_text", "time_text(instant, format, zone)", "The instant as a text: `%F %T`."},
    {"trim", "trim(text)", "The text without blanks and line ends at both ends."},
    {"type", "type(x)",
     "\"string\", \"integer\", \"real\", \"list\", \"record\", \"body\" or \"word\"."},
    {"upper", "upper(text)", "The text in capital letters."},
};

}  // namespace

const BuiltInHelp* FindBuiltInHelp(std::string_view name) {
  const auto found = std::lower_bound(
      std::begin(kHelp), std::end(kHelp), name,
      [](const BuiltInHelp& help, std::string_view wanted) { return help.name < wanted; });
  return found != std::end(kHelp) && found->name == name ? found : nullptr;
}

}  // namespace check
