#!/usr/bin/python3
"""Plant known faults one at a time and check that the test suite fails.

Each fault in faults.py replaces one exact line fragment of one source file.
For every fault the file is edited, the build directory is rebuilt
incrementally, the suite runs (the Package.* tests, which build whole
consumer projects, are left out) and the file gets its original bytes back,
also on Ctrl-C, SIGTERM or an exception. A fault is "caught" when at least
one test fails. Run on demand; this is not part of CTest or CI.

    tests/mutation/mutate.py --out result.md
    tests/mutation/mutate.py --only hull,vorn
    tests/mutation/mutate.py --ids vec3-cross-sign,vorn-unknown-option-exit
    tests/mutation/mutate.py --list
"""

import argparse
import json
import os
import re
import signal
import subprocess
import sys
import time
from pathlib import Path

from faults import FAULTS

SCRIPT_DIR = Path(__file__).resolve().parent
EXCLUDED_TESTS = r"^Package\."
CTEST_TIMEOUT_SECONDS = "120"
# The original bytes of the file being mutated are kept here while a fault is
# planted, so that a run killed outright is undone by the next one.
JOURNAL_NAME = "mutation-journal.json"


class Refused(Exception):
    """A fault whose original text is not exactly once in its file."""


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--repo", type=Path, help="repository to mutate (default: the one holding this script)")
    parser.add_argument("--build-dir", type=Path, help="build directory (default: REPO/build/mutation)")
    selection = parser.add_mutually_exclusive_group()
    subsystems = ", ".join(dict.fromkeys(fault["subsystem"] for fault in FAULTS))
    selection.add_argument("--only", help=f"comma-separated subsystems to run ({subsystems})")
    selection.add_argument("--ids", help="comma-separated fault ids to run")
    parser.add_argument("--list", action="store_true", help="list the selected faults and check them, run nothing")
    parser.add_argument("--out", type=Path, help="also write the result table to this file")
    args = parser.parse_args()
    if args.repo is None:
        args.repo = Path(git_output(SCRIPT_DIR, "rev-parse", "--show-toplevel"))
    args.repo = args.repo.resolve()
    args.build_dir = (args.build_dir or args.repo / "build" / "mutation").resolve()
    return args


def git_output(cwd, *arguments):
    return subprocess.run(["git", *arguments], cwd=cwd, check=True, capture_output=True, text=True).stdout.strip()


def select_faults(args):
    key, wanted = ("subsystem", args.only) if args.only else ("id", args.ids)
    if not wanted:
        return list(FAULTS)
    wanted = set(wanted.split(","))
    unknown = wanted - {fault[key] for fault in FAULTS}
    if unknown:
        sys.exit(f"mutate.py: unknown {key}: {', '.join(sorted(unknown))}")
    return [fault for fault in FAULTS if fault[key] in wanted]


def check_fault(repo, fault):
    """The file's text with the fault planted; raises Refused when it cannot be."""
    original, replacement = fault["original"], fault["replacement"]
    if "\n" in original or "\n" in replacement or original == replacement:
        raise Refused("a fault is one changed fragment of one line")
    path = repo / fault["file"]
    if not path.is_file():
        raise Refused(f"{fault['file']} does not exist")
    text = path.read_text()
    occurrences = text.count(original)
    if occurrences != 1:
        raise Refused(f"original text occurs {occurrences} times in {fault['file']}")
    return text.replace(original, replacement)


def check_unique_ids():
    ids = [fault["id"] for fault in FAULTS]
    if len(set(ids)) != len(ids):
        sys.exit("mutate.py: a fault id is listed twice")


def restore_from_journal(build_dir):
    journal = build_dir / JOURNAL_NAME
    if journal.exists():
        entry = json.loads(journal.read_text())
        Path(entry["path"]).write_bytes(entry["original"].encode("latin-1"))
        journal.unlink()
        print(f"mutate.py: restored {entry['path']} left mutated by an interrupted run", file=sys.stderr)


def run(command, log):
    """Runs a command with its output in the log file. The command gets a
    process group of its own, ended as a whole when this script is
    interrupted: a compiler left running could otherwise write an object
    file of the mutated source after the source has been restored."""
    with open(log, "w") as out:
        process = subprocess.Popen(command, stdout=out, stderr=subprocess.STDOUT, start_new_session=True)
        try:
            return process.wait()
        except BaseException:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            raise


def configure(repo, build_dir):
    if (build_dir / "CMakeCache.txt").exists():
        return
    # The benchmarks are no tests: building them again for every fault of
    # the library would only cost time.
    command = ["cmake", "--preset", "default", "-S", str(repo), "-B", str(build_dir), "-DVORN_BUILD_BENCHMARKS=OFF"]
    if subprocess.run(command, cwd=repo).returncode != 0:
        sys.exit("mutate.py: configuring the build directory failed")


