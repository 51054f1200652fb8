#!/usr/bin/env python3
"""Makes files with the engine and has them checked and read by others.

Usage: run_strict.py MAKER MODULES DUMP

MAKER is the program jet_strict_files, MODULES the folder of Node packages with mdb-reader, DUMP the script that prints what it reads. With
JET_SAMPLES set, the real files there are checked as they are and changed copies of them too. Exit code 1 when anything is found.
"""
import glob
import multiprocessing
import os
import random
import re
import struct
import subprocess
import sys
import tempfile

import damages
import readers
import strict_check
import twins
from formats import Damaged

LARGEST_FOR_READERS = 20 << 20


def check(job):
    path, made, original, modules, script = job
    try:
        was = strict_check.as_it_was(original) if original else None
        allowed, before = strict_check.lenience(was) if was else (0, set())
        file = strict_check.run(path, made, allowed)
        file.findings = [finding for finding in file.findings if finding not in before]
        if path.endswith("-plain.mdb") and not file.findings:
            file.findings += twins.compare(was, file)
    except (Damaged, struct.error, IndexError) as error:
        return path, [str(error)], []
    there = []
    if not file.findings and os.path.getsize(path) <= LARGEST_FOR_READERS:
        # A limit of mdb-prop in a real file is one in its changed copies too.
        beyond = () if made else readers.beyond_mdb_prop(was or file)
        there = readers.compare(file, modules, script, beyond)
    return path, file.findings, there


def blind_spots(path, tries=100):
    """How many single changed bits of pages in use the checker does not see: it must not be silent for want of looking."""
    with open(path, "rb") as stream:
        content = stream.read()
    sound = strict_check.run(path, True)
    used, size = sorted(sound.owner), sound.format.page
    chance = random.Random(1)
    missed = 0
    with tempfile.NamedTemporaryFile(suffix=".mdb") as changed:
        for _ in range(tries):
            at = size * chance.choice(used) + chance.randrange(size)
            damaged = bytearray(content)
            damaged[at] ^= 1 << chance.randrange(8)
            changed.seek(0)
            changed.write(damaged)
            changed.flush()
            try:
                missed += not strict_check.run(changed.name, True).findings
            except (Damaged, struct.error, IndexError, KeyError, UnicodeDecodeError):
                pass
    return missed


def traps(target):
    """Whether a byte of any kind of structure can change unseen: 1 when it can, or when fewer kinds are there than the files were made with."""
    seen, missed = set(), []
    for name, wanted in (("made-mixed", None), ("made-97-mixed", None), ("made-97-huge", "page of bits"), ("made-97-huge", "reference")):
        passed, kinds = damages.unseen(os.path.join(target, name + ".mdb"), wanted)
        missed += [f"{name}: {what}" for what in passed]
        seen |= {(name, kind) for kind in kinds}
    for what in missed:
        print(f"damage that passes unnoticed: {what}")
    for kind in ("an entry of a jump table", "a jump that nothing reaches", "the prefix of a leaf with a prefix", "the child of an entry",
                 "the pointer of a piece", "the mark of a property map"):
        if ("made-97-mixed", kind) not in seen:
            missed.append(kind)
            print(f"made-97-mixed has no {kind}")
    print(f"{len(seen)} kinds of damage tried")
    return int(bool(missed))


def main(maker, modules, script):
    samples = []
    folder = os.environ.get("JET_SAMPLES")
    if folder:
        # A second folder beside the first holds files that other programs have left in unusual states.
        folders = [folder, os.path.join(os.path.dirname(os.path.abspath(folder)), "samples2")]
        found = sorted(path for place in folders for path in glob.glob(os.path.join(place, "**", "*.mdb"), recursive=True))
        samples = [path for path in found if struct.unpack("<I", open(path, "rb").read(24)[20:])[0] in (0, 1)]
    else:
        print("JET_SAMPLES is not set: real Access files are not there")
    with tempfile.TemporaryDirectory() as target:
        subprocess.run([maker, target, *samples], check=True)
        jobs = [(path, False, None, modules, script) for path in samples]
        for path in sorted(glob.glob(os.path.join(target, "*.mdb")), key=os.path.getsize, reverse=True):
            like = re.match(r"like-(\d+)", os.path.basename(path))
            jobs.append((path, not like, samples[int(like[1])] if like else None, modules, script))
        failed, compared = 0, {}
        with multiprocessing.Pool(min(2, os.cpu_count() or 1)) as pool:
            for path, findings, there in pool.imap_unordered(check, jobs):
                for reader in there:
                    compared[reader] = compared.get(reader, 0) + 1
                failed += bool(findings)
                for finding in findings[:20]:
                    print(f"{os.path.basename(path)}: {finding}")
        # Some bits carry only what any value may be: an amount, a date, a count of keys.
        for name in ("made-relations.mdb", "made-97-relations.mdb"):
            missed = blind_spots(os.path.join(target, name))
            print(f"{name}: {missed} of 100 changed bits pass unnoticed")
            failed += missed > 5
        failed += traps(target)
        print(f"{len(jobs)} files ({len(samples)} real ones), {failed} with findings; read alike by {compared or 'no other reader'}")
    return 1 if failed or len(jobs) < 20 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:4]))
