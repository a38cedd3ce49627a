"""Menus, models, camera sources and figures that the pages repeat."""

import os
import re
import subprocess

from pages import code_of
from texts import DEVELOPER, OPERATOR, table_rows

README = "README.md"
README_JA = "README.ja.md"
TUNING = "packaging/doc/camera-tuning.md"
LIMITS = "packaging/doc/90-tessel-limits.conf"
MENUS = "13. メニュー、ツール バー、画像の拡大"
# What the words of the fault rules' grammar stand for.
WORDS = {"CAMERA": "1", "MICROSECONDS": "3", "MILLISECONDS": "20", "PPM": "2", "HZ": "50", "DELAY_MS": "30", "COUNT": "2",
         "OPERATION": "StartCapture", "TYPE": "7", "K": "4", "N": "5"}


def menus(house):
    """The operators' page names every command of the menus, and says how many looks and recent files there are."""
    chapter = house.read(OPERATOR).partition(f"\n## {MENUS}\n")[2]
    cells = {cell for row in table_rows(chapter) for text in row for cell in (text, *text.split("、"))}
    told = cells | set(re.findall(r"「([^」]+)」", chapter))
    commands = re.findall(r'^    \{ menu::k\w+, "([^"]+)"', house.read("src/app/qt/commands.cpp"), re.M)
    commands = [re.sub(r"\(&.\)|\.\.\.$", "", re.sub(r"\.\.\.$", "", text)) for text in commands]
    looks = len(re.findall(r"^    \{ 21\d, ", house.read("src/app/qt/application_look.cpp"), re.M))
    recent = re.search(r"kRecentFiles = (\d+);", house.read("src/app/qt/commands.h")).group(1)
    failures = [f"{OPERATOR}: chapter 13 lacks {text}" for text in commands if text not in told]
    failures += [f"{OPERATOR}: chapter 13 does not say {text}" for text in (f"{looks} つの中から", f"録画 {recent} つ")
                 if text not in chapter]
    return len(commands) + 2 if len(commands) > 10 and looks else 0, failures


def models(house):
    """Both first pages tell the same roads and models, every one that the program knows, and what hardware has seen."""
    known = [text.strip() for text in re.findall(r'^    \{ "([^"]+)", CameraModelKind::', 
                                                 house.read("src/camera/camera_model_kind.cpp"), re.M)]
    pattern = re.compile(r"\b(?:GS3-|FL3-|GRAS-|FFMV-|FL2-)[\w-]*\w|DR2-|Flea\b|Dragonfly Express|DX-BW")
    told = {}
    for page in (README, README_JA):
        rows = [row for row in table_rows(house.read(page)) if len(row) == 4 and re.search("`(genicam|iidc)`|genicam`|iidc`", row[1])]
        told[page] = [(re.search(r"genicam|iidc", row[1]).group(), tuple(pattern.findall(row[2]))) for row in rows]
        tested = [row[3] for row in rows]
        if any("**" not in cell for cell in tested):
            return 0, [f"{page} does not say in bold what no hardware has shown"]
    failures = [] if told[README] == told[README_JA] else [f"{README} has {told[README]}, {README_JA} {told[README_JA]}"]
    named = {model for _, row in told[README] for model in row}
    failures += [f"{README} does not name {model}" for model in known if model not in named]
    return len(known) + len(told[README]), failures


def expanded(rule):
    """A rule of the grammar with values in the place of its words: without and with what may be left out."""
    for text in {re.sub(r"\[[^]]*\]", "", rule), re.sub(r"[][]", "", rule)}:
        yield re.sub("|".join(WORDS), lambda word: WORDS[word.group()], text)


def understood(house, cameras, faults):
    """Empty when the program takes these values; else what it says. Nothing is opened: it stops at the next variable."""
    environment = {**os.environ, "TESSEL_CAMERAS": cameras, "TESSEL_SIM_FAULTS": faults, "TESSEL_MEMORY_LIMIT": "?"}
    said = subprocess.run([house.programs["tessel-record"], "/nowhere/take"], env=environment, capture_output=True, text=True,
                          timeout=30).stderr
    return "" if "TESSEL_MEMORY_LIMIT" in said else said.strip()


