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

# The names of the programs that recorded something; with a state of those alone that are in it: "running".
_qxlt_processes() {
    "$1" list --recordings --format json 2>/dev/null |
        sed -n "s/^{\"record\":\"recording\",\"process\":\"\([A-Za-z0-9._-]*\)\".*\"state\":\"${2:-[a-z]*}\".*/\1/p"
}

# The events of the scripts that are on the command line already.
_qxlt_events() {
    local scripts=() i
    for ((i = 2; i < ${#COMP_WORDS[@]}; ++i)); do
        local file=${COMP_WORDS[i]/#\~\//$HOME/}
        if [ "$i" -eq "$COMP_CWORD" ] || [ ! -f "$file" ]; then continue; fi
        [[ $file = *.xml || ${COMP_WORDS[i - 1]} = -s || ${COMP_WORDS[i - 1]} = --script ]] && scripts+=("$file")
    done
    [ "${#scripts[@]}" -eq 0 ] ||
        "$1" check --events -- "${scripts[@]}" 2>/dev/null | sed -n '/^[A-Za-z0-9._-]*$/p'
}

_qxlt() {
    local program=$1 word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words joined=
    # "--format=json" comes as three words.
    if [ "$previous" = = ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]} joined=yes
    elif [ "$word" = = ]; then
        word='' joined=yes
    fi
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words="$(_qxlt_commands "$program") $(_qxlt_options "$program")"
    else
        local command=${COMP_WORDS[1]}
        case $command,$previous in
            *,--format | *,--level | *,--pause | *,--on-loss | *,--time | *,--sort) words=$(_qxlt_choices "$program" "$command" "$previous") ;;
            *,--recording) words=$(_qxlt_recordings "$program") ;;
            run,-p | run,--process | trace,-p | trace,--process | top,-p | top,--process) words=$(_qxlt_processes "$program" running) ;;
            *,-p | *,--process) words=$(_qxlt_processes "$program") ;;
            check,--explain) words="$("$program" check --explain all | sed -n 's/^## \(QX[0-9]*\).*/\1/p') all" ;;
            import,import) [ "${word:0:1}" = - ] || words='ctf uftrace' ;;&
            *,--event | *,--until | *,--keep-on) words=$(_qxlt_events "$program") ;;
            *,--explain) [ -z "$joined" ] || words=$(_qxlt_events "$program") ;;&
            clean,*) [ "${word:0:1}" = - ] || words=$(_qxlt_recordings "$program") ;;&
            *) [ "${word:0:1}" = - ] && words=$(_qxlt_options "$program" "$command") ;;
        esac
    fi
    # Without words of its own it leaves files to bash.
    [ -n "$words" ] && mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -o default -F _qxlt qxlt
