# Completion of trigoractl for bash. Commands, options and keys come from the program's own help, so that they
# are always those of the installed version; IDs come from the catalogue.

_trigoractl_commands() { # [GROUP]
    "$tool" ${1:+"$1"} --help 2>/dev/null | sed -n '/^Commands:/,/^$/s/^  \([a-z-]\+\( [a-z-]\+\)\?\)  .*/\1/p'
}

# The first column of a listing, where that is an ID of three digits.
_trigoractl_ids() { # COMMAND [OPTION]...
    "$tool" "$@" 2>/dev/null | sed -n 's/^\([0-9]\{3,\}\)  .*/\1/p' | sort -u
}

# The projects of these lists, and only those that are available.
_trigoractl_projects() { # LIST|LIST... AVAILABLE TYPE [OPTION]...
    local lists=$1 available=$2 type=$3
    shift 3
    "$tool" projects "$@" 2>/dev/null |
        sed -nE "s/^([0-9]{3,})  .*  ($lists)  +($type)  .*  ($available)(  .*)?\$/\1/p" | sort -u
}

_trigoractl_models() {
    "$tool" drivers --json "${root[@]}" 2>/dev/null | grep -o '"model":"[0-9A-F]*"' | cut -d'"' -f4
}

_trigoractl_drivers() {
    "$tool" drivers --json "${root[@]}" 2>/dev/null | grep -o '"driver":"[^"\\]*"' | cut -d'"' -f4
}

# What can be done at a panel: the words of its usage.
_trigoractl_panel_words() {
    "$tool" panel --help 2>/dev/null | sed -n '1s/.*\] \(session\)/\1/p' | tr '|' '\n' | cut -d' ' -f1
}

# Splits a line into "words" as a shell does, expanding nothing. "quote" is that of the last word, if it is still
# open.
_trigoractl_split() { # LINE
    local line=$1 word="" character i has=
    words=() quote=
    for ((i = 0; i < ${#line}; i++)); do
        character=${line:i:1}
        if [[ -n $quote ]]; then
            if [[ $character == "$quote" ]]; then
                quote=
            else
                word+=$character
            fi
            continue
        fi
        case $character in
        [\"\']) quote=$character has=1 ;;
        \\) word+=${line:++i:1} has=1 ;;
        [[:space:]])
            [[ -n $has ]] && words+=("$word")
            word="" has=
            ;;
        *) word+=$character has=1 ;;
        esac
    done
    words+=("$word")
}

# Offers those lines that begin with the current word, quoted if need be.
_trigoractl_offer() { # LINES
    local line
    while IFS= read -r line; do
        [[ -n $line && $line == "$current"* ]] || continue
        [[ -z $quote ]] && printf -v line %q "$line"
        COMPREPLY+=("$line")
    done <<<"$1"
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
    local current previous words cword quote tool=${COMP_WORDS[0]} root=() model=() i
    COMPREPLY=()
    # "=" splits words for bash; here "KEY=VALUE" is one.
    _trigoractl_split "${COMP_LINE:0:COMP_POINT}"
    # Options may stand before the command.
    while [[ ${#words[@]} -gt 2 && ${words[1]} == --* ]]; do
        case ${words[1]} in
        --root)
            root=(--root "${words[2]}")
            words=("${words[0]}" "${words[@]:3}")
            ;;
        --root=*)
            root=("${words[1]}")
            words=("${words[0]}" "${words[@]:2}")
            ;;
        *) words=("${words[0]}" "${words[@]:2}") ;;
        esac
    done
    cword=$((${#words[@]} - 1))
    ((cword > 0)) || return
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
    --driver)
        _trigoractl_offer "$(_trigoractl_drivers)"
        return
        ;;
    --model | --model-id)
        # The name that a scanner reports is known to nobody here.
        [[ $previous == --model && "${command[*]}" =~ ^(press|explain press|panel)$ ]] && return
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
        _trigoractl_offer "$(_trigoractl_projects folder yes '0x[0-9A-Fa-f]+' --folder "${root[@]}")"
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
        --json | --folder | --force | --usb | --all | --ica-mode | --*=*) ;;
        --*) ((i++)) ;;
        *) ((position++)) ;;
        esac
    done
    case "${command[*]} $position" in
    "bind 1" | "unbind 1")
        COMPREPLY=($(compgen -W "$(_trigoractl_ids events "${model[@]}" "${root[@]}")" -- "$current"))
        ;;
    "bind 2")
        _trigoractl_offer "$(_trigoractl_projects 'predefined|own|no action' yes '0x[0-9A-Fa-f]+' "${model[@]}" \
            "${root[@]}")"
        ;;
    "test-scan 1")
        _trigoractl_offer "$(_trigoractl_projects 'predefined|own' yes '0x[08]00[13]' "${root[@]}")"
        ;;
    "project copy 1")
        _trigoractl_offer "$(_trigoractl_projects 'predefined|own|folder' 'yes|no' '0x8001|0x000[0-9]' \
            "${model[@]}" "${root[@]}")"
        ;;
    "project set 1" | "project delete 1")
        local list=own
        [[ ${model[0]} == --folder ]] && list=folder
        _trigoractl_offer "$(_trigoractl_projects "$list" 'yes|no' '0x[0-9A-Fa-f]+' "${model[@]}" "${root[@]}")"
        ;;
    "panel 1")
        _trigoractl_offer "$(_trigoractl_panel_words)"
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
