#!/usr/bin/env python3
"""Runs a command or a script in a running tavhost, and answers its dialogs here in the terminal.

usage: service_client.py PORT TOKEN-FILE COMMAND
       service_client.py PORT TOKEN-FILE SCRIPT.tav

Prints the reply. The exit code is that of the script; 1 when there was an error, 2 when the request
could not be sent, 3 when a dialog was not answered.
"""
import http.client
import json
import sys
import urllib.error
import urllib.request

SECONDS_FOR_AN_ANSWER = 300


class NoAnswer(Exception):
    """The user has gone."""


class Client:
    def __init__(self, port, token_file):
        self.url = f"http://127.0.0.1:{int(port)}"
        with open(token_file) as file:
            self.token = file.read().strip()
        # The service is on this machine: no proxy stands between.
        self.opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))

    def post(self, path, text, **headers):
        """Sends a request; returns its status, its reply and the id of what runs."""
        fields = {f"X-Tavhost-{name}": value for name, value in headers.items()}
        request = urllib.request.Request(self.url + path, text.encode(),
                                         {"X-Tavhost-Token": self.token, **fields})
        try:
            reply = self.opener.open(request)
        except urllib.error.HTTPError as refusal:
            reply = refusal
        with reply:
            return reply.status, json.load(reply), reply.headers["X-Tavhost-Request"]

    def run(self, path, text):
        """Runs it, with all that it asks; returns the last status and reply."""
        status, reply, request = self.post(path, text, Dialogs=f"ask {SECONDS_FOR_AN_ANSWER}")
        question = reply.get("question")
        while question:
            try:
                answer = ask(question)
            except (NoAnswer, KeyboardInterrupt):
                self.post("/cancel", request)  # its window would stay open, and others wait for it
                raise
            status, reply, _ = self.post("/answer", answer, Question=question["id"])
            if status == 400:  # the answer does not fit; the window is still open
                tell(reply["error"])
            else:
                question = reply.get("question")
        return status, reply


def ask(question):
    """Shows a window and returns its answer, as an element of an answers file."""
    tell(f"--- {question['title']} ---")
    for name, value in question.items():
        if name not in ("id", "window", "title", "buttons", "default", "answer"):
            tell(value if name == "text" else f"{name}: {json.dumps(value, ensure_ascii=False)}")
    tell("buttons: " + ", ".join(button["name"] for button in question["buttons"]))
    tell(f"a button, a whole answer, or Enter for {question['answer']}:")
    line = sys.stdin.readline()
    if not line:  # the end, which is no Enter
        raise NoAnswer
    line = line.strip()
    if not line:
        return question["answer"]
    return line if line.startswith(question["window"]) else f"{question['window']} button:{line}"


def tell(text):
    print(text, file=sys.stderr)


def main():
    if len(sys.argv) != 4:
        tell(__doc__.strip())
        return 2
    port, token_file, what = sys.argv[1:]
    path = "/command"
    try:
        if what.endswith(".tav"):
            path = "/script"
            with open(what, encoding="utf-8") as file:
                what = file.read()
        status, reply = Client(port, token_file).run(path, what)
    except NoAnswer:
        tell("service_client.py: no answer: standard input has ended; the script was stopped")
        return 3
    except KeyboardInterrupt:
        return 130
    except (OSError, ValueError, http.client.HTTPException) as error:  # no such file, no service
        tell(f"service_client.py: {getattr(error, 'reason', error)}")
        return 2
    print(json.dumps(reply, indent=2))
    if status != 200 or reply["error"] is not None:
        return 1
    code = reply["exit"] or 0
    return code if 0 <= code <= 255 else 255  # as `tavhost run` ends


if __name__ == "__main__":
    sys.exit(main())
