"""The partner guide's examples, run as they stand there."""

import os
import re
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

PARTNER = "docs/partner.md"
MEMORY = 3_000_000_000  # bytes; a run takes four fifths of it and leaves the rest, 512 MiB at least, alone
SECONDS = 60


def example(house, name):
    found = re.search(rf"<!-- example: {re.escape(name)} -->\n```\w+\n(.*?)```", house.read(PARTNER), re.S)
    return found.group(1) if found else None


def promised(house):
    """What the guide says that a run prints."""
    return re.search(r"It prints\n\n```\n(.*?)```", house.read(PARTNER), re.S).group(1)


def finish(command, folder, environment):
    """Runs the command to its end, or ends it with all that it started. Returns what it printed."""
    process = subprocess.Popen(
        command, cwd=folder, env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
        start_new_session=True
    )
    try:
        return process.communicate(timeout=SECONDS)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        printed, errors = process.communicate()
        return printed, f"no end within {SECONDS} s; {errors}"


def run(house, name, command):
    text = example(house, name)
    if text is None:
        return 0, [f"{PARTNER} has no example {name}"]
    with tempfile.TemporaryDirectory(prefix="tessel-docs-") as folder:
        bin_folder = Path(folder, "bin")
        bin_folder.mkdir()
        for program, path in house.programs.items():
            (bin_folder / program).symlink_to(path)
        Path(folder, name).write_text(text, encoding="utf-8")
        environment = {
            **os.environ,
            "PATH": f"{bin_folder}:{os.environ['PATH']}",
            "HOME": folder,
            "XDG_CONFIG_HOME": folder,
            "XDG_RUNTIME_DIR": folder,
            "QT_QPA_PLATFORM": "offscreen",
            "TESSEL_CAMERAS": "simulated:2xFL3-U3-13Y3M",
            "TESSEL_MEMORY_LIMIT": str(MEMORY),
        }
        printed, errors = finish([*command, name, "left.avi", "right.avi"], folder, environment)
        failures = []
        if printed != promised(house):
            failures.append(f"{name} printed {printed!r}, not {promised(house)!r}; {errors}")
        for file in ("left-cam1-0000.avi", "right-cam2-0000.avi"):
            path = Path(folder, file)
            if not path.exists() or path.read_bytes()[:4] != b"RIFF":
                failures.append(f"{name} left no {file}")
        return 1, failures


def partner_python(house):
    return run(house, "partner.py", [sys.executable])


def partner_shell(house):
    return run(house, "partner.sh", ["bash"])
