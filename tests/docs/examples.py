"""The examples of the pages, run as they stand there."""

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
README = "README.md"
DEVELOPER = "docs/developer.md"


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


def surroundings(house, folder, memory):
    """The programs by name, two simulated cameras, and a home in the folder."""
    bin_folder = Path(folder, "bin")
    bin_folder.mkdir()
    for program, path in house.programs.items():
        (bin_folder / program).symlink_to(path)
    return {
        **os.environ,
        "PATH": f"{bin_folder}:{os.environ['PATH']}",
        "HOME": folder,
        "XDG_CONFIG_HOME": folder,
        "XDG_RUNTIME_DIR": folder,
        "QT_QPA_PLATFORM": "offscreen",
        "TESSEL_CAMERAS": "simulated:2xFL3-U3-13Y3M",
        "TESSEL_MEMORY_LIMIT": str(memory),
    }


def run(house, name, command):
    text = example(house, name)
    if text is None:
        return 0, [f"{PARTNER} has no example {name}"]
    with tempfile.TemporaryDirectory(prefix="tessel-docs-") as folder:
        Path(folder, name).write_text(text, encoding="utf-8")
        environment = surroundings(house, folder, MEMORY)
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


def block(house, page, word):
    """The lines of the indented block in which the word stands, as one command each; remarks off."""
    text = next((found for found in re.findall(r"(?:^    .*\n)+", house.read(page), re.M) if word in found), "")
    lines = text.replace("\\\n", " ").splitlines()
    return [re.sub(r"\s{2,}#.*|\s+# .*", "", line).strip() for line in lines if not line.strip().startswith("#")]


def readme_partner(house):
    """The first page's request and the partner's part in a script: told of its start, it ends the recording."""
    request = [line for line in block(house, README, "tessel Marten") if line.startswith("tessel ")]
    commands = block(house, README, "tessel-ctl listen")
    if len(request) != 1 or len(commands) != 3:
        return 0, [f"{README}: the partner's lines are not where this check looks for them"]
    told = re.findall(r'"(command \d+)"', house.read(README))
    files = re.findall(r"`((?:left|right)-cam\d-0000\.avi)`", house.read(README))
    with tempfile.TemporaryDirectory(prefix="tessel-docs-") as folder:
        environment = surroundings(house, folder, MEMORY)
        script = (f'{commands[0]} > told & listener=$!; until [ -e tessel/4d617274656e.sock ]; do sleep 0.05; done\n'
                  f'{request[0]} & program=$!; until grep -q {told[0].split()[1]} told; do sleep 0.05; done; sleep 1\n'
                  f'{commands[1]} && {commands[2]}; wait "$program"; echo "status $?"; kill "$listener"; cat told')
        printed, errors = finish(["bash", "-c", script], folder, environment)
        came = ["status 0", *told]
        failures = [] if printed.split("\n")[:-1] == came else [f"{README}: {came} told, {printed!r} came; {errors}"]
        failures += [f"{README}: {file} is not there; {errors}" for file in files if not Path(folder, file).exists()]
        for command in commands[1:]:  # nobody is there any more
            ended = subprocess.run(command.split(), cwd=folder, env=environment, capture_output=True, text=True)
            if ended.returncode != 1:
                failures.append(f"{README}: {command} ends with {ended.returncode}: {ended.stderr}")
        return len(told) + len(files) + len(commands), failures


def own_network():
    """The words that give a command a network of its own, and why there is none."""
    refusals = []
    for words in (["unshare", "-Urn"], ["unshare", "-n"]):
        tried = subprocess.run([*words, "true"], capture_output=True, text=True)
        if tried.returncode == 0:
            return words, ""
        refusals.append(tried.stderr.strip())
    return None, "; ".join(refusals)


def software_cameras(house):
    """The commands with cameras made of software: of each, what it records. Skipped where there is no own network."""
    words, refusal = own_network()
    if words is None:
        print(f"software_cameras: skipped, {refusal}")
        return (0, [refusal]) if os.environ.get("CI") else (1, [])
    commands = block(house, DEVELOPER, "LD_PRELOAD=") + block(house, DEVELOPER, "--fake-genicam 2")
    commands += [line for line in block(house, README, "--fake-genicam") if "--fake-genicam" in line]
    if len(commands) != 3:
        return 0, ["the commands with software cameras are not where this check looks for them"]
    failures = []
    for command in commands:
        cameras = int((re.search(r"--fake-genicam (\d)", command) or [0, 1])[1])
        hurt = "--fault" in command  # a camera is lost: what was recorded until then is saved, and the status tells
        with tempfile.TemporaryDirectory(prefix="tessel-docs-") as folder:
            (Path(folder) / "scripts").symlink_to(house.source / "scripts")
            (Path(folder) / "build").mkdir()
            (Path(folder) / "build/release").symlink_to(house.build)
            environment = {**os.environ, "TESSEL_BUILT": str(house.build), "TESSEL_RECORDINGS": folder,
                           "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"}
            printed, errors = finish([*words, "sh", "-c", "ip link set lo up; " + command + "; echo status $?"], folder,
                                     environment)
            files = [path for path in Path(folder).glob("take*-0000.avi") if path.read_bytes()[:4] == b"RIFF"]
            if len(files) != cameras or ("status 0" in printed) == hurt or (hurt and "frames missed" not in printed):
                failures.append(f"{command}: {len(files)} files; {printed} {errors}")
    return len(commands), failures
