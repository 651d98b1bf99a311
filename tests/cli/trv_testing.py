"""What tests of the program trv from outside stand on: PROGRAM is the first argument of the test program.

Everything happens in a new folder. Pictures to scale are made here byte by byte, and the size of a result is
read from its header, so that no picture library takes part. A PROGRAM that ends in .exe runs under Wine.
"""

import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

PROGRAM = os.path.abspath(sys.argv.pop(1))
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
PHOTO = os.path.join(ROOT, "examples", "raccoon.jpg")  # 1024x768
IS_WINDOWS = PROGRAM.endswith(".exe")
COMMAND = ([os.path.join(ROOT, "tools", "wine")] if IS_WINDOWS else []) + [PROGRAM]
FORMATS = ["png", "jpg", "jpeg", "gif", "bmp"] + (["tif", "tiff"] if IS_WINDOWS else ["webp"])
FILTERS = ["triangle", "box", "lanczos3", "lanczos8", "mitchell", "poly3", "cubic"]


def chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def png(width, height, pixels=None, claimed=None):
    """A PNG file of rows of (red, green, blue, alpha), or a gradient. `claimed`: the size in its header."""
    columns, lines = range(width), range(height)
    rows = pixels or [[(x * 255 // width, y * 255 // height, 128, 255) for x in columns] for y in lines]
    data = b"".join(b"\0" + bytes(byte for pixel in row for byte in pixel) for row in rows)
    header = struct.pack(">IIBBBBB", *(claimed or (width, height)), 8, 6, 0, 0, 0)
    chunks = chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(data)) + chunk(b"IEND", b"")
    return b"\x89PNG\r\n\x1a\n" + chunks


def bmp(width, height):
    """A BMP file of 24 bits, gray."""
    row = (b"\x80\x80\x80" * width).ljust((width * 3 + 3) // 4 * 4, b"\0")
    info = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, 0, len(row) * height, 2835, 2835, 0, 0)
    return b"BM" + struct.pack("<IHHI", 54 + len(row) * height, 0, 0, 54) + info + row * height


def size_of(data):
    """Width and height that a picture file tells."""
    if data.startswith(b"\x89PNG"):
        return struct.unpack(">II", data[16:24])
    if data.startswith(b"GIF8"):
        return struct.unpack("<HH", data[6:10])
    if data.startswith(b"BM"):
        width, height = struct.unpack("<ii", data[18:26])
        return width, abs(height)
    if data.startswith(b"\xff\xd8"):
        at = 2
        while not 0xC0 <= data[at + 1] <= 0xC2:
            at += 2 + struct.unpack(">H", data[at + 2 : at + 4])[0]
        height, width = struct.unpack(">HH", data[at + 5 : at + 9])
        return width, height
    if data.startswith(b"RIFF"):
        if data[12:16] == b"VP8X":
            return tuple(1 + int.from_bytes(data[i : i + 3], "little") for i in (24, 27))
        if data[12:16] == b"VP8L":
            sides = int.from_bytes(data[21:25], "little")
            return 1 + (sides & 0x3FFF), 1 + (sides >> 14 & 0x3FFF)
        return tuple(side & 0x3FFF for side in struct.unpack("<HH", data[26:30]))
    if data.startswith(b"II*\0"):
        at = struct.unpack("<I", data[4:8])[0]
        tags = {}
        for i in range(struct.unpack("<H", data[at : at + 2])[0]):
            tag, kind, _, value = struct.unpack("<HHII", data[at + 2 + 12 * i : at + 14 + 12 * i])
            tags[tag] = value & 0xFFFF if kind == 3 else value
        return tags[256], tags[257]
    raise AssertionError("no picture: %r" % data[:16])


def pixels_of(data):
    """Rows of pixels of a PNG file without interlacing, 8 bits, as (red, green, blue, alpha)."""
    width, height = size_of(data)
    channels = {2: 3, 6: 4}[data[25]]
    packed, at = b"", 8
    while at < len(data):
        length = struct.unpack(">I", data[at : at + 4])[0]
        if data[at + 4 : at + 8] == b"IDAT":
            packed += data[at + 8 : at + 8 + length]
        at += 12 + length
    raw, stride = zlib.decompress(packed), width * channels
    rows, above = [], bytes(stride)
    for y in range(height):
        kind, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1 : (y + 1) * (stride + 1)])
        for i in range(stride):
            left = line[i - channels] if i >= channels else 0
            corner = above[i - channels] if i >= channels else 0
            guess = left + above[i] - corner
            paeth = min((left, above[i], corner), key=lambda value: abs(guess - value))
            line[i] = (line[i] + (0, left, above[i], (left + above[i]) // 2, paeth)[kind]) & 255
        pixels = [tuple(line[i : i + channels]) for i in range(0, stride, channels)]
        rows.append([pixel + (255,) * (4 - channels) for pixel in pixels])
        above = line
    return rows


class TrvTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="trv_test.")
        self.addCleanup(shutil.rmtree, self.folder)
        self.write("in.png", png(40, 30))

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as file:
            file.write(data)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def run_trv(self, *arguments, limit=None, environment=None):
        """Runs trv in the folder, with a limit in bytes for each file if one is given."""

        def set_limit():
            import resource

            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))

        return subprocess.run(
            COMMAND + list(arguments),
            cwd=self.folder,
            stdin=subprocess.DEVNULL,
            capture_output=True,
            encoding="utf-8",
            errors="surrogateescape",
            preexec_fn=set_limit if limit is not None else None,
            env={**os.environ, **(environment or {})},
            check=False,
        )

    def succeed(self, *arguments, **options):
        done = self.run_trv(*arguments, **options)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def refuse(self, status, words, *arguments, **options):
        """trv ends with this status, one line that contains the words, and without a file more or less."""
        before = sorted(os.listdir(self.folder))
        done = self.run_trv(*arguments, **options)
        self.assertEqual(done.returncode, status, done.stderr)
        self.assertEqual(done.stdout, "")
        self.assertRegex(done.stderr, r"\Atrv: [^\n]*\n\Z")
        self.assertIn(words, done.stderr)
        self.assertEqual(sorted(os.listdir(self.folder)), before)

    def scaled_size(self, *arguments):
        self.succeed("scale", "in.png", "out.png", *arguments)
        return size_of(self.read("out.png"))
