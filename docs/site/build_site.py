#!/usr/bin/python3
"""Builds the site of the documents: python3 build_site.py FOLDER. It needs doxygen, mandoc and cmark-gfm; whoever reads
it needs no network and no server."""

import html
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import markdown
import reference

ROOT = reference.ROOT
SITE = pathlib.Path(__file__).resolve().parent
# The pages: source, name on the site, name in the navigation. One without a name there is reached from others.
PAGES = (
    ("README.md", "index.html", "Overview"),
    ("docs/guide.md", "guide.html", "Guide"),
    ("docs/architecture.md", "architecture.html", "Architecture"),
    ("docs/terminal.md", "terminal.html", "Terminal"),
    ("docs/behaviours.md", "behaviours.html", "Behaviours"),
    ("docs/performance.md", "performance.html", "Performance"),
    ("CHANGELOG.md", "changelog.html", "Changes"),
    ("CONTRIBUTING.md", "contributing.html", ""),
    ("Utils/README.md", "library.html", ""),
    ("platform/README.md", "platform.html", ""),
)
MOSTLY_TABLES = ("behaviours.html", "library.html")
NAVIGATION = ([(name, title) for _, name, title in PAGES[:4]] + [("reference/files.html", "Reference"),
                                                                 ("man/index.html", "Programs")] +
              [(name, title) for _, name, title in PAGES[4:] if title])
NEEDED = ("doxygen", "mandoc", "cmark-gfm")


def navigation(up, current):
    links = []
    for name, title in NAVIGATION:
        here = ' aria-current="page"' if name == current else ""
        links.append(f'<a href="{up}{name}"{here}>{title}</a>')
    return f'<header><nav><a class="name" href="{up}index.html">libzemoUtils</a>{"".join(links)}</nav></header>'


def head(title, up, more=""):
    return (f'<!DOCTYPE html>\n<html lang="en">\n<head>\n<meta charset="utf-8">\n'
            f'<meta name="viewport" content="width=device-width, initial-scale=1">\n<title>{title}</title>\n{more}'
            f'<link rel="stylesheet" href="{up}style.css">\n</head>\n')


def page(title, body, up="", current="", kind="text"):
    return (f'{head(html.escape(title), up)}<body>\n{navigation(up, current)}\n<main class="{kind}">\n{body}</main>\n'
            f'</body>\n</html>\n')


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")


