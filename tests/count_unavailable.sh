#!/bin/sh
# Prints how many rows of the command table report "not available yet".
cd "$(dirname "$0")/.." || exit 2
sed -n 's/^NOT_AVAILABLE(\([A-Z_0-9]*\)).*/\1/p' commands/not_available.cpp 2>/dev/null |
  while read -r command; do grep -c "commands::Command_$command}" plugin/command_table.cpp; done |
  awk '{ rows += $1 } END { print rows + 0 }'
