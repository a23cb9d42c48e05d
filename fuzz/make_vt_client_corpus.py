#!/usr/bin/env python3
"""Writes the seeds of corpus/vt_client; the steps are those that vt_client.cpp names."""

import pathlib


def words(text):
    return bytes.fromhex(text)


def message(text):
    return bytes([0]) + words(text)


def status(busy):
    return bytes([1, busy])


def long_message(text):
    content = words(text)
    return bytes([2, len(content)]) + content


def any_frame(pgn, source, destination, text):
    content = words(text)
    return bytes([3]) + pgn.to_bytes(2, "little") + bytes([source, destination, len(content)]) + content


def pause(milliseconds):
    return bytes([4]) + milliseconds.to_bytes(2, "little")


def change(which, value):
    return bytes([5, which]) + value.to_bytes(2, "little")


def content(isContent):
    return bytes([6, isContent])


def changed_answer(place, by):
    return bytes([7, place, by])


REFUSAL = any_frame(0xE800, 0x26, 0xFF, "01 FF FF FF 80 00 E7 00")
SILENCE = pause(4000)

SEEDS = {
    "keys": message("00 01 E8 03 4C 04 07 FF") + message("01 02 4C 04 E8 03 09 FF"),
    "values": message("05 78 05 FF 01 02 03 04") + message("03 78 05 01 01 FF FF FF") + message("04 78 05 00 FF FF FF FF"),
    "texts": message("08 DC 05 03 61 62 63 FF") + long_message("08 DC 05 0A 61 62 63 64 65 66 67 68 69 6A")
             + long_message("08 DC 05 FF 61 62 63 64 65 66 67"),
    "masks": message("06 4C 04 04 E8 03 4C 04") + message("07 4C 04 FF FF 08 FF FF"),
    "pool_deleted": message("06 4C 04 24 E8 03 4C 04") + pause(2000),
    "commands": change(0, 1) + change(1, 2) + change(2, 3) + change(3, 4) + pause(500),
    "wrong_answers": content(0) + change(1, 1) + changed_answer(4, 1) + changed_answer(1, 1) + changed_answer(3, 2)
                     + change(2, 1) + changed_answer(5, 4),
    "unanswered": content(0) + change(1, 1) + change(1, 2) + change(2, 3) + SILENCE + SILENCE,
    "refusal": REFUSAL + pause(3000) + change(0, 1) + REFUSAL,
    "refused_start": content(0) + REFUSAL + pause(2000) + message("C0 04 01 FF FF FF FF FF") + pause(2000),
    "garbage_start": content(0) + REFUSAL + pause(2000) + changed_answer(0, 1) + changed_answer(2, 1)
                     + message("12 01 4C 04 14 05 02 FF") + long_message("E0 FF 41 42 43 44 45 46 47 48") + pause(1000),
    "busy": content(0) + REFUSAL + pause(2000) + content(1) + status(16) + status(2) + pause(2000),
}

if __name__ == "__main__":
    folder = pathlib.Path(__file__).parent / "corpus" / "vt_client"
    folder.mkdir(parents=True, exist_ok=True)
    for name, seed in SEEDS.items():
        (folder / name).write_bytes(seed)
