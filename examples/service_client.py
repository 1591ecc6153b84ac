#!/usr/bin/env python3
"""Runs a command or a script in a running tavhost, and answers its dialogs here in the terminal.

usage: service_client.py PORT TOKEN-FILE COMMAND
       service_client.py PORT TOKEN-FILE SCRIPT.tav
"""
import json
import sys
import urllib.error
import urllib.request

SECONDS_FOR_AN_ANSWER = 300


def post(path, text, **headers):
    """Sends a request; returns its status and its reply."""
    request = urllib.request.Request(f"http://127.0.0.1:{port}{path}", text.encode(), {
        "X-Tavhost-Token": token, **{f"X-Tavhost-{name}": value for name, value in headers.items()}})
    try:
        with urllib.request.urlopen(request) as reply:
            return reply.status, json.load(reply)
    except urllib.error.HTTPError as refusal:
        return refusal.code, json.load(refusal)


def ask(question):
    """Shows a window and returns its answer, as an element of an answers file."""
    tell(f"--- {question['title']} ---")
    for name, value in question.items():
        if name not in ("id", "window", "title", "buttons", "default", "answer"):
            tell(value if name == "text" else f"{name}: {json.dumps(value, ensure_ascii=False)}")
    tell("buttons: " + ", ".join(button["name"] for button in question["buttons"]))
    tell(f"a button, a whole answer, or Enter for {question['answer']}:")
    line = sys.stdin.readline().strip()
    if not line:
        return question["answer"]
    return line if line.startswith(question["window"]) else f"{question['window']} button:{line}"


def tell(text):
    print(text, file=sys.stderr)


port, token_file, what = sys.argv[1:]
with open(token_file) as file:
    token = file.read().strip()
if what.endswith(".tav"):
    with open(what) as file:
        path, what = "/script", file.read()
else:
    path = "/command"

status, reply = post(path, what, Dialogs=f"ask {SECONDS_FOR_AN_ANSWER}")
while status == 200 and "question" in reply:
    question = reply["question"]
    status, reply = post("/answer", ask(question), Question=question["id"])
    while status == 400:  # the answer does not fit; the window is still open
        tell(reply["error"])
        status, reply = post("/answer", ask(question), Question=question["id"])
print(json.dumps(reply, indent=2))
sys.exit(0 if status == 200 and reply["error"] is None else 1)
