#!/usr/bin/env python3
"""Installs into a folder of its own and looks at what is there.

check_installation.py --cmake CMAKE --build DIR --version X.Y.Z PROGRAM...
"""

import argparse
import configparser
import gzip
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree
from pathlib import Path

PAGES = ["README.md", "README.ja.md", "CHANGELOG.md", "docs/operator.ja.md", "docs/partner.md", "docs/file-formats.md"]
WORD = r"[A-Za-z]{4,}"  # what a maker's name would look like
UDEV_WORDS = {
    "ACTION", "remove", "SUBSYSTEM", "DEVTYPE", "device", "INTERFACES", "MODE", "GROUP", "video", "uaccess", "ATTR",
    "idVendor", "firewire", "units",
}


def installed(cmake, build, folder):
    environment = {**os.environ, "DESTDIR": folder}
    subprocess.run([cmake, "--install", build, "--prefix", "/usr"], check=True, capture_output=True, env=environment)
    return Path(folder, "usr")


def program_failures(usr, program, version):
    failures = []
    if not os.access(usr / "bin" / program, os.X_OK):
        failures.append(f"{program} is not installed")
    for folder in ("man1", "ja/man1"):
        page = usr / "share/man" / folder / f"{program}.1.gz"
        if not page.exists():
            failures.append(f"{program} has no page in {folder}")
            continue
        text = gzip.decompress(page.read_bytes()).decode("utf-8")
        if f"Tessel {version}" not in text:
            failures.append(f"{page.name} in {folder} is not of {version}")
        for path in re.findall(r"/usr/(share/doc/[\w./-]*\w/?)", text):
            if not (usr / path).exists():
                failures.append(f"{page.name} in {folder} names /usr/{path}, which is not installed")
    if program != "tessel" and not (usr / "share/bash-completion/completions" / program).exists():
        failures.append(f"{program} has no completion")
    return failures


def desktop_failures(usr, version):
    failures = []
    entry = configparser.ConfigParser(interpolation=None, delimiters=("=",))
    entry.optionxform = str
    entry.read(usr / "share/applications/tessel.desktop", encoding="utf-8")
    for section in entry.sections():
        program = entry[section]["Exec"].split()[-1]
        if not (usr / "bin" / program).exists():
            failures.append(f"the menu starts {program}, which is not installed")
        for key in ("Name", "Name[ja]"):
            if not entry[section].get(key):
                failures.append(f"[{section}] has no {key}")
    icon = usr / "share/icons/hicolor/scalable/apps" / (entry["Desktop Entry"]["Icon"] + ".svg")
    if not icon.exists() or not xml.etree.ElementTree.parse(icon).getroot().tag.endswith("svg"):
        failures.append(f"there is no icon {icon.name}")
    component = xml.etree.ElementTree.parse(usr / "share/metainfo/org.tessel.Tessel.metainfo.xml").getroot()
    if component.find("releases/release").get("version") != version:
        failures.append(f"the metadata is not of {version}")
    failures += [
        f"the metadata names {binary.text}, which is not installed"
        for binary in component.iter("binary")
        if not (usr / "bin" / binary.text).exists()
    ]
    return failures


def rule_failures(usr):
    """Cameras are told by numbers alone, and every line is a whole rule."""
    failures = []
    for rules in (usr / "lib/udev/rules.d").iterdir():
        for line in rules.read_text(encoding="utf-8").splitlines():
            if not line or line.startswith("#"):
                continue
            if not re.fullmatch(r'(?:[A-Z]+(?:\{\w+\})?(?:==|!=|\+=|=)"[^"]*"(?:, |$))+', line):
                failures.append(f"{rules.name} has a broken rule: {line}")
            failures += [f"{rules.name} says {word}" for word in re.findall(WORD, line) if word not in UDEV_WORDS]
    return failures


def page_failures(doc):
    """The pages are there, and whatever they link to or show came with them."""
    failures = [f"{page} is not installed" for page in PAGES if not (doc / page).exists()]
    followed = 0
    for page in sorted(doc.rglob("*.md")):
        text = re.sub(r"```.*?```|`[^`\n]+`", "", page.read_text(encoding="utf-8"), flags=re.S)
        for target in re.findall(r"\]\(([^)\s#]+)[^)\s]*\)", text):
            if not re.match(r"[a-z]+:", target):
                followed += 1
                if not (page.parent / target).exists():
                    failures.append(f"{page.relative_to(doc)} leads to {target}, which is not installed")
    if followed < 20:
        failures.append("the pages have hardly a link: the check no longer finds them")
    return failures


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--cmake", required=True)
    parser.add_argument("--build", required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("programs", nargs="+")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="tessel-installed-") as folder:
        usr = installed(arguments.cmake, arguments.build, folder)
        failures = desktop_failures(usr, arguments.version) + rule_failures(usr)
        for program in arguments.programs:
            failures += program_failures(usr, program, arguments.version)
        failures += page_failures(usr / "share/doc/tessel")
        extra = {path.name for path in (usr / "bin").iterdir()} - set(arguments.programs)
        failures += [f"{name} is installed, but nobody asked for it" for name in sorted(extra)]
    for failure in failures:
        print(failure, file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