class Builder:
    def __init__(self, output):
        self.output = output
        self.names = {source: name for source, name, _ in PAGES}
        self.sources = set()  # files and folders of the tree that a page links to

    def build(self):
        for source, name, title in PAGES:
            self.markdown_page(source, name)
        self.man_pages()
        self.reference_pages()
        self.source_pages()
        shutil.copy(SITE / "style.css", self.output / "style.css")

    def markdown_page(self, source, name):
        text = (ROOT / source).read_text(encoding="utf-8")
        body = markdown.to_html(text)
        body = re.sub(r'href="([^"]*)"', lambda match: f'href="{self.link(source, html.unescape(match[1]))}"', body)
        body = re.sub(r"(<code>[A-Z]\w+\.)(?=[A-Z]\w+</code>)", r"\1<wbr>", body)  # the name of a test may be broken
        body = body.replace("<table>", '<div class="wide"><table>').replace("</table>", "</table></div>")
        title = re.search(r"^# (.*)$", text, re.MULTILINE).group(1)
        title = title if title == "libzemoUtils" else f"{title} - libzemoUtils"
        kind = "tables" if name in MOSTLY_TABLES else "text"
        write(self.output / name, page(title, self.contents(body) + body, current=name, kind=kind))

    @staticmethod
    def contents(body):
        """The list of a page's headings; none for a page that is short."""
        found = re.findall(r'<h2 id="([^"]*)">(.*?)</h2>', body)
        if len(found) < 4:
            return ""
        return '<aside>' + "".join(f'<a href="#{anchor}">{text}</a>' for anchor, text in found) + "</aside>\n"

    def link(self, source, target):
        """Where a link of a page leads on the site: to another page, to a man page, or to a source of the tree."""
        if re.match(r"^[a-z]+:", target) or target.startswith("#"):
            return html.escape(target)
        path, mark, anchor = target.partition("#")
        path = os.path.normpath(os.path.join(os.path.dirname(source), path))
        if path in self.names:
            return html.escape(self.names[path] + mark + anchor)
        if path.startswith("docs/man/"):
            return f"man/{os.path.basename(path)}.html"
        self.sources.add(path)
        return f"sources/{path}/index.html" if (ROOT / path).is_dir() else f"sources/{path}.html"

    def man_pages(self):
        names = sorted(path.stem for path in (ROOT / "docs" / "man").glob("*.1"))
        rows = []
        for name in names:
            source = ROOT / "docs" / "man" / f"{name}.1"
            body = subprocess.run(["mandoc", "-T", "html", "-O", "fragment,man=%N.%S.html", source], text=True,
                                  stdout=subprocess.PIPE, timeout=60, check=True).stdout
            # Pages of other packages are named only.
            body = re.sub(r'<a class="Xr" href="([^"]*)\.1\.html">(.*?)</a>',
                          lambda match: match[0] if match[1] in names else match[2], body)
            body = f"<h1>{name}</h1>\n{body}"
            write(self.output / "man" / f"{name}.1.html", page(f"{name}(1)", body, "../", "man/index.html", "man"))
            purpose = re.search(r"^\.Nd (.*)$", source.read_text(encoding="utf-8"), re.MULTILINE).group(1)
            rows.append(f'<tr><td><a href="{name}.1.html">{name}</a></td><td>{html.escape(purpose)}</td></tr>\n')
        body = f'<h1>Programs</h1>\n<div class="wide"><table>\n{"".join(rows)}</table></div>\n'
        write(self.output / "man" / "index.html", page("Programs - libzemoUtils", body, "../", "man/index.html"))

    def reference_pages(self):
        header = head("$title", "$relpath^../", '<link rel="stylesheet" href="$relpath^doxygen.css">\n')
        header += f'<body>\n{navigation("$relpath^../", "reference/files.html")}\n<main class="reference"><div>\n'
        with tempfile.TemporaryDirectory(prefix="zemo-reference-") as folder:
            reference.make(pathlib.Path(folder), header, "</main>\n</body>\n</html>\n")
            made = pathlib.Path(folder) / "reference"
            # What only Doxygen's own navigation would need.
            for path in [made / "index.html", made / "doxygen.svg", *made.glob("*.js")]:
                path.unlink()
            self.first_page(made / "files.html")
            shutil.copytree(made, self.output / "reference")

    @staticmethod
    def first_page(path):
        """The list of headers is where the reference begins."""
        text = path.read_text(encoding="utf-8")
        for old, new in (("File List", "Reference"),
                         ("Here is a list of all documented files with brief descriptions:",
                          'The headers that applications include, and what each is for. The same by name: '
                          '<a href="globals_func.html">functions</a>, <a href="annotated.html">classes</a>, '
                          '<a href="namespacemembers.html">what stands in a namespace</a>.')):
            assert old in text, old
            text = text.replace(old, new)
        path.write_text(text, encoding="utf-8")

    def source_pages(self):
        for path in sorted(self.sources):
            if (ROOT / path).is_dir():
                self.source_folder(path)
            else:
                self.source_file(path)

    def source_folder(self, folder):
        up = "../" * (folder.count("/") + 2)
        files = tracked_files(folder)
        rows = []
        for path in files:
            name = path[len(folder) + 1:]
            rows.append(f'<li><a href="{name}.html">{name}</a></li>\n')
            self.source_file(path)
        body = f'<h1>{folder}</h1>\n<ul>\n{"".join(rows)}</ul>\n'
        write(self.output / "sources" / folder / "index.html", page(folder, body, up))

    def source_file(self, path):
        up = "../" * (path.count("/") + 1)
        text = html.escape((ROOT / path).read_text(encoding="utf-8", errors="replace"))
        write(self.output / "sources" / f"{path}.html",
              page(path, f"<h1>{path}</h1>\n<pre><code>{text}</code></pre>\n", up))


def tracked_files(folder):
    """The files of a folder, without what tools leave there."""
    found = []
    for path in sorted((ROOT / folder).rglob("*")):
        if path.is_file() and "__pycache__" not in path.parts:
            found.append(str(path.relative_to(ROOT)))
    return found


def main():
    missing = [program for program in NEEDED if not shutil.which(program)]
    if missing:
        print("missing: " + ", ".join(missing), file=sys.stderr)
        return 1
    output = pathlib.Path(sys.argv[1]).resolve()
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    Builder(output).build()
    print(f"{sum(1 for _ in output.rglob('*.html'))} pages in {output}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
