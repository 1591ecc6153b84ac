#!/usr/bin/env python3
"""Stands in for tavhost in the tests of the script-test runner: does what the script's lines say."""

import os
import sys
import time
import urllib.request

assert sys.argv[1] == "run"
rest = sys.argv[2:]
options = {}
while rest[0].startswith("--"):
    options[rest[0]] = rest[1]
    del rest[:2]
script, arguments = rest[0], rest[1:]
trace = open(options["--trace"], "w") if "--trace" in options else None
for line in open(script):
    word, _, text = line.rstrip("\n").partition(" ")
    if word == "out":
        print(text)
    elif word == "err":
        print(text, file=sys.stderr)
    elif word == "trace" and trace:
        print(text, file=trace, flush=True)
    elif word == "args":
        print(arguments)
    elif word == "option":
        print(options.get(text, "none"))
    elif word == "env":
        print(os.environ.get(text, "none"))
    elif word == "stdin":
        print(sys.stdin.read(), end="")
    elif word == "answers":
        print(open(options["--answers"]).read(), end="")
    elif word == "folder":
        print(sorted(os.listdir(".")))
    elif word == "fetch":
        with urllib.request.urlopen(os.environ["TEST_SERVER"] + text) as answer:
            print(answer.read().decode())
    elif word == "fetch-by-proxy":
        request = urllib.request.Request(os.environ["TEST_SERVER"] + text)
        request.set_proxy(os.environ["TEST_PROXY"].removeprefix("http://"), "http")
        with urllib.request.urlopen(request) as answer:
            print(answer.read().decode().split("127.0.0.1")[0])
    elif word == "sleep":
        sys.stdout.flush()
        time.sleep(float(text))  # a test that takes too long is what this plays
    elif word == "crash":
        os.kill(os.getpid(), 11)
    elif word == "exit":
        sys.exit(int(text))
