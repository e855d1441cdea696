"""Pairwise timing of bildconv against copying the same bytes.

    messen.py BUILD DATA [RUNS [CASES]]

BUILD holds bildconv, DATA the inputs made by build/eingaben. Every pair is
run alternately (the order flips each round), on a warm page cache, with the
outputs removed before each run outside the timed part, so both sides create
fresh files. Prints one table of medians and ratios, then the peers (other
converters, when installed) against cat in the same run, then peak resident
memory measured with /usr/bin/time -f %M. Then the TIFF inputs (recompressed
by libtiff's tiffcp from the sources eingaben made) against tiffcp -c none
doing the same job on the same file. CASES (comma-separated: big24, big8,
bigraw16, batch, peers, tiff) limits the run to those parts.
"""
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

BUILD, DATA = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
RUNS = int(sys.argv[3]) if len(sys.argv) > 3 else 11
PEER_RUNS = max(3, RUNS // 2)
ONLY = sys.argv[4].split(",") if len(sys.argv) > 4 else None
BILDCONV = os.path.join(BUILD, "bildconv")
BATCH = os.path.join(DATA, "batch")
RUNS_DIR = os.path.join(DATA, "runs")
MIB = 1024 * 1024
BATCH_FILES = sorted(f for f in os.listdir(BATCH) if f.endswith(".bmp"))


def remove(path):
    try:
        os.unlink(path)
    except FileNotFoundError:
        pass




class Task:
    """One command: argv (or a shell line), where its stdout goes, and what
    to remove before each run."""

    def __init__(self, name, argv, cwd=None, stdout_path=None, shell=False, clean=None):
        self.name, self.argv, self.cwd = name, argv, cwd
        self.stdout_path, self.shell, self.clean = stdout_path, shell, clean

    def run(self):
        if self.clean:
            self.clean()
        start = time.perf_counter()
        if self.stdout_path:
            fd = os.open(self.stdout_path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o644)
        else:
            fd = subprocess.DEVNULL
        try:
            r = subprocess.run(self.argv, cwd=self.cwd, stdout=fd, shell=self.shell)
        finally:
            if self.stdout_path:
                os.close(fd)
        elapsed = time.perf_counter() - start
        if r.returncode != 0:
            raise SystemExit(f"{self.name}: exit status {r.returncode}")
        return elapsed

    def peak_kib(self):
        """Peak resident set of one more run, from /usr/bin/time -f %M."""
        if self.clean:
            self.clean()
        with tempfile.NamedTemporaryFile("r", suffix=".time") as t:
            argv = ["sh", "-c", self.argv] if self.shell else self.argv
            out = open(self.stdout_path, "wb") if self.stdout_path else subprocess.DEVNULL
            try:
                subprocess.run(["/usr/bin/time", "-f", "%M", "-o", t.name] + argv, cwd=self.cwd,
                               stdout=out, check=True)
            finally:
                if self.stdout_path:
                    out.close()
            return int(t.read().split()[-1])


def pair(ours, ref, runs):
    """Medians (seconds) of both after one warm-up run each."""
    ours.run()
    ref.run()
    a, b = [], []
    for i in range(runs):
        if i % 2 == 0:
            a.append(ours.run())
            b.append(ref.run())
        else:
            b.append(ref.run())
            a.append(ours.run())
    return statistics.median(a), statistics.median(b)


def warm(paths):
    for p in paths:
        with open(p, "rb") as f:
            while f.read(8 * MIB):
                pass


def out(line=""):
    print(line, flush=True)


def big(name, pixel_bytes):
    inp = os.path.join(DATA, name)
    tif = inp + ".tif"
    cat_out = os.path.join(DATA, name + ".cat")
    ours = Task("bildconv " + name, [BILDCONV, name], cwd=DATA, clean=lambda: remove(tif))
    ref = Task("cat " + name, ["cat", inp], stdout_path=cat_out, clean=lambda: remove(cat_out))
    return ours, ref, pixel_bytes


# TIFF cases: name, source, tiffcp options that make the input, target ratio
# to tiffcp -c none. Strips of 64 rows unless said otherwise.
TIFF_CASES = [
    ("uncompressed", "foto24.tif", "-c none -r 64", 1.3),
    ("PackBits", "foto24.tif", "-c packbits -r 64", 1.0),
    ("LZW", "foto24.tif", "-c lzw -r 64", 1.0),
    ("LZW, predictor", "foto24.tif", "-c lzw:2 -r 64", 1.0),
    ("Deflate", "foto24.tif", "-c zip -r 64", 1.0),
    ("Deflate, predictor", "foto24.tif", "-c zip:2 -r 64", 1.0),
    ("Deflate, 256 x 256 tiles", "foto24.tif", "-c zip -t -w 256 -l 256", 1.0),
    ("16-bit gray, Deflate, predictor", "foto16.tif", "-c zip:2 -r 64", 1.0),
    ("LZW, strips of one row", "foto24.tif", "-c lzw -r 1", 1.0),
    ("JPEG (YCbCr 4:2:0)", "foto24.tif", "-c jpeg -r 64", 2.0),
    ("Group 4 fax page 2550 x 3300", "seite.tif", "-c g4", 1.0),
]

# A scanned-text-like page: lines of word-sized black blots on white.
SEITE = """
import random, sys
from PIL import Image, ImageDraw
random.seed(7)
im = Image.new('1', (2550, 3300), 1)
d = ImageDraw.Draw(im)
for y in range(200, 3100, 60):
    x = 200
    while x < 2300:
        w = random.randint(20, 120)
        for k in range(0, w, 9):
            d.rectangle([x + k, y + random.randint(0, 8), x + k + 5, y + 30 + random.randint(0, 8)], fill=0)
        x += w + 25
im.save(sys.argv[1])
"""


def tiff_cases():
    tiffcp = shutil.which("tiffcp")
    if not tiffcp:
        out("TIFF cases skipped: tiffcp (libtiff-tools) not installed")
        return []
    seite = os.path.join(DATA, "seite.tif")
    if subprocess.run(["/usr/bin/python3", "-c", SEITE, seite]).returncode != 0:
        out("Group 4 case skipped: Pillow not installed")
    cases = []
    for i, (name, source, options, target) in enumerate(TIFF_CASES):
        src = os.path.join(DATA, source)
        if not os.path.exists(src):
            continue
        inp = os.path.join(DATA, f"t{i}.tif")
        subprocess.run([tiffcp, *options.split(), src, inp], check=True)
        info = subprocess.run(["tiffinfo", inp], capture_output=True, text=True).stdout

        def feld(name, vorgabe):
            return int(info.split(name + ": ")[1].split()[0]) if name + ": " in info else vorgabe

        w, h = feld("Image Width", 0), feld("Image Length", 0)
        spp, bits = feld("Samples/Pixel", 1), feld("Bits/Sample", 1)
        pixel_bytes = w * h * (spp if bits == 1 else spp * bits // 8)
        tif, ref_out = inp + ".tif", inp + ".ref.tif"
        ours = Task("bildconv " + name, [BILDCONV, os.path.basename(inp)], cwd=DATA,
                    clean=lambda tif=tif: remove(tif))
        ref = Task("tiffcp " + name, [tiffcp, "-c", "none", inp, ref_out], clean=lambda r=ref_out: remove(r))
        cases.append((name, ours, ref, pixel_bytes, os.path.getsize(inp), target, [inp, tif, ref_out]))
    return cases


def tiff_part():
    cases = tiff_cases()
    if not cases:
        return True
    warm([c[6][0] for c in cases])
    out()
    out(f"TIFF input against libtiff's tiffcp -c none on the same file: medians of {RUNS} alternating runs")
    out()
    out("| input (6000 x 4000 RGB unless said) | MB | bildconv ms | tiffcp ms | ratio | target | peak RSS MiB | memory limit MiB |")
    out("| --- | ---: | ---: | ---: | ---: | ---: | ---: | ---: |")
    results = []
    for name, ours, ref, pixel_bytes, size, target, files in cases:
        a, b = pair(ours, ref, RUNS)
        rss = ours.peak_kib() / 1024
        limit = pixel_bytes / MIB + 8
        results.append(a / b <= target and rss <= limit)
        out(f"| {name} | {size / 1e6:.1f} | {a * 1000:.1f} | {b * 1000:.1f} | {a / b:.2f}x | {target}x | "
            f"{rss:.1f} | {limit:.1f} |")
        for f in files:
            remove(f)
    out()
    out("TIFF targets (ratio and memory): " + ("all met" if all(results) else "NOT all met"))
    return all(results)


def main():
    if ONLY == ["tiff"]:
        tiff_part()
        return
    px = 8000 * 6000
    cases = [
        ("big24", *big("big24.bmp", 3 * px), "cat", 1.5),
        ("big8", *big("big8.bmp", px), "cat", 1.5),
        ("bigraw16", *big("bigraw16.raw", 2 * px), "cat", 1.5),
    ]
    # Every batch run writes into a fresh folder and nothing is deleted until
    # all runs are done: truncating an existing output makes ext4 write it
    # back on close, and creating files right after deleting thousands makes
    # it search past the freed inodes. Either cost lands on whichever side
    # runs next and says nothing about the programs. bildconv writes next to
    # its inputs, so its folder holds hard links to them (same pages).
    runs = {"bildconv": 0, "cp": 0}

    def batch_ours_folder(task):
        runs["bildconv"] += 1
        folder = os.path.join(RUNS_DIR, f"bildconv{runs['bildconv']}")
        os.makedirs(folder)
        for f in BATCH_FILES:
            os.link(os.path.join(BATCH, f), os.path.join(folder, f))
        task.cwd = folder

    def batch_ref_folder(task):
        runs["cp"] += 1
        folder = os.path.join(RUNS_DIR, f"cp{runs['cp']}")
        os.makedirs(folder)
        task.argv[2] = folder

    shutil.rmtree(RUNS_DIR, ignore_errors=True)
    batch_ours = Task("bildconv batch", [BILDCONV] + BATCH_FILES, cwd=BATCH)
    batch_ours.clean = lambda: batch_ours_folder(batch_ours)
    batch_ref = Task("cp -t batch", ["cp", "-t", "", *BATCH_FILES], cwd=BATCH)
    batch_ref.clean = lambda: batch_ref_folder(batch_ref)
    cases.append(("batch", batch_ours, batch_ref, 64 * 48 * 3, "cp -t", 1.3))

    warm([os.path.join(DATA, n) for n in ("big24.bmp", "big8.bmp", "bigraw16.raw")])
    warm([os.path.join(BATCH, f) for f in BATCH_FILES])

    out(f"bildconv against copying the same bytes: medians of {RUNS} alternating runs, warm page cache")
    out()
    out("| case | bildconv ms | reference | reference ms | ratio | target | peak RSS MiB | memory limit MiB |")
    out("| --- | ---: | --- | ---: | ---: | ---: | ---: | ---: |")
    results = []
    for name, ours, ref, pixel_bytes, ref_name, target in cases:
        if ONLY and name not in ONLY:
            continue
        a, b = pair(ours, ref, RUNS)
        rss = ours.peak_kib() / 1024
        limit = pixel_bytes / MIB + 8
        ok = a / b <= target and rss <= limit
        results.append(ok)
        out(f"| {name} | {a * 1000:.1f} | {ref_name} | {b * 1000:.1f} | {a / b:.2f}x | "
            f"{target}x | {rss:.1f} | {limit:.1f} |")
    for n in ("big24.bmp", "big8.bmp", "bigraw16.raw"):
        remove(os.path.join(DATA, n + ".cat"))
        remove(os.path.join(DATA, n + ".tif"))
    shutil.rmtree(RUNS_DIR, ignore_errors=True)
    out()
    out("targets (ratio and memory): " + ("all met" if all(results) else "NOT all met"))

    if not ONLY or "tiff" in ONLY:
        tiff_part()
    if ONLY and "peers" not in ONLY:
        return
    out()
    out(f"Peers on big24 (8000 x 6000 24-bit BMP -> TIFF): medians of {PEER_RUNS} alternating runs")
    out()
    out("| program | ms | cat ms | ratio to cat | peak RSS MiB |")
    out("| --- | ---: | ---: | ---: | ---: |")
    inp = os.path.join(DATA, "big24.bmp")
    peer_out = os.path.join(DATA, "peer.tif")
    cat_out = os.path.join(DATA, "peer.cat")
    cat = Task("cat", ["cat", inp], stdout_path=cat_out, clean=lambda: remove(cat_out))
    clean = lambda: remove(peer_out)
    peers = [("bildconv", Task("bildconv", [BILDCONV, "big24.bmp"], cwd=DATA,
                                clean=lambda: remove(inp + ".tif")))]
    # Not a peer: the floor of holding the whole image in fresh memory.
    peers.append(("floor: read into a fresh buffer, write it (boden)",
                  Task("boden", [os.path.join(BUILD, "boden"), inp, peer_out], clean=clean)))
    im = "/usr/bin/convert"
    if os.path.exists(im) and "ImageMagick" in subprocess.run([im, "-version"], capture_output=True,
                                                             text=True).stdout:
        peers.append(("ImageMagick convert", Task("convert", [im, inp, peer_out], clean=clean)))
    if os.path.exists("/usr/bin/gm"):
        peers.append(("GraphicsMagick gm convert", Task("gm", ["/usr/bin/gm", "convert", inp, peer_out],
                                                        clean=clean)))
    if subprocess.run(["/usr/bin/python3", "-c", "import PIL"], capture_output=True).returncode == 0:
        code = "import sys; from PIL import Image; Image.open(sys.argv[1]).save(sys.argv[2])"
        peers.append(("Pillow", Task("pillow", ["/usr/bin/python3", "-c", code, inp, peer_out], clean=clean)))
    if os.path.exists("/usr/bin/bmptopnm") and os.path.exists("/usr/bin/pamtotiff"):
        line = f"/usr/bin/bmptopnm {inp} 2>/dev/null | /usr/bin/pamtotiff > {peer_out} 2>/dev/null"
        peers.append(("netpbm bmptopnm \\| pamtotiff", Task("netpbm", line, shell=True, clean=clean)))
    for name, task in peers:
        runs = RUNS if name == "bildconv" else PEER_RUNS
        a, b = pair(task, cat, runs)
        out(f"| {name} | {a * 1000:.1f} | {b * 1000:.1f} | {a / b:.2f}x | {task.peak_kib() / 1024:.1f} |")
        remove(peer_out)
    remove(cat_out)
    remove(inp + ".tif")


main()
