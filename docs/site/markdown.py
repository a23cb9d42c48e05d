"""Markdown as the site and the link checker read it: cmark-gfm turns it to HTML, headings get the anchors that web
front ends of git give them."""

import html
import re
import subprocess

HEADING = re.compile(r"<h([1-6])>(.*?)</h\1>", re.DOTALL)


def slug(heading, taken):
    """The anchor of a heading; one that is taken already gets a number."""
    text = html.unescape(re.sub(r"<[^>]+>", "", heading)).lower()
    base = re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
    taken[base] = taken.get(base, -1) + 1
    return f"{base}-{taken[base]}" if taken[base] else base


def to_html(text):
    result = subprocess.run(["cmark-gfm", "-e", "table", "-e", "autolink", "-e", "strikethrough", "--to", "html"],
                            input=text, stdout=subprocess.PIPE, text=True, encoding="utf-8", timeout=60, check=True)
    body = result.stdout.replace("<!-- raw HTML omitted -->\n", "")
    taken = {}
    return HEADING.sub(lambda match: f'<h{match[1]} id="{slug(match[2], taken)}">{match[2]}</h{match[1]}>', body)
