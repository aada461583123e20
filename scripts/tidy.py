#!/usr/bin/env python3
"""clang-tidy over many files, which skips what it has read before.

    scripts/tidy.py [--fresh] FILE...

That a file passed is kept under what decides about it: its text and that of every header it includes, its compile
command, the configuration and the version of clang-tidy. So a change is read again with everything that includes it,
another checkout finds what this one read, and a machine that has seen nothing reads all. Paths are relative to the
checkout, or absolute for the headers of libraries.

Most of the time goes into the headers, so several files are read as one: what finds nothing has passed, and where
something is found, or names of two files clash, each half is read again, down to the single file.
"""

import argparse
import concurrent.futures
import functools
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time
import zlib

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "tidy"
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "velloria" / "lint"
# What passed last in other branches and checkouts is worth keeping, too.
PASSES_PER_FILE = 4
FILES_PER_BATCH = 8
BYTES_PER_BATCH = 100_000
# What a file declares for itself alone: its unnamed namespaces, and the names that begin a declaration there.
UNNAMED = re.compile(r"^namespace\n\{\n(.*?)^\}", re.MULTILINE | re.DOTALL)
OWN_NAME = re.compile(r"^[A-Za-z].*?\b(\w+)\s*(?:[({=\[;]|:(?!:)|$)", re.MULTILINE)
# With -H the compiler names each header that it opens, with a point for each level.
HEADER = re.compile(r"^\.+ (.+)$")


def digest(*parts):
    result = hashlib.sha256()
    for part in parts:
        result.update(part if isinstance(part, bytes) else part.encode())
        result.update(b"\0")
    return result.hexdigest()


@functools.lru_cache(maxsize=None)
def content(path):
    """The digest of a file by its name from the root of the checkout on; "absent" where there is none."""
    try:
        return digest((ROOT / path).read_bytes())
    except OSError:
        return "absent"


def relative(path, folder):
    path = os.path.normpath(os.path.join(folder, path))
    return os.path.relpath(path, ROOT) if path.startswith(f"{ROOT}{os.sep}") else path


def configuration(file):
    """The configuration that decides about a file: its own folder's and all those above."""
    return [(folder / ".clang-tidy").read_text()
            for folder in (ROOT / file).parents
            if folder.is_relative_to(ROOT) and (folder / ".clang-tidy").exists()]


def own_names(file):
    return {name for region in UNNAMED.findall((ROOT / file).read_text()) for name in OWN_NAME.findall(region)}


class Batch:
    """Files of one command and configuration that are read as one."""

    def __init__(self, files=()):
        self.files = list(files)
        self.names = set()
        self.num_bytes = 0

    def takes(self, file, names):
        """Adds the file where there is room and none of its own names is another one's."""
        num_bytes = (ROOT / file).stat().st_size
        if self.files and (len(self.files) >= FILES_PER_BATCH or self.num_bytes + num_bytes > BYTES_PER_BATCH
                           or names & self.names):
            return False
        self.files.append(file)
        self.names |= names
        self.num_bytes += num_bytes
        return True

    def halves(self):
        middle = len(self.files) // 2
        return Batch(self.files[:middle]), Batch(self.files[middle:])


