#!/usr/bin/env python3
"""Learns the weights with which lineart separates ink from paper; docs/crop.md tells how to use it.

Usage: learn.py [--pages COUNT] EVENED > library/lineart/stroke_weights.cpp

EVENED is build/bench/tools/lineart/lineart-evened. Draws pages of type whose ink is known at twice the
camera's resolution, photographs them as a document camera would, and learns which quarters of a pixel
are ink. How pages in other faces of type fare goes to the standard error. Needs numpy, OpenCV and
Pillow, and as many fonts as can be had: it takes all that fc-list knows.
"""

import argparse
import os
import random
import subprocess
import sys
import tempfile

import cv2
import numpy as np
from PIL import Image, ImageDraw, ImageFont

FINE = 8  # pixels of a drawn page for one of the camera, to every side
COARSE = 4  # the same for what the lens does
WIDTH, HEIGHT = 560, 300  # of what is drawn, in pixels of the camera
REACH = 3
FARTHEST = 10  # square of the distance of the farthest levels
SQUARE = 4  # pixels to a side that have one limit
PAPER, INK = 64, 192  # as StrokeNetwork has them
OPEN = (0.15, 0.9)  # shares of the ink's depth between which there is something to learn
OF_A_PAGE = 4000  # pixels
UNITS = 16
BATCH = 4096
STEPS = 12000
RATE = 3e-3
MIDDLE_WEIGHS = 5.0  # the middle of a thin stroke or narrow gap: it decides what a letter is
EDGE_WEIGHS = 0.3
HELD_OUT = ("Liberation", "DejaVu", "Nimbus", "C059", "P052", "termes", "pagella", "schola")
NO_TYPE = ("symbol", "dingbat", "d050", "math", "z003", "chancery", "initial", "thin", "hairline", "black")
COMMON = (
    "the of and to in a is that for it as was with be by on not he his but at are this have from or had"
    " an they which one you were all her she there would their we him been has when who will no more if"
    " out so said what up its about than into them can only other time new some could these two may"
).split()


def fonts():
    """Files of fonts by family, those that are learnt from and the others."""
    known = subprocess.run(["fc-list", ":", "file"], capture_output=True, text=True, check=True).stdout
    learnt, held = {}, {}
    for file in sorted(line.split(":")[0].strip() for line in known.splitlines()):
        name = os.path.basename(file)
        if not name.endswith((".otf", ".ttf", ".ttc")) or any(part in name.lower() for part in NO_TYPE):
            continue
        families = held if any(part in name for part in HELD_OUT) else learnt
        families.setdefault(name.split("-")[0][:6].lower(), []).append(file)
    return learnt, held


def line_of_words(chance, chinese):
    if chinese and chance.random() < 0.8:
        return "".join(chr(chance.randint(0x4E00, 0x8FFF)) for _ in range(200))
    words = []
    for _ in range(60):
        word = chance.choice(COMMON) if chance.random() < 0.7 else str(chance.randint(0, 9999))
        if chance.random() < 0.3:
            word = "".join(chance.choice("abcdefghijklmnopqrstuvwxyz") for _ in range(chance.randint(2, 9)))
        if chance.random() < 0.1:
            word = word.capitalize() if chance.random() < 0.8 else word.upper()
        words.append(word + (chance.choice(",.;:?!)") if chance.random() < 0.1 else ""))
    return " ".join(words)


def drawn(chance, file, em):
    """Type, white on black, FINE times as large as the camera has it."""
    chinese = any(part in file.lower() for part in ("droidsansfallback", "wqy", "uming", "gkai", "cjk"))
    font = ImageFont.truetype(file, max(8, round(em * FINE)))
    picture = Image.new("L", (WIDTH * FINE, HEIGHT * FINE), 0)
    drawing = ImageDraw.Draw(picture)
    step = em * chance.uniform(1.15, 1.6) * FINE
    y = chance.uniform(-em * FINE, 0)
    while y < HEIGHT * FINE:
        drawing.text((-chance.uniform(0, 200), y), line_of_words(chance, chinese), font=font, fill=255)
        y += step
    return np.asarray(picture)


