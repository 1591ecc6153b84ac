# bash completion for tavhost; source it, or put it into a folder that bash-completion reads.
_tavhost() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
    local of_all="--timeout --version --help"
    local running="--ui --answers --record --trace --screenshots --plugin --db --screen --printer
        --quiet --model-window --dry-run"
    local options="$running $of_all"
    local with_value=" --ui --answers --record --trace --screenshots --plugin --db --screen --printer --timeout -e --port --address "
    local subcommand= operands=0 word i

    # What stands before the cursor: the subcommand, and how many operands follow it.
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $with_value == *" $word "* ]]; then
            [[ $word == -e ]] && operands=1
            ((i++))
        elif [[ $word == -?* ]]; then
            :
        elif [[ -z $subcommand ]]; then
            subcommand=$word
        else
            ((operands++))
        fi
    done

    COMPREPLY=()
    case $prev in
        --ui) COMPREPLY=($(compgen -W "auto qt headless" -- "$cur")); return ;;
        --answers) COMPREPLY=($(compgen -W "accept cancel ask" -- "$cur") $(compgen -f -- "$cur")); return ;;
        --screenshots | --db) COMPREPLY=($(compgen -d -- "$cur")); return ;;
        --record | --trace | --plugin) COMPREPLY=($(compgen -f -- "$cur")); return ;;
        --screen | --printer | --timeout | -e | --port | --address) return ;;
    esac
    if [[ $subcommand == run && $operands -gt 0 ]]; then
        COMPREPLY=($(compgen -f -- "$cur")) # the script's own arguments
        return
    fi
    if [[ $cur == -* ]]; then
        case $subcommand in
            run) options+=" -e" ;;
            check) options="--json --answers $of_all" ;;
            commands | validate) options="--json $of_all" ;;
            lsp | trace) options=$of_all ;;
            serve) options+=" --port --address --socket --token-file --allow-crash --reply-limit --request-timeout" ;;
        esac
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
        return
    fi
    case $subcommand in
        "") COMPREPLY=($(compgen -W "workbench run send check commands validate repl serve lsp trace" -- "$cur")) ;;
        workbench | run | check) COMPREPLY=($(compgen -f -X '!*.tav' -- "$cur") $(compgen -d -S / -- "$cur")); compopt -o nospace 2> /dev/null ;;
        commands | send) COMPREPLY=($(compgen -W "$(_tavhost_commands)" -- "$cur")) ;;
        validate) COMPREPLY=($(compgen -f -- "$cur")) ;;
        trace) if ((operands == 0)); then COMPREPLY=($(compgen -W diff -- "$cur")); else COMPREPLY=($(compgen -f -- "$cur")); fi ;;
    esac
}
_tavhost_commands() { "${COMP_WORDS[0]}" commands 2> /dev/null | awk '/^  / { print $1 }'; }
complete -F _tavhost tavhost
