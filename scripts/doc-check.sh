#!/usr/bin/env bash
# Runs the commands the documentation shows, so README.md and docs/ cannot
# drift from the code. Works in a scratch copy of the repository (the files
# git tracks plus new ones it does not ignore) under build-doc/repo, with HOME
# in build-doc/home and build/ of the copy first on PATH (so `bildconv` is the
# program the set-up built), README.md first, then docs/*.md in name order.
# Each block runs from the top of the copy in a fresh bash with -e and
# pipefail; blocks share only the files they leave behind.
#
# What counts as a command:
#   ```sh / ```bash / ```shell   every line is a script line
#   ```console                   lines starting with "$ " are commands (a
#                                trailing backslash continues onto the next
#                                line); the other lines are the output the
#                                command before them must print, exactly
#                                ("..." stands for any number of lines)
#   other fences                 not run
# Markers, HTML comments on the lines right before a fence:
#   <!-- doc-check: skip (reason) -->  not run, only parsed by `bash -n`
#   <!-- doc-check: ci -->             not run here, because .ci/run or a
#                                      script it calls runs every one of the
#                                      block's commands (checked: each must
#                                      appear there, `sudo` aside)
#   <!-- doc-check: before CMD -->     CMD runs first, unseen by the reader
#   <!-- doc-check: needs CMD... -->   installs the Debian package of that
#                                      name when the command is missing
#   <!-- doc-check: file PATH -->      the block must equal the file PATH
#
# Also checked: relative links between the documents lead to files.
# Arguments name the documents to check (default: all of them);
# DOC_CHECK_KEEP=1 keeps build-doc/ after a successful run, DOC_CHECK_VERBOSE=1
# prints what every block printed.
set -euo pipefail
cd "$(dirname "$0")/.."
command -v python3 >/dev/null || {
    sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get install -y -qq python3 >/dev/null
}

top=$PWD/build-doc
rm -rf "$top"
mkdir -p "$top/repo" "$top/home"
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    git ls-files -z --cached --others --exclude-standard |
        while IFS= read -r -d '' f; do [ -e "$f" ] && printf '%s\0' "$f"; done |
        xargs -0 cp -a --parents -t "$top/repo"
else
    find . -mindepth 1 -maxdepth 1 ! -name 'build*' ! -name .git -exec cp -a -t "$top/repo" {} +
fi

status=0
python3 - "$top" "$@" <<'PY' || status=$?
import glob, os, re, shutil, subprocess, sys, time

top = sys.argv[1]
repo = os.path.join(top, "repo")
env = dict(os.environ)
env["HOME"] = os.path.join(top, "home")
env["PATH"] = os.path.join(repo, "build") + os.pathsep + env["PATH"]
for v in ("CMAKE_PREFIX_PATH", "PKG_CONFIG_PATH", "BUILD_DIR", "CMAKE_ARGS"):
    env.pop(v, None)

docs = sys.argv[2:] or ["README.md"] + sorted(os.path.relpath(p, repo)
                                              for p in glob.glob(os.path.join(repo, "docs", "*.md")))
verbose = os.environ.get("DOC_CHECK_VERBOSE") == "1"
failures = []
counts = {"ran": 0, "ci": 0, "skipped": 0, "file": 0}


def fail(where, text):
    failures.append(f"{where}: {text}")
    print(f"FAIL {where}: {text}", flush=True)


def ci_text():
    """.ci/run and every script it calls, continuation lines joined, `sudo` dropped."""
    seen, todo, lines = set(), [".ci/run"], []
    while todo:
        name = todo.pop()
        if name in seen or not os.path.isfile(os.path.join(repo, name)):
            continue
        seen.add(name)
        text = open(os.path.join(repo, name), encoding="utf-8").read()
        text = re.sub(r"\\\n\s*", " ", text)
        todo += re.findall(r"(?:scripts|fuzz|bench)/[\w.-]+\.sh", text)
        lines += [normal(l) for l in text.splitlines()]
    return lines


def normal(line):
    line = re.sub(r"(^|[\s;(&|])\$?sudo\s+", r"\1", line)
    return " ".join(line.split())


def commands(lang, body):
    """The command lines of a block (continuations joined), comments dropped."""
    text = "\n".join(console_split(body)[0] if lang == "console" else body)
    text = re.sub(r"\\\n\s*", " ", text)
    out = []
    for l in text.splitlines():
        l = re.sub(r"\s+#.*$", "", l).strip()
        if l and not l.startswith("#"):
            out.append(l)
    return out


def console_split(body):
    """(commands, expected output per command) of a console block."""
    cmds, outs, i = [], [], 0
    while i < len(body):
        line = body[i]
        if line.startswith("$ "):
            cmd = line[2:]
            while cmd.endswith("\\") and i + 1 < len(body):
                i += 1
                cmd += "\n" + body[i]
            cmds.append(cmd)
            outs.append([])
        elif cmds:
            outs[-1].append(line.rstrip())
        i += 1
    return cmds, outs


def output_matches(expected, actual):
    pattern = "".join(r"(?:[^\n]*\n)*?" if e == "..." else re.escape(e) + r"\n" for e in expected)
    return re.fullmatch(pattern, "".join(a.rstrip() + "\n" for a in actual)) is not None


