# SPDX-License-Identifier: Apache-2.0
# Bash completion for `cabinaudio`. Sub-commands and options are parsed from the program's help;
# names of settings come from the running server, or are the fixed ones.

# The first words of the lines in a section of a help text.
_cabinaudio_words() {
    local part=$1
    shift
    "${COMP_WORDS[0]}" "$@" --help 2>/dev/null |
        awk -v part="$part" '
            /^[A-Z][a-z]+:/ { inside = ($1 == part ":"); next }
            inside && /^  [a-z-]/ { n = split($1, words, ","); for (i = 1; i <= n; i++) print words[i] }'
}

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
    "${COMP_WORDS[0]}" list --names --timeout 1 "${server[@]}" "$@" 2>/dev/null
}

_cabinaudio() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        local words
        words="$(_cabinaudio_words Subcommands) $(_cabinaudio_words Options)"
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
        return
    fi
    local command=${COMP_WORDS[1]}
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_cabinaudio_words Options "$command")" -- "$word")
        return
    fi
    case $before in
        --instance | --timeout | --interval | --count) return ;;
        --log | --file | --report)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
    esac
    case $command in
        get | monitor)
            mapfile -t COMPREPLY < <(compgen -W "$(_cabinaudio_settings --readable)" -- "$word")
            ;;
        describe)
            mapfile -t COMPREPLY < <(compgen -W "$(_cabinaudio_settings)" -- "$word")
            ;;
        set)
            # No names follow the '='.
            if [[ $word == '=' || $before == '=' || $word == *=* ]]; then return; fi
            mapfile -t COMPREPLY < <(
                compgen -W "$(_cabinaudio_settings --settable)" -S = -- "$word"
            )
            compopt -o nospace 2>/dev/null
            ;;
        server)
            mapfile -t COMPREPLY < <(
                compgen -W "$(_cabinaudio_words Subcommands "${COMP_WORDS[@]:1:COMP_CWORD-1}")" \
                    -- "$word"
            )
            ;;
        *)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            ;;
    esac
}

complete -F _cabinaudio cabinaudio
