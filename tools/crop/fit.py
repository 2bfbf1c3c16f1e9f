#!/usr/bin/env python3
"""Fits the weights with which the automatic crop judges outlines; docs/crop.md tells how to use it.

Usage: fit.py TRUTH.json=OUTLINES TRUTH.json=OUTLINES ... > library/crop/outlines/sheet_weights.cpp

TRUTH.json says where the sheets lie in a set of pictures, OUTLINES is what crop-outlines made of
them. At least two sets: what the trust learns from is ranked by weights fitted on other sets. How
the sets fare that were not fitted on goes to the standard error.
"""

import argparse
import json
import sys

import numpy as np

CORNERS = slice(2, 10)
REFINED = slice(10, 18)
AGREEMENT = slice(18, 20)
SURROUNDINGS = slice(20, 31)
FEATURES = slice(31, None)

RIGHT = 0.96  # overlap from which on an outline counts as the right one ...
NEARLY = 0.985  # ... and up to which another one counts as wrong
FEATURE_COUNT = 30
HIDDEN = 16
HARD = 40  # wrong outlines of each search that are learnt from: the best-ranked ...
OTHERS = 20  # ... and some others
SCORED = 0.95  # overlap from which on a crop counts as right in what is told
TRUSTED = 0.9  # overlap from which on a crop may be trusted, as some desk around it is no harm ...
TRUSTED_LOSS = 0.025  # ... when no more than this share of the sheet is cut off
LOST = 0.05  # share from which on something is lost
WRONG_WEIGHS = 2.0
LOSING_WEIGHS = 4.0
TRUST_HIDDEN = 8
TRUST_SEEDS = (1, 2, 3, 4, 5)  # as many networks are fitted to the trust; their mean is taken
MOST_LEAD = 8.0  # an outline without a rival
OTHER_RATIO = 1.06  # of areas, from which on two outlines differ ...
OTHER_AWAY = 0.03  # ... or distance of their centres, in sides
SETTLED = 2.0  # trust from which on the second search is not made
SAME_RATIO = 1.06  # of areas, up to which nested outlines are the same sheet's
CORNERS_INSIDE = 0.97  # share of the way to them that has to lie in the outer one
RULED_OUT = -1.0  # trust below which an outline is no sheet's
LARGER_RATIO = 1.15  # of areas, from which on one outline can be around another


def to_unit_square(sheet):
    """The homography that takes the sheet's corners to those of the unit square."""
    rows = []
    for (x, y), (u, v) in zip(sheet, ((0, 0), (1, 0), (1, 1), (0, 1))):
        rows.append([x, y, 1, 0, 0, 0, -u * x, -u * y, -u])
        rows.append([0, 0, 0, x, y, 1, -v * x, -v * y, -v])
    return np.linalg.svd(np.array(rows, float))[2][-1].reshape(3, 3)


def strip(start, end):
    """Area between a side of the unit square and a line `start` to `end` away from it, outside and
    inside."""
    total = np.abs(start) + np.abs(end) + 1e-12
    crossing = start * end < 0
    first = np.where(crossing, start * np.abs(start) / total, start) / 2
    second = np.where(crossing, end * np.abs(end) / total, end) / 2
    parts = np.stack([first, second])
    return np.maximum(parts, 0).sum(0), np.maximum(-parts, 0).sum(0)


