# SPDX-License-Identifier: MIT
# commands.sh - what the transcripts of this folder call. TOOL and FAULTY_DEVICE are paths of files.
# shellcheck shell=sh

export LC_ALL=C ALSA_CONFIG_PATH="$PWD/alsa.conf"

ezossl() {
    "$TOOL" "$@"
}

device() { # TYPE SETTING... - the ALSA device x
    printf 'pcm_type.faulty { lib "%s" } pcm.x { type %s }' "$FAULTY_DEVICE" "$*" >alsa.conf
}

field() { # NAME - its values in JSON that is not nested
    tr '{,}' '\n' | sed -n "s/^\"$1\"://p"
}

terminal() { # COLUMNS VARIABLE=VALUE... -- ARGUMENTS - the tool on a terminal
    printf 'stty cols %s; unset NO_COLOR; ' "$1" >typed
    while shift && [ "$1" != -- ]; do printf '%s ' "$1" >>typed; done
    shift
    printf '%s ' "'$TOOL'" "$@" >>typed
    script -qec 'sh typed' /dev/null </dev/null | sed 's/\r$//; s/\x1b/ESC/g'
}

ordinary() { # ARGUMENTS - the tool, without the rights of root
    if [ "$(id -u)" = 0 ]; then
        setpriv --bounding-set=-all "$TOOL" "$@"
    else
        ezossl "$@"
    fi
}
