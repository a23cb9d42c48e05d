"""Renews the record of what libzemoUtils promises in binary: python3 record_abi.py BUILD_FOLDER

To be run on a build of the preset host64 and on one of host32 when the interface is changed on purpose.
"""

import os
import sys

import building

import abi

LIBRARY = os.path.join(building.BUILD_FOLDER, "Utils", "libzemoUtils.so")
RECORDS = os.path.join(building.SOURCE_FOLDER, "tests", "data", "abi")


def main():
    reason = abi.unsuitable(building.CACHE)
    if reason:
        sys.exit(f"record_abi: {reason}")
    record = abi.record_of(LIBRARY, RECORDS)
    description = abi.describe(LIBRARY)
    with open(record, "w", encoding="utf-8") as file:
        file.write(description)
    print(record)


if __name__ == "__main__":
    main()
