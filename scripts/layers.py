#!/usr/bin/env python3
"""Checks that includes follow the order of the folders, and that no headers include each other in a circle."""

import pathlib
import re
import sys

# A folder may include from those above it and never from one below.
ORDER = [
    "platform",
    "platform/fft",
    "platform/codec",
    "platform/hardware",
    "formats/streams",
    "display/summary",
    "document/clips",
    "measurement",
    "formats/ledger",
    "formats/tags",
    "formats/tagediting",
    "formats/comments",
    "formats/decoding",
    "formats/saving",
    "formats/seams",
    "formats/file",
    "formats/chunks",
    "formats/wave",
    "formats/aiff",
    "formats/caf",
    "formats/plain",
    "formats/ogg",
    "formats/flac",
    "formats/vorbis",
    "formats/mpegframes",
    "formats/mpeg",
    "formats/mpeg4",
    "formats",
    "Classes/CoreAudio",
    "document",
    "effects/frame",
    "effects/presets",
    "effects/gain",
    "effects/fades",
    "effects/order",
    "effects/delay",
    "effects/filters",
    "effects/dynamics",
    "effects/reverb",
    "effects/stretch",
    "effects/generators",
    "effects/added",
    "effects",
    "display",
    "controllers",
    "scripting",
    "app/desktop",
    "app/look",
    "app/preferences",
    "app/progress",
    "app/waveform",
    "app/transport",
    "app/sheets",
    "app/analysis",
    "app/effects",
    "app/recording",
    "app/recovery",
    "app/menus",
    "app/window",
    "app/shell",
    "app",
    "cli/terminal",
    "cli/subcommands",
    "cli",
]
# The two programs stand side by side: neither includes the other.
FORBIDDEN = {("cli", "app")}

SRC = pathlib.Path(__file__).resolve().parent.parent / "src"
INCLUDE = re.compile(r'^\s*#include "([^"]+)"')


def folder_of(path):
    """The layer of a path below src/, or None."""
    parts = pathlib.PurePosixPath(path).parent
    while str(parts) != ".":
        if str(parts) in ORDER:
            return str(parts)
        parts = parts.parent
    return None


def top_of(layer):
    return layer.split("/")[0]


def find_cycle(graph):
    state = {}

    def visit(node, trail):
        state[node] = "open"
        for target in sorted(graph.get(node, ())):
            if state.get(target) == "open":
                return trail[trail.index(target):] + [target] if target in trail else [node, target]
            if target not in state:
                cycle = visit(target, trail + [target])
                if cycle:
                    return cycle
        state[node] = "done"
        return None

    for node in sorted(graph):
        if node not in state:
            cycle = visit(node, [node])
            if cycle:
                return cycle
    return None


def main():
    problems = []
    headers = {}
    for path in sorted(SRC.rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        name = path.relative_to(SRC).as_posix()
        layer = folder_of(name)
        if layer is None:
            problems.append(f"src/{name}: its folder is not in the order")
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            target = match.group(1)
            target_layer = folder_of(target)
            if target_layer is None:
                problems.append(f"src/{name}:{number}: write \"{target}\" from src/ on")
            elif ORDER.index(target_layer) > ORDER.index(layer) or (top_of(layer), top_of(target_layer)) in FORBIDDEN:
                problems.append(f"src/{name}:{number}: {layer} must not include {target_layer} ({target})")
            elif not (SRC / target).exists():
                problems.append(f"src/{name}:{number}: there is no {target}")
            if path.suffix == ".h":
                headers.setdefault(name, set()).add(target)
    cycle = find_cycle(headers)
    if cycle:
        problems.append("headers in a circle: " + " -> ".join(cycle))
    for problem in problems:
        print(problem, file=sys.stderr)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
