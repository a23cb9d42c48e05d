#!/usr/bin/env python3
"""Writes the seeds of corpus/frame_path; the steps are those that frame_path.cpp names."""

import pathlib

FIRST, SECOND, ALL = 0, 1, 255  # destinations; the own functions claim 80 and 26
PEER = 0x90


def words(text):
    return bytes.fromhex(text)


def management(source, destination, text):
    return bytes([1, source, destination]) + words(text)


def data(source, destination, text):
    return bytes([2, source, destination]) + words(text)


def extended_management(source, destination, text):
    return bytes([8, source, destination]) + words(text)


def extended_data(source, destination, sequence):
    return bytes([9, source, destination, sequence]) + bytes(range(1, 8))


def extended_block(source, destination, count, offset):
    return extended_management(source, destination, f"16 {count:02X} {offset & 255:02X} {offset >> 8:02X} 00 00 E7 00") \
        + b"".join(extended_data(source, destination, sequence + 1) for sequence in range(count)) + pause(1)


def claim(source, name):
    return bytes([3, source]) + name.to_bytes(8, "little")


def request(source, destination, pgn):
    return bytes([4, source, destination]) + pgn.to_bytes(3, "little")


def pause(milliseconds):
    return bytes([5]) + milliseconds.to_bytes(2, "little")


def message(function, destination, length):
    return bytes([6, function, destination]) + length.to_bytes(2, "little")


def takes(frames):
    return bytes([7, frames])


def any_frame(identifier, text):
    content = words(text)
    return bytes([0]) + identifier.to_bytes(4, "little") + bytes([len(content)]) + content


