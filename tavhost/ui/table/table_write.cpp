#include "tavhost/ui/table/table_write.h"

#include "tavhost/ui/table/table_model.h"

namespace ui::table_write {

namespace {

void AppendField(std::string& out, std::string_view field, std::string_view special) {
  if (field.find_first_of(special) == std::string_view::npos) {
    out += field;
    return;
  }
  out += '"';
  for (const char byte : field) {
    if (byte == '"') out += '"';
    out += byte;
  }
  out += '"';
}

void AppendEscaped(std::string& out, std::string_view text) {
  for (const char byte : text) {
    switch (byte) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\n':
        out += "<br>";
        break;
      default:
        out += byte;
    }
  }
}

const char* ClassOf(TableAlignment alignment) {
  switch (alignment) {
    case TableAlignment::kCentre:
      return " class=\"c\"";
    case TableAlignment::kRight:
      return " class=\"r\"";
    case TableAlignment::kLeft:
      break;
  }
  return "";
}

void AppendElement(std::string& out, const char* tag, const char* attributes,
                   std::string_view text) {
  out.append("<").append(tag).append(attributes).append(">");
  AppendEscaped(out, text);
  out.append("</").append(tag).append(">");
}

}  // namespace

std::string Delimited(const TableModel& table, const std::vector<std::uint32_t>& rows,
                      const std::vector<std::uint32_t>& columns, bool titles, char separator) {
  const char characters[] = {separator, '"', '\n', '\r'};
  const std::string_view special(characters, sizeof characters);
  std::string out;
  std::string scratch;
  if (columns.empty()) return out;
  bool isFirstLine = true;
  bool isEmptyLine = false;
  const auto append = [&](auto field) {
    if (!isFirstLine) out += '\n';
    isFirstLine = false;
    const std::size_t start = out.size();
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (i > 0) out += separator;
      AppendField(out, field(columns[i]), special);
    }
    isEmptyLine = out.size() == start;
  };
  if (titles) append([&](std::uint32_t column) { return table.Title(column, scratch); });
  for (const std::uint32_t row : rows) {
    append([&](std::uint32_t column) { return table.Cell(row, column, scratch); });
  }
  if (isEmptyLine) out += "\"\"";
  return out;
}

std::string Html(const TableModel& table, const std::vector<std::uint32_t>& rows,
                 const std::vector<std::uint32_t>& columns, std::string_view pageTitle) {
  std::string out = "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n";
  AppendElement(out, "title", "", pageTitle);
  out +=
      "\n<style>\n"
      "body { font-family: sans-serif }\n"
      "table { border-collapse: collapse }\n"
      "th, td { border: 1px solid #bbb; padding: 2px 8px; text-align: left; vertical-align: top }\n"
      "th { background: #eee }\n"
      ".c { text-align: center }\n"
      ".r { text-align: right }\n"
      "</style>\n</head>\n<body>\n";
  if (!table.header.empty()) {
    AppendElement(out, "h1", "", table.header);
    out += '\n';
  }
  if (!table.subtitle.empty()) {
    AppendElement(out, "p", "", table.subtitle);
    out += '\n';
  }
  std::string scratch;
  out += "<table>\n<thead><tr>";
  for (const std::uint32_t column : columns) {
    AppendElement(out, "th", ClassOf(table.Alignment(column)), table.Title(column, scratch));
  }
  out += "</tr></thead>\n<tbody>\n";
  for (const std::uint32_t row : rows) {
    out += "<tr>";
    for (const std::uint32_t column : columns) {
      AppendElement(out, "td", ClassOf(table.Alignment(column)), table.Cell(row, column, scratch));
    }
    out += "</tr>\n";
  }
  out += "</tbody>\n</table>\n</body>\n</html>\n";
  return out;
}

}  // namespace ui::table_write
