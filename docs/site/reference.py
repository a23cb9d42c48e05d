"""Makes the reference of the exported headers with Doxygen: pages for the site, XML for whoever wants to check them."""

import pathlib
import re
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]
SITE = pathlib.Path(__file__).resolve().parent


def version():
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"^project\(zemoUtils VERSION ([\d.]+)", text, re.MULTILINE).group(1)


def make(output, header="", footer=""):
    """Writes output/reference (pages) and output/xml.

    Takes header and footer as HTML, empty for Doxygen's own. Ends with an error that tells Doxygen's warnings.
    """
    output.mkdir(parents=True, exist_ok=True)
    values = {"VERSION": version(), "ROOT": str(ROOT), "OUTPUT": str(output), "PYTHON": "/usr/bin/python3",
              "HEADER": "", "FOOTER": ""}
    for name, text in (("HEADER", header), ("FOOTER", footer)):
        if text:
            values[name] = str(output / f"{name.lower()}.html")
            pathlib.Path(values[name]).write_text(text, encoding="utf-8")
    settings = re.sub(r"@(\w+)@", lambda match: values[match[1]], (SITE / "Doxyfile.in").read_text(encoding="utf-8"))
    result = subprocess.run(["doxygen", "-"], input=settings, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            text=True, timeout=300, check=False)
    if result.returncode != 0 or result.stdout.strip():
        raise RuntimeError("Doxygen has warnings:\n" + result.stdout)
