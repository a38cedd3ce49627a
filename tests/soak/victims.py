"""The programs that are killed, and what they work with."""

import os
import pty
import re
import select
import signal
import socket
import subprocess
import threading
import time
import tty

PATIENCE = 90.0  # seconds; far more than anything here takes, also on a busy machine


class Stuck(Exception):
    """A program did not get as far as it always does."""


class Victim:
    """A program that is started and killed, one at a time."""

    process = None

    def abandon(self):
        """Ends it, whatever it is at. Harmless when it has ended."""
        if self.process is not None and self.process.poll() is None:
            self.process.kill()
            self.process.wait()


class Recorder(Victim):
    """tessel-record with two simulated cameras, watched through its progress line."""

    RATE = 200
    FRAMES = 200
    CAMERAS = 2

    def __init__(self, program, folder):
        self.program = os.path.abspath(program)
        self.folder = folder
        self.ready_after = 1.0  # seconds from the start to the first progress line; measured
        self.saving_step = 0.1  # ... between two lines of the save

    def start(self, base, *options):
        master, slave = pty.openpty()
        tty.setraw(slave)
        self.process = subprocess.Popen(
            [self.program, "--cameras", f"simulated:{self.CAMERAS}xFL3-U3-13Y3M", "--fps", str(self.RATE),
             "--seconds", str(self.FRAMES // self.RATE), *options, base],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=slave,
            env={**os.environ, "TMPDIR": os.path.join(self.folder, "tmp"), "TESSEL_SIM_FAULTS": ""},
        )
        os.close(slave)
        self.master = master
        self.text = ""
        self.began = time.monotonic()

    def wait_for(self, matches):
        """Until matches(text) is true of what was said so far; false when the program ended before."""
        limit = time.monotonic() + PATIENCE
        while not matches(self.text):
            ready, _, _ = select.select([self.master], [], [], max(0.0, limit - time.monotonic()))
            if not ready:
                self.abandon()
                raise Stuck(f"tessel-record says nothing more: {self.text[-300:]!r}")
            try:
                block = os.read(self.master, 65536)
            except OSError:  # the other end is closed
                block = b""
            if not block:
                return False
            self.text += block.decode(errors="replace")
        return True

    def end(self, kill):
        """Ends it. True when the kill was what ended it."""
        if kill:
            self.process.kill()
        try:
            status = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired as late:
            self.abandon()
            raise Stuck("tessel-record does not end") from late
        os.close(self.master)
        if not kill and status != 0:
            raise Stuck(f"tessel-record ends with {status}: {self.text[-300:]!r}")
        return status == -signal.SIGKILL

    def run_to_end(self, base):
        self.start(base)
        if not self.wait_for(lambda text: f" of {self.FRAMES} frames" in text):
            raise Stuck(f"tessel-record did not record: {self.text!r}")
        self.ready_after = time.monotonic() - self.began
        self.wait_for(lambda text: "saving" in text)
        begin = time.monotonic()
        self.wait_for(lambda text: False)
        self.saving_step = (time.monotonic() - begin) / (4 * self.CAMERAS)
        self.end(False)

    def kill_in(self, phase, base, random):
        self.start(base, *(("--trigger-wait",) if phase == "armed" else ()))
        said = True
        if phase == "start":
            time.sleep(random.uniform(0.0, self.ready_after))
        elif phase == "armed":
            said = self.wait_for(lambda text: f"0 of {self.FRAMES} frames" in text)
            time.sleep(random.uniform(0.0, 0.3))
        elif phase == "recording":
            frame = random.randrange(1, self.FRAMES - 10)
            said = self.wait_for(lambda text: any(
                int(number) >= frame for number in re.findall(rf"K(\d+) of {self.FRAMES} frames", text)))
        else:
            # The save tells of every fiftieth frame of each camera.
            lines = 4 * self.CAMERAS
            line = random.randrange(1, lines + 1) if phase == "saving" else lines
            said = self.wait_for(lambda text: text.count("saving ") >= line)
            time.sleep(random.uniform(0.0, 1.5 if phase == "saving" else 3.0) * self.saving_step)
        if not said and phase not in ("saving", "closing"):
            self.end(False)
            raise Stuck(f"tessel-record ended in the phase {phase}: {self.text!r}")
        return self.end(True)


class Partner:
    """A partner program's window: hears when a recording begins and ends."""

    def __init__(self, runtime):
        self.runtime = os.path.join(runtime, "tessel")
        os.mkdir(self.runtime, 0o700)
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(self.path("Marten"))
        self.listener.listen(16)
        self.heard = []
        self.changed = threading.Condition()
        threading.Thread(target=self.accept, daemon=True).start()

    def path(self, title):
        return os.path.join(self.runtime, title.encode().hex() + ".sock")

    def accept(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            threading.Thread(target=self.serve, args=(connection,), daemon=True).start()

    def serve(self, connection):
        with connection:
            try:
                for line in connection.makefile("rb"):
                    with self.changed:
                        self.heard.append(line.decode().strip())
                        self.changed.notify_all()
                    connection.sendall(b"done\n")
            except OSError:
                pass  # it does not wait for the answer, or was killed

    def wait(self, line, limit):
        with self.changed:
            return self.changed.wait_for(lambda: line in self.heard, limit)

    def say(self, line):
        """To the program's own window; false when there is none."""
        with socket.socket(socket.AF_UNIX) as window:
            window.settimeout(PATIENCE)
            try:
                window.connect(self.path("Tessel"))
                window.sendall(line.encode() + b"\n")
                return window.recv(100) == b"done\n"
            except OSError:
                return False

    def close(self):
        self.listener.close()


class Settings:
    """The settings file: long, so that rewriting it takes its time, and known to the byte."""

    def __init__(self, folder):
        self.folder = os.path.join(folder, "config", "norvane", "Quill", "Cooperations")
        os.makedirs(self.folder)
        self.file = os.path.join(self.folder, "Tessel.ini")
        self.temporary = os.path.join(self.folder, "TempTesselIni")
        # Few and long lines: the program looks at each of them whenever it looks for a value.
        block = "".join(f"filler{number:03}=" + "x" * 8000 + "\r\n" for number in range(250))
        self.initial = ("[FILLER]\r\n" + block).encode()
        self.complete = None

    def reset(self):
        with open(self.file, "wb") as file:
            file.write(self.initial)
        if os.path.exists(self.temporary):
            os.remove(self.temporary)

    def content(self):
        with open(self.file, "rb") as file:
            return file.read()

    def entries(self):
        """The names that follow the filler, in the order in which they stand; their values are numbers.

        Where a window stands differs from run to run."""
        now = self.content()
        tail = now[len(self.initial) :].decode()
        lines = tail.split("\r\n")
        good = re.compile(r"\[[A-Z0-9_]+\]|[A-Za-z0-9_]+=-?\d+(\.\d{6})?")
        if not now.startswith(self.initial) or lines.pop() != "" or not all(good.fullmatch(line) for line in lines):
            raise Stuck(f"the settings are broken: {len(now)} bytes, ...{now[-200:]!r}")
        return [line.split("=")[0] for line in lines]

    def learn(self):
        """What an undisturbed run leaves."""
        now = self.entries()
        if len(now) < 20 or self.complete not in (None, now):
            raise Stuck(f"the settings are not what an undisturbed run leaves: {now}")
        self.complete = now

    def is_complete(self):
        return self.entries() == self.complete

    def check(self):
        """Every rewrite adds one entry: the file is as it was after one of them, to the line."""
        now = self.entries()
        if now != self.complete[: len(now)] or (now and now[-1].startswith("[")):
            raise Stuck(f"the settings are neither the old nor the new ones: {now}")

    def kill_was_inside(self):
        """ "half" or "full", when the new file was there and had not yet taken the old one's place."""
        if not os.path.exists(self.temporary):
            return None
        size = os.path.getsize(self.temporary)
        os.remove(self.temporary)
        return "half" if size < len(self.content()) else "full"


class Desktop(Victim):
    """tessel as its partner starts it, four simulated cameras, no screen.

    A partner's recording is as long as memory allows: this much allows one second."""

    RATE = 350
    MEMORY = "1070000000"
    FILES = ("d1.avi", "d2.avi", "d3.avi", "d4.avi")
    FIRST_FILE = "d1-cam1-0000.avi"
    LAST_FILE = "d1-cam1.json"

    def __init__(self, program, folder, partner):
        self.program = os.path.abspath(program)
        self.folder = folder
        self.partner = partner
        self.ready_after = 1.0  # seconds from the start until it listens; measured
        self.save_takes = 0.5
        self.rewrites = 0  # of the settings, in an undisturbed end

    def start(self, work):
        self.partner.heard.clear()
        self.process = subprocess.Popen(
            [self.program, "Marten", "1", "640", "480", str(self.RATE), "500", "0", "0", *self.FILES], cwd=work,
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
            env={**os.environ, "XDG_RUNTIME_DIR": os.path.join(self.folder, "runtime"),
                 "XDG_CONFIG_HOME": os.path.join(self.folder, "config"), "QT_QPA_PLATFORM": "offscreen",
                 "TMPDIR": os.path.join(self.folder, "tmp"), "TESSEL_CAMERAS": "simulated",
                 "TESSEL_SIM_FAULTS": "", "TESSEL_MEMORY_LIMIT": self.MEMORY},
        )
        self.said = b""
        threading.Thread(target=self.listen, args=(self.process.stderr,), daemon=True).start()

    def listen(self, stderr):
        with stderr:
            for block in stderr:
                self.said += block

    def until(self, reached):
        limit = time.monotonic() + PATIENCE
        while not reached():
            if self.process.poll() is not None:
                raise Stuck(f"tessel ended with {self.process.returncode}: {self.said!r}")
            if time.monotonic() > limit:
                self.abandon()
                raise Stuck(f"tessel does not get on: {self.said!r}")

    def wait_live(self):
        """It has made its window: the first one of many starts that is not held up by what a killed one left."""
        begin = time.monotonic()
        self.until(lambda: self.partner.say("command 1"))
        self.ready_after = time.monotonic() - begin

    def record(self):
        # Nothing happens until the cameras are live.
        self.until(lambda: self.partner.say("copydata 1081 2") and self.partner.wait("command 32781", 0.05))

    def end(self, kill):
        if kill:
            self.process.kill()
        try:
            status = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired as late:
            self.abandon()
            raise Stuck(f"tessel does not end: {self.said!r}") from late
        if not kill and status != 0:
            raise Stuck(f"tessel ends with {status}: {self.said!r}")
        return status == -signal.SIGKILL

    def run_to_end(self, work):
        """Records into a folder; without one it only comes and goes."""
        self.start(work or self.folder)
        self.wait_live()
        if work:
            self.record()
            self.partner.say("copydata 1081 1")
            self.partner.wait("command 32782", PATIENCE)
            begin = time.monotonic()
            self.until(lambda: os.path.exists(os.path.join(work, self.LAST_FILE)))
            self.save_takes = time.monotonic() - begin
        else:
            self.close_live()
        self.end(False)

    def close_live(self):
        """The partner's end is ignored until the cameras are live."""
        temporary = os.path.join(self.folder, "config", "norvane", "Quill", "Cooperations", "TempTesselIni")
        limit = time.monotonic() + PATIENCE
        while not os.path.exists(temporary) and self.process.poll() is None and time.monotonic() < limit:
            self.partner.say("copydata 1081 1")
            for _ in range(2000):
                if os.path.exists(temporary):
                    return

    def kill_in(self, phase, work, random):
        self.start(work)
        if phase == "desktop start":
            time.sleep(random.uniform(0.0, self.ready_after))
            return self.end(True)
        self.wait_live()
        if phase == "desktop settings":
            self.close_live()
            self.wait_for_rewrite(random)
        elif phase == "desktop live":
            time.sleep(random.uniform(0.0, 0.5))
        else:
            self.record()
            time.sleep(random.uniform(0.0, 1.0))
            if phase == "desktop saving":
                self.partner.say("copydata 1081 1")
                self.until(lambda: os.path.exists(os.path.join(work, self.FIRST_FILE)))
                time.sleep(random.uniform(0.0, self.save_takes))
        return self.end(True)

    def wait_for_rewrite(self, random):
        """One of the rewrites at the end of the program, and a moment inside it."""
        temporary = os.path.join(self.folder, "config", "norvane", "Quill", "Cooperations", "TempTesselIni")
        for _ in range(random.randrange(1, 10)):
            while os.path.exists(temporary) and self.process.poll() is None:
                pass
            while not os.path.exists(temporary) and self.process.poll() is None:
                pass
        end = time.perf_counter() + random.uniform(0.0, 0.0004)
        while time.perf_counter() < end:
            pass

    def socket_is_dead(self):
        """A killed program's socket is left; nobody answers there, so the next start takes its place."""
        if not os.path.exists(self.partner.path("Tessel")):
            return False
        if self.partner.say("command 1"):
            raise Stuck("a killed program answers")
        return True
