"""What the pages name: options, commands, paths, links, the version."""

import re
import subprocess

MAN_LANGUAGES = ("en", "ja")
MOST_PICTURE_BYTES = 1_500_000


def code_of(page):
    """The code of a page, line by line: indented and fenced blocks, and what stands between back quotes."""
    lines = []
    fenced = False
    for line in page.splitlines():
        if line.startswith("```"):
            fenced = not fenced
        elif fenced or line.startswith("    "):
            lines.append(line.strip())
        else:
            lines += re.findall(r"`([^`]+)`", line)
    return lines


def help_options(house, program):
    """The options that --help prints, those of subcommands included."""
    texts = [run_help(house, program)]
    for verb in re.findall(r"^  (\w+) {2,}", texts[0].partition("Subcommands:")[2], re.M):
        texts.append(run_help(house, program, verb))
    return set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", "\n".join(texts)))


def run_help(house, program, *verbs):
    return subprocess.run(
        [house.programs[program], *verbs, "--help"], check=True, capture_output=True, text=True, timeout=30
    ).stdout


def options(house):
    compared = 0
    failures = []
    for program in house.programs:
        offered = help_options(house, program)
        compared += len(offered)
        sources = {}
        for language in MAN_LANGUAGES:
            name = f"packaging/man/{language}/{program}.1.in"
            sources[name] = set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", house.read(name).replace("\\-", "-")))
        completion = house.source / "packaging/completions" / program
        if completion.exists():
            sources[str(completion.relative_to(house.source))] = set(
                re.findall(r"(?<![\w-])--[a-z][a-z-]*", completion.read_text(encoding="utf-8"))
            )
        for name, told in sources.items():
            failures += [f"{name} lacks {option}" for option in sorted(offered - told)]
            failures += [f"{name} has {option}, which {program} does not" for option in sorted(told - offered)]
    for name in house.pages():
        for line in code_of(house.read(name)):
            called = re.search(r"(?:^|\s|/)(tessel(?:-record|-ctl)?)((?:\s+\S+)*)", line)
            if not called or called.group(1) not in house.programs:
                continue
            compared += 1
            offered = help_options(house, called.group(1))
            used = re.findall(r"(?<!\S)--[a-z][a-z-]*", called.group(2))
            failures += [f"{name}: {called.group(1)} has no {option}" for option in used if option not in offered]
    return compared, failures


def paths(house):
    """Scripts, files and folders of the project that a page or script names are there; built ones have a rule."""
    pattern = re.compile(r"(?<![\w./<$~{-])((?:scripts|src|tests|docs|bench|packaging|\.ci|build/release)/[\w.*/-]*[\w*/])")
    built = "\n".join(path.read_text(encoding="utf-8") for path in house.source.glob("*/**/CMakeLists.txt"))
    compared = 0
    failures = []
    for name in house.pages():
        for line in code_of(house.read(name)):
            if line.startswith("/usr/"):
                continue
            for path in pattern.findall(line):
                compared += 1
                if path.startswith("build/release/"):
                    target = re.sub(r"^lib(\w+)\.so$", r"\1", path.rsplit("/", 1)[1])
                    known = re.search(rf"(?:add_executable|add_library|vireo_\w*test)\({re.escape(target)}[\s)]", built)
                    if not known and not target.endswith(".deb"):
                        failures.append(f"{name}: nothing builds {path}")
                elif not any(house.source.glob(path.rstrip("/"))) and "NAME" not in path:
                    failures.append(f"{name}: there is no {path}")
            for script in re.findall(r"^(scripts/[\w-]+)", line):
                file = house.source / script
                if file.exists() and not file.stat().st_mode & 0o111:
                    failures.append(f"{name}: {script} is not executable")
        failures += scripts_used(house, name)
    return compared, failures


def scripts_used(house, name):
    """Steps of scripts/check and targets of scripts/build that a page names exist."""
    failures = []
    steps = re.search(r"^\[ \$\{#steps\[@\]\} -gt 0 \] \|\| steps=\(([\w ]+)\)", house.read("scripts/check"), re.M)
    known = set(steps.group(1).split()) | set(re.findall(r"^    ([\w-]+)\)", house.read("scripts/check"), re.M))
    for line in code_of(house.read(name)):
        for steps in re.findall(r"^scripts/check ([\w -]+)", line):
            failures += [f"{name}: scripts/check has no step {step}" for step in steps.split() if step not in known]
        for preset in re.findall(r"^scripts/build (\w+)", line):
            if f'"name": "{preset}"' not in house.read("CMakePresets.json"):
                failures.append(f"{name}: there is no preset {preset}")
    return failures


