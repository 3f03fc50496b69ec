# shellcheck shell=bash
# A private apt state.

# Lets apt fetch packages for another architecture, or sources, with a private state: the machine's package lists, its
# architectures and its installed packages stay as they are, and no privilege is needed. The packages come from the
# archive that this machine's own apt sources name, checked as apt always checks them.
#
#   private_apt STATE ARCHITECTURE [TYPE]
#
# Fills the directory STATE and updates its lists; TYPE, deb or deb-src, is deb unless given. Afterwards every apt
# command with APT_CONFIG=STATE/apt.conf works on it.
private_apt() {
    local state=$1 architecture=$2 type=${3:-deb}
    copy_apt_sources "$state/sources" "$type"
    mkdir -p "$state/lists/partial" "$state/cache/archives/partial" "$state/none.d"
    : >"$state/status"
    cat >"$state/apt.conf" <<EOF
APT::Architecture "$architecture";
APT::Architectures { "$architecture"; };
APT::Install-Recommends "false";
APT::Sandbox::User "$(id -un)";
Dir::State "$state";
Dir::State::lists "$state/lists";
Dir::State::status "$state/status";
Dir::Cache "$state/cache";
Dir::Etc::sourcelist "$state/none";
Dir::Etc::sourceparts "$state/sources";
Dir::Etc::preferences "$state/none";
Dir::Etc::preferencesparts "$state/none.d";
EOF
    # apt skips an index that does not match its signed release file and says so; the others suffice.
    APT_CONFIG=$state/apt.conf apt-get -qq update || echo "apt: continuing with the indices that could be fetched"
}

# The machine's apt sources, each as TYPE, without their restriction to architectures of this machine.
copy_apt_sources() {
    local target=$1 type=$2 etc file
    etc=$(apt-config shell etc Dir::Etc/d) && eval "$etc"
    mkdir -p "$target"
    for file in "$etc"sources.list "$etc"sources.list.d/*.list; do
        [[ -f $file ]] || continue
        sed -E "s/^(deb[^[]*\[[^]]*)\barch[+-]?=[^] ]*/\1/; s/\[ *\]//; /^deb-src/d; s/^deb /$type /" "$file" \
            >"$target/${file##*/}"
    done
    [[ ! -f $target/sources.list ]] || mv "$target/sources.list" "$target/main-sources.list"
    for file in "$etc"sources.list.d/*.sources; do
        [[ -f $file ]] || continue
        sed -E "/^Architectures(-Add|-Remove)?:/Id; s/^Types:.*/Types: $type/I" "$file" >"$target/${file##*/}"
    done
}