class Tidy:
    def __init__(self, fresh):
        self.fresh = fresh
        self.version = subprocess.run(["clang-tidy", "--version"], check=True, capture_output=True, text=True).stdout
        commands = json.loads((BUILD / "compile_commands.json").read_text())
        self.commands = {}
        for entry in commands:
            self.commands.setdefault(relative(entry["file"], entry["directory"]), []).append(entry)

    def folder_of(self, file):
        """Where the passes of a file of this text, command and configuration are."""
        commands = [entry["command"].replace(str(ROOT), ".") for entry in self.commands[file]]
        return CACHE / digest(self.version, *configuration(file), *commands, file, content(file))

    @staticmethod
    def pass_of(headers):
        return digest(*(part for header in headers for part in (header, content(header))))

    def has_passed(self, file):
        folder = self.folder_of(file)
        if self.fresh or not folder.is_dir():
            return False
        for kept in folder.iterdir():
            try:
                headers = zlib.decompress(kept.read_bytes()).decode().split("\n")
            except (OSError, zlib.error):
                continue
            if self.pass_of(headers) == kept.name:
                os.utime(kept)
                return True
        return False

    def keep_pass(self, file, headers):
        folder = self.folder_of(file)
        folder.mkdir(parents=True, exist_ok=True)
        temporary = folder / f"new-{os.getpid()}"
        temporary.write_bytes(zlib.compress("\n".join(headers).encode()))
        temporary.rename(folder / self.pass_of(headers))
        passes = sorted(folder.iterdir(), key=lambda kept: kept.stat().st_mtime)
        for old in passes[:-PASSES_PER_FILE]:
            old.unlink(missing_ok=True)

    def flags_of(self, file):
        """The compile command without the compiler and the file's own names."""
        return re.sub(r" -o \S+ -c \S+", "", self.commands[file][0]["command"]).split()[1:]

    def batches(self, files):
        """The files in few batches; each is with others of its command and configuration."""
        groups = {}
        for file in files:
            names = own_names(file)
            batches = groups.setdefault((tuple(self.flags_of(file)), *configuration(file)), [])
            if not any(batch.takes(file, names) for batch in batches):
                batches.append(Batch())
                batches[-1].takes(file, names)
        return [batch for batches in groups.values() for batch in batches]

    def command(self, batch):
        if len(batch.files) == 1:
            return [batch.files[0], "-p", BUILD, "--extra-arg=-H"]
        # Where the configuration of the files is found, too.
        configured = next(folder for folder in (ROOT / batch.files[0]).parents if (folder / ".clang-tidy").exists())
        folder = BUILD / "batches" / configured.relative_to(ROOT)
        folder.mkdir(parents=True, exist_ok=True)
        if configured != ROOT:
            shutil.copy(configured / ".clang-tidy", folder)
        joined = folder / f"{digest(*batch.files)[:16]}.cpp"
        joined.write_text("".join(f'#include "{ROOT / file}" // NOLINT(bugprone-suspicious-include)\n'
                                  for file in batch.files))
        return [joined, "--", *self.flags_of(batch.files[0]), "-H"]

    def read(self, batch):
        """The files in which clang-tidy finds something, which is printed."""
        begin = time.time()
        run = subprocess.run(["clang-tidy", "--quiet", "--warnings-as-errors=*", *self.command(batch)],
                             cwd=ROOT, capture_output=True, text=True, check=False)
        lines = run.stderr.splitlines()
        if run.returncode != 0 or run.stdout.strip():
            if len(batch.files) > 1:
                return [file for half in batch.halves() for file in self.read(half)]
            noise = re.compile(r"^\.+ |warnings? generated|warnings? treated as error")
            print(run.stdout, *(line for line in lines if not noise.search(line)), sep="\n", file=sys.stderr, flush=True)
            return batch.files
        directory = self.commands[batch.files[0]][0]["directory"]
        found = {relative(match.group(1), directory) for match in map(HEADER.match, lines) if match}
        headers = sorted(found - set(batch.files))
        # What somebody wrote meanwhile may not be what was read.
        if all((ROOT / header).stat().st_mtime < begin for header in [*batch.files, *headers]):
            for file in batch.files:
                self.keep_pass(file, headers)
        return []


def remove_old(days=60):
    """Texts that nobody has had for a while do not come back."""
    for folder in CACHE.iterdir() if CACHE.is_dir() else ():
        kept = list(folder.iterdir())
        newest = max((one.stat().st_mtime for one in kept), default=0)
        if newest < time.time() - days * 86400:
            shutil.rmtree(folder, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--fresh", action="store_true", help="read every file, whether it passed before or not")
    parser.add_argument("file", nargs="+")
    arguments = parser.parse_args()
    tidy = Tidy(arguments.fresh)
    files = [relative(file, os.getcwd()) for file in arguments.file]
    unknown = [file for file in files if file not in tidy.commands]
    if unknown:
        sys.exit(f"no compile command for {', '.join(unknown)}")
    unread = [file for file in files if not tidy.has_passed(file)]
    # The long ones first, so that no core waits for one at the end.
    batches = sorted(tidy.batches(unread), key=lambda batch: -batch.num_bytes)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        wrong = [file for files in pool.map(tidy.read, batches) for file in files]
    remove_old()
    print(f"lint: {len(files)} files, {len(unread)} of them read now, {len(wrong)} with findings")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