def overlaps(quads, sheet):
    """Jaccard index of each quadrilateral with the sheet, measured on the sheet, and the share of
    the sheet that is cut off. Exact for quadrilaterals that are nearly right; 0 and 1 for others."""
    homography = to_unit_square(sheet)
    points = np.concatenate([quads, np.ones(quads.shape[:2] + (1,))], 2) @ homography.T
    points = points[..., :2] / np.where(np.abs(points[..., 2:]) < 1e-9, 1e-9, points[..., 2:])
    square = np.array([[0, 0], [1, 0], [1, 1], [0, 1]], float)
    orders = [np.roll(np.arange(4)[::d], k) for d in (1, -1) for k in range(4)]
    away = np.stack([np.abs(points[:, o] - square).max((1, 2)) for o in orders])
    best = away.argmin(0)
    points = np.take_along_axis(points, np.array(orders)[best][..., None], 1)
    x, y = points[..., 0], points[..., 1]
    sides = [
        strip(-y[:, 0], -y[:, 1]),
        strip(x[:, 1] - 1, x[:, 2] - 1),
        strip(y[:, 2] - 1, y[:, 3] - 1),
        strip(-x[:, 3], -x[:, 0]),
    ]
    outside = sum(side[0] for side in sides)
    inside = sum(side[1] for side in sides)
    near = away.min(0) < 0.45
    return (
        np.where(near, (1 - inside) / (1 + outside), 0.0),
        np.where(near, inside, 1.0),
    )


def can_be_near(quads, sheet):
    """Whether a look at the overlap is worth while: lies about there and is about as large."""
    sheet = np.array(sheet, float)

    def area(corners):
        x, y = corners[..., 0], corners[..., 1]
        return np.abs((x * np.roll(y, -1, -1) - y * np.roll(x, -1, -1)).sum(-1)) / 2

    size = area(sheet)
    away = np.hypot(*(quads.mean(1) - sheet.mean(0)).T)
    sizes = area(quads)
    return (away < 0.5 * np.sqrt(size)) & (sizes > 0.2 * size) & (sizes < 5 * size)


class Search:
    """The outlines that one search of one picture found."""

    def __init__(self, picture, rows, sheets):
        self.picture = picture
        self.second = rows[0, 1] == 2
        self.sheets = sheets
        self.corners = rows[:, CORNERS]
        self.features = rows[:, FEATURES].astype(np.float32)
        self.agreement = rows[:, AGREEMENT]
        self.surroundings = rows[:, SURROUNDINGS]
        self.overlap, self.loss = self.best(rows[:, CORNERS])
        self.refined_overlap, self.refined_loss = self.best(rows[:, REFINED])

    def best(self, corners):
        quads = corners.reshape(-1, 4, 2).astype(float)
        found = []
        for sheet in self.sheets:
            near = np.flatnonzero(can_be_near(quads, sheet))
            result = np.zeros(len(quads)), np.ones(len(quads))
            if len(near):
                result[0][near], result[1][near] = overlaps(quads[near], sheet)
            found.append(result)
        if not found:
            return np.zeros(len(corners)), np.zeros(len(corners))
        overlap = np.stack([f[0] for f in found])
        chosen = overlap.argmax(0)[None]
        loss = np.stack([f[1] for f in found])
        return np.take_along_axis(overlap, chosen, 0)[0], np.take_along_axis(loss, chosen, 0)[0]


def read(truth, outlines, columns):
    with open(truth, encoding="utf-8") as file:
        pictures = json.load(file)
    table = np.fromfile(outlines, np.float32).reshape(-1, columns)
    keys = table[:, 0] * 2 + table[:, 1]
    starts = np.flatnonzero(np.r_[True, np.diff(keys) != 0])
    return [
        Search(truth + pictures[int(rows[0, 0])]["file"], rows, pictures[int(rows[0, 0])]["sheets"])
        for rows in np.split(table, starts[1:])
    ]


