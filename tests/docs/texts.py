"""Texts and figures of the code against the pages that repeat them. A check returns how much it compared and
what is wrong."""

import re

OPERATOR = "docs/operator.ja.md"
PARTNER = "docs/partner.md"
FORMATS = "docs/file-formats.md"
DEVELOPER = "docs/developer.md"
PERFORMANCE = "docs/performance.md"
NUMBERS = "番号の意味"  # a part of the operators' page

# Files beside the message table whose constants are all shown to the operator.
MESSAGE_FILES = ["src/display/view_messages.h", "src/ui/property_set_rules.cpp"]
NOT_TYPED = {"check-core-dependencies", "check-package", "fresh-root", "install-dependencies"}  # others call them
NO_MESSAGES = {"kShutterOpen"}
REASON_FILES = ["src/platform/linux/instance_lock.cpp", "src/platform/linux/runtime_folder.cpp"]
FOLLOWED_BOXES = {  # that name no constant: of the files above, of the message table
    "bHeld ? kAlreadyRunning : lock.Reason()", "strRefusal", "pText", "FormatMessage(text, values)"
}
FIGURE = re.compile(r'(?:AgainstPeer|AgainstLimit|BenchConversion|BenchFootage|Compare)\([^"]*?\{ "([^"]+)" \}'
                    r'(?:, \{ "([^"]+)" \})?')
CONSTANT = r'\b({name}) = "([^"]*)";'


def as_shown(text, site=0):
    """A format as the guide writes it: without its line end, conversions as a circle."""
    text = text.replace("\\n", "").replace('\\"', '"')
    if site:
        head, _, tail = text.rpartition("%d")
        text = f"{head}{site}{tail}"
    return re.sub(r"%[dus]", "○", text)


def table_rows(page):
    """The cells of every table row, code marks and blanks off."""
    rows = []
    for line in page.splitlines():
        if line.startswith("|") and not re.fullmatch(r"[|\-: ]+", line):
            rows.append([cell.strip().strip("`") for cell in line.strip("|").split("|")])
    return rows


def message_table(header):
    """The (text, site) pairs of the message table."""
    table = re.sub(r"//[^\n]*", "", header.split("namespace messages {", 1)[1])
    return [
        (text, int(site or 0))
        for text, site in re.findall(r'\{\s*"((?:[^"\\]|\\.)*)"(?:\s*,\s*(\d+))?', table)
    ]


def constants(code, name=r"k\w+"):
    return [text for found, text in re.findall(CONSTANT.format(name=name), code) if found not in NO_MESSAGES]


def boxes(code):
    """The texts of boxes that name a constant of their own file; titles stand beside the texts."""
    names = {
        name
        for call in re.findall(r"ShowMessage\(\{([^}]*)\}", code)
        for name in re.findall(r"\bk[A-Z]\w*", call)
        if not name.endswith("Title")
    }
    return [text for name in sorted(names) for text in constants(code, name)]


def reasons(house):
    """What a box says when a program cannot make its mark that it runs: a path and a reason."""
    texts = set()
    for name in REASON_FILES:
        for reason in re.findall(r'str(?:Error|Reason) = \w+ \+ ": ([^;]*);', house.read(name)):
            texts.add("○: ○" if reason.startswith('" + std::strerror') else "○: " + reason.rstrip('"'))
    return sorted(texts)


def unfollowed_boxes(house):
    """Boxes whose text this check does not find; a new kind of box is to be added to it."""
    failures = []
    for source in sorted((house.source / "src").rglob("*.cpp")):
        for text in re.findall(r"\bShowMessage\(\{\s*((?:[^,{}()]|\([^()]*\))+)", source.read_text(encoding="utf-8")):
            if not re.fullmatch(r"k[A-Z]\w*", text.strip()) and text.strip() not in FOLLOWED_BOXES:
                failures.append(f"{source.name} shows a box whose text is not compared: {text.strip()}")
    return failures


