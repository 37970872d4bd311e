# Completion of trigoractl for bash. Commands, options and keys come from the program's own help, so that they
# are always those of the installed version; IDs come from the catalogue.

_trigoractl_commands() { # [GROUP]
    "$tool" ${1:+"$1"} --help 2>/dev/null | sed -n '/^Commands:/,/^$/s/^  \([a-z-]\+\( [a-z-]\+\)\?\)  .*/\1/p'
}

# The first column of a listing, where that is an ID of three digits.
_trigoractl_ids() { # COMMAND [OPTION]...
    "$tool" "$@" 2>/dev/null | sed -n 's/^\([0-9]\{3,\}\)  .*/\1/p' | sort -u
}

_trigoractl_models() {
    "$tool" drivers --json "${root[@]}" 2>/dev/null | grep -o '"model":"[0-9A-F]*"' | cut -d'"' -f4
}

_trigoractl_keys() {
    "$tool" project set --help 2>/dev/null |
        sed -n '/^Keys of/,/^$/{/cannot be set$/d;s/^  \([A-Za-z]\+\) .*/\1=/p}'
}

# The values of "KEY=" that have names.
_trigoractl_values() { # KEY
    "$tool" project set --help 2>/dev/null |
        sed -n "/^Keys of/,/^\$/s/^  $1 .*  \+\(0 .*\|yes or no\)\$/\1/p" |
        sed 's/[0-9]\+ \([A-Za-z]\)/\1/g; s/ or /,/; s/, */\n/g' | grep -v ' '
}

_trigoractl() {
    local current previous words cword tool=${COMP_WORDS[0]} root=() model=() i
    COMPREPLY=()
    # "=" splits words for bash; here "KEY=VALUE" is one.
    local line=${COMP_LINE:0:COMP_POINT}
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    cword=$((${#words[@]} - 1))
    current=${words[cword]}
    previous=${words[cword - 1]}

    for ((i = 1; i < cword; i++)); do
        case ${words[i]} in
        --root) root=(--root "${words[i + 1]}") ;;
        --model) model=(--model "${words[i + 1]}") ;;
        --folder) model=(--folder) ;;
        esac
    done

    if ((cword == 1)); then
        COMPREPLY=($(compgen -W "$(_trigoractl_commands | cut -d' ' -f1 | sort -u) --help" -- "$current"))
        return
    fi
    local command=(${words[1]})
    local group
    group=$(_trigoractl_commands "${words[1]}" | sed -n "s/^${words[1]} //p")
    if [[ -n $group ]]; then
        if ((cword == 2)); then
            COMPREPLY=($(compgen -W "$group" -- "$current"))
            return
        fi
        command+=("${words[2]}")
    fi

    case $previous in
    --root | --simulators | --application)
        COMPREPLY=($(compgen -f -- "$current"))
        return
        ;;
    --model | --model-id)
        COMPREPLY=($(compgen -W "$(_trigoractl_models)" -- "$current"))
        return
        ;;
    --kind)
        COMPREPLY=($(compgen -W "button folder job kind4 kind5" -- "$current"))
        return
        ;;
    --action)
        COMPREPLY=($(compgen -W "$(_trigoractl_ids actions "${root[@]}")" -- "$current"))
        return
        ;;
    --project)
        COMPREPLY=($(compgen -W "$(_trigoractl_ids projects --folder "${root[@]}")" -- "$current"))
        return
        ;;
    esac

    if [[ $current == -* ]]; then
        COMPREPLY=($(compgen -W "$("$tool" "${command[@]}" --help 2>/dev/null |
            sed -n 's/^  \(--[a-z-]\+\).*/\1/p') --help" -- "$current"))
        return
    fi
    # Which operand this is: options and their values do not count.
    local position=1
    for ((i = ${#command[@]} + 1; i < cword; i++)); do
        case ${words[i]} in
        --json | --folder | --force | --*=*) ;;
        --*) ((i++)) ;;
        *) ((position++)) ;;
        esac
    done
    case "${command[*]} $position" in
    "bind 1" | "unbind 1")
        COMPREPLY=($(compgen -W "$(_trigoractl_ids events "${model[@]}" "${root[@]}")" -- "$current"))
        ;;
    "bind 2" | "project copy 1" | "project set 1" | "project delete 1" | "test-scan 1")
        COMPREPLY=($(compgen -W "$(_trigoractl_ids projects "${model[@]}" "${root[@]}")" -- "$current"))
        ;;
    "watch 1" | "unwatch 1")
        COMPREPLY=($(compgen -W "1 2 3" -- "$current"))
        ;;
    "watch 2")
        COMPREPLY=($(compgen -d -- "$current"))
        ;;
    "project new "* | "project copy "* | "project set "*)
        ((position > 1)) || return
        if [[ $current == *=* ]]; then
            # bash replaces what follows the "=" only.
            local key=${current%%=*}
            if [[ $key == folderPath ]]; then
                COMPREPLY=($(compgen -d -- "${current#*=}"))
            else
                COMPREPLY=($(compgen -W "$(_trigoractl_values "$key")" -- "${current#*=}"))
            fi
        else
            COMPREPLY=($(compgen -W "$(_trigoractl_keys)" -- "$current"))
            compopt -o nospace 2>/dev/null
        fi
        ;;
    esac
}

complete -F _trigoractl trigoractl
