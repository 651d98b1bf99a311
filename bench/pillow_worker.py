"""Runs Pillow on request, a line for a line: see pillow.cpp."""

import os
import sys

import PIL
from PIL import Image, ImageChops, ImageFilter, ImageOps

CHANNELS = {"L": 1, "RGB": 3, "RGBA": 4, "RGBa": 4}


def noise(mode, width, height):
    return Image.frombytes(mode, (width, height), os.urandom(width * height * CHANNELS[mode]))


names = {
    "Image": Image,
    "ImageChops": ImageChops,
    "ImageFilter": ImageFilter,
    "ImageOps": ImageOps,
    "noise": noise,
}
compiled = {}
for line in sys.stdin:
    word, text = line.rstrip("\n").split(" ", 1)
    answer = "ok"
    try:
        if word == "version":
            answer = PIL.__version__
        elif word == "setup":
            exec(text, names)
        else:
            if text not in compiled:
                compiled[text] = compile(text, "run", "eval")
            eval(compiled[text], names)
    except Exception as e:
        answer = " ".join(str(e).split())[:200] or type(e).__name__
    print(answer, flush=True)
