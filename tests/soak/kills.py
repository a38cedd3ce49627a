#!/usr/bin/env python3
"""Kills the real programs at random moments and looks at what they leave behind.

kills.py --record PROGRAM --tessel PROGRAM [--seed N] [--seconds N] [--keep FOLDER] COUNT

After each kill: settings whole, finished files untouched, the file that was being written plays up to its last flush,
nothing keeps the next start from working. One eighth of the kills at least hits a rewrite of the settings.
"""

import argparse
import collections
import hashlib
import os
import random
import shutil
import sys
import tempfile
import time
import traceback

import recordings
from victims import Desktop, Partner, Recorder, Settings, Stuck

RECORD_PHASES = ("start", "armed", "recording", "saving", "closing")
ENOUGH = 50  # so many kills meet each of these:
MET = ("kills inside a rewrite of the settings", "sockets left behind and found dead", "of them flushed before")
DESKTOP_PHASES = ("desktop start", "desktop live", "desktop recording", "desktop saving")
SETTINGS = "desktop settings"


def digests(folder):
    """Of every file in a folder."""
    found = {}
    for name in sorted(os.listdir(folder)):
        with open(os.path.join(folder, name), "rb") as file:
            found[name] = hashlib.sha256(file.read()).hexdigest()
    return found


class Soak:
    def __init__(self, arguments, folder):
        self.random = random.Random(arguments.seed)
        self.folder = folder
        self.work = os.path.join(folder, "work")
        self.older = os.path.join(folder, "older")
        for name in ("work", "older", "tmp", "config", "runtime"):
            os.mkdir(os.path.join(folder, name), 0o700)
        self.recorder = Recorder(arguments.record, folder)
        self.partner = Partner(os.path.join(folder, "runtime"))
        self.desktop = Desktop(arguments.tessel, folder, self.partner)
        self.settings = Settings(folder)
        self.kills = collections.Counter()
        self.missed = collections.Counter()  # the program was through before the kill came
        self.found = collections.Counter()  # what the kills have left behind
        self.frames = 0  # played from files that were cut off

    def calibrate(self):
        """Undisturbed runs: finished files that must survive, and how long everything takes."""
        self.recorder.run_to_end(os.path.join(self.older, "older"))
        self.older_digests = digests(self.older)
        self.settings.reset()
        self.desktop.run_to_end(self.older)
        self.settings.learn()
        self.settings.reset()
        self.desktop.run_to_end(None)
        self.settings.learn()
        self.older_digests = digests(self.older)

    def kill_once(self, phase):
        """One victim. False when it was through before it could be killed."""
        if phase in RECORD_PHASES:
            hit = self.recorder.kill_in(phase, os.path.join(self.work, "take"), self.random)
        else:
            # Half of the time what the last victim left is what the next one begins with.
            if phase == SETTINGS and (self.settings.is_complete() or self.random.random() < 0.5):
                self.settings.reset()
            hit = self.desktop.kill_in(phase, self.work, self.random)
        if not hit:
            self.missed[phase] += 1
        self.check(phase, hit)
        return hit

    def check(self, phase, hit):
        recorder = phase in RECORD_PHASES
        if digests(self.older) != self.older_digests:
            raise recordings.Broken("a finished file has changed")
        files = sorted(name for name in os.listdir(self.work) if name.endswith(".avi"))
        frames = self.recorder.FRAMES if recorder else recordings.length_of_first(self.work, files)
        for name in files:
            path = os.path.join(self.work, name)
            if name != files[-1]:  # the next one has been begun
                recordings.check_whole(path, frames)
                self.found["whole files beside the cut one"] += 1
                continue
            played = recordings.check_cut(path, self.recorder.RATE if recorder else self.desktop.RATE, frames)
            self.frames += played
            self.found["files that were being written"] += 1
            self.found["of them flushed before"] += played > 0
        recordings.check_companions(self.work, frames)
        self.settings.check()
        if phase == SETTINGS and hit:
            inside = self.settings.kill_was_inside()
            self.found["kills inside a rewrite of the settings"] += inside is not None
            self.found["of them with the new file half written"] += inside == "half"
        if not recorder and hit:
            self.found["sockets left behind and found dead"] += self.desktop.socket_is_dead()
        for name in os.listdir(self.work):
            self.found["temporary files left beside recordings"] += name.startswith(".tessel-")
            os.remove(os.path.join(self.work, name))
        for name in os.listdir(os.path.join(self.folder, "tmp")):
            shutil.rmtree(os.path.join(self.folder, "tmp", name))

    def run(self, count, limit):
        plan = [SETTINGS] * (count // 4) + [DESKTOP_PHASES[i % 4] for i in range(count // 5)]
        plan += [RECORD_PHASES[i % 5] for i in range(count - len(plan))]
        self.random.shuffle(plan)
        while plan and time.monotonic() < limit:
            phase = plan.pop()
            for _ in range(20):
                if self.kill_once(phase):
                    self.kills[phase] += 1
                    break
            else:
                raise Stuck(f"no kill ever meets the phase {phase}")
            wanted = max(1, sum(self.kills.values()) // 8)
            if not plan and self.found["kills inside a rewrite of the settings"] < wanted:
                plan = [SETTINGS]
        for what in MET:
            if sum(self.kills.values()) >= ENOUGH and self.found[what] == 0:
                raise Stuck(f"{sum(self.kills.values())} kills, and never: {what}")
        # After the last of them everything works as on the first day.
        self.recorder.run_to_end(os.path.join(self.work, "last"))
        self.settings.reset()
        self.desktop.run_to_end(self.work)
        self.settings.learn()

    def close(self):
        self.partner.close()
        self.recorder.abandon()
        self.desktop.abandon()

    def report(self):
        for phase, number in sorted(self.kills.items()):
            print(f"kills: {number:4} {phase}" + (f" ({self.missed[phase]} came too late)" if self.missed[phase] else ""))
        for what, number in sorted(self.found.items()):
            print(f"kills: {number:4} {what}")
        print(f"kills: {sum(self.kills.values())} in all, {self.frames} frames played from files that were cut off")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--record", required=True)
    parser.add_argument("--tessel", required=True)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--seconds", type=float, default=3600.0, help="no new victim after that time")
    parser.add_argument("--keep", help="where the victim's files go when something is wrong")
    parser.add_argument("count", type=int)
    arguments = parser.parse_args()
    folder = tempfile.mkdtemp(prefix="tessel-kills-")
    soak = Soak(arguments, folder)
    begin = time.monotonic()
    print(f"kills: seed {arguments.seed}", flush=True)
    try:
        soak.calibrate()
        soak.run(arguments.count, begin + arguments.seconds)
        failed = None
    except Exception as problem:  # whatever it is: the files it is about must not go with it
        failed = problem
        if not isinstance(problem, (recordings.Broken, Stuck)):
            traceback.print_exc()
    finally:
        soak.close()
    soak.report()
    print(f"kills: {time.monotonic() - begin:.0f} s")
    if failed and arguments.keep:
        shutil.copytree(folder, arguments.keep, dirs_exist_ok=True, ignore=shutil.ignore_patterns("*.sock"))
        print(f"kills: the victim's files are in {arguments.keep}")
    shutil.rmtree(folder)
    if failed:
        print(f"kills: after {sum(soak.kills.values())} kills: {type(failed).__name__}: {failed}", file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
