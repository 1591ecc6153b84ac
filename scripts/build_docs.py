#!/usr/bin/env python3
"""Builds the documentation as a static site, in build/site.

    scripts/build_docs.py [--tavhost PROGRAM]

The pages are those of docs/, one for each command from what the program says of itself, and one
with the examples. Windows are pictured as their examples open them, where the program can show
windows. mkdocs makes the site and its search; a link that leads nowhere is an error.
"""

import argparse
import concurrent.futures
import json
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PAGES = ROOT / "build/docs"


# What the examples that open windows are run with, for their pictures: arguments and files.
EXAMPLE_RUNS = {
    "csv_editor": (["parts.csv"], {"parts.csv": "Name;Mass\nPiston;2.5\nValve;0.3\n"}),
    "log_viewer": (["host.log"], {"host.log": "18:30:00 started\n18:30:01 reading\n18:30:02 ERROR "
                                              "cannot open engine.dat\n18:30:03 going on\n"}),
    "release_wizard": (["parts"], {"parts/guide.txt": "", "parts/program.txt": "",
                                   "parts/scratch.log": ""}),
    "tree_picker": (["parts", "picked"], {"parts/engine/piston.txt": "1", "parts/frame.txt": "2",
                                          "parts/wheel.txt": "3"}),
}


def picture(tavhost, script, answers, options, target, arguments=(), files=None, largest=False):
    """The first, or the largest, window that a script opens; False when there is none to be had."""
    with tempfile.TemporaryDirectory() as folder:
        for name, content in (files or {}).items():
            Path(folder, name).parent.mkdir(parents=True, exist_ok=True)
            Path(folder, name).write_text(content)
        Path(folder, "example.tav").write_text(script)
        Path(folder, "answers.kel").write_text(answers + "\n")
        subprocess.run([tavhost, "run", "--ui", "qt", "--screenshots", "pictures", "--timeout", "30",
                        *options, "--answers", "answers.kel", "example.tav", *arguments],
                       cwd=folder, env={**os.environ, "QT_QPA_PLATFORM": "offscreen"},
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        made = sorted(Path(folder, "pictures").glob("*.png"))
        if made:
            chosen = max(made, key=lambda path: path.stat().st_size) if largest else made[0]
            shutil.copyfile(chosen, target)
        return bool(made)


def add_pictures(tavhost):
    """Puts the window of each command that has one behind its example."""
    told = subprocess.run([tavhost, "commands", "--json"], check=True, stdout=subprocess.PIPE)
    commands = [command for family in json.loads(told.stdout)["families"]
                for command in family["commands"] if "window" in command]
    folder = PAGES / "commands/pictures"
    folder.mkdir()

    def one(command):
        example = command["example"]
        return picture(tavhost, example["script"], example.get("answers", ""),
                       shlex.split(example.get("options", "")), folder / f"{command['name']}.png")

    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        for command, made in zip(commands, pool.map(one, commands)):
            if made:
                page = PAGES / f"commands/{command['name']}.md"
                name = command["name"]
                page.write_text(page.read_text().replace(
                    "\n## Example\n", "\n## Example\n\n"
                    f'<img class="window" src="pictures/{name}.png" alt="The window of {name}">\n'))
    return len(list(folder.iterdir()))


def examples_page(tavhost):
    """Every example: what it is for, its window, its text, its answers."""
    folder = PAGES / "pictures"
    folder.mkdir()
    yield "# Examples"
    yield ""
    yield "Scripts to read, run and start from. Each of them runs in the tests."
    for script in sorted((ROOT / "examples").glob("*.tav")):
        text = script.read_text()
        comment = re.match(r"(?:#.*\n)+", text)
        first = comment[0].split("\n#\n")[0] if comment else ""
        yield ""
        yield f"## {script.name}"
        yield ""
        yield " ".join(line.lstrip("# ") for line in first.strip().split("\n"))
        answers = script.with_suffix(".answers")
        if script.stem in EXAMPLE_RUNS and answers.exists():
            arguments, files = EXAMPLE_RUNS[script.stem]
            if picture(tavhost, text, answers.read_text(), [], folder / f"{script.stem}.png",
                       arguments, files, largest=True):
                yield ""
                yield (f'<img class="window" src="pictures/{script.stem}.png" '
                       f'alt="A window of {script.name}">')
        for name, content in ((None, text), *(
                (f"Its answers file, `{path.name}`:", path.read_text())
                for path in [script.with_suffix(".answers")] if path.exists())):
            yield ""
            if name:
                yield name
                yield ""
            yield "```"
            yield content.rstrip("\n")
            yield "```"


def prepare(tavhost):
    shutil.rmtree(PAGES, ignore_errors=True)
    shutil.copytree(ROOT / "docs", PAGES, ignore=shutil.ignore_patterns("man"))
    subprocess.run([sys.executable, ROOT / "scripts/generate_reference.py", "--tavhost", tavhost,
                    PAGES / "commands"], check=True, stdout=subprocess.DEVNULL)
    commands = PAGES / "commands"
    if (commands / "README.md").exists():
        (commands / "README.md").rename(commands / "index.md")
    (PAGES / "examples.md").write_text("\n".join(examples_page(tavhost)) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--tavhost", default=str(ROOT / "build/bin/tavhost"))
    options = parser.parse_args()
    tavhost = str(Path(options.tavhost).resolve())
    prepare(tavhost)
    pictures = add_pictures(tavhost)
    made = subprocess.run(["mkdocs", "build", "--clean", "--strict", "--quiet",
                           "--config-file", ROOT / "mkdocs.yml"],
                          cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if made.returncode != 0:
        sys.exit(made.stdout)
    pages = len(list((ROOT / "build/site").rglob("*.html")))
    print(f"build/site/index.html: {pages} pages, {pictures} pictures of windows")


if __name__ == "__main__":
    main()
