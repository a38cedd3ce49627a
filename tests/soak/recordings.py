"""What a recording must look like: whole, or cut off by a killed program."""

import json
import os
import struct
import subprocess

HEADER_BYTES = 512
HAS_INDEX = 0x10
FLUSH_BYTES = 4 << 20  # at most that much is written between two flushes


class Broken(Exception):
    """A file is not what it was promised to be."""


class Header:
    def __init__(self, data):
        if data[:4] != b"RIFF" or data[8:12] != b"AVI " or data[508:512] != b"movi":
            raise Broken("no header")
        self.riff_end = struct.unpack_from("<I", data, 4)[0] + 8
        self.has_index = struct.unpack_from("<I", data, 44)[0] & HAS_INDEX != 0
        self.frames = struct.unpack_from("<I", data, 48)[0]
        self.movi_end = struct.unpack_from("<I", data, 504)[0] + 508


def pictures(data, begin, end):
    """The whole pictures of a stretch of the file, one behind the other; where the last one ends."""
    found = []
    while begin + 8 <= end:
        mark, size = data[begin : begin + 4], struct.unpack_from("<I", data, begin + 4)[0]
        if mark != b"00dc" or begin + 8 + size > end:
            break
        picture = data[begin + 8 : begin + 8 + size]
        if not (picture.startswith(b"\xff\xd8") and picture.endswith(b"\xff\xd9")):
            break
        found.append(picture)
        begin += 8 + size + size % 2
    return found, begin


def run_tool(*command):
    """What a player says of a file: its result, output and complaints."""
    try:
        told = subprocess.run(command, capture_output=True, timeout=120, check=False)
    except subprocess.TimeoutExpired as late:
        raise Broken(f"{command[0]} does not come to an end with {command[-1]}") from late
    return told.returncode, told.stdout, told.stderr.decode(errors="replace")


def probe(path):
    """Frames that ffprobe decodes; it has nothing to complain of."""
    result, output, complaints = run_tool(
        "ffprobe", "-v", "warning", "-count_frames", "-select_streams", "v:0",
        "-show_entries", "stream=nb_read_frames", "-of", "csv=p=0", path)
    if result != 0 or complaints or not output.strip().isdigit():
        raise Broken(f"ffprobe of {path}: {complaints or output or result}")
    return int(output)


def bar_codes(path):
    """When each frame was exposed, in microseconds, as its own picture says."""
    result, strip, complaints = run_tool(
        "ffmpeg", "-nostdin", "-v", "error", "-i", path, "-vf", "crop=512:16:0:ih-16", "-f", "rawvideo",
        "-pix_fmt", "gray", "-")
    if result != 0:
        raise Broken(f"ffmpeg of {path}: {complaints or result}")
    codes = []
    for at in range(0, len(strip), 512 * 16):
        row = strip[at + 8 * 512 : at + 9 * 512]
        codes.append(sum((row[16 * cell + 8] > 125) << (31 - cell) for cell in range(32)))
    return codes


def check_whole(path, frames):
    """A file that the program has closed: every frame, and an index that leads to each."""
    with open(path, "rb") as file:
        data = file.read()
    header = Header(data)
    if frames is None:
        raise Broken("the next file was begun before this one was closed")
    if not header.has_index or header.frames != frames or header.riff_end != len(data):
        raise Broken(f"not whole: {header.frames} of {frames} frames, index {header.has_index}")
    found, end = pictures(data, HEADER_BYTES, header.movi_end)
    if len(found) != frames or end != header.movi_end or data[end : end + 4] != b"idx1":
        raise Broken(f"{len(found)} of {frames} pictures stand in it")
    at = HEADER_BYTES
    for number in range(frames):
        mark, _, offset, size = struct.unpack_from("<4sIII", data, end + 8 + 16 * number)
        if mark != b"00dc" or offset + 508 != at or size != len(found[number]):
            raise Broken(f"the index does not lead to frame {number}")
        at += 8 + size + size % 2
    if probe(path) != frames:
        raise Broken("a player sees another number of frames")


def length_of_first(folder, files):
    """Frames of the first file when it was closed: as many as every other one is to have. Else none are known."""
    if not files:
        return None
    with open(os.path.join(folder, files[0]), "rb") as file:
        data = file.read()
    header = Header(data) if data else None
    return header.frames if header and header.has_index else None


def check_cut(path, rate, frames):
    """A file that was being written: it plays up to the last flush, which is about a second ago at most.

    Returns the number of frames that its header promises."""
    with open(path, "rb") as file:
        data = file.read()
    if len(data) == 0:
        return 0  # created, nothing written yet
    header = Header(data)
    if header.has_index:
        check_whole(path, frames)
        return frames
    found, end = pictures(data, HEADER_BYTES, len(data))
    flushed, flushed_end = pictures(data, HEADER_BYTES, header.movi_end)
    if len(flushed) != header.frames or flushed_end != header.movi_end:
        raise Broken(f"{header.frames} frames are promised, {len(flushed)} are there")
    if len(found) - header.frames > rate or end - header.movi_end > FLUSH_BYTES + len(found[-1] if found else b""):
        raise Broken(f"{len(found) - header.frames} frames are behind the last flush")
    if header.frames == 0 and len(found) > 1:
        raise Broken("the first frame was not flushed")
    if header.frames > 0:
        if probe(path) < header.frames:
            raise Broken("a player does not reach the last flush")
        codes = bar_codes(path)
        if any(code == 0 for code in codes) or codes != sorted(set(codes)):
            raise Broken("the pictures are not the recording's")
    return header.frames


def check_companions(folder, frames):
    """Tables and reports are there in full or not at all. Without `frames` the length of a table is not known."""
    for name in os.listdir(folder):
        if not name.endswith((".json", ".csv")):
            continue
        with open(os.path.join(folder, name), "rb") as file:
            data = file.read()
        try:
            text = data.decode()
            if name.endswith(".json"):
                json.loads(text)
                continue
        except ValueError as problem:
            raise Broken(f"{name} of {len(data)} bytes: {problem}") from problem
        lines = text.split("\n")
        if lines[-1] != "" or (frames is not None and len(lines) != frames + 2):
            raise Broken(f"{name} has {len(lines) - 1} lines")