def messages(house):
    explained = {row[0]: row for row in table_rows(house.read(OPERATOR))}
    wanted = [as_shown(text, site) for text, site in message_table(house.read("src/capture/messages.h"))]
    others = [text for name in MESSAGE_FILES for text in constants(house.read(name))]
    for source in (house.source / "src").rglob("*.cpp"):
        others += boxes(source.read_text(encoding="utf-8"))
    if len(others) < 15:
        return 0, ["the boxes beside the message table are not where this check looks for them"]
    wanted += [as_shown(text) for text in others]
    if len(reasons(house)) < 2:
        return 0, ["the reasons of a refused start are not where this check looks for them"]
    wanted += reasons(house)
    failures = unfollowed_boxes(house)
    failures += [f"{OPERATOR} does not explain: {text}" for text in wanted if text not in explained]
    failures += [
        f"{OPERATOR}: cause or remedy is empty: {text}"
        for text in wanted
        if text in explained and not all(explained[text][1:])
    ]
    return len(wanted), failures


def results(house):
    header = house.read("src/app/cooperation.h").split("namespace cooperation_result {", 1)[1]
    code = sorted(int(value) for value in re.findall(r"constexpr int k\w+ = (-?\d+);", header.split("}", 1)[0]))
    told = {}
    for row in table_rows(house.read(PARTNER)):
        if len(row) == 3 and re.fullmatch(r"-?\d", row[0]) and re.fullmatch(r"\d+", row[1]):
            told[int(row[0])] = int(row[1])
    failures = []
    if sorted(told) != code:
        failures.append(f"{PARTNER} tells the results {sorted(told)}, the code has {code}")
    failures += [f"{PARTNER}: {r} is exit status {r % 256}, not {s}" for r, s in told.items() if r % 256 != s]
    for language in ("en", "ja"):
        page = house.read(f"packaging/man/{language}/tessel.1.in")
        failures += [f"tessel.1, {language}, does not tell {s}" for r, s in told.items() if r and f"{s} " not in page]
    ids = re.findall(r"constexpr int k\w+ = (\d+);", house.read("src/platform/partner_link.h"))
    failures += [f"{PARTNER} does not name {number}" for number in ids if number not in house.read(PARTNER)]
    return len(code) + len(ids), failures


def option_values(house):
    """The values that options take, as man pages and completions list them."""
    code = house.read("src/programs/record_options.cpp")
    rates = re.search(r"the frame rate is one of ([\d, ]+), not", code)
    shutters = re.search(r'kShutters\[\] = \{ ([\d", ]+) \}', code)
    sizes = re.findall(r'\{ "(\d+x\d+)", \d \}', code)
    if not rates or not shutters or not sizes:
        return [], ["src/programs/record_options.cpp: the values of options are not where this check looks for them"]
    rates = rates.group(1).split(", ")
    shutters = re.findall(r"\d+", shutters.group(1))
    man = "packaging/man/{}/tessel-record.1.in".format
    completion = "packaging/completions/tessel-record"
    expected = []
    for values in (rates, sizes):
        expected.append((man("en"), ", ".join(values[:-1]) + " or " + values[-1], "values"))
        expected.append((man("ja"), "、".join(values), "values"))
        expected.append((completion, f"'{' '.join(values)}'", "values"))
    bounds = re.findall(r'"--(gain|seconds|timeout)",[^;]*?CLI::Range\((-?[\d.e]+), ([\d.e]+)\)', code)
    if len(bounds) != 3:
        return [], ["src/programs/record_options.cpp: the bounds of options are not where this check looks for them"]
    for _, low, high in bounds:
        low, high = (f"{float(bound):.10g}" for bound in (low, high))
        expected.append((man("en"), f"{low} to {high}".replace("-", "\\-"), "bounds"))
        expected.append((man("ja"), f"{low} から {high} まで", "bounds"))
    expected.append((man("en"), ", ".join(shutters), "values"))
    expected.append((man("ja"), "、".join(shutters), "values"))
    expected.append((completion, f"'open {' '.join(shutters)}'", "values"))
    return expected, []