def printed(chance, noise, type_, em):
    """How much ink there is, as a printer leaves it: spread, thin where strokes are thin, uneven."""
    ink = cv2.resize(type_, (WIDTH * COARSE, HEIGHT * COARSE), interpolation=cv2.INTER_AREA)
    ink = ink.astype(np.float32) / 255
    kind = chance.random()
    if kind < 0.35:
        spread = cv2.GaussianBlur(ink, (0, 0), chance.uniform(0.4, 1.4))
        ink = np.clip(spread * chance.uniform(1.05, 1.5), 0, 1)
    elif kind > 0.55:
        least = chance.uniform(0.4, 1)
        around = cv2.GaussianBlur(ink, (0, 0), chance.uniform(0.03, 0.07) * em * COARSE)
        ink = ink * np.clip(least + (1 - least) * (around - 0.2) / 0.5, 0, 1)
    if chance.random() < 0.3:
        grain = cv2.GaussianBlur(noise.randn(*ink.shape).astype(np.float32), (0, 0), chance.uniform(2, 5))
        ink = ink * np.clip(1 + grain * chance.uniform(0.3, 1.5), 0.5, 1)
    return ink


def through_lens(chance, light, blur):
    """`light` falls through a lens that is out of focus by `blur` pixels, on coarser pixels."""
    if chance.random() < 0.65:
        sides = [COARSE * blur * chance.uniform(0.85, 1.15) for _ in range(2)]
        light = cv2.GaussianBlur(light, (0, 0), sigmaX=sides[0], sigmaY=sides[1])
    else:
        radius = COARSE * blur * 1.9
        reach = int(np.ceil(radius))
        disc = np.clip(radius - np.hypot(*np.mgrid[-reach : reach + 1, -reach : reach + 1]) + 0.5, 0, 1)
        light = cv2.filter2D(light, -1, disc / disc.sum(), borderType=cv2.BORDER_REPLICATE)
        light = cv2.GaussianBlur(light, (0, 0), 1.6)
    return cv2.resize(light, (WIDTH, HEIGHT), interpolation=cv2.INTER_AREA)


def by_camera(chance, noise, levels):
    """What a camera makes of the levels: mosaic, grain, its own smoothing and sharpening, JPEG."""
    grain = chance.uniform(0.5, 3.5) if chance.random() < 0.8 else chance.uniform(3, 7)
    sown = noise.randn(*levels.shape).astype(np.float32) * grain
    if chance.random() < 0.5:
        mosaic = np.clip(levels + 1.3 * sown + 0.5, 0, 255).astype(np.uint8)
        way = chance.choice([cv2.COLOR_BayerBG2BGR, cv2.COLOR_BayerBG2BGR_EA])
        levels = cv2.cvtColor(cv2.cvtColor(mosaic, way), cv2.COLOR_BGR2GRAY).astype(np.float32)
    else:
        levels = levels + (cv2.GaussianBlur(sown, (0, 0), 0.6) * 1.8 if chance.random() < 0.7 else sown)
    if chance.random() < 0.3:
        levels = np.clip(levels, 0, 255).astype(np.float32)
        levels = cv2.bilateralFilter(levels, 5, chance.uniform(4, 14), 1.2)
    if chance.random() < 0.5:
        around = cv2.GaussianBlur(levels, (0, 0), chance.uniform(0.6, 1.6))
        levels = levels + chance.uniform(0.2, 1.3) * (levels - around)
    levels = np.clip(levels + 0.5, 0, 255).astype(np.uint8)
    if chance.random() < 0.85:
        quality = [cv2.IMWRITE_JPEG_QUALITY, chance.randint(62, 96)]
        levels = cv2.imdecode(cv2.imencode(".jpg", levels, quality)[1], cv2.IMREAD_GRAYSCALE)
    return levels


