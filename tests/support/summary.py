#!/usr/bin/env python3
"""Adds up what ctest wrote with --output-junit, one result file a build.

    summary.py NAME FILE SECONDS [NAME FILE SECONDS ...]

Prints the end of the output of each failed test, a table with a row a build, the names of skipped and failed tests,
and alone on the last line "N passed, N failed, N skipped". A build without a result file counts as one failure: it was
not built or its tests did not run. Exit status 1 when anything failed.
"""

import sys
import xml.etree.ElementTree as ElementTree

SHOWN_FAILURES = 10
SHOWN_LINES = 40


class Build:
    def __init__(self, name, path, seconds):
        self.name = name
        self.seconds = seconds
        self.passed = 0
        self.failed = []
        self.skipped = []
        self.outputs = {}
        try:
            cases = list(ElementTree.parse(path).iter("testcase"))
        except (OSError, ElementTree.ParseError) as error:
            self.failed.append(f"(no results: {error})")
            return
        if not cases:
            self.failed.append("(no tests found)")
        for case in cases:
            self.add(case)

    def add(self, case):
        name = case.get("name")
        status = case.get("status")
        reason = case.find("skipped")
        if status == "run":
            self.passed += 1
        elif status == "disabled" or (reason is not None and reason.get("message", "").startswith("SKIP_")):
            self.skipped.append(name)
        else:
            # Failed, timed out, or could not be started at all.
            self.failed.append(name)
            self.outputs[name] = case.findtext("system-out") or ""


def print_outputs(builds):
    failures = [(build, name, text) for build in builds for name, text in build.outputs.items()]
    for build, name, text in failures[:SHOWN_FAILURES]:
        print(f"---- {build.name}: {name}")
        lines = text.rstrip().splitlines()
        if len(lines) > SHOWN_LINES:
            print(f"(the last {SHOWN_LINES} of {len(lines)} lines)")
        print("\n".join(lines[-SHOWN_LINES:]))
    if len(failures) > SHOWN_FAILURES:
        print(f"---- and {len(failures) - SHOWN_FAILURES} more")
    if failures:
        print()


def print_table(builds):
    width = max(len("build"), *(len(build.name) for build in builds))
    print(f"{'build':{width}}  passed  failed  skipped    time")
    for build in builds:
        print(
            f"{build.name:{width}}  {build.passed:6}  {len(build.failed):6}  {len(build.skipped):7}  {build.seconds:>4} s"
        )


def print_names(builds):
    for kind in ("skipped", "failed"):
        for build in builds:
            for name in getattr(build, kind):
                print(f"{kind}: {build.name}: {name}")


def main(arguments):
    if not arguments or len(arguments) % 3 != 0:
        print("usage: summary.py NAME FILE SECONDS [NAME FILE SECONDS ...]", file=sys.stderr)
        return 2
    builds = [Build(*arguments[index : index + 3]) for index in range(0, len(arguments), 3)]
    passed = sum(build.passed for build in builds)
    failed = sum(len(build.failed) for build in builds)
    skipped = sum(len(build.skipped) for build in builds)
    print_outputs(builds)
    print_table(builds)
    print_names(builds)
    print(f"{passed} passed, {failed} failed, {skipped} skipped")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
