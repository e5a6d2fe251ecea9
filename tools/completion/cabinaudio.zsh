#compdef cabinaudio
# SPDX-License-Identifier: Apache-2.0
# Zsh completion for `cabinaudio`. Sub-commands, options and their values are parsed from the
# program's help and messages, with the descriptions; names of settings come from the running server,
# or are the fixed ones.

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

# Runs a sub-command of the settings with the server of the command line. The lines of its output
# are then in $reply.
_cabinaudio_ask() {
    local i
    local -a server
    for (( i = 2; i < CURRENT; i++ )); do
        case $words[i] in
            --instance) server=(--instance ${words[i + 1]}) ;;
            --instance=*) server=(${words[i]}) ;;
        esac
    done
    reply=(${(f)"$(_call_program settings \
        $words[1] ${(q)@} --timeout 1 ${(q)server} 2>/dev/null)"})
}

# Offers names of settings.
#   _cabinaudio_settings [OPTION OF LIST]... -- [OPTION OF COMPADD]...
_cabinaudio_settings() {
    local -a filter reply
    while [[ $# -gt 0 && $1 != -- ]]; do
        filter+=($1)
        shift
    done
    shift
    _cabinaudio_ask list --names $filter
    compadd "$@" -a reply
}

# Offers values for NAME=, or amounts for NAME+= and NAME-=.
_cabinaudio_setting() {
    local -a reply
    _cabinaudio_ask describe --values ${1%[+-]}
    [[ $1 == *[+-] ]] && reply=(${${(M)reply:#*+}%+})
    compadd -a reply
}

# Offers values of an option. Fails for an option without a value.
#   _cabinaudio_option SUB-COMMAND OPTION
_cabinaudio_option() {
    local line kind text
    local -a values
    for line in "${(@f)$(_call_program words $words[1] ${(q)1} --help 2>/dev/null)}"; do
        # Two blanks stand before the description.
        [[ $line == '  '(-?,|)$2' '[A-Z]* ]] && kind=${${line##*$2 }%%[^A-Z|]*}
    done
    case $kind in
        '') return 1 ;;
        FILE) _files ;;
        DIR) _files -/ ;;
        *)
            # The message about a wrong value lists the others. No instance has the name ".", so
            # nothing is done in any case.
            text=$(_call_program values $words[1] ${(q)1} ${(q)2} '\?' --instance . 2>&1)
            [[ $text == *$2': must be one of '* ]] || return 0
            values=(${(s:, :)${${text#*must be one of }% \(try *}})
            compadd -a values
            ;;
    esac
    return 0
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
    if [[ $word == --*=* ]]; then
        compset -P '*='
        _cabinaudio_option $command ${word%%=*}
        return
    fi
    if [[ $word == -* ]]; then
        _cabinaudio_words Options $command
        return
    fi
    [[ $before == --* ]] && _cabinaudio_option $command $before && return
    case $command in
        get | monitor) _cabinaudio_settings --readable -- ;;
        describe) _cabinaudio_settings -- ;;
        set)
            if [[ $word == *=* ]]; then
                compset -P '*='
                _cabinaudio_setting ${word%%=*}
            else
                _cabinaudio_settings --settable -- -S =
            fi
            ;;
        server) _cabinaudio_words Subcommands ${words[2,CURRENT-1]} ;;
        check)
            # The message about a wrong check lists the others.
            word=$(_call_program checks $words[1] check . '\?' 2>&1)
            compadd ${(s:, :)${word##*; the checks are }}
            _files
            ;;
        listen | play | record | scenario | trace) _files ;;
    esac
}

_cabinaudio "$@"
