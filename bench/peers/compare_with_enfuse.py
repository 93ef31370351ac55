#!/usr/bin/env python3
"""Times whole runs of `kyfocus compose` and of Debian's `enfuse` on the same stacks, one after the other.

Needs only Python's own library. enfuse is a Debian package: scripts/install_dependencies peers
See README.md beside this file for what is counted.
"""
import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

IMAGE_ENDINGS = {".png", ".tif", ".tiff", ".jpg", ".jpeg", ".bmp"}
ENFUSE_OPTIONS = ["--exposure-weight=0", "--saturation-weight=0", "--contrast-weight=1", "--hard-mask"]


def fail(message, status=1):
    print(f"compare_with_enfuse: {message}", file=sys.stderr)
    sys.exit(status)


def natural_key(path):
    return [int(part) if part.isdigit() else part for part in re.split(r"(\d+)", path.name)]


class Stack:
    """The frames of a folder: its frame_* images, or all its images; and its truth/image, if it has one."""

    def __init__(self, folder, name=None):
        images = [p for p in Path(folder).iterdir() if p.suffix.lower() in IMAGE_ENDINGS]
        truths = list(Path(folder).glob("truth/image.*"))
        frames = [p for p in images if p.name.startswith("frame_")] or images
        if not frames:
            fail(f"{folder}: no frames")
        self.name = name or Path(folder).name
        self.frames = sorted(frames, key=natural_key)
        self.truth = truths[0] if truths else None
        self.ending = self.frames[0].suffix.lower()

    def read_once(self):
        """Brings the files into the page cache, so that no run pays for the disk."""
        for frame in self.frames:
            frame.read_bytes()


class Run:
    def __init__(self, command):
        """Runs the command to its end: wall and processor seconds and peak resident memory of this very process."""
        with tempfile.TemporaryFile() as errors:
            start = time.monotonic()
            process = os.posix_spawnp(
                command[0],
                [str(word) for word in command],
                os.environ,
                file_actions=[
                    (os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0),
                    (os.POSIX_SPAWN_DUP2, errors.fileno(), 2),
                ],
            )
            _, status, usage = os.wait4(process, 0)
            self.seconds = time.monotonic() - start
            self.processor_seconds = usage.ru_utime + usage.ru_stime
            self.peak_mib = usage.ru_maxrss / 1024
            if status != 0:
                errors.seek(0)
                text = errors.read().decode(errors="replace").strip()
                fail(f"{command[0]} ended with status {os.waitstatus_to_exitcode(status)}:\n{text[-2000:]}")


class Contender:
    def __init__(self, name, command, output):
        self.name = name
        self.command = command
        self.output = output
        self.runs = []

    def run(self):
        self.output.unlink(missing_ok=True)
        self.runs.append(Run(self.command))

    @property
    def seconds(self):
        return min(run.seconds for run in self.runs)

    @property
    def slowest(self):
        return max(run.seconds for run in self.runs)

    @property
    def processor_seconds(self):
        return min(run.processor_seconds for run in self.runs)

    @property
    def peak_mib(self):
        return max(run.peak_mib for run in self.runs)


def contenders(program, stack, folder):
    def output(name):
        return folder / f"{name}{stack.ending}"

    result = []
    for speed in ("full", "half"):
        out = output(f"kyfocus_{speed}")
        command = [program, "compose", *stack.frames, "-o", out, "--speed", speed, "--progress", "none"]
        result.append(Contender(f"kyfocus {speed}", command, out))
    out = output("enfuse")
    result.append(Contender("enfuse", ["enfuse", *ENFUSE_OPTIONS, "-o", out, *stack.frames], out))
    return result


def signal_to_noise(program, truth, image):
    """PSNR in dB as text; what hinders it otherwise."""
    done = subprocess.run([program, "compare", truth, image, "--json"], capture_output=True, text=True)
    if done.returncode != 0:
        return "misfit"
    value = json.loads(done.stdout)["psnr_db"]
    return "equal" if value is None else f"{value:.2f}"


