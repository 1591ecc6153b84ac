#!/usr/bin/env python3
"""Writes the pages of the command reference from what `tavhost commands --json` says.

    scripts/generate_reference.py [--tavhost PROGRAM] [FOLDER]

FOLDER is docs/commands when it is not given: an index and one page for each command.
"""

import argparse
import json
import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent

VALUE_PATTERNS = {"integer": "N", "real": "X", "body": "{ … }"}


def escape(text):
    """Text for a table cell or a paragraph."""
    for character in "\\*_|<`":
        text = text.replace(character, "\\" + character)
    return text.replace("\n", " ")


def code(text):
    fence = "``" if "`" in text else "`"
    return fence + text.replace("|", "\\|") + fence


def pattern(parameter):
    value = VALUE_PATTERNS.get(parameter["type"], '"…"')
    name = parameter.get("name")
    if name is None:
        return value
    return name if parameter["type"] in ("switch", "keyword") else f"{name}:{value}"


def usage(command):
    """The command with everything it takes, in lines of readable length."""
    chosen = {name: choice for choice in command.get("choices", []) for name in choice["names"]}
    parts = []
    for parameter in all_parameters(command):
        choice = chosen.get(parameter.get("name"))
        if choice:
            if choice["names"][0] == parameter["name"]:
                words = " | ".join(choice["names"])
                parts.append(f"({words})" if choice.get("required") else f"[{words}]")
        elif parameter.get("required") and not parameter.get("unless"):
            parts.append(pattern(parameter))
        else:
            parts.append(f"[{pattern(parameter)}]")
    lines = [command["name"]]
    for part in parts:
        if len(lines[-1]) + 1 + len(part) > 80:
            lines.append("   ")
        lines[-1] += " " + part
    return lines


def joined(names, last="or"):
    names = [code(name) for name in names]
    return names[0] if len(names) == 1 else f"{', '.join(names[:-1])} {last} {names[-1]}"


def literal(value):
    return json.dumps(value, ensure_ascii=False)


def meaning(parameter):
    sentences = [escape(parameter["text"])]
    if "min" in parameter and "max" in parameter:
        sentences.append(f"From {parameter['min']:g} to {parameter['max']:g}.")
    if "required-with" in parameter:
        sentences.append(f"Required with {joined(parameter['required-with'])}.")
    if "only-with" in parameter:
        sentences.append(f"Only with {joined(parameter['only-with'])}.")
    if "unless" in parameter:
        sentences.append(f"Not looked at with {joined(parameter['unless'])}.")
    if "absent" in parameter:
        sentences.append(f"When absent: {escape(parameter['absent'])}.")
    if "default" in parameter and parameter["type"] != "switch":
        sentences.append(f"Default: {code(literal(parameter['default']))}.")
    elif parameter.get("default") == 1:
        sentences.append("Default: on.")
    return " ".join(sentences) + value_list(parameter)


def value_list(described):
    return "".join(
        f"<br>{code(value)}: {escape(text)}" for value, text in described.get("values", {}).items())


def kind(parameter):
    text = parameter["type"]
    if "unit" in parameter:
        text += f" in {parameter['unit']}"
    return text + (", required" if parameter.get("required") else "")


def parameter_rows(parameters):
    yield "| parameter | type | meaning |"
    yield "|---|---|---|"
    for parameter in parameters:
        name = code(parameter["name"]) if "name" in parameter else "main value"
        yield f"| {name} | {kind(parameter)} | {meaning(parameter)} |"


def all_parameters(command):
    """The main value first."""
    return ([command["main"]] if "main" in command else []) + command["parameters"]


def page(command):
    yield f"# {command['name']}"
    yield ""
    yield escape(command["summary"])
    yield ""
    yield "```"
    yield from usage(command)
    yield "```"
    for detail in command.get("details", []):
        yield ""
        yield escape(detail)
    if all_parameters(command):
        yield ""
        yield "## Parameters"
        yield ""
        yield from parameter_rows(all_parameters(command))
    for choice in command.get("choices", []):
        yield ""
        yield escape(choice["text"]) + " " + ", ".join(code(name) for name in choice["names"]) + "."
    for parameter in command["parameters"]:
        for element in parameter.get("elements", []):
            yield ""
            yield f"### {element['name']} in {code(parameter['name'])}"
            yield ""
            yield escape(element["summary"])
            yield ""
            yield from parameter_rows(all_parameters(element))
    if command["results"]:
        yield ""
        yield "## Result variables"
        yield ""
        yield "| variable | type | set | meaning |"
        yield "|---|---|---|---|"
        for result in command["results"]:
            types = " or ".join(result[key] for key in ("type", "also") if key in result)
            when = result["when"] if result["when"] == "always" else "when " + result["when"]
            text = escape(result["text"]) + value_list(result)
            yield f"| {code(result['name'])} | {types} | {escape(when)} | {text} |"
    yield ""
    yield "## Example"
    yield ""
    yield "```"
    yield command["example"]["script"].rstrip("\n")
    yield "```"
    for key, title in (("answers", "With these answers:"), ("output", "Prints:")):
        if key in command["example"]:
            yield ""
            yield title
            yield ""
            yield "```"
            yield command["example"][key]
            yield "```"
    if "window" in command:
        yield ""
        yield f"An answers file answers its window by {code(command['window'])}."
    if "see" in command:
        yield ""
        yield "See also " + ", ".join(f"[{escape(name)}]({name}.md)" for name in command["see"]) + "."


def index(families):
    yield "# Commands"
    for family in families:
        yield ""
        yield f"## {escape(family['title'])}"
        yield ""
        yield escape(family["text"])
        yield ""
        yield "| command | |"
        yield "|---|---|"
        for command in family["commands"]:
            yield f"| [{escape(command['name'])}]({command['name']}.md) | {escape(command['summary'])} |"


def write(path, lines):
    path.write_text("\n".join(lines) + "\n", encoding="utf-8")


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    arguments.add_argument("--tavhost", default=str(ROOT / "build/bin/tavhost"))
    arguments.add_argument("folder", nargs="?", default=str(ROOT / "docs/commands"))
    options = arguments.parse_args()
    reply = subprocess.run([options.tavhost, "commands", "--json"], check=True,
                           stdout=subprocess.PIPE).stdout
    families = json.loads(reply)["families"]
    folder = pathlib.Path(options.folder)
    folder.mkdir(parents=True, exist_ok=True)
    write(folder / "README.md", index(families))
    for family in families:
        for command in family["commands"]:
            write(folder / f"{command['name']}.md", page(command))


if __name__ == "__main__":
    main()