def run(where, script, timeout=1800):
    path = os.path.join(top, "block.sh")
    with open(path, "w", encoding="utf-8") as f:
        f.write("set -e -o pipefail\n" + script + "\n")
    start = time.time()
    try:
        p = subprocess.run(["bash", path], cwd=repo, env=env, stdin=subprocess.DEVNULL,
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=timeout)
        ok, log = p.returncode == 0, p.stdout
    except subprocess.TimeoutExpired as e:
        ok, log = False, f"(timed out after {timeout} s)\n{e.stdout or ''}"
    took = time.time() - start
    if verbose:
        print("    " + "\n    ".join(log.splitlines()), flush=True)
    if not ok:
        fail(where, "command failed; last output:\n    " + "\n    ".join(log.splitlines()[-25:]))
    return ok, took


ci = None
for doc in docs:
    lines = open(os.path.join(repo, doc), encoding="utf-8").read().splitlines()
    text = "\n".join(lines)
    for m in re.finditer(r"\]\(([^)#\s]+)(?:#[^)]*)?\)", text):
        target = m.group(1)
        if not re.match(r"[a-z]+:", target) and not os.path.exists(os.path.join(repo, os.path.dirname(doc), target)):
            fail(doc, f"link to a missing file: {target}")
    markers, i = [], 0
    while i < len(lines):
        line = lines[i]
        m = re.match(r"\s*<!--\s*doc-check:\s*(.*?)\s*-->\s*$", line)
        if m:
            markers.append(m.group(1))
            i += 1
            continue
        f = re.match(r"(\s*)```\s*([\w+-]*)\s*$", line)
        if not f:
            if line.strip():
                markers = []
            i += 1
            continue
        indent, lang = f.group(1), f.group(2).lower()
        start, body, i = i + 1, [], i + 1
        while i < len(lines) and not re.match(r"\s*```\s*$", lines[i]):
            body.append(lines[i][len(indent):] if lines[i].startswith(indent) else lines[i].lstrip())
            i += 1
        i += 1
        where = f"{doc}:{start}"
        kinds = {k.split()[0]: k[len(k.split()[0]):].strip() for k in markers if k.split()}
        markers = []
        if "file" in kinds:
            counts["file"] += 1
            want = open(os.path.join(repo, kinds["file"]), encoding="utf-8").read().rstrip("\n").splitlines()
            if want != body:
                fail(where, f"block differs from {kinds['file']}")
            else:
                print(f"same  {where} = {kinds['file']}", flush=True)
        if lang not in ("sh", "bash", "shell", "console"):
            continue
        script = "\n".join(console_split(body)[0]) if lang == "console" else "\n".join(body)
        if "skip" in kinds or "ci" in kinds:
            p = subprocess.run(["bash", "-n"], input=script, text=True, capture_output=True)
            if p.returncode:
                fail(where, "not valid bash: " + p.stderr.strip())
        if "ci" in kinds:
            ci = ci if ci is not None else ci_text()
            missing = [c for c in commands(lang, body) if not any(normal(c) in l for l in ci)]
            for c in missing:
                fail(where, f"marked as run by CI, but .ci/run does not run: {c}")
            counts["ci"] += 1
            print(f"ci    {where}" + ("" if missing else " (every command is in .ci/run)"), flush=True)
            continue
        if "skip" in kinds:
            counts["skipped"] += 1
            print(f"skip  {where} {kinds['skip']}", flush=True)
            continue
        for cmd in kinds.get("needs", "").split():
            if shutil.which(cmd, path=env["PATH"]) is None:
                sudo = "" if os.geteuid() == 0 else "sudo "
                subprocess.run(f"{sudo}apt-get install -y -qq {cmd} >/dev/null", shell=True, check=False)
        before = kinds.get("before", "")
        if lang == "console":
            cmds, outs = console_split(body)
            odir = os.path.join(top, "out")
            shutil.rmtree(odir, ignore_errors=True)
            os.makedirs(odir)
            script = before + "\n" + "\n".join(f"{{ {c}\n}} > {odir}/{k}" for k, c in enumerate(cmds))
            ok, took = run(where, script)
            if ok:
                for k, (c, want) in enumerate(zip(cmds, outs)):
                    got = open(f"{odir}/{k}", encoding="utf-8", errors="replace").read().splitlines()
                    if want and not output_matches(want, got):
                        ok = False
                        fail(where, f"`{c}` printed\n    " + "\n    ".join(got[:20]) +
                             "\n  instead of\n    " + "\n    ".join(want))
        else:
            ok, took = run(where, before + "\n" + script)
        counts["ran"] += 1
        print(f"{'ran ' if ok else 'FAIL'}  {where} ({lang}, {took:.1f} s)", flush=True)

print(f"doc check: {counts['ran']} blocks run, {counts['ci']} run by CI, {counts['skipped']} skipped, "
      f"{counts['file']} compared with files; {len(failures)} failures")
sys.exit(1 if failures else 0)
PY
[ "$status" -ne 0 ] || [ "${DOC_CHECK_KEEP:-0}" = 1 ] || rm -rf "$top"
exit "$status"
