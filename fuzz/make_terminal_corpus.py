#!/usr/bin/env python3
"""Writes the seeds of corpus/terminal; the steps are those that terminal.cpp names."""

import pathlib

VERSION4, VERSION3 = bytes([2 + 3 * 2]), bytes([1 + 3])
POOL, END, COMMAND, OPERATOR, TIME = range(5)


def step(kind, text=""):
    content = bytes.fromhex(text)
    return bytes([kind]) + len(content).to_bytes(2, "little") + content


SMALLEST = "01 00 00 00 01 02 00 00 00 00 02 00 01 00 FF FF 00 00"
FIELDS = ("01 00 00 00 01 02 00 00 00 00 02 00 01 01 03 00 07 00 05 00 00 00 00 00 06 00 00 00 00 00 07 00 00 00 00 00"
          " 08 00 00 00 00 00 09 00 00 00 00 00 0A 00 00 00 00 00 10 00 00 00 00 00 03 00 04 0C 01 00 04 00"
          " 04 00 05 0C 07 00 00 05 00 09 50 00 14 00 07 0B 00 00 0C 00 05 00 00 00 00 00 00 00 E8 03 00 00 00 00 00 00"
          " 00 00 80 3F 00 00 00 03 00 06 00 08 50 00 14 00 07 0B 00 0D 00 00 0E 00 00 00 01 00"
          " 07 00 0A 50 00 14 00 FF FF 00 02 01 00 08 00 FF FF 08 00 0B 50 00 14 00 07 0B 00 00 FF FF 00 05 00"
          " 48 65 6C 6C 6F 00 09 00 06 50 00 1E 00 07 00 09 01 00 00 0A 00 1B 08 00 0B 00 17 00 03 00 00 00"
          " 0C 00 15 07 00 00 00 0D 00 1A 00 04 41 42 43 20 00 0E 00 16 04 00 41 42 43 44"
          " 0F 00 1C 08 00 A7 02 00 02 FF FF FF FF 10 00 10 14 00 14 00 FF FF FF FF 00 02 00 00 00 00 00 0A 00 00 00")
COMMANDS = [
    "A0 09 00 01 FF FF FF FF",
    "A1 05 00 00 FF FF FF FF",
    "A2 05 00 00 FF FF FF FF",
    "92 FF FF FF FF FF FF FF",
    "A5 02 00 05 00 89 75 FF",
    "A6 05 00 21 00 2C 00 FF",
    "A7 02 00 0C FF FF FF FF",
    "A8 0C 00 FF 2A 00 00 00",
    "A8 0A 00 FF 05 00 00 00",
    "AA 0B 00 0F 0E 05 03 FF",
    "AD 01 00 02 00 FF FF FF",
    "AE 01 02 00 FF FF FF FF",
    "AF 05 00 0A 00 00 20 40",
    "B1 07 00 01 05 00 FF FF",
    "B3 08 00 02 00 48 69 FF",
    "B3 0E 00 04 00 FF FE 2D 4E",
    "B4 02 00 05 00 F6 FF 14 00",
    "B6 10 00 01 0A 00 14 00",
    "B7 10 00 28 00 0A 00 FF",
    "B9 05 00 0A FF FF FF FF",
    "BD 01 02 00 64 00 FF FF",
    "BE 0F FF FF FF FF FF FF",
    "B2 FF FF FF FF FF FF FF",
]
INPUT = [
    "00 04 00 01 00 00 00",
    "01 09 00 01 00 00 00",
    "02 05 00 2A 00 00 00",
    "03 06 00 41 42 43 41",
    "04 05 00 00 00 00 00",
    "06 00 00 00 00 00 00",
    "05 00 00 00 00 00 00",
]

SEEDS = {
    "smallest": VERSION3 + step(POOL, SMALLEST) + step(END),
    "commands": VERSION4 + step(POOL, FIELDS) + step(END) + b"".join(step(COMMAND, text) for text in COMMANDS),
    "operator": VERSION4 + step(POOL, FIELDS) + step(END) + b"".join(step(OPERATOR, text) for text in INPUT),
    "lock_that_runs_out": VERSION4 + step(POOL, FIELDS) + step(END) + step(COMMAND, COMMANDS[20]) + step(TIME, "65"),
    "loop": VERSION4 + step(POOL, SMALLEST + "09 00 03 00 00 00 00 00 01 00 09 00 00 00 00 00") + step(END),
    "dangling": VERSION4 + step(POOL, SMALLEST + "09 00 1B 07 00") + step(END),
    "counts": VERSION4 + step(POOL, "09 00 14 02 00 02 00 02 00 02 00 00 FF FF FF FF 00 01 02") + step(END),
    "replaced": VERSION4 + step(POOL, SMALLEST) + step(POOL, "02 00 01 05 FF FF 00 00") + step(END)
    + step(POOL, "02 00 02 05 FF FF 00 00 00 00") + step(END),
    "kept_only": VERSION4 + step(POOL, SMALLEST + "20 00 1D 00 00 00 28 00 26 00 02 00 01 41 00 5A 00 01 00"
                                 " 29 00 27 03 00 01 02 03 2A 00 28 01 00 01 00 FF FF 00 FF FF") + step(END)
    + step(COMMAND, "B5 01 00 FF FF 00 FF FF"),
}

folder = pathlib.Path(__file__).parent / "corpus" / "terminal"
folder.mkdir(parents=True, exist_ok=True)
for name, content in SEEDS.items():
    (folder / name).write_bytes(content)