def sources(house):
    """Every camera source and fault rule on a page is one that the program takes."""
    pairs = []
    names = [*house.pages(), *(str(path.relative_to(house.source)) for path in house.source.glob("packaging/man/*/*.in"))]
    for name in names:
        for line in code_of(house.read(name)) if name.endswith(".md") else house.read(name).splitlines():
            cameras = re.search(r"(?:TESSEL_CAMERAS=|--cameras )([a-z][^\s'`]*)", line)
            faults = re.search(r"TESSEL_SIM_FAULTS=(?:'([^']*)'|(\S+))", line) or re.fullmatch(r"(?:\.BR )?((?:drop|hang):\S+)", line)
            if cameras or faults:
                rules = next(filter(None, faults.groups()), "") if faults else ""
                pairs.append((name, cameras.group(1) if cameras else "simulated", rules))
    grammar = re.findall(r"^    (\w+:\S*[A-Z]\S*)", house.read(DEVELOPER).partition("The fault rules")[2], re.M)
    pairs += [(DEVELOPER, "simulated", rule) for line in grammar for rule in expanded(line)]
    alone = re.search(r"`simulated` alone is `([^`]+)`", house.read(DEVELOPER)).group(1)
    pairs.append((DEVELOPER, "simulated:" + alone, ""))
    failures = []
    for name, cameras, faults in sorted(set(pairs)):
        said = understood(house, cameras, faults)
        if said:
            failures.append(f"{name}: {cameras} {faults}: {said}")
    return len(pairs) if len(grammar) > 10 and len(pairs) > len(grammar) + 10 else 0, failures


def tuning(house):
    """The figures of the page on tuning follow from sizes and rates; what it says of rights is what the program uses."""
    page = " ".join(house.read(TUNING).split())
    failures = []
    found = re.findall(r"(Four cameras at )?(\d+)x(\d+) (?:at|and) (\d+) fps(?:, the most that GigE cameras do,)? (?:is|are) (\d+) MB/s", page)
    for four, width, height, fps, told in found:
        rate = int(width) * int(height) * int(fps) * (4 if four else 1) / 1e6
        if round(rate) != int(told):
            failures.append(f"{TUNING}: {width}x{height} at {fps} fps is {rate:.0f} MB/s, not {told}")
    for fps, size in re.findall(r"\{ \d+, (\d+) \}, // (\d+x\d+)", house.read("src/camera/record_time.cpp")):
        rates = [rate for _, width, height, rate, _ in found if f"{width}x{height}" == size and rate != "350"]
        failures += [f"{TUNING}: GigE cameras do {fps} fps at {size}, not {rate}" for rate in rates if rate != fps]
    spare = re.search(r"kRingHeadroom = (\d+);", house.read("src/capture/frame_store.h")).group(1)
    if f"seconds × fps + {spare}" not in page:
        failures.append(f"{TUNING} does not tell the {spare} frames beyond a take")
    used = "".join(path.read_text(encoding="utf-8") for path in (house.source / "src").rglob("*.cpp"))
    for right, call in (("rtprio", "SCHED_RR"), ("nice", "setpriority"), ("memlock", "mlock")):
        if (right in house.read(LIMITS)) != (call in used):
            failures.append(f"{LIMITS}: {right} is given and not used, or used and not given")
    for right, call in (("cap_net_raw", "AF_PACKET"), ("cap_sys_nice", "SCHED_RR")):
        if (right in page) != (call in used):
            failures.append(f"{TUNING}: {right} is told and not used, or used and not told")
    for conf in re.findall(r"`(\d\d-[\w-]+\.conf)`", page):
        if not (house.source / "packaging/doc" / conf).exists():
            failures.append(f"{TUNING}: there is no {conf}")
    return len(found) if len(found) > 2 else 0, failures