SEEDS = {
    "receive_directed": management(PEER, FIRST, "10 11 00 03 FF 00 E7 00") + pause(1)
    + data(PEER, FIRST, "01 01 02 03 04 05 06 07") + data(PEER, FIRST, "02 08 09 0A 0B 0C 0D 0E")
    + data(PEER, FIRST, "03 0F 10 11 FF FF FF FF") + pause(1),
    "receive_with_gap": management(PEER, FIRST, "10 1C 00 04 02 00 E7 00") + pause(1)
    + data(PEER, FIRST, "02 08 09 0A 0B 0C 0D 0E") + pause(1) + data(PEER, FIRST, "01 01 02 03 04 05 06 07")
    + pause(751) + data(PEER, FIRST, "04 16 17 18 19 1A 1B 1C") + pause(2500),
    "receive_broadcast": management(PEER, ALL, "20 09 00 02 FF DA FE 00") + data(PEER, ALL, "01 01 02 03 04 05 06 07")
    + pause(50) + data(PEER, ALL, "02 08 09 FF FF FF FF FF") + pause(1),
    "commanded_address": management(PEER, ALL, "20 09 00 02 FF D8 FE 00") + data(PEER, ALL, "01 01 00 00 00 00 00 00")
    + pause(50) + data(PEER, ALL, "02 A0 90 FF FF FF FF FF") + pause(300) + pause(300),
    "send_directed": message(0, PEER, 17) + pause(1) + management(PEER, FIRST, "11 02 01 FF FF 00 EF 00") + pause(1)
    + management(PEER, FIRST, "11 00 FF FF FF 00 EF 00") + pause(1000)
    + management(PEER, FIRST, "11 01 03 FF FF 00 EF 00") + pause(1)
    + management(PEER, FIRST, "13 11 00 03 FF 00 EF 00") + pause(1),
    "send_repeats_and_aborts": message(1, PEER, 1785) + message(1, PEER, 9) + pause(1)
    + management(PEER, SECOND, "11 10 01 FF FF 00 EF 00") + pause(1)
    + management(PEER, SECOND, "11 10 01 FF FF 00 EF 00") + takes(3) + pause(1)
    + management(PEER, SECOND, "11 10 11 FF FF 00 EF 00") + takes(255) + pause(1)
    + management(PEER, SECOND, "FF 01 FF FF FF 00 EF 00") + pause(1250),
    "send_broadcast_on_a_busy_bus": takes(0) + message(0, ALL, 20) + message(1, ALL, 8) + pause(100) + takes(2)
    + pause(60) + takes(255) + pause(60),
    "extended_receive": extended_management(PEER, FIRST, "14 FA 06 00 00 00 E7 00") + pause(1)
    + b"".join(extended_block(PEER, FIRST, 16, offset) for offset in range(0, 256, 16)),
    "extended_receive_with_gap": extended_management(PEER, FIRST, "14 FA 06 00 00 00 E7 00") + pause(1)
    + extended_management(PEER, FIRST, "16 04 00 00 00 00 E7 00") + extended_data(PEER, FIRST, 2)
    + extended_data(PEER, FIRST, 4) + pause(1) + extended_block(PEER, FIRST, 1, 0) + extended_block(PEER, FIRST, 1, 2)
    + extended_block(PEER, FIRST, 16, 4) + pause(1250),
    "extended_receive_hostile": extended_management(PEER, FIRST, "14 FF FF FF 06 00 E7 00")
    + extended_management(PEER, FIRST, "14 00 00 00 01 00 E7 00") + pause(1) + extended_block(PEER, FIRST, 17, 0)
    + extended_management(PEER, SECOND, "14 00 00 00 01 00 E7 00") + pause(1) + extended_block(PEER, SECOND, 2, 65535)
    + extended_management(PEER, SECOND, "14 00 00 00 01 00 E7 00") + pause(1) + extended_data(PEER, SECOND, 1),
    "extended_send": message(0, PEER, 1786) + message(0, PEER, 17) + pause(1)
    + extended_management(PEER, FIRST, "15 FF 01 00 00 00 EF 00") + pause(1)
    + extended_management(PEER, FIRST, "15 00 FF FF FF 00 EF 00") + pause(1000)
    + extended_management(PEER, FIRST, "15 02 FF 00 00 00 EF 00") + pause(1)
    + extended_management(PEER, FIRST, "17 FA 06 00 00 00 EF 00") + pause(1)
    + management(PEER, FIRST, "11 03 01 FF FF 00 EF 00") + pause(1),
    "extended_send_and_aborts": message(1, PEER, 3000) + message(1, PEER, 3000) + message(1, PEER, 2000) + pause(1)
    + extended_management(PEER, SECOND, "15 10 01 00 00 00 EF 00") + takes(3) + pause(1)
    + extended_management(PEER, SECOND, "15 10 01 00 00 00 EF 00") + takes(255) + pause(1)
    + extended_management(PEER, SECOND, "15 01 FF FF FF 00 EF 00") + pause(1)
    + extended_management(PEER, SECOND, "15 01 01 00 00 00 E6 00") + pause(1),
    "requests": request(PEER, FIRST, 0xFEDA) + pause(1) + management(PEER, FIRST, "11 06 01 FF FF DA FE 00") + pause(1)
    + management(PEER, FIRST, "13 28 00 06 FF DA FE 00") + request(PEER, ALL, 0xFEDA) + pause(500)
    + request(PEER, SECOND, 0xFDC5) + request(254, ALL, 0xEE00) + pause(10),
    "contention": message(0, PEER, 100) + message(1, PEER, 100) + pause(1) + claim(0x80, 1) + pause(1) + claim(0x26, 1)
    + pause(200) + pause(200) + pause(300) + claim(0x90, 0x10) + pause(2000),
    "malformed": any_frame(0x1CEC8090, "10 11 00") + any_frame(0x18EEFF90, "01") + any_frame(0x18EA8090, "")
    + any_frame(0x800007E0, "FF" * 8) + management(PEER, FIRST, "10 FF FF FF 00 FF FF FF")
    + data(PEER, FIRST, "00" * 8) + management(254, FIRST, "10 11 00 03 FF 00 E7 00") + pause(1),
}

folder = pathlib.Path(__file__).parent / "corpus" / "frame_path"
folder.mkdir(parents=True, exist_ok=True)
for name, content in SEEDS.items():
    (folder / name).write_bytes(content)