def compare(program, stack, runs, folder):
    stack.read_once()
    candidates = contenders(program, stack, folder)
    for _ in range(runs):  # in turn, so that a change of the machine's load meets all of them
        for candidate in candidates:
            candidate.run()
    peer = candidates[-1]
    print(f"\n{stack.name}: {len(stack.frames)} frames, {stack.ending[1:]}")
    heads = ["frames/s", "best s", "worst s", "CPU s", "x enfuse", "peak MiB", "of enfuse", "PSNR dB"]
    print(" " * 16 + "".join(f"{head:>10}" for head in heads))
    for candidate in candidates:
        figures = [
            f"{len(stack.frames) / candidate.seconds:.2f}",
            f"{candidate.seconds:.2f}",
            f"{candidate.slowest:.2f}",
            f"{candidate.processor_seconds:.2f}",
            f"{peer.seconds / candidate.seconds:.2f}",
            f"{candidate.peak_mib:.0f}",
            f"{candidate.peak_mib / peer.peak_mib:.2f}",
            signal_to_noise(program, stack.truth, candidate.output) if stack.truth else "-",
        ]
        print(f"  {candidate.name:<14}" + "".join(f"{figure:>10}" for figure in figures), flush=True)


def synthetic(program, size, frames, form, folder):
    command = [program, "synth", "-o", folder, "--size", size, "--frames", str(frames), "--format", form]
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode != 0:
        fail(f"synthetic stack: {done.stderr.strip()}")
    return Stack(folder, f"synthetic {size} {form}")


def describe_machine():
    version = subprocess.run(["enfuse", "--version"], capture_output=True, text=True).stdout.splitlines()
    load = ", ".join(f"{value:.2f}" for value in os.getloadavg())
    print(f"{version[0] if version else 'enfuse'}; {len(os.sched_getaffinity(0))} processors; load {load}")


def parse_arguments():
    parser = argparse.ArgumentParser(description="Times kyfocus compose and enfuse on the same focus stacks.")
    parser.add_argument("stacks", nargs="*", metavar="FOLDER", help="folders with frames, such as real stacks")
    parser.add_argument("--program", default="build/release/bin/kyfocus", help="the kyfocus program (default %(default)s)")
    parser.add_argument("--runs", type=int, default=3, help="runs of each; the best counts (default %(default)s)")
    parser.add_argument("--size", default="4000x3000", help="size of the synthetic frames (default %(default)s)")
    parser.add_argument("--frames", type=int, default=20, help="frames of the synthetic stacks (default %(default)s)")
    parser.add_argument("--no-synthetic", action="store_true", help="the given folders only")
    parser.add_argument("--keep", metavar="FOLDER", help="keep the composites and synthetic stacks in this new folder")
    parser.add_argument("--temp", metavar="FOLDER", help="where temporary files go (default: the system's place)")
    arguments = parser.parse_args()
    if arguments.runs < 1 or arguments.frames < 1:
        parser.error("--runs and --frames count from 1")
    return arguments


def compare_all(arguments, work):
    describe_machine()
    stacks = [Stack(folder) for folder in arguments.stacks]
    for stack in stacks:
        out = work / "out" / stack.name
        out.mkdir(parents=True)
        compare(arguments.program, stack, arguments.runs, out)
    for form in [] if arguments.no_synthetic else ["png", "tif"]:
        folder = work / f"synthetic_{form}"
        stack = synthetic(arguments.program, arguments.size, arguments.frames, form, folder)
        out = work / "out" / f"synthetic_{form}"
        out.mkdir(parents=True)
        compare(arguments.program, stack, arguments.runs, out)
        if not arguments.keep:
            shutil.rmtree(folder)


def main():
    arguments = parse_arguments()
    if shutil.which("enfuse") is None:
        fail("enfuse is missing; scripts/install_dependencies peers installs it", 2)
    if shutil.which(arguments.program) is None:
        fail(f"{arguments.program} is missing; build it or name it with --program", 2)
    if arguments.keep:
        work = Path(arguments.keep)
        work.mkdir(parents=True)
        compare_all(arguments, work)
    else:
        with tempfile.TemporaryDirectory(prefix="kyfocus-peers-", dir=arguments.temp) as work:
            compare_all(arguments, Path(work))


if __name__ == "__main__":
    main()
