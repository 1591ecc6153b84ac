#include "tavhost/qt/ide/command_page.h"

#include <QStringList>
#include <algorithm>

#include "tavhost/qt/ide/theme.h"
#include "tavhost/qt/shown_text.h"

namespace ui::ide_view {

namespace {

using reference::Command;
using reference::Parameter;
using reference::Type;

QString Html(std::string_view text) { return Shown(text).toHtmlEscaped(); }

QString Joined(const std::vector<std::string>& names) {
  QStringList list;
  for (const std::string& name : names) list << Shown(name);
  return list.join(QStringLiteral(", "));
}

QString LiteralText(const reference::Literal& literal) {
  if (const auto* text = std::get_if<std::string>(&literal)) {
    return QStringLiteral("\"%1\"").arg(Shown(*text));
  }
  if (const auto* integer = std::get_if<std::int32_t>(&literal)) return QString::number(*integer);
  return QString::number(std::get<double>(literal));
}

QString Meanings(const std::vector<reference::ValueMeaning>& values) {
  QString html;
  for (const reference::ValueMeaning& value : values) {
    html += QStringLiteral("<br><code>%1</code> %2").arg(Html(value.value), Html(value.text));
  }
  return html;
}

QString Conditions(const Parameter& parameter) {
  QString text;
  if (parameter.min && parameter.max) {
    text += QStringLiteral(" From %1 to %2.").arg(*parameter.min).arg(*parameter.max);
  }
  if (!parameter.requiredWith.empty()) {
    text += QStringLiteral(" Required with %1.").arg(Joined(parameter.requiredWith));
  }
  if (!parameter.onlyWith.empty()) {
    text += QStringLiteral(" Only with %1.").arg(Joined(parameter.onlyWith));
  }
  if (!parameter.unless.empty()) {
    text += QStringLiteral(" Not looked at with %1.").arg(Joined(parameter.unless));
  }
  if (!parameter.absent.empty()) {
    text += QStringLiteral(" When absent: %1.").arg(Shown(parameter.absent));
  }
  if (parameter.defaultValue && parameter.type != Type::kSwitch) {
    text += QStringLiteral(" Default: %1.").arg(LiteralText(*parameter.defaultValue));
  }
  return text.toHtmlEscaped();
}

QString Row(const QString& name, const QString& kind, const QString& text) {
  return QStringLiteral("<p style='margin:6px 0 0 0'><b><code>%1</code></b> <i>%2</i><br>%3</p>")
      .arg(name, kind, text);
}

QString ParameterRows(const Command& command) {
  QString rows;
  const auto add = [&rows](const Parameter& parameter) {
    QString kind = Html(reference::NameOf(parameter.type));
    if (!parameter.unit.empty()) kind += QStringLiteral(" in ") + Html(parameter.unit);
    if (parameter.required) kind += QStringLiteral(", required");
    QString text = Html(parameter.text) + Conditions(parameter) + Meanings(parameter.values);
    for (const Command& element : parameter.elements) {
      text += QStringLiteral("<div style='margin-left:12px'>%1</div>")
                  .arg(Row(Html(element.name), {}, Html(element.summary)) + ParameterRows(element));
    }
    rows += Row(parameter.name.empty() ? QStringLiteral("(main value)") : Html(parameter.name),
                kind, text);
  };
  if (command.main) add(*command.main);
  for (const Parameter& parameter : command.parameters) add(parameter);
  return rows;
}

QString Heading(const char* text) {
  return QStringLiteral("<h4 style='margin:12px 0 0 0'>%1</h4>").arg(QLatin1String(text));
}

QString Code(const QString& text, const QPalette& palette) {
  return QStringLiteral(
             "<table width='100%' cellpadding='6' style='margin-top:4px'><tr>"
             "<td bgcolor='%1'><pre style='margin:0; "
             "white-space:pre-wrap'>%2</pre></td></tr></table>")
      .arg(palette.color(QPalette::AlternateBase).name(), text.toHtmlEscaped());
}

QString Placeholder(const Parameter& parameter) {
  switch (parameter.type) {
    case Type::kInteger:
      return QStringLiteral("0");
    case Type::kReal:
      return QStringLiteral("0.0");
    case Type::kBody:
      return QStringLiteral("{ }");
    case Type::kList:
      return QStringLiteral("()");
    default:
      return QStringLiteral("\"\"");
  }
}

}  // namespace

QString ExampleText(const Command& command) {
  QStringList lines = Shown(command.example.script).split(QLatin1Char('\n'));
  while (!lines.isEmpty() && lines.first().trimmed().isEmpty()) lines.removeFirst();
  while (!lines.isEmpty() && lines.last().trimmed().isEmpty()) lines.removeLast();
  qsizetype indent = -1;
  for (const QString& line : std::as_const(lines)) {
    qsizetype blanks = 0;
    while (blanks < line.size() && line[blanks].isSpace()) ++blanks;
    if (blanks < line.size()) indent = indent < 0 ? blanks : std::min(indent, blanks);
  }
  for (QString& line : lines) line.remove(0, std::min(indent, line.size()));
  return lines.join(QLatin1Char('\n'));
}

QString CommandPage(const Command& command, const std::string& usage, const QPalette& palette) {
  QString html = QStringLiteral("<h3 style='margin:0'>%1</h3><p style='margin:4px 0'>%2</p>")
                     .arg(Html(command.name), Html(command.summary));
  html += Code(Shown(usage).trimmed(), palette);
  for (const std::string& detail : command.details) {
    html += QStringLiteral("<p style='margin:8px 0 0 0'>%1</p>").arg(Html(detail));
  }
  const QString parameters = ParameterRows(command);
  if (!parameters.isEmpty()) html += Heading("Parameters") + parameters;
  if (!command.results.empty()) html += Heading("Result variables");
  for (const reference::Result& result : command.results) {
    QString kind = Html(reference::NameOf(result.type));
    if (result.also) kind += QStringLiteral(" or ") + Html(reference::NameOf(*result.also));
    if (result.when != "always") kind += QStringLiteral(", when ") + Html(result.when);
    html += Row(Html(result.name), kind, Html(result.text) + Meanings(result.values));
  }
  const QString example = ExampleText(command);
  if (!example.isEmpty()) {
    html += Heading("Example") + Code(example, palette) +
            QStringLiteral(
                "<p style='margin:4px 0 0 0'><a href='insert:example'>Insert the "
                "example</a></p>");
  }
  if (!command.see.empty()) {
    QStringList links;
    for (const std::string& name : command.see) {
      links << QStringLiteral("<a href='command:%1'>%1</a>").arg(Html(name));
    }
    html +=
        Heading("See also") +
        QStringLiteral("<p style='margin:4px 0 0 0'>%1</p>").arg(links.join(QStringLiteral(", ")));
  }
  return html;
}

QString CommandTip(const Command& command, const std::string& usage) {
  return QStringLiteral("<p><b>%1</b></p><p>%2</p><pre>%3</pre>")
      .arg(Html(command.name), Html(command.summary), Shown(usage).trimmed().toHtmlEscaped());
}

QString InsertedText(const Command& command) {
  QString text = Shown(command.name);
  if (command.main && command.main->required) text += QLatin1Char(' ') + Placeholder(*command.main);
  for (const Parameter& parameter : command.parameters) {
    if (!parameter.required || parameter.numbered) continue;
    const bool bare = parameter.type == Type::kKeyword || parameter.type == Type::kSwitch;
    text += QLatin1Char(' ') + Shown(parameter.name);
    if (!bare) text += QLatin1Char(':') + Placeholder(parameter);
  }
  return text;
}

}  // namespace ui::ide_view