def anchor(heading):
    """The anchor of a heading, as the usual viewers make it."""
    text = re.sub(r"`|\[([^\]]*)\]\([^)]*\)", r"\1", heading).strip().lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def links(house):
    compared = 0
    failures = []
    for name in house.pages():
        page = re.sub(r"```.*?```|`[^`\n]+`", "", house.read(name), flags=re.S)
        for target in re.findall(r"\]\(([^)\s]+)\)", page):
            if re.match(r"[a-z]+:", target):
                continue
            compared += 1
            file, _, part = target.partition("#")
            there = (house.source / name).parent / file if file else house.source / name
            if not there.exists():
                failures.append(f"{name}: there is no {file}")
            elif part:
                headings = re.findall(r"^#+ (.*)$", there.read_text(encoding="utf-8"), re.M)
                if part not in [anchor(heading) for heading in headings]:
                    failures.append(f"{name}: {file or name} has no heading #{part}")
    return compared, failures

def pictures(house):
    """Every picture that a page shows is there, with words for who cannot see it, and every picture is shown."""
    failures = []
    shown = set()
    for name in house.pages():
        for words, target in re.findall(r"!\[([^\]]*)\]\(([^)\s]+)\)", house.read(name)):
            file = ((house.source / name).parent / target).resolve()
            shown.add(file)
            if not words:
                failures.append(f"{name}: no words stand for {target}")
            if not file.exists():
                failures.append(f"{name}: there is no picture {target}")
            elif file.read_bytes()[:8] != b"\x89PNG\r\n\x1a\n":
                failures.append(f"{name}: {target} is no PNG")
    there = sorted((house.source / "docs/pictures").iterdir())
    failures += [f"no page shows {file.name}" for file in there if file.resolve() not in shown]
    size = sum(file.stat().st_size for file in there)
    if size > MOST_PICTURE_BYTES:
        failures.append(f"docs/pictures holds {size} bytes, more than {MOST_PICTURE_BYTES}")
    taken = house.read("scripts/docs-pictures")
    failures += [f"scripts/docs-pictures does not take {file.name}" for file in there if file.stem not in taken]
    return len(shown) + len(there), failures


def known_tests(house):
    """The names under which tests run: PROGRAM.SUITE.NAME, or GROUP.NAME where no test framework names them."""
    known = set()
    for cmake in sorted(house.source.glob("tests/**/CMakeLists.txt")):
        text = cmake.read_text(encoding="utf-8")
        for program in re.findall(r"vireo_(?:\w+_)?test\((\w+)", text):
            called = re.search(rf"vireo_(?:\w+_)?test\({program}\s+([^)]*)", text).group(1)
            names = re.findall(r"[\w/]+\.cpp", called) or [f"{program}.cpp"]
            for name in names:
                source = cmake.parent / name
                cases = source.read_text(encoding="utf-8") if source.exists() else ""
                for suite, case in re.findall(r"^TEST(?:_[FP])?\((\w+),\s*(\w+)\)", cases, re.M):
                    known.add(f"{program}.{suite}.{case}")
        for group, rule in (("soak", "vireo_soak_test"), ("stop_start_model", "vireo_model_test"), ("fuzz", "vireo_fuzz")):
            known |= {f"{group}.{case}" for case in re.findall(rf"^{rule}\((\w+)", text, re.M)}
    return known


def reliability(house):
    """Tests and steps that the page of promises names are there; it names every step."""
    page = house.read("docs/reliability.md")
    known = known_tests(house)
    failures = []
    named = [span for span in re.findall(r"`([^`\n]+)`", page) if re.fullmatch(r"\w+(\.\w+)*\.(\w+|\*)", span)]
    named = [span for span in named if not re.search(r"\.(py|cpp|pml|avi|csv|json)$", span)]
    for name in named:
        if not any(test == name or (name.endswith("*") and test.startswith(name[:-1])) for test in known):
            failures.append(f"there is no test {name}")
    steps = set(re.search(r"^all=\(([\w ]+)\)", house.read("scripts/soak"), re.M).group(1).split())
    told = set(re.findall(r"^\| `(\w+)` \|", page, re.M))
    failures += [f"scripts/soak has no step {step}" for step in sorted(told - steps)]
    failures += [f"the step {step} of scripts/soak is not told" for step in sorted(steps - told)]
    return len(named) + len(steps), failures


def versions(house):
    """The version is the project's, in every program and on every page."""
    failures = []
    for program, path in house.programs.items():
        told = subprocess.run([path, "--version"], check=True, capture_output=True, text=True, timeout=30).stdout
        if told != f"{program} {house.version}\n":
            failures.append(f"{program} --version says {told!r}")
    compared = len(house.programs)
    for name in house.pages():
        for version in re.findall(r"\btessel_(\d+\.\d+\.\d+)_", house.read(name)):
            compared += 1
            if version != house.version:
                failures.append(f"{name} names the package of {version}")
    if f"## {house.version}\n" not in house.read("CHANGELOG.md"):
        failures.append(f"CHANGELOG.md says nothing of {house.version}")
    return compared, failures
