#!/usr/bin/env python3
"""Mutation sampler: which small faults would the test suite miss?

    python3 scripts/mutanten.py [--anzahl 60] [--saat 1] [--ordner /tmp/bild-mutanten] [PFAD ...]

Copies the working tree (tracked files and new ones git does not ignore) into a
scratch folder, builds there once, then for
each of ANZAHL mutants drawn at random (seeded) from the C++ files below
src/ (or the files/folders given):
  - flips a comparison (< <=, > >=, == !=) or a logical operator (&& ||),
  - moves an integer literal by one (up or down),
  - or drops a statement (a line ending in ';'),
rebuilds the library, the converter and the tests, runs CTest, and counts the
mutant killed when a test fails (or times out). A mutant that does not compile
is not counted; another is drawn. Prints each result as it comes and the
survivors at the end, with the changed line. The repository itself is never
touched. Slow by nature (a rebuild and a test run per mutant): not part of CI.
"""
import argparse
import os
import random
import re
import shutil
import subprocess
import sys
import time

WURZEL = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

VERGLEICH = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
LOGIK = {"&&": "||", "||": "&&"}
# Binary operators stand between spaces in this code base: template brackets,
# shifts and arrows do not.
OPERATOR = re.compile(r"(?<= )(<=|>=|==|!=|<|>|&&|\|\|)(?= )")
LITERAL = re.compile(r"(?<![\w.])(\d+)(?![\w.'])")
ANWEISUNG = re.compile(r"^\s+[^\s/#}].*;\s*$")


def code_teil(zeile):
    """The line without its comment and string literals (blanked)."""
    zeile = re.sub(r'"(\\.|[^"\\])*"', lambda m: " " * len(m.group(0)), zeile)
    zeile = re.sub(r"'(\\.|[^'\\])'", lambda m: " " * len(m.group(0)), zeile)
    i = zeile.find("//")
    return zeile if i < 0 else zeile[:i]


def stellen(pfad):
    """Every mutation site of a file: (line index, start, end, replacement, kind)."""
    out = []
    with open(pfad, encoding="utf-8") as f:
        zeilen = f.read().split("\n")
    im_kommentar = False
    for i, zeile in enumerate(zeilen):
        s = zeile.strip()
        if im_kommentar:
            im_kommentar = "*/" not in s
            continue
        if s.startswith("/*"):
            im_kommentar = "*/" not in s
            continue
        if s.startswith("#") or s.startswith("static_assert") or not s:
            continue
        code = code_teil(zeile)
        for m in OPERATOR.finditer(code):
            neu = VERGLEICH.get(m.group(1)) or LOGIK[m.group(1)]
            out.append((i, m.start(1), m.end(1), neu, "operator"))
        for m in LITERAL.finditer(code):
            wert = int(m.group(1))
            for neu in (wert + 1, wert - 1):
                if neu >= 0:
                    out.append((i, m.start(1), m.end(1), str(neu), "literal"))
        if ANWEISUNG.match(code) and not re.match(r"\s*(return|case|default|break|continue)\b", code) \
                and code.count("(") == code.count(")") and "{" not in code:
            out.append((i, 0, len(zeile), "", "statement"))
    return zeilen, out


def laufe(befehl, ordner, sekunden):
    try:
        r = subprocess.run(befehl, cwd=ordner, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                           timeout=sekunden)
        return r.returncode
    except subprocess.TimeoutExpired:
        return -1


def main():
    p = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    p.add_argument("--anzahl", type=int, default=60)
    p.add_argument("--saat", type=int, default=1)
    p.add_argument("--ordner", default="/tmp/bild-mutanten")
    p.add_argument("--sekunden", type=int, default=600, help="limit of one test run")
    p.add_argument("pfade", nargs="*", default=["src"])
    a = p.parse_args()

    kopie = os.path.join(a.ordner, "quelle")
    bau = os.path.join(a.ordner, "build")
    shutil.rmtree(kopie, ignore_errors=True)
    os.makedirs(kopie)
    # The working tree as it is: tracked files and new ones git does not ignore.
    dateien = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=WURZEL,
                             capture_output=True, text=True, check=True).stdout.split("\n")
    dateien = [d for d in dateien if d and os.path.isfile(os.path.join(WURZEL, d))]
    for d in dateien:
        ziel = os.path.join(kopie, d)
        os.makedirs(os.path.dirname(ziel), exist_ok=True)
        shutil.copy2(os.path.join(WURZEL, d), ziel)

    kandidaten = []
    for d in dateien:
        if d.endswith(".cpp") and any(d == q or d.startswith(q.rstrip("/") + "/") for q in a.pfade):
            zeilen, s = stellen(os.path.join(kopie, d))
            kandidaten += [(d, *x) for x in s]
    if not kandidaten:
        sys.exit("no mutation sites found")

    ziele = ["--target", "bild", "bildconv", "bild_tests"]
    ctest = ["ctest", "--test-dir", bau, "-j", str(os.cpu_count() or 2), "--stop-on-failure",
             "--timeout", "120"]
    print(f"{len(kandidaten)} sites; building once in {bau} ...", flush=True)
    if laufe(["cmake", "-S", kopie, "-B", bau, "-DBILD_TESTS=ON", "-DCMAKE_BUILD_TYPE=RelWithDebInfo"],
             kopie, 600) != 0 or laufe(["cmake", "--build", bau, "-j", "2"], kopie, 1800) != 0:
        sys.exit("the unmutated tree does not build")
    if laufe(ctest, kopie, a.sekunden) != 0:
        sys.exit("the unmutated tree fails its tests: fix that first")

    zufall = random.Random(a.saat)
    zufall.shuffle(kandidaten)
    getoetet, ueberlebt, versucht = 0, [], 0
    start = time.time()
    for d, i, von, bis, neu, art in kandidaten:
        if getoetet + len(ueberlebt) >= a.anzahl:
            break
        pfad = os.path.join(kopie, d)
        with open(pfad, encoding="utf-8") as f:
            alt = f.read()
        zeilen = alt.split("\n")
        vorher = zeilen[i]
        zeilen[i] = vorher[:von] + neu + vorher[bis:] if art != "statement" else ""
        with open(pfad, "w", encoding="utf-8") as f:
            f.write("\n".join(zeilen))
        versucht += 1
        try:
            if laufe(["cmake", "--build", bau, "-j", "2", *ziele], kopie, 1800) != 0:
                continue  # does not compile: not a mutant
            nr = getoetet + len(ueberlebt) + 1
            beschreibung = f"{d}:{i + 1} {art}: {vorher.strip()}  ->  {zeilen[i].strip() or '(dropped)'}"
            if laufe(ctest, kopie, a.sekunden) != 0:
                getoetet += 1
                print(f"[{nr:3}] killed    {beschreibung}", flush=True)
            else:
                ueberlebt.append(beschreibung)
                print(f"[{nr:3}] SURVIVED  {beschreibung}", flush=True)
        finally:
            with open(pfad, "w", encoding="utf-8") as f:
                f.write(alt)
    laufe(["cmake", "--build", bau, "-j", "2", *ziele], kopie, 1800)
    n = getoetet + len(ueberlebt)
    print(f"\n{getoetet} of {n} mutants killed ({100 * getoetet / max(n, 1):.0f}%), "
          f"{versucht - n} did not compile; {time.time() - start:.0f} s")
    if ueberlebt:
        print("survivors:")
        for s in ueberlebt:
            print("  " + s)


if __name__ == "__main__":
    main()
