# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced. The Debian archives in the configuration of apt, and an apt-get with its own lists.

# debian_archives TYPE [OPTION] - prints lines of a sources.list, of TYPE deb or deb-src, for the
# main archive, its updates and its security suite, if configured on this machine, with the same
# mirrors and keys.
debian_archives() {
    local entry uri release label options
    # shellcheck disable=SC2016 # apt-get's own variables
    "${apt[@]:-apt-get}" indextargets --format '$(SOURCESENTRY) $(REPO_URI) $(RELEASE) $(LABEL)' \
        'Component: main' 'Created-By: Packages' "Architecture: $(dpkg --print-architecture)" |
        sort -u | while read -r entry uri release label; do
        [[ $label = Debian || $label = Debian-Security ]] || continue
        options="${2:-} $(signed_by "$entry")"
        [ "$options" = ' ' ] || options="[$options] "
        echo "$1 $options$uri $release main"
    done
}

# main_archive TYPE [OPTION] - the same for the main archive alone, the only one that mirrors have
# for every architecture and with sources.
main_archive() {
    debian_archives "$@" | grep -vE ' [^ ]+-[^ ]* main$'
}

# signed_by ENTRY - prints the option that names the keys of an entry of apt, FILE:NUMBER: a
# paragraph of a *.sources file, or a line. Prints nothing if they are the default, or part of the
# entry.
signed_by() {
    local file=${1%:*} number=${1##*:}
    if [ ! -r "$file" ]; then
        return
    elif [[ $file = *.sources ]]; then
        sed '/^#/d' "$file" | awk -v RS= -v number="$number" 'NR == number' |
            sed -nE 's/^Signed-By:[ \t]*([^ \t].*)/signed-by=\1/Ip' | tr ' ' ,
    else
        sed -nE "${number}s/.*(signed-by=[^] \t]+).*/\1/p" "$file"
    fi
}

# private_apt FOLDER [LINES] - sets the array `apt` to an apt-get that keeps its lists in FOLDER and
# needs no privileges to read them. It uses only these lines, or by default the configured archives.
private_apt() {
    mkdir -p "$1"/lists/partial "$1"/cache/archives/partial
    # shellcheck disable=SC2034 # for who sources this
    apt=(apt-get -o Dir::State::Lists="$1"/lists -o Dir::Cache="$1"/cache -o APT::Sandbox::User=)
    if [ -n "${2:-}" ]; then
        echo "$2" >"$1"/list
        apt+=(-o Dir::Etc::SourceList="$1"/list -o Dir::Etc::SourceParts=-)
    fi
}
