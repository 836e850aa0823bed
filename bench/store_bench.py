#!/usr/bin/env python3
"""The store on big domains against Python's plistlib, timed in the same run.

Usage: store_bench.py --bin FOLDER [--reps N] --out FILE.json

Makes domains of 10,000 and 100,000 keys with plistlib (binary, as another program would leave
them), then times, N times each:
  StoreRead_Tool/K     bkgcolors-defaults read D KEY (one value of a K-key domain)
  StoreWrite_Tool/K    bkgcolors-defaults write D KEY -int 1 (on a fresh copy each time)
  StoreLoad_Plistlib/K       plistlib.load of the same file
  StoreLoadDump_Plistlib/K   plistlib.load and plistlib.dumps of it
Times are CPU seconds (user + system) of the tool's process, and of plistlib's work in this
process, so that other work on the machine adds as little as it can (needs /usr/bin/time). Each tool run also reports
its peak resident memory and the file's size. The results are Google Benchmark JSON, so that
scripts/bench-report reads them with the rest.
"""
import argparse
import json
import os
import plistlib
import shutil
import subprocess
import sys
import tempfile
import time

SIZES = (10_000, 100_000)
DOMAIN = "org.bench.big"


def make_domain(folder, keys):
    values = {f"key{i:06d}": (f"value number {i}" if i % 3 else i) for i in range(keys)}
    path = os.path.join(folder, f"{DOMAIN}.{keys}.plist")
    with open(path, "wb") as f:
        plistlib.dump(values, f, fmt=plistlib.FMT_BINARY)
    return path


def run_tool(tool, config, args):
    """CPU seconds and peak resident bytes of one run of the tool.

    The tool is started by /usr/bin/time, not by this process: a child's peak memory counts the
    memory of the process it was forked from, which here holds whole domains."""
    env = dict(os.environ, XDG_CONFIG_HOME=config)
    env.pop("BKGCOLORS_DEFAULTS", None)
    peak_file = os.path.join(config, "..", "peak")
    child = subprocess.Popen(["/usr/bin/time", "-f", "%M", "-o", peak_file, tool, *args], env=env,
                             stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit(f"store_bench: {' '.join(args)} failed")
    with open(peak_file, encoding="utf-8") as f:
        peak_kib = int(f.read().split()[-1])
    return usage.ru_utime + usage.ru_stime, peak_kib * 1024


def plistlib_cpu(path, dump):
    start = time.process_time()
    with open(path, "rb") as f:
        value = plistlib.load(f)
    if dump:
        plistlib.dumps(value, fmt=plistlib.FMT_BINARY)
    return time.process_time() - start


def entry(name, rep, seconds, **counters):
    return {"name": name, "run_name": name, "run_type": "iteration", "repetition_index": rep,
            "iterations": 1, "cpu_time": seconds * 1e3, "real_time": seconds * 1e3,
            "time_unit": "ms", **counters}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bin", required=True)
    parser.add_argument("--reps", type=int, default=3)
    parser.add_argument("--out", required=True)
    args = parser.parse_args()
    tool = os.path.join(args.bin, "bkgcolors-defaults")

    results = []
    with tempfile.TemporaryDirectory(prefix="bkgcolors-bench-") as work:
        config = os.path.join(work, "config")
        os.makedirs(config)
        domain = os.path.join(config, DOMAIN + ".plist")
        for keys in SIZES:
            source = make_domain(work, keys)
            size = os.path.getsize(source)
            shutil.copyfile(source, domain)
            probe = f"key{keys // 2:06d}"
            for rep in range(args.reps):
                cpu, peak = run_tool(tool, config, ["read", DOMAIN, probe])
                results.append(entry(f"StoreRead_Tool/{keys}", rep, cpu, peak_bytes=peak,
                                     file_bytes=size))
                shutil.copyfile(source, domain)
                cpu, peak = run_tool(tool, config, ["write", DOMAIN, "K", "-int", "1"])
                results.append(entry(f"StoreWrite_Tool/{keys}", rep, cpu, peak_bytes=peak,
                                     file_bytes=size))
                shutil.copyfile(source, domain)
                results.append(entry(f"StoreLoad_Plistlib/{keys}", rep, plistlib_cpu(source, False)))
                results.append(entry(f"StoreLoadDump_Plistlib/{keys}", rep,
                                     plistlib_cpu(source, True)))
            print(f"{keys} keys ({size} bytes): done", flush=True)

    with open(args.out, "w", encoding="utf-8") as f:
        json.dump({"context": {"executable": tool}, "benchmarks": results}, f, indent=1)
    return 0


if __name__ == "__main__":
    sys.exit(main())
