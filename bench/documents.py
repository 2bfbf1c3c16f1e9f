#!/usr/bin/env python3
"""Measures photographs and documents against other ways of making them.

    cmake --preset bench && cmake --build --preset bench
    bench/documents.py build/bench [--runs 9] [--pages 50] [--folder DIR] [--only WORD] [--quick]

Every figure is the median of whole processes that run in turns, ours and the other one, on files in
memory (/dev/shm): ratios, so that they hold on other machines. Exit status 1 when a bar is missed.
"""
import argparse
import contextlib
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time


class Bench:
    def __init__(self, build, folder, pages, runs, slow):
        self.work = str(build / "bench/bench-documents-work")
        self.folder = folder
        self.runs = runs
        self.slow = slow
        self.environment = dict(os.environ, KORV_BENCH_LIBRARY=str(
            build / "library/libKorvPlixoManager.so"))
        self.run([self.work, "make", str(folder), str(pages), "3264", "2448"])
        self.colour = sorted(str(path) for path in folder.glob("page-*.jpg"))
        self.lineart = sorted(str(path) for path in folder.glob("line-*.jpg"))
        self.missed = []

    def out(self, name):
        return str(self.folder / name)

    def run(self, command):
        """Seconds, seconds of CPU and peak memory (MiB) of a process, or of several in a row."""
        commands = command if isinstance(command[0], list) else [command]
        peak = cpu = 0
        start = time.perf_counter()
        for one in commands:
            child = subprocess.Popen(one, env=self.environment, stdin=subprocess.DEVNULL)
            _, status, usage = os.wait4(child.pid, 0)
            child.returncode = status
            if status != 0:
                raise RuntimeError(f"{one[:3]}: status {status}")
            peak = max(peak, usage.ru_maxrss / 1024)
            cpu += usage.ru_utime + usage.ru_stime
        return time.perf_counter() - start, cpu, peak

    def compare(self, title, ours, theirs, bar, made=None, other=None, runs=None):
        """Runs both in turns. `bar` above 0: at most that many times as long; below 0: at least
        that many times faster."""
        figures = {"ours": [], "theirs": []}
        work = {"ours": [], "theirs": []}
        peak = 0
        for _ in range(runs or self.runs):
            for name, command in (("ours", ours), ("theirs", theirs)):
                # an existing file would stay, and ours get another name
                stale = made if name == "ours" else other
                for path in [stale] if isinstance(stale, str) else stale or []:
                    with contextlib.suppress(FileNotFoundError):
                        os.unlink(path)
                seconds, cpu, memory = self.run(command)
                figures[name].append(seconds)
                work[name].append(cpu)
                if name == "ours":
                    peak = max(peak, memory)
        # on a busy machine the time a process waits says little; this tells what it did
        labour = statistics.median(work["ours"]) / max(statistics.median(work["theirs"]), 1e-3)
        own = statistics.median(figures["ours"])
        foreign = statistics.median(figures["theirs"])
        if bar > 0:
            good, ratio, wanted = own <= bar * foreign, own / foreign, f"<= {bar}"
        else:
            good, ratio, wanted = foreign >= -bar * own, foreign / own, f">= {-bar} faster"
        self.report(title, good, f"{ratio:6.2f}", wanted,
                    f"{own * 1000:8.1f} ms against {foreign * 1000:8.1f} ms, CPU x {labour:.2f}, {peak:.0f} MiB")
        return peak

    def report(self, title, good, value, wanted, remark):
        print(f"{title:46} {value} {wanted:15} {'ok' if good else 'MISSED':7} {remark}", flush=True)
        if not good:
            self.missed.append(title)

    def passed_through(self):
        for kind, bar in (("pdf", 2.0), ("tiff", 2.0), ("ofd", 2.5)):
            made, other = self.out(f"a.{kind}"), self.out("cat.bin")
            ours = [self.work, "combine", "95", made] + self.colour
            cat = ["sh", "-c", 'out=$1; shift; exec cat "$@" > "$out"', "sh", other] + self.colour
            peak = self.compare(f"colour pages to {kind} : cat", ours, cat, bar, made, other)
            self.report(f"colour pages to {kind}, peak memory", peak <= 40, f"{peak:6.1f}",
                        "<= 40 MiB", "")
        made, other = self.out("a.pdf"), self.out("b.pdf")
        ours = [self.work, "combine", "95", made] + self.colour
        if shutil.which("img2pdf"):
            self.compare("colour pages to pdf : img2pdf", ours,
                         ["img2pdf", "-o", other] + self.colour, -5, made, other, 3)
        if shutil.which("convert") and self.slow:
            few = self.colour[:5]  # Debian forbids it to write pdf
            made, other = self.out("a.tiff"), self.out("b.tiff")
            self.compare("5 colour pages to tiff : ImageMagick",
                         [self.work, "combine", "95", made] + few,
                         ["convert"] + few + ["-compress", "Zip", other], -50, made, other, 3)

    def coded(self):
        for kind in ("pdf", "tiff"):
            made, raw, other = self.out(f"l.{kind}"), self.out("raw.tif"), self.out("g4.tif")
            ours = [self.work, "combine", "95", made] + self.lineart
            theirs = [[self.work, "raw-bits", raw] + self.lineart,
                      ["tiffcp", "-c", "g4", raw, other]]
            self.compare(f"lineart pages to {kind} : decode + tiffcp", ours, theirs, 1.3, made,
                         other, 5)
        made, other = self.out("o.pdf"), self.out("o.bin")
        self.compare("colour pages at 70 to pdf : decode + encode",
                     [self.work, "combine", "70", made] + self.colour[:10],
                     [[self.work, "turbo-recode", page, other, "70", "1"]
                      for page in self.colour[:10]], 1.1, made, other, 5)

    def photographs(self):
        frame, made, other = self.colour[0], self.out("p.jpg"), self.out("q.jpg")

        def ours(quality, rotation, colour, times):
            return [self.work, "photograph", frame, made, quality, rotation, colour, times]

        self.compare("photograph, nothing to change : plain write", ours("95", "0", "0", "20"),
                     [self.work, "plain-write", frame, other, "20"], 1.5, made, other)
        self.compare("photograph, rotated : tjTransform", ours("95", "2", "0", "4"),
                     [self.work, "turbo-rotate", frame, other, "4"], 1.1, made, other)
        self.compare("photograph at 80 : decode + encode", ours("80", "0", "0", "4"),
                     [self.work, "turbo-recode", frame, other, "80", "4"], 1.1, made, other)

    def pictures(self):
        source = self.colour[0]

        def ours(out):
            return [self.work, "convert", "95", source, out]

        copies = [self.out(f"c{i}.jpg") for i in range(20)]
        self.compare("jpg to jpg at 95 : byte copy", [self.work, "convert", "95", source] + copies,
                     [self.work, "byte-copy", source] + copies, 1.5, copies, copies)
        made, other = self.out("c.png"), self.out("d.png")
        self.compare("jpg to png : QImage::save", ours(made),
                     [self.work, "qt-save", source, other], -5, made, other, 5)
        size = os.path.getsize(made) / os.path.getsize(other)
        self.report("jpg to png, size : QImage::save", size <= 1.15, f"{size:6.2f}", "<= 1.15", "")
        for kind in ("bmp",):
            made = self.out(f"c.{kind}")
            self.compare(f"jpg to {kind} : read + decode", ours(made),
                         [self.work, "decode", source], 1.4, made)

    def video(self):
        arguments = [self.out("video.yuyv"), "1920", "1080"]
        self.run([self.work, "make-video"] + arguments)
        for conversion, bar in (("plain", -1.8), ("vectors", -1.1)):
            self.compare(f"YUYV to JPEG : by way of RGB, {conversion}",
                         [self.work, "yuyv-direct"] + arguments + ["60"],
                         [self.work, "yuyv-rgb"] + arguments + ["60", conversion], bar)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--runs", type=int, default=9)
    parser.add_argument("--pages", type=int, default=50)
    parser.add_argument("--folder", default="/dev/shm")
    parser.add_argument("--only", default="", help="a part: passed, coded, photographs, ...")
    parser.add_argument("--quick", action="store_true", help="without ImageMagick")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(dir=options.folder) as folder:
        bench = Bench(options.build.resolve(), pathlib.Path(folder), options.pages, options.runs,
                      not options.quick)
        for part in (bench.passed_through, bench.coded, bench.photographs, bench.pictures,
                     bench.video):
            if options.only in part.__name__:
                part()
    if bench.missed:
        print("missed: " + ", ".join(bench.missed))
    return 1 if bench.missed else 0


if __name__ == "__main__":
    sys.exit(main())
