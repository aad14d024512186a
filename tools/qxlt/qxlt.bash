# Completion of qxlt for bash. What commands and options there are is read from the program's own help.

_qxlt_help() {
    "$1" "${@:2}" --help 2>/dev/null
}

_qxlt_commands() {
    _qxlt_help "$1" | sed -n '/^Subcommands:/,$s/^  \([a-z]\+\) .*/\1/p'
}

_qxlt_options() {
    _qxlt_help "$@" | sed -n '/^Options:/,/^Examples:/s/^  \(-[^ ]*\).*/\1/p' | tr , '\n'
}

# The words that an option with a choice takes: "--format text|json".
_qxlt_choices() {
    _qxlt_help "$1" "$2" | sed -n "s/^  ${3} \([a-z0-9]*\(|[a-z0-9]*\)\+\)\( .*\)\?$/\1/p" | tr '|' '\n'
}

# The recordings that there are: "jobq[4711]". Names are the programs' own, and words are expanded: only plain ones.
_qxlt_recordings() {
    "$1" list --recordings 2>/dev/null | sed -n 's/^\([A-Za-z0-9._-]*\[[0-9]*\]\)  .*/\1/p'
}

_qxlt() {
    local program=$1 word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words
    # "--format=json" comes as three words.
    if [ "$previous" = = ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    elif [ "$word" = = ]; then
        word=
    fi
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words="$(_qxlt_commands "$program") $(_qxlt_options "$program")"
    else
        local command=${COMP_WORDS[1]}
        case $command,$previous in
            *,--format | *,--level | *,--pause | *,--on-loss | *,--time | *,--sort) words=$(_qxlt_choices "$program" "$command" "$previous") ;;
            *,--recording) words=$(_qxlt_recordings "$program") ;;
            check,--explain) words="$("$program" check --explain all | sed -n 's/^## \(QX[0-9]*\).*/\1/p') all" ;;
            clean,*) [ "${word:0:1}" = - ] || words=$(_qxlt_recordings "$program") ;;&
            *) [ "${word:0:1}" = - ] && words=$(_qxlt_options "$program" "$command") ;;
        esac
    fi
    # Without words of its own it leaves files to bash.
    [ -n "$words" ] && mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -o default -F _qxlt qxlt
