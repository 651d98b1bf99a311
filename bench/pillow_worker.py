"""Scales images with Pillow on request, a line for a line: see pillow.cpp."""

import os
import sys

import PIL
from PIL import Image

CHANNELS = {"L": 1, "RGB": 3, "RGBa": 4}

image = size = resampling = None
for line in sys.stdin:
    word, *arguments = line.split()
    answer = "ok"
    if word == "version":
        answer = PIL.__version__
    elif word == "open":
        mode, width, height, to_width, to_height, name = arguments
        count = int(width) * int(height) * CHANNELS[mode]
        image = Image.frombytes(mode, (int(width), int(height)), os.urandom(count))
        size = (int(to_width), int(to_height))
        resampling = Image.Resampling[name]
    else:
        image.resize(size, resampling)
    print(answer, flush=True)
