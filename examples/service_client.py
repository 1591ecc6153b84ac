#!/usr/bin/env python3
"""Runs one command in a running tavhost: service_client.py PORT TOKEN-FILE COMMAND"""
import json
import sys
import urllib.request

port, token_file, command = sys.argv[1:]
request = urllib.request.Request(f"http://127.0.0.1:{port}/command", command.encode(),
                                 {"X-Tavhost-Token": open(token_file).read().strip()})
print(json.dumps(json.load(urllib.request.urlopen(request)), indent=2))
