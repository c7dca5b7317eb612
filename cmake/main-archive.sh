# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced. main_archive TYPE [OPTIONS] - lines of a sources.list, of TYPE deb or deb-src, for the
# main archive at the mirrors that this machine uses. Of all archives it is the one that mirrors
# have for every architecture, and its packages match one another.
main_archive() {
    # shellcheck disable=SC2016 # apt-get's own variables
    apt-get indextargets --format '$(REPO_URI) $(CODENAME)' 'Label: Debian' 'Component: main' \
        'Created-By: Packages' "Architecture: $(dpkg --print-architecture)" | sort -u |
        awk -v start="$*" '$2 !~ /-/ { print start, $1, $2, "main" }'
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
