# shellcheck shell=bash
# Functions for building packages and archives. Expects the checkout in $here.
: "${here:?}"

# shellcheck disable=SC2034 # for those who source this
readonly NAME=qor-mim-tool

# safe.directory lets a caller use git in a checkout of another owner.
git_here() {
    git -c "safe.directory=$here" -C "$here" "$@" 2>/dev/null
}

version() {
    sed -nE 's/^project\(qor_mim_tool VERSION ([0-9.]+).*/\1/p' "$here/CMakeLists.txt"
}

# The time of the last change of the sources, in seconds since 1970.
source_date() {
    git_here log -1 --format=%ct || date --reference "$here/CHANGELOG.md" +%s
}

# The GNU triplet of a Debian architecture.
triplet() {
    dpkg-architecture --host-arch "$1" --query DEB_HOST_MULTIARCH
}

is_native() {
    [[ $1 == "$(dpkg --print-architecture)" ]]
}
