#!/bin/sh
# Runs one command in a running tavhost: service_client.sh PORT TOKEN-FILE COMMAND
#
# Prints the reply. The exit code is 1 when there was an error, 2 when the request could not be sent.

if [ $# -ne 3 ]; then
  echo "usage: service_client.sh PORT TOKEN-FILE COMMAND" >&2
  exit 2
fi
token=$(cat -- "$2") || exit 2
# The token goes through a pipe: the arguments of a program can be read by every user.
reply=$(printf 'X-Tavhost-Token: %s\n' "$token" |
  curl -sS --noproxy '*' -H @- --data-raw "$3" "http://127.0.0.1:$1/command") || exit 2
printf '%s\n' "$reply"
# So ends the reply to a command that went well, whatever its results hold.
case $reply in
  *'"error":null,"exit":null,"errorAt":null}') ;;
  *) exit 1 ;;
esac