def turn(chance):
    """A slight turn and shift, as pixels COARSE times as fine and as the camera's pixels see it."""
    angle = np.deg2rad(chance.uniform(-2, 2))
    turning = np.array([[np.cos(angle), -np.sin(angle)], [np.sin(angle), np.cos(angle)]])
    middle = np.array([WIDTH, HEIGHT]) * COARSE / 2
    shift = middle - turning @ middle + [chance.uniform(-2, 2), chance.uniform(-2, 2)]
    centre = np.full(2, (COARSE - 1) / 2)
    coarser = (turning @ centre + shift - centre) / COARSE
    return np.column_stack([turning, shift]), np.column_stack([turning, coarser])


def photograph(chance, noise, file):
    """A photograph of type, where its ink is at twice the resolution, and its dots an inch."""
    dpi = chance.uniform(140, 252)
    em = (chance.uniform(7.5, 12) if chance.random() < 0.8 else chance.uniform(6, 14)) * dpi / 72
    type_ = drawn(chance, file, em)
    truth = cv2.resize(type_, (2 * WIDTH, 2 * HEIGHT), interpolation=cv2.INTER_AREA) > 127
    contrast = chance.uniform(0.1, 0.9) if chance.random() < 0.5 else chance.uniform(0.25, 0.7)
    white = chance.uniform(150, 245)
    paper, black = (white / 255) ** 2.2, (white * (1 - contrast) / 255) ** 2.2
    light = (paper + (black - paper) * printed(chance, noise, type_, em)).astype(np.float32)
    finer, coarser = turn(chance) if chance.random() < 0.6 else (None, None)
    if finer is not None:
        light = cv2.warpAffine(light, finer, light.shape[::-1], borderMode=cv2.BORDER_REPLICATE)
    blur = chance.uniform(0.4, 2.3) if chance.random() < 0.75 else chance.uniform(1.3, 2.2)
    light = through_lens(chance, light, blur * min(1, em / 20))
    angle = chance.uniform(0, 2 * np.pi)
    x, y = np.meshgrid(np.linspace(-0.5, 0.5, WIDTH), np.linspace(-0.5, 0.5, HEIGHT))
    light = light * (1 - chance.uniform(0, 0.25) * (x * np.cos(angle) + y * np.sin(angle) + 0.7))
    levels = (255 * light ** (1 / 2.2)).astype(np.float32)
    blank = np.full((40, WIDTH), np.median(levels[levels > np.percentile(levels, 60)]), np.float32)
    levels = by_camera(chance, noise, np.vstack([levels, blank]))
    if coarser is not None:
        way = cv2.WARP_INVERSE_MAP | chance.choice([cv2.INTER_LINEAR, cv2.INTER_CUBIC])
        levels = cv2.warpAffine(
            levels, coarser, levels.shape[::-1], flags=way, borderMode=cv2.BORDER_REPLICATE
        )
    return levels, truth, dpi


