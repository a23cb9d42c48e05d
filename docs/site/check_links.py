#!/usr/bin/python3
"""Checks links: python3 check_links.py ROOT [SITE].

Every relative link of every Markdown file below ROOT, and of every page below SITE, has to lead to a file or folder
that is there, and to an anchor that is there. Links to the outside are listed and not followed.
"""

import html.parser
import os
import pathlib
import sys
import urllib.parse

import markdown

LEFT_OUT = {"build", ".git", ".cache"}


class Page(html.parser.HTMLParser):
    """The links and the anchors of a page."""

    def __init__(self, text):
        super().__init__()
        self.links = []
        self.anchors = set()
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("href", "src"):
                self.links.append(value or "")
            elif name == "id" or (name == "name" and tag == "a"):
                self.anchors.add(value)


def markdown_files(root):
    for folder, folders, names in os.walk(root):
        folders[:] = sorted(name for name in folders if name not in LEFT_OUT)
        for name in sorted(names):
            if name.endswith(".md"):
                yield pathlib.Path(folder) / name


def site_pages(site):
    return sorted(site.rglob("*.html"))


class Checker:
    def __init__(self, base, folders_are_pages=True):
        self.base = base
        self.folders_are_pages = folders_are_pages
        self.pages = {}
        self.broken = []
        self.outside = set()
        self.checked = 0

    def page(self, path):
        if path not in self.pages:
            text = path.read_text(encoding="utf-8")
            self.pages[path] = Page(markdown.to_html(text) if path.suffix == ".md" else text)
        return self.pages[path]

    def check(self, path):
        for link in self.page(path).links:
            self.checked += 1
            why = self.mistake(path, link)
            if why:
                self.broken.append(f"{path.relative_to(self.base)}: {link or 'a link to nothing'}: {why}")

    def mistake(self, path, link):
        """Why a link of a page leads nowhere; empty where it does not."""
        try:
            parts = urllib.parse.urlsplit(link)
        except ValueError:
            return "cannot be read"
        if parts.scheme or parts.netloc:
            self.outside.add(link)
            return ""
        if link == "" or parts.path.startswith("/"):
            return "is not relative"
        target = path
        if parts.path:
            target = pathlib.Path(os.path.normpath(path.parent / urllib.parse.unquote(parts.path)))
        if self.base not in (target, *target.parents):
            return "leads out of the tree"
        if not target.exists():
            return "is not there"
        if target.is_dir() and not self.folders_are_pages:
            return "is a folder"
        if not parts.fragment:
            return ""
        if target.suffix not in (".md", ".html"):
            return "has no anchors"
        return "" if urllib.parse.unquote(parts.fragment) in self.page(target).anchors else "the anchor is not there"


def check_markdown(root):
    checker = Checker(root)
    for path in markdown_files(root):
        checker.check(path)
    return checker


def check_site(site):
    """A page is opened from a disk: a link to a folder shows nothing there."""
    checker = Checker(site, folders_are_pages=False)
    for path in site_pages(site):
        checker.check(path)
    return checker


def report(checker, what):
    for line in checker.broken:
        print(f"{what}: {line}")
    print(f"{what}: {checker.checked} links of {len(checker.pages)} pages, {len(checker.broken)} broken")
    for link in sorted(checker.outside):
        print(f"{what}: to the outside, not followed: {link}")
    return not checker.broken


def main():
    holds = report(check_markdown(pathlib.Path(sys.argv[1]).resolve()), "tree")
    if len(sys.argv) > 2:
        holds = report(check_site(pathlib.Path(sys.argv[2]).resolve()), "site") and holds
    return 0 if holds else 1


if __name__ == "__main__":
    sys.exit(main())
