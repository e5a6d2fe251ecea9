#compdef cabinaudio
# SPDX-License-Identifier: Apache-2.0
# Zsh completion for `cabinaudio`. Sub-commands and options are parsed from the program's help, with
# their descriptions; names of settings come from the running server, or are the fixed ones.

# Offers the first words of the lines in a section of a help text.
#   _cabinaudio_words PART [SUB-COMMAND...]
_cabinaudio_words() {
    local part=$1 line word inside
    local -a found texts
    shift
    for line in "${(@f)$(_call_program words $words[1] ${(q)@} --help 2>/dev/null)}"; do
        if [[ $line == [A-Z]*: ]]; then
            [[ $line == $part: ]] && inside=yes || inside=
        elif [[ -n $inside && $line == '  '[a-z-]* ]]; then
            for word in ${(s:,:)${line##  }%% *}; do
                found+=(${word%%=*})
                texts+=("${(r:24:)${word%%=*}} ${${line#*  *  }## #}")
            done
        fi
    done
    compadd -l -d texts -a found
}

# Offers names of settings.
#   _cabinaudio_settings [OPTION OF LIST]... -- [OPTION OF COMPADD]...
_cabinaudio_settings() {
    local i
    local -a server names filter
    while [[ $# -gt 0 && $1 != -- ]]; do
        filter+=($1)
        shift
    done
    shift
    for (( i = 2; i < CURRENT; i++ )); do
        case $words[i] in
            --instance) server=(--instance ${words[i + 1]}) ;;
            --instance=*) server=(${words[i]}) ;;
        esac
    done
    names=(${(f)"$(_call_program settings \
        $words[1] list --names --timeout 1 $server $filter 2>/dev/null)"})
    compadd "$@" -a names
}

_cabinaudio() {
    local word=$words[CURRENT] before=$words[CURRENT-1] command=$words[2]
    if (( CURRENT == 2 )); then
        if [[ $word == -* ]]; then
            _cabinaudio_words Options
        else
            _cabinaudio_words Subcommands
        fi
        return
    fi
    if [[ $word == -* ]]; then
        _cabinaudio_words Options $command
        return
    fi
    case $before in
        --instance | --timeout | --interval | --count) return 1 ;;
        --log | --file | --report)
            _files
            return
            ;;
    esac
    case $command in
        get | monitor) _cabinaudio_settings --readable -- ;;
        describe) _cabinaudio_settings -- ;;
        set)
            # No names follow the '='.
            [[ $word == *=* ]] && return 1
            _cabinaudio_settings --settable -- -S =
            ;;
        server) _cabinaudio_words Subcommands ${words[2,CURRENT-1]} ;;
        play | record) _files ;;
    esac
}

_cabinaudio "$@"
