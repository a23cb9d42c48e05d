"""Results of cases in the form that ctest writes with --output-junit, for tests/support/summary.py."""

import re
import xml.etree.ElementTree as ElementTree
from dataclasses import dataclass

NOT_IN_XML = re.compile("[^\t\n\x20-\ud7ff\ue000-\ufffd]")


@dataclass
class Verdict:
    """`kind`: passed, failed or skipped; `text`: its output, or why it was skipped."""

    name: str
    kind: str
    text: str = ""
    seconds: float = 0


def write(path, verdicts):
    suite = ElementTree.Element("testsuite", name="console", tests=str(len(verdicts)))
    statuses = {"passed": "run", "failed": "fail", "skipped": "notrun"}
    for verdict in sorted(verdicts, key=lambda one: one.name):
        case = ElementTree.SubElement(
            suite, "testcase", name=verdict.name, status=statuses[verdict.kind], time=f"{verdict.seconds:.3f}"
        )
        if verdict.kind == "skipped":
            ElementTree.SubElement(case, "skipped", message="SKIP_CONSOLE")
        ElementTree.SubElement(case, "system-out").text = NOT_IN_XML.sub("?", verdict.text)
    path.parent.mkdir(parents=True, exist_ok=True)
    ElementTree.ElementTree(suite).write(path, encoding="utf-8", xml_declaration=True)


def reasons(verdicts):
    """reason -> how many cases were skipped for it."""
    counted = {}
    for verdict in verdicts:
        if verdict.kind == "skipped":
            reason = verdict.text.strip() or "no reason given"
            counted[reason] = counted.get(reason, 0) + 1
    return counted
