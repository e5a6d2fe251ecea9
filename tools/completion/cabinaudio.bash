# SPDX-License-Identifier: Apache-2.0
# Bash completion for `cabinaudio`. Sub-commands, options and their values are parsed from the
# program's help and messages; names of settings come from the running server, or are the fixed ones.

# The first words of the lines in a section of a help text.
_cabinaudio_words() {
    local part=$1
    shift
    "${COMP_WORDS[0]}" "$@" --help 2>/dev/null |
        awk -v part="$part" '
            /^[A-Z][a-z]+:/ { inside = ($1 == part ":"); next }
            inside && /^  [a-z-]/ { n = split($1, words, ","); for (i = 1; i <= n; i++) print words[i] }'
}

# Runs a sub-command of the settings with the server of the command line.
_cabinaudio_settings() {
    local -a server=()
    local i
    for ((i = 1; i < COMP_CWORD; i++)); do
        # Bash splits words at '='.
        case ${COMP_WORDS[i]} in
            --instance)
                if [[ ${COMP_WORDS[i + 1]} == '=' ]]; then
                    server=(--instance "${COMP_WORDS[i + 2]}")
                else
                    server=(--instance "${COMP_WORDS[i + 1]}")
                fi
                ;;
        esac
    done
    "${COMP_WORDS[0]}" "$@" --timeout 1 "${server[@]}" 2>/dev/null
}

# The kind of an option's value, such as FILE; fails for an option without a value.
#   _cabinaudio_kind SUB-COMMAND OPTION
_cabinaudio_kind() {
    "${COMP_WORDS[0]}" "$1" --help 2>/dev/null | awk -v option="$2" '
        /^  -/ {
            n = split($1, names, ",")
            # Two blanks stand before the description.
            if (names[n] == option && match($0, /^  [^ ]+ [A-Z][A-Z|]*/)) {
                print substr($0, RSTART + length($1) + 3, RLENGTH - length($1) - 3)
                found = 1
            }
        }
        END { exit !found }'
}

# The values of an option that takes one of a few: the message about a wrong value lists them. No
# instance has the name ".", so nothing is done in any case.
#   _cabinaudio_choices SUB-COMMAND OPTION
_cabinaudio_choices() {
    "${COMP_WORDS[0]}" "$1" "$2" '?' --instance . 2>&1 >/dev/null |
        sed -n "s/^cabinaudio: $2: must be one of \(.*\) (try .*/\1/p" | tr -d ,
}

# Offers words that begin with the second argument.
#   _cabinaudio_offer WORDS BEGIN
_cabinaudio_offer() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

# Offers values of an option. Fails for an option without a value.
#   _cabinaudio_option SUB-COMMAND OPTION BEGIN
_cabinaudio_option() {
    local kind
    kind=$(_cabinaudio_kind "$1" "$2") || return 1
    case $kind in
        FILE) mapfile -t COMPREPLY < <(compgen -f -- "$3") ;;
        DIR) mapfile -t COMPREPLY < <(compgen -d -- "$3") ;;
        PATTERN) _cabinaudio_offer "$("${COMP_WORDS[0]}" "$1" --list 2>/dev/null | cut -d ' ' -f 1)" "$3" ;;
        *) _cabinaudio_offer "$(_cabinaudio_choices "$1" "$2")" "$3" ;;
    esac
}

# The first words of checks: the message about a wrong one lists them.
_cabinaudio_checks() {
    "${COMP_WORDS[0]}" check . '?' 2>&1 >/dev/null |
        sed -n 's/.*; the checks are \(.*\)$/\1/p' | tr -d ,
}

# Offers values for NAME=, or amounts for NAME+= and NAME-=.
#   _cabinaudio_setting NAME BEGIN
_cabinaudio_setting() {
    local words
    words=$(_cabinaudio_settings describe --values "${1%[+-]}")
    [[ $1 != *[+-] ]] || words=$(sed -n 's/+$//p' <<<"$words")
    _cabinaudio_offer "$words" "$2"
}

_cabinaudio() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} assigned=
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        _cabinaudio_offer "$(_cabinaudio_words Subcommands) $(_cabinaudio_words Options)" "$word"
        return
    fi
    local command=${COMP_WORDS[1]}
    # NAME=VALUE and --option=VALUE are three words.
    if [[ $word == '=' ]]; then
        assigned=$before
        word=
    elif [[ $before == '=' ]]; then
        assigned=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    if [[ -z $assigned && $word == -* ]]; then
        _cabinaudio_offer "$(_cabinaudio_words Options "$command")" "$word"
        return
    fi
    if [[ ${assigned:-$before} == --* ]]; then
        _cabinaudio_option "$command" "${assigned:-$before}" "$word" && return
        [[ -z $assigned ]] || return
    fi
    case $command in
        get | monitor)
            _cabinaudio_offer "$(_cabinaudio_settings list --names --readable)" "$word"
            ;;
        describe)
            _cabinaudio_offer "$(_cabinaudio_settings list --names)" "$word"
            ;;
        set)
            if [[ -n $assigned ]]; then
                _cabinaudio_setting "$assigned" "$word"
                return
            fi
            mapfile -t COMPREPLY < <(
                compgen -W "$(_cabinaudio_settings list --names --settable)" -S = -- "$word"
            )
            compopt -o nospace 2>/dev/null
            ;;
        server)
            _cabinaudio_offer \
                "$(_cabinaudio_words Subcommands "${COMP_WORDS[@]:1:COMP_CWORD-1}")" "$word"
            ;;
        check)
            mapfile -t COMPREPLY < <(
                compgen -f -- "$word"
                compgen -W "$(_cabinaudio_checks)" -- "$word"
            )
            ;;
        *)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            ;;
    esac
}

complete -F _cabinaudio cabinaudio
