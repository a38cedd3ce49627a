#!/usr/bin/env python3
"""Compares what the pages say with what the code and the programs say.

check_docs.py --source DIR --build DIR --version X.Y.Z --program NAME=PATH... CHECK...
"""

import argparse
import sys
from pathlib import Path

import examples
import pages
import texts
import values

CHECKS = {
    "messages": texts.messages,
    "results": texts.results,
    "facts": texts.facts,
    "environment": texts.environment,
    "performance": texts.performance,
    "checks": texts.checks,
    "menus": values.menus,
    "models": values.models,
    "sources": values.sources,
    "tuning": values.tuning,
    "options": pages.options,
    "paths": pages.paths,
    "links": pages.links,
    "reliability": pages.reliability,
    "pictures": pages.pictures,
    "versions": pages.versions,
    "partner_python": examples.partner_python,
    "partner_shell": examples.partner_shell,
    "readme_partner": examples.readme_partner,
    "software_cameras": examples.software_cameras,
}


class House:
    """The source tree and the programs built from it."""

    def __init__(self, source, build, version, programs):
        self.source = Path(source).resolve()
        self.build = Path(build).resolve()
        self.version = version
        pairs = (program.split("=", 1) for program in programs)
        self.programs = {name: str(Path(path).resolve()) for name, path in pairs}

    def read(self, name):
        return (self.source / name).read_text(encoding="utf-8")

    def pages(self):
        found = [*self.source.glob("*.md"), *self.source.glob("docs/*.md"), *self.source.glob("packaging/**/*.md")]
        return sorted(str(page.relative_to(self.source)) for page in found)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", required=True)
    parser.add_argument("--build", required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--program", action="append", default=[])
    parser.add_argument("checks", nargs="+", choices=CHECKS)
    arguments = parser.parse_args()
    house = House(arguments.source, arguments.build, arguments.version, arguments.program)
    failures = []
    for name in arguments.checks:
        compared, found = CHECKS[name](house)
        if compared == 0:
            found = [*found, "nothing was compared: the check no longer finds what it looks for"]
        print(f"{name}: {compared} compared, {len(found)} wrong")
        failures += [f"{name}: {failure}" for failure in found]
    for failure in failures:
        print(failure, file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
