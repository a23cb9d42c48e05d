"""What ./dev package --check does: python3 check_packages.py BUILD_FOLDER."""

import os
import subprocess
import sys

FOLDER = os.path.dirname(os.path.abspath(__file__))
SKIPPED = 77
status = 0
for name, *arguments in (("test_build.py", "whole"), ("test_installed.py", "amd64"), ("test_installed.py", "i386")):
    ended = subprocess.run([sys.executable, os.path.join(FOLDER, name), sys.argv[1], *arguments], check=False)
    if ended.returncode not in (0, SKIPPED):
        status = 1
sys.exit(status)
