#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""test_recipes.py TOOL - runs the commands of docs/recipes.md as they stand.

Above each block of the page a comment names the programs that it needs and how it is judged: its
output is that of `ezossl track talk.wav` in the format named, or what the page shows below it. A
capture may begin anywhere in the walk of talk.wav, so its angles only have to rise. A recipe whose
programs are missing is printed as LEFT OUT; the exit status is 77 if all are.
"""

import contextlib
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile

from serving import TOOL, wait_until

PAGE = pathlib.Path(__file__).resolve().parent.parent / "docs" / "recipes.md"
RECIPE = re.compile(
    r"<!-- recipe needs([^>]*) -->\n```(?:sh|ini)\n(.*?)```\n(?:```text\n(.*?)```\n)?", re.S
)


def shell(command, **more):
    return subprocess.run(["bash", "-euo", "pipefail", "-c", command], check=True, text=True,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, timeout=60, **more).stdout


def tracked(form):
    return shell(f"ezossl track talk.wav -s 5.8cm -q -f {form}")


@contextlib.contextmanager
def broker():
    """A broker on a free port of the loopback interface, to which both clients are configured."""
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    pathlib.Path("mosquitto.conf").write_text(f"listener {port} 127.0.0.1\nallow_anonymous true\n")
    for client in ("mosquitto_pub", "mosquitto_sub"):
        pathlib.Path(client).write_text(f"-p {port}\n")
    os.environ["XDG_CONFIG_HOME"] = os.getcwd()
    server = subprocess.Popen(["mosquitto", "-c", "mosquitto.conf"], stderr=subprocess.DEVNULL)
    try:
        wait_until(lambda: not socket.socket().connect_ex(("127.0.0.1", port)))
        yield
    finally:
        server.terminate()
        server.wait()


def by_mqtt(command, _):
    expected = tracked("jsonl")
    subscribe = "stdbuf -oL mosquitto_sub -h localhost -t home/sound -d -W 30 -C"
    with broker():
        subscriber = subprocess.Popen([*subscribe.split(), str(expected.count("\n")), "-F", "> %p"],
                                      stdout=subprocess.PIPE, text=True)
        lines = iter(subscriber.stdout.readline, "")
        next(line for line in lines if "SUBACK" in line or line.startswith("Subscribed"))
        shell(command)
        found = "".join(line[2:] for line in lines if line.startswith("> {"))  # a message each
        subscriber.wait()
    return found, expected


# The only source of a daemon of its own, which hears talk.wav.
MICROPHONE = """
pipewire >>log 2>&1 & wireplumber >>log 2>&1 &
wait_for() { timeout 15 sh -c "until $1 >>log 2>&1; do sleep 0.1; done" || exit 77; }
wait_for "pw-cli create-node adapter '{ factory.name=support.null-audio-sink node.name=mic \
          media.class=Audio/Source/Virtual object.linger=true audio.position=[FL FR] }'"
pw-play --target 0 talk.wav >>log 2>&1 &
wait_for 'pw-link pw-play:output_FL mic:input_FL'
wait_for 'pw-link pw-play:output_FR mic:input_FR'
"""


def by_pipewire(command, _):
    for name in ("HOME", "XDG_RUNTIME_DIR"):
        os.environ[name] = os.getcwd()
    ending = f"{command}[ $? = 124 ]; kill $(jobs -p)"  # timeout ended it
    done = subprocess.run(["dbus-run-session", "bash", "-o", "pipefail", "-c", MICROPHONE + ending],
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True, timeout=90)
    if done.returncode == 77:
        return None, None
    angles = [int(angle) for angle in re.findall(r" ([+-]\d+) deg", done.stdout)]
    return len(angles) >= 20 and angles[-1] - angles[0] > 50 or done.stdout, True


def verify_unit(unit, _):
    """The complaints of systemd about it, except that the program is not installed here."""
    pathlib.Path("ezossl.service").write_text(unit)
    done = subprocess.run(["systemd-analyze", "verify", "./ezossl.service"], text=True,
                          stderr=subprocess.STDOUT, stdout=subprocess.PIPE)
    said = [line for line in done.stdout.splitlines()
            if "ezossl.service" in line and "Command /usr/bin/ezossl is not executable" not in line]
    command = re.search(r"^ExecStart=/usr/bin/(.*)$", unit, re.M)[1].replace("hw:1,0", "absent")
    refusal = subprocess.run(command.split(), text=True, stderr=subprocess.PIPE).stderr
    if "absent: no such device" not in refusal:
        said.append(refusal)
    return "\n".join(said), ""


# Which function judges a recipe of a kind, and the programs that it needs itself.
JUDGES = {
    "": (lambda command, shown: (shell(command), shown), []),
    "table": (lambda command, _: (shell(command), tracked("table")), []),
    "jsonl": (by_mqtt, ["mosquitto"]),
    "unit": (verify_unit, []),
    "pipewire": (by_pipewire, ["wireplumber", "dbus-run-session"]),
}


def main():
    recipes = RECIPE.findall(PAGE.read_text())
    assert len(recipes) == PAGE.read_text().count("<!-- recipe") == 8, "the page has other recipes"
    failed = tried = 0
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        pathlib.Path("ezossl").symlink_to(TOOL)
        os.environ["PATH"] = folder + ":" + os.environ["PATH"] + ":/usr/sbin"
        for needs, command, shown in recipes:
            words = needs.split()
            kind = next((word for word in words if word in JUDGES), "")
            judge, programs = JUDGES[kind]
            programs = programs + [word for word in words if word != kind]
            absent = [program for program in programs if shutil.which(program) is None]
            if absent:
                print(f"LEFT OUT without {', '.join(absent)}: {command.splitlines()[0]}")
                continue
            try:
                found, expected = judge(command, shown)
            except subprocess.SubprocessError as error:
                found, expected = str(error), "success"
            if found is None:
                print(f"LEFT OUT, as it does not start here: {command.splitlines()[0]}")
                continue
            failed += found != expected
            tried += len(programs)
            print("as expected:" if found == expected else f"{found}\nand not\n{expected}\nfrom:",
                  command.splitlines()[0])
        os.chdir("/")
    return 1 if failed else 0 if tried else 77


if __name__ == "__main__":
    sys.exit(main())
