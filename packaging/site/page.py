#!/usr/bin/env python3
"""Prepares one of our documents for Doxygen: pages and headings get names that are unique in the whole site, links lead
to those, and links to what is not in the site become plain text.

  page.py FILE     writes to standard output; SITE in the environment has the files of the site
"""
import collections
import os
import re
import sys

ROOT = os.getcwd()


def page_name(file):
    return re.sub(r"[^a-z]", "_", file.lower())


def heading_name(page, title):
    """As forges make it of a heading."""
    return page + "-" + re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-")


def target(link, folder, page, site):
    """What a link leads to in the site, None when that is not there."""
    if re.match(r"[a-z]+:", link):
        return link
    path, _, heading = link.partition("#")
    file = os.path.relpath(os.path.join(folder, path), ROOT) if path else None
    if file is not None and file not in site:
        return None
    if file is not None and not file.endswith(".md"):
        return "@ref " + os.path.basename(file)
    if file is not None:
        page = page_name(file)
    return "#" + (f"{page}-{heading}" if heading else page)


def main(file, site):
    folder, name = os.path.dirname(os.path.abspath(file)), os.path.relpath(file, ROOT)
    page = page_name(name)

    def relink(match):
        if match[1]:  # a picture, which Doxygen finds by its name
            return f"![{match[2]}]({os.path.basename(match[3])})"
        leads_to = target(match[3], folder, page, site)
        return match[2] if leads_to is None else f"[{match[2]}]({leads_to})"

    in_code, first = False, True
    earlier = collections.Counter()
    for line in open(file, encoding="utf-8"):
        in_code ^= line.startswith("```")
        heading = None if in_code else re.match(r"(#+) (.*)\n", line)
        if heading:
            label = page if first else heading_name(page, heading[2])
            earlier[label] += 1
            if earlier[label] > 1:
                label += f"-{earlier[label] - 1}"
            line = f"{heading[1]} {heading[2]} {{#{label}}}\n"
            first = False
        elif not in_code:
            line = re.sub(r"(!?)\[([^\]]*)\]\(([^)\s]+)\)", relink, line)
        sys.stdout.write(line)


main(sys.argv[1], os.environ["SITE"].split())
