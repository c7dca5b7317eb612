# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced. main_archive TYPE [OPTION] - lines of a sources.list, of TYPE deb or deb-src, for the
# main archive at the mirrors that this machine uses, to be checked with the same keys. Of all
# archives it is the one that mirrors have for every architecture, and its packages match one
# another.
main_archive() {
    local entry uri codename options
    # shellcheck disable=SC2016 # apt-get's own variables
    apt-get indextargets --format '$(SOURCESENTRY) $(REPO_URI) $(CODENAME)' 'Label: Debian' \
        'Component: main' 'Created-By: Packages' "Architecture: $(dpkg --print-architecture)" |
        sort -u | while read -r entry uri codename; do
        [[ $codename != *-* ]] || continue
        options="${2:-} $(signed_by "$entry")"
        [ "$options" = ' ' ] || options="[$options] "
        echo "$1 $options$uri $codename main"
    done
}

# signed_by ENTRY - the option that names the keys of an entry of apt's, FILE:NUMBER: a paragraph of
# a file *.sources, or a line. Nothing where they are the default, or written out in the entry.
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

# private_apt FOLDER LINES - sets the array `apt` to an apt-get that knows just these lines, keeps
# its lists in FOLDER, and needs no privileges.
private_apt() {
    mkdir -p "$1"/lists/partial "$1"/cache/archives/partial
    echo "$2" >"$1"/list
    # shellcheck disable=SC2034 # for who sources this
    apt=(apt-get -o Dir::Etc::SourceList="$1"/list -o Dir::Etc::SourceParts=-
        -o Dir::State::Lists="$1"/lists -o Dir::Cache="$1"/cache -o APT::Sandbox::User=)
}
