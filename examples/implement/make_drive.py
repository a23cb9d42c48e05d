#!/usr/bin/env python3
"""Makes drive.csv: one minute of a sprayer, ten rows a second. Nothing in it was measured; it is computed here."""

import math

SECONDS = 60
ROWS_PER_SECOND = 10
SECTIONS = 6
SECTION_WIDTH_M = 2.0
RATE_L_PER_HA = 200.0
TANK_AT_START_L = 58.0
TANK_LOW_L = 42.0

HEADER = """\
# One minute of a sprayer with six boom sections of 2 m: the way to the field, a pass, the headland turn, a pass back.
# Origin: computed by make_drive.py beside this file, no machine was measured. Ten rows a second.
#   time      s      since the start
#   speed     km/h   over ground
#   width     m      of the sections that spray
#   sections  -      1 sprays, 0 closed, left to right
#   tank      l      left in the tank
#   flow      l/min  to all sections; 200 l/ha at the width and speed of the row
#   alarm     -      0 none, 1 tank low (under 42 l), 2 pressure low
time,speed,width,sections,tank,flow,alarm
"""


def speed_at(second):
    if second < 6:
        return 2.0 * second
    if second < 9:
        return 12.0 - 4.0 * (second - 6) / 3
    if 29 <= second < 37:
        return 5.0
    if second >= 57:
        return max(0.0, 8.0 - 8.0 * (second - 57) / 2.5)
    return 8.0 + 0.3 * math.sin(second * 1.7)


def sections_at(second):
    if second < 9 or 28.5 <= second < 37 or second >= 57:
        return "0" * SECTIONS
    if second < 11:  # into the field at an angle: one section after the other
        opened = int((second - 9) / 2 * SECTIONS) + 1
        return ("1" * opened).ljust(SECTIONS, "0")
    if 20 <= second < 23:  # a pond on the right
        return "111100"
    if 44 <= second < 46:  # a pole in the middle
        return "110011"
    return "1" * SECTIONS


def main():
    tank = TANK_AT_START_L
    rows = []
    for number in range(SECONDS * ROWS_PER_SECOND):
        second = number / ROWS_PER_SECOND
        speed = speed_at(second)
        sections = sections_at(second)
        width = sections.count("1") * SECTION_WIDTH_M
        flow = RATE_L_PER_HA * speed * width / 600
        tank -= flow / 60 / ROWS_PER_SECOND
        alarm = 2 if 49 <= second < 51 else 1 if tank < TANK_LOW_L else 0
        rows.append(f"{second:.1f},{speed:.1f},{width:.1f},{sections},{tank:.1f},{flow:.1f},{alarm}\n")
    with open("drive.csv", "w", encoding="ascii") as file:
        file.write(HEADER + "".join(rows))


main()
