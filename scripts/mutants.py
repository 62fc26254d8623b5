#!/usr/bin/env python3
"""Mutation check: how many small, seeded faults in the module and the framework does the suite catch?

Makes N mutants of modules/**/*.cpp and sdk/src/*.cpp (one change each: flip a comparison, shift a
bound by one, negate a condition, drop a call, swap true and false, return early), builds each
incrementally in a copy of the tree, runs the normal CTest suite with a time bound, and prints how
many were killed, survived or timed out, with the survivors listed. Mutants that do not compile are
replaced by others and not counted.

    scripts/mutants.py [--count 60] [--seed 1] [--work /tmp/kelo-mutants] [--ctest-args "-E Audio"]
    scripts/mutants.py --replay /tmp/kelo-mutants/mutants.json     # the same mutants on today's tree

Every run writes the mutants it made to <work>/mutants.json. --replay makes those same mutants again
in today's tree (each found by its line's text, nearest to where it was), so a suite can be compared
with an earlier one although the sources moved; a mutant whose line is gone is listed and not counted.

The copy is taken from the committed HEAD, so uncommitted changes are not measured. A mutant counts
as killed when the suite fails, as timed out when it runs longer than three times the clean suite.
"""
import argparse
import json
import os
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SOURCES = ["modules", "sdk/src"]
# Lines whose change the suite cannot see: logging, and the thread checks (a test never calls from the
# wrong thread on purpose outside the one death test).
SKIP = re.compile(r"^\s*(//|#|\*|/\*)|KELO_LOG|KELO_TRACE|KELO_ASSERT|isEnabledFor|Q_UNUSED|static_assert|qDebug|qWarning")

COMPARISONS = {" < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ", " != ": " == "}


def outside_strings(line, at):
    """True when position at of line is not inside a string or character literal."""
    quote = None
    i = 0
    while i < at:
        c = line[i]
        if quote:
            if c == "\\":
                i += 1
            elif c == quote:
                quote = None
        elif c in "\"'":
            quote = c
        i += 1
    return quote is None


def closing_paren(line, opening):
    depth = 0
    for i in range(opening, len(line)):
        if line[i] == "(":
            depth += 1
        elif line[i] == ")":
            depth -= 1
            if depth == 0:
                return i
    return -1


def sites(path, lines):
    """Every (kind, line index, new line) mutation of one file."""
    found = []
    for n, line in enumerate(lines):
        if SKIP.search(line) or not line.strip():
            continue
        for old, new in COMPARISONS.items():
            for m in re.finditer(re.escape(old), line):
                if outside_strings(line, m.start()):
                    found.append(("flip comparison", n, line[: m.start()] + new + line[m.end():]))
        for m in re.finditer(r" ([+-]) 1\b", line):
            if outside_strings(line, m.start()):
                found.append(("shift bound", n, line[: m.start()] + line[m.end():]))
        for m in re.finditer(r"\b(true|false)\b", line):
            if outside_strings(line, m.start()):
                swapped = "false" if m.group(1) == "true" else "true"
                found.append(("swap true/false", n, line[: m.start()] + swapped + line[m.end():]))
        m = re.match(r"(\s*(?:\} else )?if \()", line)
        if m:
            opening = m.end() - 1
            closing = closing_paren(line, opening)
            if closing > 0:
                cond = line[opening + 1: closing]
                found.append(("negate condition", n, line[: opening + 1] + "!(" + cond + ")" + line[closing:]))
                following = lines[n + 1] if n + 1 < len(lines) else ""
                if re.match(r"\s*return\b", following):
                    found.append(("return early", n, line[: opening + 1] + "true" + line[closing:]))
        if re.match(r"\s*(emit )?[A-Za-z_][\w:>.-]*(\.|->|::)?[\w]*\(.*\);\s*$", line) and "=" not in line \
                and not re.match(r"\s*(return|delete|if|while|for|switch)\b", line):
            indent = line[: len(line) - len(line.lstrip())]
            found.append(("drop call", n, indent + ";\n"))
    return [(path, kind, n, new) for kind, n, new in found]


def all_sites(tree):
    result = []
    for folder in SOURCES:
        for path in sorted((tree / folder).rglob("*.cpp")):
            lines = path.read_text().splitlines(keepends=True)
            result += sites(path.relative_to(tree), lines)
    return result


def replayed_sites(tree, saved):
    """The saved mutants, found again in tree by their line's text; the lost ones as a list."""
    found, lost = [], []
    everywhere = [path.relative_to(tree) for folder in SOURCES for path in sorted((tree / folder).rglob("*.cpp"))]
    for m in json.loads(Path(saved).read_text()):
        # Its own file first; code that moved to another file is followed there.
        for path in [Path(m["path"])] + [p for p in everywhere if p != Path(m["path"])]:
            source = tree / path
            lines = source.read_text().splitlines(keepends=True) if source.exists() else []
            # The same line, or the same text indented otherwise (moved into another block).
            matches = [n for n, line in enumerate(lines) if line == m["old"]] or \
                [n for n, line in enumerate(lines) if line.strip() == m["old"].strip()]
            if matches:
                n = min(matches, key=lambda k: abs(k - (m["line"] - 1)))
                indent = lines[n][: len(lines[n]) - len(lines[n].lstrip())]
                found.append((path, m["kind"], n, indent + m["new"].strip() + "\n"))
                break
        else:
            lost.append(f"{m['path']}:{m['line']} {m['old'].strip()}")
    return found, lost


