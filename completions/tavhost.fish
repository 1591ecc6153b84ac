# fish completion for tavhost; put it into ~/.config/fish/completions.

set -l subcommands workbench run send check commands validate repl serve lsp trace
# Those in which no commands run, and which take no options for that.
set -l without_answers commands validate lsp trace
set -l without_commands check $without_answers

function __tavhost_command_names
    tavhost commands 2>/dev/null | string replace -rf '^  (\S+)\s+(.*)$' '$1\t$2'
end

complete -c tavhost -f
complete -c tavhost -n "not __fish_seen_subcommand_from $subcommands" -a workbench -d 'Open the workbench'
complete -c tavhost -n "not __fish_seen_subcommand_from $subcommands" -a run -d 'Run a script'
complete -c tavhost -n "not __fish_seen_subcommand_from $subcommands" -a send -d 'Send commands and print each reply'
complete -c tavhost -n "not __fish_seen_subcommand_from $subcommands" -a check -d 'Find mistakes without running'
complete -c tavhost -n "not __fish_seen_subcommand_from $subcommands" -a commands -d 'List the commands, or explain one'
complete -c tavhost -n "not __fish_seen_subcommand_from $subcommands" -a validate -d 'Test a plug-in'
complete -c tavhost -n "not __fish_seen_subcommand_from $subcommands" -a repl -d 'An interactive prompt'
complete -c tavhost -n "not __fish_seen_subcommand_from $subcommands" -a serve -d 'Serve scripts over HTTP'
complete -c tavhost -n "not __fish_seen_subcommand_from $subcommands" -a lsp -d 'Speak the language server protocol'
complete -c tavhost -n "not __fish_seen_subcommand_from $subcommands" -a trace -d 'Compare traces'

complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l ui -x -a 'auto qt headless' -d 'Real windows or none'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_answers" -l answers -r -F -a 'accept cancel ask' -d 'Who answers dialogs'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l record -r -F -d 'Write the answers to a file'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l trace -r -F -d 'Write the calls into the host'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l screenshots -x -a '(__fish_complete_directories)' -d 'Write a picture of each window'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l plugin -r -F -d 'Load this plug-in'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l db -x -a '(__fish_complete_directories)' -d 'The folder behind db:\\ names'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l screen -x -d 'Size of the screen without a display'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l printer -x -d 'Printer without a display'
complete -c tavhost -l timeout -x -d 'End, or stop what runs, after so many seconds'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l quiet -d 'No output windows, progress or notes'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l model-window -d 'Have a model window'
complete -c tavhost -n "not __fish_seen_subcommand_from $without_commands" -l dry-run -d 'Tell what would be written, deleted or sent'
complete -c tavhost -l version -d 'Print the version'
complete -c tavhost -s h -l help -d 'Print help'

complete -c tavhost -n '__fish_seen_subcommand_from run' -s e -x -d 'Run this text'
complete -c tavhost -n '__fish_seen_subcommand_from workbench run check' -F
complete -c tavhost -n '__fish_seen_subcommand_from check commands validate' -l json -d 'Write JSON'
complete -c tavhost -n '__fish_seen_subcommand_from commands send' -a '(__tavhost_command_names)'
complete -c tavhost -n '__fish_seen_subcommand_from validate' -F
complete -c tavhost -n '__fish_seen_subcommand_from serve' -l port -x -d 'Port to listen on'
complete -c tavhost -n '__fish_seen_subcommand_from serve' -l address -x -d 'Listen on this address'
complete -c tavhost -n '__fish_seen_subcommand_from serve' -l allow-crash -d 'Let requests end the program by CRASH'
complete -c tavhost -n '__fish_seen_subcommand_from serve' -l reply-limit -x -d 'The most that one reply may take, in MiB'
complete -c tavhost -n '__fish_seen_subcommand_from serve' -l socket -r -F -d 'Listen on a socket in the file system'
complete -c tavhost -n '__fish_seen_subcommand_from serve' -l token-file -r -F -d 'Where the token is'
complete -c tavhost -n '__fish_seen_subcommand_from serve' -l request-timeout -x -d 'Stop each request after so many seconds'
complete -c tavhost -n '__fish_seen_subcommand_from trace' -a diff -F