def facts(house):
    """Figures and names that the pages repeat."""
    operator, formats, developer = house.read(OPERATOR), house.read(FORMATS), house.read(DEVELOPER)
    expected = []  # (page, text, what)

    rates = re.search(r"kFrameRates = \{ ([\d, ]+) \}", house.read("src/camera/capture_parameters.h")).group(1)
    expected.append((OPERATOR, rates.replace(", ", "、") + " fps", "frame rates"))

    kinds = house.read("src/camera/camera_model_kind.cpp")
    limits = {k: v for k, *v in re.findall(r"CameraModelKind::(\w+), (-?\d+), (\d+), (\d+) \}", kinds)}
    strobe = kinds.split("kStrobeCapable =", 1)[1].split(";", 1)[0]
    for text, kind in re.findall(r'\{ "([^"]+)", CameraModelKind::(\w+) \}', kinds):
        low, high, fps = limits[kind]
        locked = "できる" if re.search(rf"::{kind}\b", strobe) else "できない"
        expected.append((OPERATOR, f"| {text} | {fps} | {low}～{high} | {locked} |", "model"))

    sizes = ["640x480", "1024x768", "1280x720", "1920x1080"]
    highest = re.findall(r"\{ (\d+), (\d+) \}, // (\d+x\d+)", house.read("src/camera/record_time.cpp"))
    for others, gige, size in highest:
        expected.append((OPERATOR, f"| {size} | {others} | {gige} |", "highest rate"))
    if [size for *_, size in highest] != sizes:
        return 0, ["src/camera/record_time.cpp: the table of highest rates is not where it was"]

    for number in re.findall(r"^    \w+ = (\d+),", house.read("src/platform/error.h"), re.M):
        if number != "0":
            expected.append((NUMBERS, f"\n| {number} | ", "error number"))

    records = house.read("src/app/settings_records.cpp")
    for key in re.findall(r'WriteIni(?:Int|String)\([^;"]*, "(\w+)",', records):
        expected.append((FORMATS, f"`{key}`", "settings key"))
    for key in re.findall(r'\{ "(AFFINE_\d\d)"', records):
        expected.append((FORMATS, f"`{key}`", "settings key"))
    expected += [(FORMATS, f"`{key}`", "settings key") for key in ("file1", "file5", "SyncPath")]
    defaults = re.findall(r'preset\.(\w+) = app\.ReadIniInt\(strSection, "(\w+)", (-?\d+)\)', records)
    for field, key, default in defaults:
        key = field if field in ("WindowSizeX", "WindowSizeY") else key  # the page says which is read for which
        expected.append((FORMATS, f"| `{key}` | {default} |", "preset's default"))
    for section in re.findall(r'k\w+Section = "(\w+)"', records):
        expected.append((FORMATS, f"`[{section}]`", "settings section"))
    for key in re.findall(r'read\("(\w+)", (\d+)\)', records):
        expected.append((FORMATS, f"`{key[0]}` {key[1]}", "white balance"))

    for field in re.findall(r'(?:\{ |json\[)"(\w+)"', house.read("src/programs/take_report_writer.cpp")):
        expected.append((FORMATS, f"`{field}`", "report field"))
    for verdict in re.findall(r'case Verdict::\w+: return "([^"]+)"', house.read("src/capture/take_report.cpp")):
        expected.append((FORMATS, f"`{verdict}`", "verdict"))
    heading = re.search(r'"(frame,exposure,[a-z_,]+)\\n"', house.read("src/programs/take_report_writer.cpp")).group(1)
    expected.append((FORMATS, f"    {heading}\n", "table of frames"))
    expected += [(FORMATS, f"| `{column}` |", "table of frames") for column in heading.split(",")]
    quality = re.search(r"kJpegQuality = (\d+);", house.read("src/capture/avi_export.cpp")).group(1)
    expected.append((FORMATS, f"quality {quality},", "quality"))
    scene = house.read("src/platform/simulated/scene.h")
    size, one, zero = (re.search(rf"kBarCode{k} = (\d+);", scene).group(1) for k in ("CellSize", "One", "Zero"))
    expected.append((FORMATS, f"lowest {size} rows", "bar code"))
    expected.append((FORMATS, f"cells of {size}x{size} pixels", "bar code"))
    expected.append((FORMATS, f"{one} for 1 and {zero} for 0", "bar code"))
    header = re.search(r"kHeaderBytes = (\d+);", house.read("src/platform/imaging/avi_file.h")).group(1)
    expected.append((FORMATS, f"The header is {header} bytes", "AVI header"))
    frames = re.search(r"kTotalFramesOffset = (\d+);", house.read("src/platform/imaging/avi_file.h")).group(1)
    expected.append((FORMATS, f"byte {frames}.", "frame count"))
    parts = house.read("src/platform/imaging/mjpeg_video.h")
    limit = re.search(r"kPartLimitBytes = ([\d']+)", parts).group(1).replace("'", "")
    expected += [(page, f"{int(limit):,}", "part limit") for page in (FORMATS, OPERATOR)]

    protocol = house.read("src/platform/linux/partner_protocol.h")
    line = re.search(r"kMaxPartnerLine = (\d+);", protocol).group(1)
    expected.append((PARTNER, f"at most {line} bytes", "message length"))
    title = re.search(r"kMaxHexTitle = (\d+);", house.read("src/platform/linux/partner_protocol.cpp")).group(1)
    expected.append((PARTNER, f"at most {title} bytes long", "title length"))
    answer = re.search(r"kAnswerTime = (\d)s;", house.read("src/platform/linux/partner_client.cpp")).group(1)
    expected.append((PARTNER, f"waits for the answer, {answer} s at most", "time for an answer"))
    spare = int(re.search(r"kRingHeadroom = (\d+);", house.read("src/capture/frame_store.h")).group(1))
    gib = (5 * 400 + spare) * 640 * 480 * 4 / 2**30
    expected.append((OPERATOR, f"＋ {spare} コマ分", "room beyond the recording"))
    expected.append((OPERATOR, f"(5 × 400 + {spare}) × 300 KiB × 4 ＝ 約 {gib:.1f} GiB", "memory of a recording"))

    rules = house.read("src/platform/simulated/fault_rules.cpp")
    for rule in re.findall(r'^    \{ "(\w+)", (?:\[|&Read)', rules, re.M):
        expected.append((DEVELOPER, f"    {rule}:", "fault rule"))

    values, words = option_values(house)
    expected += values
    text_of = {OPERATOR: operator, NUMBERS: operator.partition(f"\n### {NUMBERS}\n")[2].partition("\n#")[0], FORMATS: formats, DEVELOPER: developer, PARTNER: house.read(PARTNER)}
    text_of |= {page: house.read(page) for page, *_ in values}
    failures = words
    kinds_seen = {what for *_, what in expected}
    failures += [f"{page} lacks the {what}: {text.strip()}" for page, text, what in expected if text not in text_of[page]]
    for what in ("model", "error number", "settings key", "preset's default", "settings section", "white balance",
                 "report field", "verdict", "fault rule"):
        if what not in kinds_seen:
            failures.append(f"the code shows no {what} where this check looks for it")
    return len(expected), failures