class Net:
    """A linear function and a few that are zero up to some point and then linear."""

    def __init__(self, mean, scale, hidden=HIDDEN, seed=1):
        rng = np.random.default_rng(seed)
        size = len(mean)
        self.mean, self.scale = mean.astype(np.float32), scale.astype(np.float32)
        self.parts = [
            np.zeros(size, np.float32),
            (rng.standard_normal((size, hidden)) / np.sqrt(size)).astype(np.float32),
            np.zeros(hidden, np.float32),
            np.zeros(hidden, np.float32),
        ]
        self.moments = [[np.zeros_like(p), np.zeros_like(p)] for p in self.parts]
        self.steps = 0

    def forward(self, x):
        linear, inner, offset, outer = self.parts
        hidden = np.maximum(x @ inner + offset, 0)
        return x @ linear + hidden @ outer, hidden

    def rank(self, features):
        return self.forward((features - self.mean) / self.scale)[0]

    def learn(self, x, slope, hidden, rate, decay):
        """A step against `slope`, the loss's derivative by each output (Adam)."""
        outer = self.parts[3]
        back = np.outer(slope, outer) * (hidden > 0)
        slopes = [x.T @ slope, x.T @ back, back.sum(0), hidden.T @ slope]
        self.steps += 1
        for part, moment, by in zip(self.parts, self.moments, slopes):
            by = by + decay * part
            moment[0] += 0.1 * (by - moment[0])
            moment[1] += 0.01 * (by * by - moment[1])
            first = moment[0] / (1 - 0.9**self.steps)
            second = moment[1] / (1 - 0.99**self.steps)
            part -= rate * first / (np.sqrt(second) + 1e-8)


def lessons(searches, rng, ranks=None):
    """For each search with a right outline: features, which are right, which wrong."""
    result = []
    for number, search in enumerate(searches):
        overlap = search.overlap
        if not len(overlap) or overlap.max() < 0.93:
            continue
        right = overlap >= min(RIGHT, overlap.max() - 0.004)
        wrong = np.flatnonzero(~right & (overlap < NEARLY))
        order = wrong if ranks is None else wrong[np.argsort(-ranks[number][wrong])]
        rest = order[HARD:]
        some = rng.choice(rest, min(OTHERS, len(rest)), replace=False) if len(rest) else rest
        chosen = np.r_[np.flatnonzero(right), order[:HARD], some].astype(int)
        result.append((search.features[chosen], right[chosen]))
    return result


def fit_rank(searches, epochs=24, batch=48, rate=0.01, decay=2e-3):
    """By the odds of the right outlines among all of their search."""
    rng = np.random.default_rng(3)
    every = np.concatenate([s.features[:60] for s in searches])
    net = Net(every.mean(0), every.std(0) + 1e-6)
    taught = lessons(searches, rng)
    for epoch in range(epochs):
        if epoch in (4, 12):  # from now on those that are hard to tell apart
            taught = lessons(searches, rng, [net.rank(s.features) for s in searches])
        order = rng.permutation(len(taught))
        pace = rate * (1 - epoch / epochs)
        for first in range(0, len(order), batch):
            group = [taught[i] for i in order[first : first + batch]]
            x = (np.concatenate([g[0] for g in group]) - net.mean) / net.scale
            scores, hidden = net.forward(x)
            slope = np.zeros_like(scores)
            at = 0
            for features, right in group:
                here = slice(at, at + len(right))
                at += len(right)
                odds = np.exp(scores[here] - scores[here].max())
                among_right = odds * right
                slope[here] = odds / odds.sum() - among_right / among_right.sum()
            net.learn(x, slope / len(group), hidden, pace, decay)
    return net


def lead(ranks, corners, best):
    """How far the best one is ahead of the next that differs from it."""
    quads = corners.reshape(-1, 4, 2).astype(float)
    sizes = areas(quads)
    ratio = np.maximum(sizes, sizes[best]) / np.maximum(1.0, np.minimum(sizes, sizes[best]))
    away = np.hypot(*(quads.mean(1) - quads[best].mean(0)).T)
    others = ranks[(ratio > OTHER_RATIO) | (away > OTHER_AWAY * np.sqrt(sizes[best]))]
    if not len(others):
        return MOST_LEAD
    return float(np.clip(ranks[best] - others.max(), 0, MOST_LEAD))


def areas(quads):
    x, y = quads[..., 0], quads[..., 1]
    return np.abs((x * np.roll(y, -1, 1) - y * np.roll(x, -1, 1)).sum(1)) / 2


def contain(quads, point):
    """Which of the convex quadrilaterals hold the point."""
    along = np.roll(quads, -1, 1) - quads
    to = point - quads
    clockwise = (along[..., 0] * to[..., 1] - along[..., 1] * to[..., 0] > 0).sum(1)
    return (clockwise == 0) | (clockwise == 4)


