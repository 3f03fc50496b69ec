# Sourced first by every script: answers --help with the script's head comment, and enters the checkout.
# shellcheck shell=bash

script=$(realpath "$0")

usage() {
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$script"
}

die() {
    echo "${script##*/}: $*" >&2
    exit 1
}

for word in "$@"; do
    if [ "$word" = --help ]; then
        usage
        exit
    fi
done

cd "${script%/*}/.." || exit

remove_tree() {
    rm -rf --one-file-system "$1" 2>/dev/null || { chmod -R u+rwX "$1" && rm -rf --one-file-system "$1"; }
}

use_ccache() {
    if command -v ccache >/dev/null; then
        export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}
    fi
}

# Sets TMPDIR to a directory inside the checkout, so that even a killed run leaves nothing elsewhere. The directory is
# removed on exit, or by the next run when its owner is gone.
use_own_tmp() {
    local stale
    [[ ${TMPDIR-} != "$PWD/build/tmp/"* ]] || return 0
    for stale in build/tmp/*; do
        kill -0 "${stale##*/}" 2>/dev/null || remove_tree "$stale"
    done
    export TMPDIR=$PWD/build/tmp/$$
    mkdir -p "$TMPDIR"
    trap 'remove_tree "$TMPDIR"' EXIT
}
