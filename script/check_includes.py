#!/usr/bin/env python3
"""Checks every quoted include against the folder table of docs/architecture.md.

    script/check_includes.py        prints each violation; exit status 1 if there is one

Each row of the table names one or more folders and, in its last column, what their files may
include: folders ("base/"), single headers ("platform/version.h"), or everything. A folder may
always include itself. Rows are ordered lowest first, and a row that names a later one is a
violation too, so the table can have no cycle. Inside one row, the subfolders may have none either.
"""
import collections
import graphlib
import os
import re
import subprocess
import sys

os.chdir(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
TABLE = "docs/architecture.md"
INCLUDE = re.compile(r'\s*#\s*(?:include|import)\s+"([^"]+)"')
violations = []


def read_table():
    """Returns {folder: set of what it may include}, lowest first; None stands for everything."""
    table = {}
    for line in open(TABLE, encoding="utf-8"):
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        folders = re.findall(r"`([^`]+/)`", cells[0]) if line.startswith("| `") else []
        if not folders or len(cells) != 3:
            continue
        uses = re.findall(r"`([^`]+)`", cells[2])
        if not uses and cells[2] not in ("nothing", "everything"):
            sys.exit(f"{TABLE}: cannot read the row of {folders[0]}")
        for use in uses:
            if folder_of(use, table) is None or not os.path.exists(use):
                violations.append(f"{TABLE}: {folders[0]} names {use}, which no earlier row has")
        table.update({f: None if cells[2] == "everything" else {f, *uses} for f in folders})
    return table


def folder_of(path, table):
    """Returns the row that a file or folder belongs to; None if the table has none."""
    return next((folder for folder in table if path.startswith(folder)), None)


def includes():
    """Yields (file, line number, included path) for every quoted include of the sources."""
    sources = subprocess.check_output(["git", "ls-files", "*.h", "*.cpp", "*.m", "*.mm"], text=True)
    for path in sources.split():
        for number, line in enumerate(open(path, encoding="utf-8"), 1):
            match = INCLUDE.match(line)
            if match:
                yield path, number, match[1]


def check(table):
    subfolders = collections.defaultdict(set)
    for path, number, target in includes():
        folder = folder_of(path, table)
        if folder is None:
            violations.append(f"{path}: its folder has no row in {TABLE}")
        elif table[folder] is not None:
            if not any(target == use or use.endswith("/") and target.startswith(use)
                       for use in table[folder]):
                violations.append(f"{path}:{number}: {folder} may not include {target}")
            if os.path.dirname(path) != os.path.dirname(target):
                subfolders[os.path.dirname(path)].add(os.path.dirname(target))
    try:
        graphlib.TopologicalSorter(subfolders).prepare()
    except graphlib.CycleError as error:
        violations.append("folders include each other: " + " -> ".join(error.args[1]))


check(read_table())
for violation in violations:
    print(violation)
sys.exit(1 if violations else 0)
