#!/bin/sh
# Runs one command in a running tavhost: service_client.sh PORT TOKEN-FILE COMMAND
exec curl -sS -H "X-Tavhost-Token: $(cat "$2")" --data-binary "$3" "http://127.0.0.1:$1/command"
