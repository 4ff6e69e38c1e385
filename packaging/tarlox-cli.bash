# bash completion for tarlox-cli: the commands and each command's options,
# read from the program's own help so they never go out of date.
_tarlox_cli()
{
    local cur=${COMP_WORDS[COMP_CWORD]} command="" i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
        --ini) ((i++)) ;;
        -*) ;;
        *) command=${COMP_WORDS[i]}; break ;;
        esac
    done
    if [[ -z $command ]]; then
        if [[ $cur == -* ]]; then
            COMPREPLY=($(compgen -W "--ini --trace= --version --help" -- "$cur"))
        else
            local commands
            commands=$(tarlox-cli help 2>/dev/null | sed -n 's/^  \([a-z][a-z-]*\) .*/\1/p')
            COMPREPLY=($(compgen -W "help $commands" -- "$cur"))
        fi
        return
    fi
    if [[ $cur == -* ]]; then
        local options
        options=$(tarlox-cli "$command" --help 2>/dev/null | grep -o -- '--[a-z][a-z-]*' | sort -u)
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
    else
        COMPREPLY=($(compgen -f -- "$cur"))
    fi
}
complete -F _tarlox_cli tarlox-cli