def evened(tool, levels, dpi):
    """Type on an A4 sheet that is blank otherwise, as lineart-evened has it."""
    height, width = round(dpi * 297 / 25.4), round(dpi * 210 / 25.4)
    blank = levels[HEIGHT:]
    sheet = np.tile(blank, (height // len(blank) + 1, width // WIDTH + 1))[:height, :width].copy()
    sheet[40 : 40 + HEIGHT, 40 : 40 + WIDTH] = levels[:HEIGHT]
    with tempfile.TemporaryDirectory() as folder:
        names = [os.path.join(folder, name) for name in ("page.pgm", "levels.pgm", "limits.pgm")]
        cv2.imwrite(names[0], sheet)
        said = subprocess.run([tool, *names], capture_output=True, text=True, check=True).stdout
        sharp, limits = (cv2.imread(name, cv2.IMREAD_GRAYSCALE) for name in names[1:])
    here = slice(40, 40 + HEIGHT), slice(40, 40 + WIDTH)
    first, end = 40 // SQUARE - 1, (40 + HEIGHT) // SQUARE + 1
    limits = limits[first:end, first : (40 + WIDTH) // SQUARE + 1]
    return sharp[here], limits, *map(float, said.split())


def depth_of_ink(limits, white):
    """By how much ink is darker than paper, for every pixel, from the limits of the squares around."""
    step = white - limits.astype(np.float32)
    depth = step / 0.44
    for _ in range(5):
        depth = step / (0.4 + 0.05 * np.minimum(1, depth / 100))
    there = (limits > 0).astype(np.float32)
    size = limits.shape[1] * SQUARE, limits.shape[0] * SQUARE
    shares = cv2.resize(there, size, interpolation=cv2.INTER_LINEAR)
    depth = cv2.resize(depth * there, size, interpolation=cv2.INTER_LINEAR) / np.maximum(shares, 0.01)
    return (depth * (shares > 0.01))[SQUARE : SQUARE + HEIGHT, SQUARE : SQUARE + WIDTH]


def middles(shape, most):
    distance = cv2.distanceTransform(shape.astype(np.uint8), cv2.DIST_L2, 3)
    highest = cv2.dilate(distance, np.ones((3, 3)))
    return (distance >= highest - 1e-3) & (distance > 0.9) & (distance < most)


def weights_of(truth):
    distance = cv2.distanceTransform(truth.astype(np.uint8), cv2.DIST_L2, 3)
    distance += cv2.distanceTransform((~truth).astype(np.uint8), cv2.DIST_L2, 3)
    weights = np.where(distance <= 1.2, EDGE_WEIGHS, 1.0)
    weights[middles(truth, 3.2) | middles(~truth, 4.2)] = MIDDLE_WEIGHS
    return weights


def quarters(picture):
    height, width = picture.shape
    pairs = picture.reshape(height // 2, 2, width // 2, 2)
    return pairs.transpose(0, 2, 1, 3).reshape(height // 2, width // 2, 4)


def samples(tool, seed, families):
    """What the network gets for some pixels of a page, whether their quarters are ink, and how much that
    weighs."""
    chance, noise = random.Random(seed), np.random.RandomState(seed)
    file = chance.choice(families[chance.choice(sorted(families))])
    levels, truth, dpi = photograph(chance, noise, file)
    sharp, limits, white, deviation = evened(tool, levels, dpi)
    depth = depth_of_ink(limits, white)
    share = (white - sharp.astype(np.float32)) / np.maximum(depth, 5)
    learnt = (depth > 5) & (share > OPEN[0]) & (share < OPEN[1])
    learnt[:5] = learnt[-5:] = learnt[:, :5] = learnt[:, -5:] = False
    y, x = np.nonzero(learnt)
    some = noise.permutation(len(y))[:OF_A_PAGE]
    y, x = y[some], x[some]
    around = np.clip(PAPER + (INK - PAPER) * share, 0, 255).astype(np.uint8)
    reach = range(-REACH, REACH + 1)
    inputs = [around[y + v, x + u] for v in reach for u in reach if u * u + v * v <= FARTHEST]
    inputs.append(np.clip(depth[y, x] / 200 * 255, 0, 255).astype(np.uint8))
    inputs.append(np.clip(2 * 255 * deviation / depth[y, x], 0, 255).astype(np.uint8))
    return np.stack(inputs, 1), quarters(truth)[y, x], quarters(weights_of(truth))[y, x].astype(np.float32)


def collected(tool, first, count, families):
    pages = [samples(tool, seed, families) for seed in range(first, first + count)]
    return [np.concatenate(parts) for parts in zip(*pages)]


class Network:
    def __init__(self, inputs):
        chance = np.random.RandomState(3)
        few = inputs[:200000]
        self.mean, self.scale = few.mean(0).astype(np.float32), few.std(0).astype(np.float32) + 1
        self.parts = []
        for rows, columns in ((inputs.shape[1], UNITS), (UNITS, 4)):
            start = chance.randn(rows, columns) * np.sqrt(2 / rows)
            self.parts += [start.astype(np.float32), np.zeros(columns, np.float32)]

    def __call__(self, inputs):
        given = (inputs - self.mean) / self.scale
        units = np.maximum(given @ self.parts[0] + self.parts[1], 0)
        odds = np.clip(units @ self.parts[2] + self.parts[3], -30, 30)
        return given, units, 1 / (1 + np.exp(-odds))

    def slopes(self, inputs, truth, weights):
        given, units, sure = self(inputs)
        wrong = weights * (sure - truth) / sure.size
        before = (wrong @ self.parts[2].T) * (units > 0)
        return given.T @ before, before.sum(0), units.T @ wrong, wrong.sum(0)

    def learn(self, inputs, truth, weights):
        """Adam's method, with steps that become smaller."""
        chance = np.random.RandomState(4)
        means = [np.zeros_like(part) for part in self.parts]
        squares = [np.zeros_like(part) for part in self.parts]
        for step in range(1, STEPS + 1):
            some = chance.randint(0, len(inputs), BATCH)
            slopes = self.slopes(inputs[some].astype(np.float32), truth[some], weights[some])
            rate = RATE * min(1, step / 200) * (0.5 + 0.5 * np.cos(np.pi * step / STEPS))
            for part, slope, mean, square in zip(self.parts, slopes, means, squares):
                mean += 0.1 * (slope - mean)
                square += 0.001 * (slope**2 - square)
                even = np.sqrt(square / (1 - 0.999**step)) + 1e-8
                part -= (rate * mean / (1 - 0.9**step) / even).astype(np.float32)


def wrong_percent(network, inputs, truth, weights):
    wrong = weights * ((network(inputs.astype(np.float32))[2] > 0.5) != truth)
    return 100 * wrong.sum() / weights.sum()


def table(rows):
    return "{{" + ",\n".join("{{" + ", ".join(map(str, row)) + "}}" for row in rows) + "}}"


def tell(network):
    """Prints the weights as whole numbers, with those of the levels counted from paper on."""
    first = network.parts[0] / network.scale[:, None]
    biases = network.parts[1] - network.mean @ first + PAPER * first[:-2].sum(0)
    whole = [
        np.round(part * 2.0**bits).astype(int)
        for part, bits in ((first.T, 16), (biases, 16), (network.parts[2].T, 10), (network.parts[3], 18))
    ]
    if max(abs(whole[0]).max(), abs(whole[2]).max()) > 32767:
        sys.exit("learn.py: a weight does not fit into 16 bits")
    print('#include "library/lineart/stroke_weights.h"\n\nnamespace korv {\n')
    print("// Learned as tools/lineart/learn.py does, which prints such weights; docs/crop.md tells of it.\n")
    print("const StrokeWeights kStrokeWeights = {")
    print(",\n".join([table(whole[0]), table([whole[1]])[2:-2], table(whole[2]), table([whole[3]])[2:-2]]))
    print("};\n\n} // namespace korv")


def main():
    parser = argparse.ArgumentParser(usage="learn.py [--pages COUNT] EVENED > WEIGHTS")
    parser.add_argument("--pages", type=int, default=1200)
    parser.add_argument("evened")
    arguments = parser.parse_args()
    cv2.setNumThreads(1)
    families, others = fonts()
    if not families or not others:
        sys.exit("learn.py: too few fonts")
    pages = collected(arguments.evened, 100000, arguments.pages, families)
    held = collected(arguments.evened, 900000, max(1, arguments.pages // 15), others)
    network = Network(pages[0])
    network.learn(*pages)
    print(f"wrong, in other type: {wrong_percent(network, *held):.2f} %", file=sys.stderr)
    tell(network)


if __name__ == "__main__":
    main()
