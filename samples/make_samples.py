#!/usr/bin/env python3
"""Draws the generated sample pictures, mask.png and testcard.png, beside this script or into a given folder.

Integer arithmetic alone decides every sample, so the pixels are the same on every machine.
"""

import math
import pathlib
import struct
import sys
import zlib

MASK_SIZE = 500  # the photographs' width and height
CARD_WIDTH, CARD_HEIGHT = 768, 512

BARS = [(255, 255, 255), (255, 255, 0), (0, 255, 255), (0, 255, 0),
        (255, 0, 255), (255, 0, 0), (0, 0, 255), (0, 0, 0)]
CORNERS = {"top left": (255, 0, 0), "top right": (0, 255, 0), "bottom left": (0, 0, 255), "bottom right": (255, 255, 0)}
LETTERS = {"T": ["#####", "..#..", "..#..", "..#..", "..#.."],
           "O": [".###.", "#...#", "#...#", "#...#", ".###."],
           "P": ["####.", "#...#", "####.", "#....", "#...."]}


def write_png(path, width, height, color_type, samples):
    """Writes 8-bit samples, rows from the top, as a PNG of the given colour type (0 grey, 6 RGBA)."""
    channels = {0: 1, 6: 4}[color_type]
    stride = width * channels
    # Filter 2 keeps the difference to the row above, which is mostly 0 here.
    rows = bytearray()
    above = bytes(stride)
    for y in range(height):
        row = samples[y * stride:(y + 1) * stride]
        rows.append(2)
        rows += bytes((a - b) & 255 for a, b in zip(row, above))
        above = row

    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    header = struct.pack(">IIBBBBB", width, height, 8, color_type, 0, 0, 0)
    content = chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(bytes(rows), 9)) + chunk(b"IEND", b"")
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + content)


def draw_mask():
    """A white disc on black; the edge falls off smoothly between two radii."""
    inner, outer = 120, 220
    samples = bytearray()
    for y in range(MASK_SIZE):
        for x in range(MASK_SIZE):
            # Centre between the middle pixels; distances in sixteenths of a pixel.
            distance = math.isqrt(64 * ((2 * x - MASK_SIZE + 1) ** 2 + (2 * y - MASK_SIZE + 1) ** 2))
            t = min(max(16 * outer - distance, 0), 16 * (outer - inner))
            span = 16 * (outer - inner)
            # Smooth step 3t^2 - 2t^3, rounded.
            samples.append((255 * t * t * (3 * span - 2 * t) + span ** 3 // 2) // span ** 3)
    return samples


class Card:
    def __init__(self):
        self.samples = bytearray(bytes((96, 96, 96, 255)) * (CARD_WIDTH * CARD_HEIGHT))

    def put(self, x, y, color, alpha=255):
        at = 4 * (y * CARD_WIDTH + x)
        self.samples[at:at + 4] = bytes((*color, alpha))

    def box(self, x, y, width, height, color, alpha=255):
        for row in range(y, y + height):
            for column in range(x, x + width):
                self.put(column, row, color, alpha)


def draw_card():
    card = Card()
    for i, color in enumerate(BARS):
        card.box(64 + 80 * i, 32, 80, 128, color)
    for x in range(640):
        level = (x * 255 + 319) // 639
        card.box(64 + x, 160, 1, 48, (level, level, level))

    # A ring, to show a distorted aspect ratio.
    for y in range(224, 481):
        for x in range(256, 513):
            if 118 ** 2 <= (x - 384) ** 2 + (y - 352) ** 2 <= 124 ** 2:
                card.put(x, y, (255, 255, 255))

    # An arrow that points up, and the word TOP below its head.
    for row in range(64):
        card.box(384 - row, 248 + row, 2 * row + 1, 1, (255, 255, 255))
    card.box(372, 312, 25, 40, (255, 255, 255))
    for i, letter in enumerate("TOP"):
        for row, line in enumerate(LETTERS[letter]):
            for column, block in enumerate(line):
                if block == "#":
                    card.box(318 + 48 * i + 8 * column, 368 + 8 * row, 8, 8, (255, 224, 64))

    # Alpha: an even half on the left, a fall from opaque to clear on the right.
    card.box(64, 256, 160, 160, (255, 128, 0), 128)
    for x in range(160):
        card.box(544 + x, 256, 1, 160, (0, 128, 255), 255 - (x * 255 + 79) // 159)

    card.box(0, 0, 32, 32, CORNERS["top left"])
    card.box(CARD_WIDTH - 32, 0, 32, 32, CORNERS["top right"])
    card.box(0, CARD_HEIGHT - 32, 32, 32, CORNERS["bottom left"])
    card.box(CARD_WIDTH - 32, CARD_HEIGHT - 32, 32, 32, CORNERS["bottom right"])
    return card.samples


def main():
    folder = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent
    write_png(folder / "mask.png", MASK_SIZE, MASK_SIZE, 0, draw_mask())
    write_png(folder / "testcard.png", CARD_WIDTH, CARD_HEIGHT, 6, draw_card())


if __name__ == "__main__":
    main()
