# shellcheck shell=bash
# What the packages and the archives of a release have in common. Expects the checkout in $here.
: "${here:?}"

# shellcheck disable=SC2034 # for those who source this
readonly NAME=qor-mim-tool

die() {
    echo "${0##*/}: $*" >&2
    exit 1
}

# Works also for a caller who may read the checkout but does not own it.
git_here() {
    git -c "safe.directory=$here" -C "$here" "$@" 2>/dev/null
}

version() {
    sed -nE 's/^project\(qor_mim_tool VERSION ([0-9.]+).*/\1/p' "$here/CMakeLists.txt"
}

# When the sources were last changed, in seconds since 1970.
source_date() {
    git_here log -1 --format=%ct || date --reference "$here/CHANGELOG.md" +%s
}

# The compiler's name for an architecture of Debian.
triplet() {
    dpkg-architecture --host-arch "$1" --query DEB_HOST_MULTIARCH
}

is_native() {
    [[ $1 == "$(dpkg --print-architecture)" ]]
}
