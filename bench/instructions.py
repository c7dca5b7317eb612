#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the instructions of every case with those in bench/instructions.txt.

usage: bench/instructions.py [--update] [PRESET...]

Counts in the builds of the presets (by default release, arm64 and armhf), under an emulator, so
that the figures are the same on every computer. Fails if a case takes over 3 % more instructions
than bench/instructions.txt says; with --update, rewrites that file.
"""

import pathlib
import platform
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PLUGIN = ROOT / 'build' / 'release' / 'bench' / 'count_instructions.so'
RECORDED = ROOT / 'bench' / 'instructions.txt'
ALLOWED_GROWTH = 0.03
NATIVE = {'x86_64': 'x86-64', 'aarch64': 'arm64'}.get(platform.machine(), platform.machine())
# Preset: machine, emulator.
MACHINES = {
    'release': (NATIVE, [f'qemu-{platform.machine()}']),
    'arm64': ('arm64', ['qemu-aarch64']),
    'armhf': ('armhf', ['qemu-arm']),
}
# The library's own cases; those of other libraries are not this project's to limit.
OWN = ('run', 'signal/', 'call/', 'stage/', 'forward/own', 'inverse/own')


def fail(message):
    sys.exit(f'instructions.py: {message}')


class Counter:
    """Counts in the build of a preset, with one of the FFTs that it has."""

    def __init__(self, preset, fft, folder):
        self.machine, self.emulator = MACHINES[preset]
        self.name = f'{self.machine}/{fft}'
        self.program = ROOT / 'build' / preset / 'bench' / f'ezossl_count_{fft}'
        self.folder = pathlib.Path(folder)
        if not PLUGIN.exists():
            fail(f'{PLUGIN.relative_to(ROOT)} is missing; run: ./test.sh release')
        (self.folder / 'level.json').write_text('{"debug_level": 1}\n')  # errors only
        self.marks = 0
        self.marks = self.count('nothing')[2]

    def run(self, *arguments, emulator_options=()):
        emulator = shutil.which(self.emulator[0]) or self.emulator[0]
        command = [emulator, *self.emulator[1:], *emulator_options, self.program,
                   *map(str, arguments)]
        # Nothing else: the library searches the environment, which takes longer if it is larger.
        environment = {'DML_PATH': str(self.folder / 'level.json')}
        try:
            return subprocess.run(command, env=environment, check=True, text=True,
                                  stdout=subprocess.PIPE).stdout
        except FileNotFoundError as error:
            fail(f'{error}; cmake/install-packages.sh bench {self.machine}')
        except subprocess.CalledProcessError as error:
            fail(f'{self.name}: {arguments[0]} ended with status {error.returncode}')

    def count(self, *arguments):
        """Calls, and the least, median and most instructions of one."""
        out = self.folder / 'counts'
        out.unlink(missing_ok=True)
        self.run(*arguments, emulator_options=('-plugin', f'{PLUGIN},out={out}'))
        if not out.exists():
            fail(f'{self.emulator[0]} counts nothing; does it know -plugin?')
        calls, *counts, _ = map(int, out.read_text().split())
        return calls, *(count - self.marks for count in counts)

    def cases(self):
        """The median instructions of each of the library's own cases."""
        names = [name for name in self.run('list').split() if name.startswith(OWN)]
        return {name: self.count(name)[1] for name in names}


def counters(presets, folder):
    for preset in presets:
        programs = sorted((ROOT / 'build' / preset / 'bench').glob('ezossl_count_*'))
        if not programs:
            fail(f'build/{preset}/bench/ezossl_count_* is missing; run: ./test.sh {preset}')
        for program in programs:
            yield Counter(preset, program.name.removeprefix('ezossl_count_'), folder)


def read_recorded():
    lines = (line.split() for line in RECORDED.read_text().splitlines()
             if not line.startswith('#'))
    return {(machine, case): int(count) for machine, case, count in lines}


def write_recorded(counts):
    with RECORDED.open('w') as file:
        print('# SPDX-License-Identifier: MIT\n'
              '# Machine and FFT, case, instructions: written by bench/instructions.py --update.',
              file=file)
        for (machine, case), count in counts.items():
            print(f'{machine} {case} {count}', file=file)


def main(arguments):
    if '-h' in arguments or '--help' in arguments:
        print(__doc__.strip())
        return 0
    update = '--update' in arguments
    presets = [argument for argument in arguments if argument != '--update'] or list(MACHINES)
    unknown = [preset for preset in presets if preset not in MACHINES]
    if unknown:
        fail(f"'{unknown[0]}' is not a preset; choose from {', '.join(MACHINES)}")
    counted = {}
    with tempfile.TemporaryDirectory() as folder:
        for counter in counters(presets, folder):
            for case, count in counter.cases().items():
                counted[counter.name, case] = count
    recorded = read_recorded() if RECORDED.exists() else {}
    if update:
        write_recorded({**recorded, **counted})
        return 0
    faults = 0
    for (machine, case), count in counted.items():
        known = recorded.get((machine, case))
        if known is None:
            print(f'{machine} {case}: {count} instructions, not in bench/instructions.txt')
            faults += 1
        elif count > known * (1 + ALLOWED_GROWTH):
            print(f'{machine} {case}: {count} instructions, {100 * (count / known - 1):.1f} % more '
                  f'than {known} in bench/instructions.txt')
            faults += 1
        elif count < known * (1 - ALLOWED_GROWTH):
            print(f'{machine} {case}: {count} instructions, {100 * (1 - count / known):.1f} % '
                  f'fewer than {known}; record it with --update')
    if faults:
        print('If that is intended: bench/instructions.py --update')
        return 1
    print(f'{len(counted)} cases take no more than 3 % over the recorded instructions')
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