def environment(house):
    """Every environment variable of the programs is on the developers' page and in the man page, and none else is."""
    named = set()
    for source in (house.source / "src").rglob("*.cpp"):
        named |= set(re.findall(r'"(TESSEL_[A-Z_]+)"', source.read_text(encoding="utf-8")))
    named = {"TESSEL_DRIVE_C" if name == "TESSEL_DRIVE_" else name for name in named}
    failures = []
    for name in (DEVELOPER, "packaging/man/en/tessel.1.in", "packaging/man/ja/tessel.1.in"):
        page = house.read(name)
        failures += [f"{name} does not name {variable}" for variable in sorted(named) if variable not in page]
    known = named | {"TESSEL_DRIVE_D", "TESSEL_MAINTAINER", "TESSEL_RELEASE_DATE", "TESSEL_RELEASE_STAMP"}
    for helper in [*(house.source / "scripts").iterdir(), *(house.source / "tests/peers").rglob("*.cpp")]:
        known |= set(re.findall(r"\bTESSEL_[A-Z_]*[A-Z]\b", helper.read_text(encoding="utf-8")))
    for name in [*house.pages(), "packaging/tessel.desktop"]:
        for variable in sorted(set(re.findall(r"\bTESSEL_[A-Z_]*[A-Z]\b", house.read(name))) - known):
            failures.append(f"{name} names {variable}, which nothing reads")
    return len(named), failures