def lead_over_larger(ranks, corners, best):
    """How far the best one is ahead of the best one around it."""
    quads = corners.reshape(-1, 4, 2).astype(float)
    sizes = areas(quads)
    held = sum(contain(quads, corner).astype(int) for corner in quads[best])
    around = contain(quads, quads[best].mean(0)) & (held >= 3)
    others = ranks[around & (sizes >= LARGER_RATIO * sizes[best])]
    if not len(others):
        return MOST_LEAD
    return float(np.clip(ranks[best] - others.max(), -MOST_LEAD, MOST_LEAD))


def exam(searches, net):
    """What is known of the best outline of each search, whether it is right, and how much that
    weighs."""
    rows, right, weights, which = [], [], [], []
    for search in searches:
        ranks = net.rank(search.features)
        best = int(ranks.argmax())
        if np.isnan(search.agreement[best, 0]):
            continue  # was not among the best when it was measured
        rows.append(
            np.r_[
                search.features[best],
                ranks[best],
                lead(ranks, search.corners, best),
                search.agreement[best],
                float(search.second),
                lead_over_larger(ranks, search.corners, best),
                search.surroundings[best],
            ]
        )
        loss = search.refined_loss[best] if search.sheets else 1.0
        right.append(search.refined_overlap[best] >= TRUSTED and loss <= TRUSTED_LOSS)
        weights.append(1.0 if right[-1] else LOSING_WEIGHS if loss > LOST else WRONG_WEIGHS)
        which.append((search, best))
    return np.array(rows, np.float32), np.array(right), np.array(weights), which


def fit_trust(rows, right, weights):
    """The mean of several networks that differ in where they began, as one."""
    nets = [fit_one_trust(rows, right, weights, seed) for seed in TRUST_SEEDS]
    linear, inner, offset, outer = zip(*(net.parts for net in nets))
    mean = nets[0]
    mean.parts = [
        sum(linear) / len(nets),
        np.hstack(inner),
        np.concatenate(offset),
        np.concatenate(outer) / len(nets),
    ]
    return mean


def fit_one_trust(rows, right, weights, seed, epochs=60, batch=64, rate=0.01, decay=4e-3):
    """By the odds that the best outline of a search is right."""
    hidden = TRUST_HIDDEN
    rng = np.random.default_rng(4)
    net = Net(rows.mean(0), rows.std(0) + 1e-6, hidden, seed)
    inputs = (rows - net.mean) / net.scale
    inputs = np.c_[inputs, np.ones(len(inputs), np.float32)]
    net.parts[0] = np.zeros(inputs.shape[1], np.float32)
    net.parts[1] = np.r_[net.parts[1], np.zeros((1, hidden), np.float32)]
    net.moments = [[np.zeros_like(p), np.zeros_like(p)] for p in net.parts]
    for epoch in range(epochs):
        order = rng.permutation(len(inputs))
        for first in range(0, len(order), batch):
            chosen = order[first : first + batch]
            scores, inner = net.forward(inputs[chosen])
            slope = (1 / (1 + np.exp(-scores)) - right[chosen]) * weights[chosen] / len(chosen)
            net.learn(inputs[chosen], slope, inner, rate * (1 - epoch / epochs), decay)
    return net


def apply_trust(net, rows):
    inputs = (rows - net.mean) / net.scale
    return net.forward(np.c_[inputs, np.ones(len(inputs), np.float32)])[0]