def build(build_dir, log):
    return run(["cmake", "--build", str(build_dir)], log) == 0


def run_suite(build_dir, log):
    """The names of the failed tests, empty when the suite passes."""
    command = ["ctest", "--test-dir", str(build_dir), "-j2", "--timeout", CTEST_TIMEOUT_SECONDS, "-E", EXCLUDED_TESTS]
    status = run(command, log)
    text = Path(log).read_text(errors="replace")
    failed = re.findall(r"^\s*\d+ - (\S+) \(", text, re.MULTILINE)
    if status != 0 and not failed:
        failed = ["(ctest failed without naming a test)"]
    return failed


def caught_text(failed, shown=3):
    names = ", ".join(failed[:shown]) + (", ..." if len(failed) > shown else "")
    return f"caught ({len(failed)}: {names})"


def try_fault(repo, build_dir, fault, log_dir):
    """One of "caught (N: tests)", "missed", "did not build", "refused: ..."."""
    try:
        mutated = check_fault(repo, fault)
    except Refused as refusal:
        return f"refused: {refusal}"
    path = repo / fault["file"]
    original = path.read_bytes()
    journal = build_dir / JOURNAL_NAME
    journal.write_text(json.dumps({"path": str(path), "original": original.decode("latin-1")}))
    try:
        path.write_text(mutated)
        if not build(build_dir, log_dir / f"{fault['id']}.build.log"):
            return "did not build"
        failed = run_suite(build_dir, log_dir / f"{fault['id']}.test.log")
        return caught_text(failed) if failed else "missed"
    finally:
        # Bytes, not a git checkout: uncommitted work in the file survives.
        # The new mtime makes the next build compile the file again.
        path.write_bytes(original)
        journal.unlink()


def table_row(cells):
    return "| " + " | ".join(cell.replace("|", "\\|") for cell in cells) + " |"


def list_faults(repo, faults):
    print(table_row(["id", "subsystem", "kind", "fault", "file", "check"]))
    print(table_row(["---"] * 6))
    refused = 0
    for fault in faults:
        try:
            check_fault(repo, fault)
            check = "ok"
        except Refused as refusal:
            check, refused = f"refused: {refusal}", refused + 1
        print(table_row([fault["id"], fault["subsystem"], fault["kind"], fault["description"], fault["file"], check]))
    print(f"\n{len(faults)} faults, {refused} refused")
    return 1 if refused else 0


def stop_on_sigterm(signum, frame):
    raise KeyboardInterrupt


def main():
    args = parse_arguments()
    check_unique_ids()
    faults = select_faults(args)
    if args.list:
        return list_faults(args.repo, faults)

    signal.signal(signal.SIGTERM, stop_on_sigterm)
    configure(args.repo, args.build_dir)
    restore_from_journal(args.build_dir)
    log_dir = args.build_dir / "mutation-logs"
    log_dir.mkdir(exist_ok=True)

    started = time.monotonic()
    # Failures of the unmutated suite would be counted as catches.
    if not build(args.build_dir, log_dir / "baseline.build.log"):
        sys.exit(f"mutate.py: the unmutated build fails, see {log_dir / 'baseline.build.log'}")
    baseline_failures = run_suite(args.build_dir, log_dir / "baseline.test.log")
    if baseline_failures:
        sys.exit(f"mutate.py: the unmutated suite fails: {', '.join(baseline_failures)}")

    rows = []
    for number, fault in enumerate(faults, 1):
        fault_started = time.monotonic()
        outcome = try_fault(args.repo, args.build_dir, fault, log_dir)
        rows.append((fault, outcome))
        print(f"[{number}/{len(faults)}] {fault['id']}: {outcome} ({time.monotonic() - fault_started:.0f} s)",
              file=sys.stderr, flush=True)
    # Leave the build directory matching the restored sources.
    build(args.build_dir, log_dir / "final.build.log")
    elapsed = time.monotonic() - started

    lines = [table_row(["id", "subsystem", "fault", "caught"]), table_row(["---"] * 4)]
    lines += [table_row([fault["id"], fault["subsystem"], fault["description"], outcome]) for fault, outcome in rows]
    counts = {kind: sum(outcome.startswith(kind) for _, outcome in rows)
              for kind in ("caught", "missed", "did not build", "refused")}
    lines.append("")
    lines.append(f"{counts['caught']} of {len(rows)} faults caught, {counts['missed']} missed, "
                 f"{counts['did not build']} did not build, {counts['refused']} refused; "
                 f"{elapsed / 60:.1f} minutes with the unmutated baseline.")
    report = "\n".join(lines) + "\n"
    sys.stdout.write(report)
    if args.out:
        args.out.write_text(report)
    return 0 if counts["did not build"] == 0 and counts["refused"] == 0 else 1


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit("mutate.py: interrupted; the mutated file has its original bytes back")
