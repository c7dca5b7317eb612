#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures the library and writes docs/performance.md.

usage: bench/report.py [--frames NUMBER]

Builds the presets release, arm64 and armhf, counts instructions under an emulator, and takes times
on this computer, which should have nothing else to do. --frames is the number of frames among which
the worst is searched (1000000, which takes ten minutes).
"""

import datetime
import json
import os
import re
import subprocess
import sys
import tempfile

from instructions import MACHINES, NATIVE, ROOT, counters

DOCUMENT = ROOT / 'docs' / 'performance.md'
REPETITIONS = 25
FRAME_LENGTH = 128
RATES = (8000, 16000, 32000, 48000)

# Instructions of version 1.4.0 on x86-64, counted in the same way.
BEFORE = {'run/16000': 68898, 'run_bf_mode_1/16000': 5544, 'run_bf_mode_1/48000': 11878,
          'call/get_direction': 364, 'call/reset_mapping': 94, 'call/set_up': 88117}
# In an earlier comparison the fastest other program, SMP-PHAT, took 1.8 us for a delay, and the
# three transforms of a frame by KISS FFT took 2.8 us.
QUICKEST_PEER = 1.8 / 2.8

STAGES = {
    'stage/deinterleave': 'separate the microphones',
    'stage/load_frame': 'samples as floats, older half moved up',
    'stage/frame_energy': 'energy',
    'stage/spectra': 'windows and two forward transforms',
    'stage/delay_gcc': 'cross spectrum, phase, inverse transform, peak, vote',
    'stage/delay_amdf': 'with `bf_mode` 1 instead of the last two: differences over the lag',
}
SIGNALS = {'run/16000': 'noise', 'signal/rejected': 'noise, lag too long: rejected frames',
           'signal/silence': 'silence', 'signal/full_scale': 'full scale',
           'signal/decay': 'a sound that dies away'}
TRANSFORMS = {'own': 'the library', 'kiss_fft': 'KISS FFT', 'fftw': 'FFTW, FFTW_MEASURE',
              'ne10': 'Ne10, NEON'}


def run(*command):
    print('+', *command, file=sys.stderr)
    return subprocess.run(list(map(str, command)), cwd=ROOT, check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def build():
    run('cmake/install-packages.sh', 'build', 'tools', 'test', 'bench', 'arm64', 'armhf')
    for preset in MACHINES:
        if preset != 'release':
            run('cmake/fetch-ne10.sh', preset)
        run('cmake', '--preset', preset)
        run('cmake', '--build', '--preset', preset, '--parallel', os.cpu_count(), '--target',
            'ezossl', 'bench/all')


def times():
    """The shortest processor time of a call of every case, in ns; the cases take turns."""
    text = run('build/release/bench/ezossl_bench', '--benchmark_format=json',
               '--benchmark_min_time=0.02', f'--benchmark_repetitions={REPETITIONS}',
               '--benchmark_enable_random_interleaving=true')
    shortest = {}
    for result in json.loads(text)['benchmarks']:
        if result['run_type'] == 'iteration':
            name = result['run_name']
            shortest[name] = min(shortest.get(name, float('inf')), result['cpu_time'])
    return shortest


def text_size(preset):
    sections = run('readelf', '-SW', f'build/{preset}/libezossl.so')
    return int(re.search(r' \.text +PROGBITS +\w+ +\w+ +(\w+)', sections).group(1), 16)


class Measured:
    def __init__(self, frames):
        self.times = times()
        self.counts = {}
        self.memory = {}
        self.names = []
        with tempfile.TemporaryDirectory() as folder:
            for counter in counters(MACHINES, folder):
                self.names.append(counter.name)
                self.counts[counter.name] = counter.cases()
                self.memory[counter.name] = counter.run('memory').split()
                for case in counter.run('list').split():
                    if case.endswith(('/kiss_fft', '/ne10')):
                        self.counts[counter.name][case] = counter.count(case)[1]
                if counter.name == f'{NATIVE}/builtin':
                    print(f'+ {frames} frames under the emulator', file=sys.stderr)
                    self.frames = counter.count('frames', frames)
        self.text = {machine: text_size(preset) for preset, (machine, _) in MACHINES.items()}

    def ratio(self, case, base='run/16000'):
        return self.times[case] / self.times[base]

    def share(self, name, rate):
        """The share of a core that executes 1e9 instructions a second, in percent."""
        return self.counts[name][f'run/{rate}'] * rate / FRAME_LENGTH / 1e9 * 100


def table(head, rows):
    lines = ['| ' + ' | '.join(map(str, row)) + ' |' for row in [head, *rows]]
    lines.insert(1, '|' + ' --- |' + ' ---: |' * (len(head) - 1))
    return '\n'.join(lines)


def bars(m):
    """Rows of: what, target, measured, whether the target is met."""
    own = m.counts[f'{NATIVE}/builtin']
    calls, least, median, most = m.frames

    def row(what, wanted, value, limit, unit=''):
        shown = f'{value:,}' if isinstance(value, int) else f'{value:.2f}'
        return what, wanted, shown + unit, 'yes' if value <= limit else '**no**'

    limit = m.ratio('run/16000', 'peer/practical_limit')
    peer = m.times['run/16000'] / (2 * m.times['forward/kiss_fft'] + m.times['inverse/kiss_fft'])
    rows = [row(f'Instructions of a frame, {machine}', 'at most 20,000',
                m.counts[f'{machine}/builtin']['run/16000'], 20000)
            for machine in (NATIVE, 'arm64')]
    rows.append(row('Time of a frame / practical limit', 'at most 1.7', limit, 1.7))
    rows.append(row('Time of a frame / three transforms by KISS FFT',
                    f'less than {QUICKEST_PEER:.2f}', peer, QUICKEST_PEER))
    for case, before in BEFORE.items():
        rows.append(row(f'Instructions of `{case}`, {NATIVE}', f'at most {before:,}, as in 1.4.0',
                        own[case], before))
    rows.append(row(f'Instructions of the worst of {calls:,} frames / median', 'at most 3',
                    most / median, 3))
    for case, signal in SIGNALS.items():
        if case != 'run/16000':
            rows.append(row(f'Time of a frame / that of noise: {signal}', 'at most 1.05',
                            m.ratio(case), 1.05))
    return rows


def document(m):
    processor = re.search(r'model name\s*: (.*)', open('/proc/cpuinfo').read())
    processor = processor.group(1) if processor else NATIVE
    compiler = run('c++', '--version').splitlines()[0]
    calls, least, median, most = m.frames
    own = f'{NATIVE}/builtin'
    return f'''# Performance

The cost of a frame of 128 samples. `bench/report.py` measures it and writes this page.

Measured on {datetime.date.today()}, {processor}, {compiler}, with the flags of the preset `release`,
which use only the baseline of each architecture. Times hold for that computer; instruction counts
are the same on every computer with the same compiler and libraries.

## Targets

{table(('', 'target', 'measured', 'met'), bars(m))}

The practical limit does the same steps with FFTW, which uses the wider vectors of the computer, in
any order of operations, and omits results that nobody reads. The library's results, in contrast,
are fixed to the bit. In an earlier comparison the fastest other program, SMP-PHAT, took
{QUICKEST_PEER:.2f} of the time of three transforms by KISS FFT. Times within 5 % of each other
count as equal.

On x86-64, control-flow protection marks the entry of each function. These marks are 18 of a frame's
instructions, 8 of those of `EzoSsl_Get_Direction` and 3 of those of `EzoSsl_Reset_Mapping`; 1.4.0
had none.

## Instructions per call

The FFT is the built-in one, or Ne10 with its NEON code.

{table(('', *m.names), [(f'`{case}`', *(f'{m.counts[name][case]:,}' for name in m.names))
                        for case in m.counts[own] if case.startswith(('run', 'signal', 'call'))])}

`run` is a frame of noise, by sample rate; `call/set_up` is `EzoSsl_Init`,
`EzoSsl_Config`, `EzoSsl_Set_Shape` and `EzoSsl_Cal_Params`.

## Instructions per step of a frame

{table(('step', *m.names), [(f'{what}', *(f'{m.counts[name][case]:,}' for name in m.names))
                            for case, what in STAGES.items()])}

## The transform

One transform of 256 real points. Time is relative to a whole frame of the library in the same run.

{table(('', f'forward, time', 'inverse, time', *(f'forward, {name}' for name in m.names)),
       [(label, *(f"{m.ratio(f'{way}/{case}'):.3f}" if f'{way}/{case}' in m.times else ''
                  for way in ('forward', 'inverse')),
         *(f"{m.counts[name][f'forward/{case}']:,}" if f'forward/{case}' in m.counts[name] else ''
           for name in m.names))
        for case, label in TRANSFORMS.items()])}

FFTW chooses its plan by timing, so its instructions are not counted.

## Compared with other estimators

Time of a complete frame, relative to the library's.

{table(('', 'time'), [('the library', '1.00'),
       ('practical limit', f"{m.ratio('peer/practical_limit'):.2f}"),
       ('GCC-PHAT as in textbooks: double, radix 2, recursive',
        f"{m.ratio('peer/textbook'):.0f}")])}

## Times

A frame of noise at 16000 Hz takes {m.times['run/16000'] / 1000:.2f} us. Relative to it:

{table(('', 'time'), [(f'`{case}`', f'{m.ratio(case):.2f}') for case in sorted(m.times)
                      if case.startswith(('run', 'signal', 'call', 'stage'))])}

## Share of a core

Percent of a core that executes 10^9 instructions a second, in `bf_mode` 0. The last column is
percent of a core of the computer above.

{table(('Hz', *m.names, 'by time'),
       [(rate, *(f'{m.share(name, rate):.2f}' for name in m.names),
         f"{m.times[f'run/{rate}'] * 1e-9 * rate / FRAME_LENGTH * 100:.3f}") for rate in RATES])}

## Memory

In bytes. *Instance* is the caller's buffer, *stack* the most that EzoSsl_Run and
EzoSsl_Get_Direction use, *code* the section .text of the shared library. A frame uses no heap.

{table(('', 'instance', 'stack', 'code'),
       [(name, *m.memory[name],
         m.text[name.split('/')[0]] if name in chosen_builds() else '') for name in m.names])}

## The worst frame

{calls:,} frames on {NATIVE}, of a different kind every 32 frames: noise at levels from 1 to full
scale and lags from 0 to 31 samples, silence, full scale, sounds that die away. Instructions of a
frame: minimum {least:,}, median {median:,}, maximum {most:,}, which is {most / median:.2f} times the
median. Counts do not show that instructions may take longer for some values, such as denormal ones;
the times for silence, full scale and a sound that dies away would.

## How it is measured

- Instructions: the plugin `bench/count_instructions.c` of an emulator (QEMU, user mode) counts what
  `ezossl_count_<fft>` executes between two marks, less what the marks themselves take. The number is
  the median of 32 calls; the same build always gives the same number. `bench/instructions.txt` keeps
  the numbers, and `bench/instructions.py`, which CI runs, fails if one grows by more than 3 %.
- Times: `ezossl_bench` (Google Benchmark) runs all cases in random order, {REPETITIONS} times. The
  shortest processor time of each case counts, so that other programs disturb little. On another
  computer only ratios within one run are comparable.
- Stack: a thread runs a block on a stack filled with a pattern. Counted are the bytes that it
  changes, less those of a thread that does nothing.
'''


def chosen_builds():
    """Machine and FFT of what libezossl.so is, by preset."""
    chosen = set()
    for preset, (machine, _) in MACHINES.items():
        needed = run('readelf', '-d', f'build/{preset}/libezossl.so')
        chosen.add(f"{machine}/{'ne10' if 'libNE10' in needed else 'builtin'}")
    return chosen


def main(arguments):
    if '-h' in arguments or '--help' in arguments:
        print(__doc__.strip())
        return
    frames = 1000000
    if len(arguments) == 2 and arguments[0] == '--frames' and arguments[1].isdigit():
        frames = int(arguments[1])
    elif arguments:
        sys.exit(f'report.py: {arguments[0]}? See bench/report.py --help')
    build()
    DOCUMENT.write_text(document(Measured(frames)))
    print(f'{DOCUMENT.relative_to(ROOT)} is written')


if __name__ == '__main__':
    main(sys.argv[1:])