def performance(house):
    """The page of figures has a row for each that the benchmarks measure, and no other."""
    measured = []
    for source in sorted(house.source.glob("bench/*_bench.cpp")):
        found = FIGURE.findall(source.read_text(encoding="utf-8"))
        if not found:
            return 0, [f"{source.name} measures nothing that this check knows of"]
        measured += [name for names in found for name in names if name]
    about, _, figures = house.read(PERFORMANCE).partition("\n| figure |")
    rows = table_rows(figures.partition("\n")[2])
    broken = [f"{PERFORMANCE}: {len(row)} cells instead of 6: {row[0]}" for row in rows if len(row) != 6]
    rows = [row for row in rows if len(row) == 6]
    told = [row[0] for row in rows]
    failures = [f"{PERFORMANCE} has no row: {name}" for name in measured if told.count(name) != 1]
    failures += [f"{PERFORMANCE} has a row that nothing measures: {name}" for name in told if name not in measured]
    failures += [f"two benchmarks measure: {name}" for name in sorted(set(measured)) if measured.count(name) > 1]
    failures += [f"{PERFORMANCE}: an empty cell: {row[0]}" for row in rows if not all(row)]
    failures += [f"{PERFORMANCE}: neither met nor short: {row[0]}" for row in rows if row[5] not in ("met", "short")]
    failures += broken
    keys = [row[0] for row in table_rows(about)]
    failures += [f"{PERFORMANCE} names the {key} twice" for key in sorted(set(keys)) if keys.count(key) > 1]
    machine = {row[0]: row[1] for row in table_rows(about) if len(row) == 2}
    for key in ("processor", "memory", "kernel", "compiler", "load before the run", "date"):
        if not machine.get(key):
            failures.append(f"{PERFORMANCE} does not name the {key}")
    return len(measured), failures


def checks(house):
    """Every label of a test and everything that one types is on the developers' page."""
    page = house.read(DEVELOPER)
    wanted = set()
    for rules in (house.source / "tests").rglob("CMakeLists.txt"):
        code = re.sub(r"#.*", "", rules.read_text(encoding="utf-8"))
        for labels in re.findall(r'LABELS "?([a-z][a-z; ]*)', code):
            wanted |= {f"| `{label}` |" for label in re.split("[; ]", labels) if label}
    typed = [path.name for path in (house.source / "scripts").iterdir() if path.stat().st_mode & 0o111]
    wanted |= {f"scripts/{name}" for name in typed if name not in NOT_TYPED}
    steps = re.search(r"steps=\(([a-z ]+)\)", house.read("scripts/check")).group(1).split()
    wanted |= {f"`scripts/check {step}`" for step in steps}
    return len(wanted), [f"{DEVELOPER} does not name {what}" for what in sorted(wanted) if what not in page]
