# bash completion for tidewarden                              -*- shell-script -*-

# The long name of an option word: leading dashes and any "=value" removed, and the two
# short spellings the command line accepts (-y, -n) spelled out.
_tidewarden_option_name() {
    local name=$1
    while [[ $name == -* ]]; do name=${name#-}; done
    name=${name%%=*}
    case $name in
        y) name=yes ;;
        n) name=dry-run ;;
    esac
    printf '%s' "$name"
}

_tidewarden() {
    local cur=${COMP_WORDS[COMP_CWORD]}
    local commands="status scan junk clean trash history help"
    local screens="ai apps dedupe docker git ide large projects simulators system toolchains worktrees"

    if ((COMP_CWORD <= 1)); then
        if [[ $cur == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W "--help" -- "$cur")
        else
            mapfile -t COMPREPLY < <(compgen -W "$commands $screens" -- "$cur")
        fi
        return
    fi

    local command=${COMP_WORDS[1]}
    local flags options choices="" max_positional=0
    case $command in
        help | --help | -h | status) flags="json" ;;
        scan) flags="json" options="top depth" max_positional=1 ;;
        junk) flags="json items" ;;
        clean) flags="json safe dry-run yes" ;;
        trash) flags="json" choices="list empty" max_positional=1 ;;
        history) flags="json" options="limit" ;;
        ai | apps | dedupe | docker | git | ide | large | projects | simulators | system | toolchains | worktrees)
            flags="json selected" choices="list clean" max_positional=1 ;;
        *) return ;;
    esac

    # Read the words before the cursor: which options were given, which bare words, and
    # whether the cursor sits on an option's value.
    local i word name positional=() given=" " ended=0 wants_value=0
    for ((i = 2; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if ((wants_value)); then
            wants_value=0
            [[ $word == "=" ]] && wants_value=1 # "--top=5" reaches us as "--top" "=" "5"
            continue
        fi
        if ((ended)) || [[ $word != -?* ]]; then
            positional+=("$word")
            continue
        fi
        if [[ $word == -- ]]; then
            ended=1
            continue
        fi
        name=$(_tidewarden_option_name "$word")
        given+="$name "
        [[ " $options " == *" $name "* && $word != *=* ]] && wants_value=1
    done
    ((wants_value)) && return
    [[ $cur == "=" ]] && return

    # The destructive switches belong to `trash empty` and `<screen> clean`.
    case "$command ${positional[0]-}" in
        "trash empty") flags+=" dry-run yes" ;;
        "$command clean") [[ $choices == "list clean" ]] && flags+=" dry-run yes" ;;
    esac

    if ((!ended)) && [[ $cur == -* || ${#positional[@]} -ge $max_positional ]]; then
        local offered=""
        for name in $flags $options; do
            [[ $given == *" $name "* ]] || offered+=" --$name"
        done
        mapfile -t COMPREPLY < <(compgen -W "$offered" -- "$cur")
        return
    fi
    if ((${#positional[@]} < max_positional)); then
        if [[ $command == scan ]]; then
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$cur")
        else
            mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$cur")
        fi
    fi
}

complete -F _tidewarden tidewarden