def chosen(verdicts, least):
    """What counts of both searches of a picture, as in crop.cpp."""
    verdicts = sorted(verdicts, key=lambda verdict: verdict[1].second)
    if len(verdicts) < 2 or verdicts[0][0] >= SETTLED:
        return verdicts[0]
    quads = [search.corners[best].reshape(1, 4, 2).astype(float) for _, search, best in verdicts]
    inner, outer = np.argsort([areas(quad)[0] for quad in quads])
    centre = quads[inner][0].mean(0)
    corners = centre + (quads[inner][0] - centre) * CORNERS_INSIDE
    held = sum(int(contain(quads[outer], corner)[0]) for corner in corners)
    if (
        areas(quads[outer])[0] <= SAME_RATIO * areas(quads[inner])[0]
        or held < 3
        or not contain(quads[outer], centre)[0]
    ):
        return max(verdicts, key=lambda verdict: verdict[0])
    if verdicts[outer][0] >= least:
        return verdicts[outer]
    if verdicts[outer][0] >= RULED_OUT:
        return (-np.inf,) + verdicts[outer][1:]
    return verdicts[inner]


def score(which, trust, least):
    """Shares of crops that are right, cut something, and are made where there is nothing."""
    right = cut = wrong = sheets = empty = 0
    found = {}
    for (search, best), value in zip(which, trust):
        found.setdefault(search.picture, []).append((value, search, best))
    for verdicts in found.values():
        value, search, best = chosen(verdicts, least)
        single = len(search.sheets) == 1
        sheets += single
        empty += not single
        if value < least:
            continue
        overlap, loss = search.refined_overlap[best], search.refined_loss[best]
        right += single and overlap >= SCORED
        cut += single and loss > 0.02
        wrong += not single and overlap < 0.9
    return f"right {right / max(1, sheets):.3f} cut {cut / max(1, sheets):.3f} " + (
        f"false crops {wrong / max(1, empty):.3f}"
    )


def folded(net, inputs_more=False):
    """The weights as they apply to the bare features."""
    linear, inner, offset, outer = [p.astype(float) for p in net.parts]
    constant = 0.0
    if inputs_more:  # the last input was always 1
        constant, linear = linear[-1], linear[:-1]
        offset, inner = offset + inner[-1], inner[:-1]
    mean, scale = net.mean.astype(float), net.scale.astype(float)
    constant -= (mean / scale) @ linear
    offset = offset - (mean / scale) @ inner
    return constant, linear / scale, offset, outer, (inner / scale[:, None]).T


def printed(values):
    return "{{" + ", ".join(f"{v:.6g}F" if "." in f"{v:.6g}" or "e" in f"{v:.6g}" else f"{v:.1f}F"
                            for v in values) + "}}"


def definition(name, kind, weights):
    constant, linear, offset, outer, inner = weights
    rows = ",\n".join(printed(row) for row in inner)
    return (
        f"const Weights<{kind}> {name} = {{{constant:.8g},\n{printed(linear)},\n"
        f"{printed(offset)},\n{printed(outer)},\n{{{{{rows}}}}}}};\n"
    )


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("sets", nargs="+", metavar="TRUTH.json=OUTLINES")
    columns = FEATURES.start + FEATURE_COUNT
    sets = [read(*each.split("=", 1), columns) for each in parser.parse_args().sets]
    halves = [sum(sets[k::2], []) for k in (0, 1)]
    exams = [exam(halves[1 - k], fit_rank(halves[k])) for k in (0, 1)]
    for k in (0, 1):
        trust = fit_trust(*exams[k][:3])
        values = apply_trust(trust, exams[1 - k][0])
        for least in (-1, -0.5, 0, 0.5, 1):
            print(f"half {k}: least trust {least}:", score(exams[1 - k][3], values, least),
                  file=sys.stderr)
    rank = fit_rank(sum(sets, []))
    trust = fit_trust(*(np.concatenate([e[i] for e in exams]) for i in (0, 1, 2)))
    print('#include "library/crop/outlines/sheet_weights.h"\n\nnamespace korv::crop {\n')
    print("// Printed by tools/crop/fit.py; docs/crop.md says when to run it again.\n")
    print(definition("kRankWeights", "kFeatureCount, 16", folded(rank)))
    units = TRUST_HIDDEN * len(TRUST_SEEDS)
    print(definition("kConfidenceWeights", f"kConfidenceInputs, {units}", folded(trust, True)))
    print("} // namespace korv::crop")


if __name__ == "__main__":
    main()
