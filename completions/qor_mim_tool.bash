# Completion of qor_mim_tool for bash.
#
# Neither the tool nor a program of the framework is run. Without a framework there are no candidates and no messages.
# shellcheck shell=bash

# The framework directory, as a path prefix. The tool asks the framework's agent first; a completion runs no programs of
# the framework, so it uses only the tool's other sources.
_qor_mim_tool_directory()
{
    local directory=/opt/qor
    if [[ -v QORPATH ]]; then
        directory=$QORPATH
    elif [[ -f /opt/qor/qor.env ]]; then
        { IFS= read -r directory; } 2>/dev/null </opt/qor/qor.env
    fi
    printf '%s' "${directory:+$directory/}"
}

# Model files for the word `$cur`, as absolute paths, since the commit may run in another directory.
_qor_mim_tool_absolute_file()
{
    [[ $cur == [/~\"\']* ]] || printf -v cur '%q/%s' "$PWD" "$cur"
    _filedir xml
}

# The installed models, one a line.
_qor_mim_tool_models()
{
    local list
    list=$(_qor_mim_tool_directory)etc/model/model_file_list.cfg
    [[ -f $list ]] || return 0
    sed -e 's/^[[:space:]]*//' -e 's/[[:space:]]*$//' -e '/^$/d' "$list" 2>/dev/null
}

# The names of the handlers in the configuration, one a line. Records end with a tag; comments are skipped.
_qor_mim_tool_handlers()
{
    local configuration
    configuration=$(_qor_mim_tool_directory)etc/qor.cfg
    [[ -f $configuration ]] || return 0
    awk '
        BEGIN { RS = ">" }
        comment { comment = !/--$/; next }
        /<!--/ { comment = !/--$/; next }
        /<managedObject[ \t\r\n]/ && match($0, /[ \t\r\n]compName[ \t\r\n]*=[ \t\r\n]*("[^"]*"|\047[^\047]*\047)/) {
            name = substr($0, RSTART, RLENGTH - 1)
            sub(/^[^"\047]*["\047]/, "", name)
            gsub(/&lt;/, "<", name)
            gsub(/&gt;/, ">", name)
            gsub(/&quot;/, "\"", name)
            gsub(/&apos;/, "\047", name)
            gsub(/&amp;/, "\\&", name)
            if (name != "" && !seen[name]++)
                print name
        }' "$configuration" 2>/dev/null
}

# Offers the lines of standard input that begin with the typed text. Readline quotes special characters in file names;
# this function quotes them in other candidates.
_qor_mim_tool_offer()
{
    local kind=$1 typed=$2 quoted=false line
    case $typed in
        [\"\']*)
            quoted=true
            typed=${typed:1}
            ;;
        *) typed=${typed//\\/} ;;
    esac
    while IFS= read -r line; do
        [[ $line == "$typed"* ]] || continue
        [[ $kind == names && $quoted == false ]] && printf -v line '%q' "$line"
        COMPREPLY+=("$line")
    done
    [[ $kind == files ]] && compopt -o filenames
    return 0
}

# The long name of the option in the word `$1`, or the word itself.
_qor_mim_tool_long_name()
{
    case $1 in
        --*) printf '%s' "${1%%=*}" ;;
        -a*) printf '%s' --addModelFile ;;
        -x*) printf '%s' --removeModelFile ;;
        -m*) printf '%s' --modelHandler ;;
        -o*) printf '%s' --managedObjectVersion ;;
        -t*) printf '%s' --transactionalResourceVersion ;;
        -c*) printf '%s' --commit ;;
        -r*) printf '%s' --rollback ;;
        -s*) printf '%s' --status ;;
        -h*) printf '%s' --help ;;
        *) printf '%s' "$1" ;;
    esac
}

# The options excluded by the option `$1`: no option may be given twice, some contradict each other, and a removal must
# precede its handler.
_qor_mim_tool_excluded()
{
    case $1 in
        --addModelFile | --removeModelFile) printf '%s' '--addModelFile --removeModelFile' ;;
        --modelHandler) printf '%s' '--modelHandler --removeModelFile' ;;
        --commit | --rollback) printf '%s' '--commit --rollback' ;;
        *) printf '%s' "$1" ;;
    esac
}

# The options that may follow those on the line; short options only if the word has a single dash.
_qor_mim_tool_options()
{
    local excluded=' ' word option letters=
    [[ $cur == -* && $cur != --* ]] && letters='-h -a -x -m -o -t -c -r -s'
    for word in "${words[@]:1:cword-1}"; do
        excluded+="$(_qor_mim_tool_excluded "$(_qor_mim_tool_long_name "$word")") "
    done
    for option in --help --addModelFile= --removeModelFile= --modelHandler= --managedObjectVersion= \
        --transactionalResourceVersion= --commit --rollback --status $letters; do
        [[ $excluded == *" $(_qor_mim_tool_long_name "$option") "* ]] || printf '%s\n' "$option"
    done
}

_qor_mim_tool()
{
    local cur prev words cword split
    _init_completion -s || return

    # An option with an attached value does not apply to the next word.
    [[ $prev == --*=* || $prev == -[!-]?* ]] && prev=
    case $(_qor_mim_tool_long_name "$prev") in
        --addModelFile)
            _qor_mim_tool_absolute_file
            return
            ;;
        --removeModelFile)
            _qor_mim_tool_offer files "$cur" < <(_qor_mim_tool_models)
            return
            ;;
        --modelHandler)
            _qor_mim_tool_offer names "$cur" < <(_qor_mim_tool_handlers)
            return
            ;;
        --managedObjectVersion | --transactionalResourceVersion)
            return
            ;;
    esac
    [[ $split == true ]] && return

    mapfile -t COMPREPLY < <(compgen -W "$(_qor_mim_tool_options)" -- "$cur")
    [[ ${COMPREPLY[*]} == *= ]] && compopt -o nospace
    return 0
} && complete -F _qor_mim_tool qor_mim_tool
