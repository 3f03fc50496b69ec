# Completion of qor_mim_ctl for bash.
#
# Models and handlers are found as for qor_mim_tool, whose completion is in the same directory. No program of the
# framework is run. Without a framework there are no candidates and no messages.
# shellcheck shell=bash

# Sources the functions of the tool's completion unless they are defined already.
_qor_mim_ctl_shared()
{
    local here=${BASH_SOURCE[0]%/*} file
    declare -F _qor_mim_tool_models >/dev/null && return
    for file in "$here/qor_mim_tool" "$here/qor_mim_tool.bash"; do
        # shellcheck source=completions/qor_mim_tool.bash
        [[ -f $file ]] && . "$file" && return
    done
}

# Prints the framework directory that the line names, if any.
_qor_mim_ctl_named_framework()
{
    local index
    for ((index = 1; index < cword; ++index)); do
        case ${words[index]} in
            --qor-path=*) printf '%s' "${words[index]#*=}" ;;
            --qor-path) printf '%s' "${words[index + 1]}" ;;
        esac
    done
}

# The output lines of the function `$1` for the framework of this line.
_qor_mim_ctl_find()
{
    local named
    named=$(_qor_mim_ctl_named_framework)
    if [[ -n $named ]]; then
        QORPATH=$named "$1"
    else
        "$1"
    fi
}

# The options of the command `$1`.
_qor_mim_ctl_options()
{
    local options='--help --version --json --qor-path='
    case $1 in
        plan) options+=' --add= --remove= --handler= --mo-version= --tr-version=' ;;
        apply) options+=' --add= --remove= --handler= --mo-version= --tr-version= --wait=' ;;
        recover) options+=' --wait= --dry-run --force --assume=' ;;
    esac
    printf '%s' "$options"
}

_qor_mim_ctl()
{
    local cur prev words cword split
    _init_completion -s || return
    _qor_mim_ctl_shared

    # An option with an attached value does not apply to the next word.
    [[ $prev == --*=* ]] && prev=
    case $prev in
        --add)
            _qor_mim_tool_absolute_file
            return
            ;;
        --remove)
            _qor_mim_tool_offer files "$cur" < <(_qor_mim_ctl_find _qor_mim_tool_models)
            return
            ;;
        --handler)
            _qor_mim_tool_offer names "$cur" < <(_qor_mim_ctl_find _qor_mim_tool_handlers)
            return
            ;;
        --qor-path)
            _filedir -d
            return
            ;;
        --assume)
            mapfile -t COMPREPLY < <(compgen -W 'commit rollback nothing' -- "$cur")
            return
            ;;
        --mo-version | --tr-version | --wait)
            return
            ;;
    esac
    [[ $split == true ]] && return

    if ((cword == 1)) && [[ $cur != -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W 'show check plan apply recover' -- "$cur")
        return
    fi
    mapfile -t COMPREPLY < <(compgen -W "$(_qor_mim_ctl_options "${words[1]}")" -- "$cur")
    [[ ${COMPREPLY[*]} == *= ]] && compopt -o nospace
    return 0
} && complete -F _qor_mim_ctl qor_mim_ctl