def limit_file_size():
    """No file written by a build or a mutant's tests grows past 2 GiB (the disk is shared)."""
    resource.setrlimit(resource.RLIMIT_FSIZE, (2 << 30, 2 << 30))


def run(command, cwd, timeout=None, log=None):
    """Exit code and seconds; None for the code when the time bound ended it. On the bound the whole
    process group goes, tests included: a mutant may loop forever writing a file."""
    start = time.monotonic()
    process = subprocess.Popen(command, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                               start_new_session=True, preexec_fn=limit_file_size)
    try:
        output, _ = process.communicate(timeout=timeout)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.communicate()
        return None, time.monotonic() - start
    finally:
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
    if log:
        Path(log).write_text(output)
    return process.returncode, time.monotonic() - start


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=60)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--work", default="/tmp/kelo-mutants")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 2)
    parser.add_argument("--ctest-args", default="", help="more ctest options, e.g. -E Audio")
    parser.add_argument("--replay", help="a mutants.json of an earlier run: make exactly those mutants")
    args = parser.parse_args()

    work = Path(args.work)
    tree = work / "tree"
    build = work / "build"
    if tree.exists():
        shutil.rmtree(tree)
    tree.mkdir(parents=True)
    archive = subprocess.run(["git", "archive", "HEAD"], cwd=ROOT, stdout=subprocess.PIPE, check=True).stdout
    subprocess.run(["tar", "-x", "-C", str(tree)], input=archive, check=True)

    env_build = ["cmake", "--build", str(build), "-j", str(args.jobs)]
    ctest = ["ctest", "--test-dir", str(build), "-j", str(args.jobs), "--stop-on-failure", "--timeout", "100"]
    ctest += args.ctest_args.split()
    subprocess.run(["cmake", "-S", str(tree), "-B", str(build), "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                    "-DKELO_BENCH=OFF"], check=True, stdout=subprocess.DEVNULL)
    print("building the clean tree ...", flush=True)
    if run(env_build, tree, log=work / "build.log")[0] != 0:
        sys.exit(f"the clean tree does not build; see {work}/build.log")
    code, clean_seconds = run(ctest, tree, log=work / "clean-suite.log")
    if code != 0:
        sys.exit(f"the clean suite fails; see {work}/clean-suite.log")
    bound = max(120.0, 3 * clean_seconds)
    print(f"clean suite: {clean_seconds:.0f} s; a mutant's suite is stopped after {bound:.0f} s", flush=True)

    lost = []
    if args.replay:
        saved = Path(args.replay).read_bytes()  # before the work folder is written: it may live there
        replay = work / "replayed.json"
        replay.write_bytes(saved)
        candidates, lost = replayed_sites(tree, replay)
        args.count = len(candidates)
        print(f"replaying {len(candidates)} mutants ({len(lost)} lines are gone)", flush=True)
    else:
        candidates = all_sites(tree)
        random.Random(args.seed).shuffle(candidates)
        print(f"{len(candidates)} mutation sites; seed {args.seed}", flush=True)
    made = []
    results = {"killed": [], "survived": [], "timed out": []}
    stillborn = 0
    for path, kind, n, new in candidates:
        if sum(len(v) for v in results.values()) >= args.count:
            break
        source = tree / path
        original = source.read_text()
        lines = original.splitlines(keepends=True)
        old = lines[n]
        lines[n] = new
        source.write_text("".join(lines))
        try:
            if run(env_build, tree)[0] != 0:
                stillborn += 1
                continue
            code, seconds = run(ctest, tree, timeout=bound)
        finally:
            source.write_text(original)
        verdict = "timed out" if code is None else "killed" if code != 0 else "survived"
        what = f"{path}:{n + 1} {kind}: {old.strip()}  ->  {new.strip()}"
        results[verdict].append(what)
        made.append({"path": str(path), "line": n + 1, "kind": kind, "old": old, "new": new, "verdict": verdict})
        (work / "mutants.json").write_text(json.dumps(made, indent=1))
        print(f"[{sum(len(v) for v in results.values()):3}] {verdict:9} {seconds:5.0f} s  {what}", flush=True)
    run(env_build, tree)  # leaves the copy built as committed

    total = sum(len(v) for v in results.values())
    killed = len(results["killed"]) + len(results["timed out"])
    print(f"\nmutants: {total} (seed {args.seed}; {stillborn} more did not compile and were replaced)")
    print(f"killed: {len(results['killed'])}  timed out: {len(results['timed out'])}  survived: {len(results['survived'])}")
    if total:
        print(f"kill rate (timed out counts as killed): {100.0 * killed / total:.1f} %")
    for what in results["survived"]:
        print(f"  survived: {what}")
    for what in lost:
        print(f"  gone: {what}")


if __name__ == "__main__":
    main()
