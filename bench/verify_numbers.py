#!/usr/bin/env python3
"""Compares the text of all 2^32 floats with printf's and notes it in docs/performance.md."""

import argparse
import datetime
import pathlib
import subprocess
import sys

import document

ROOT = pathlib.Path(__file__).resolve().parent.parent
ALL = 2**32


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build" / "bench")
    parser.add_argument("--stride", type=int, default=1,
                        help="compare only every so many-th float, and note nothing")
    arguments = parser.parse_args()

    program = arguments.build.resolve() / "bin" / "bench_verify_numbers"
    result = subprocess.run([str(program), str(arguments.stride)], stdout=subprocess.PIPE,
                            text=True, check=False)
    *differences, last = result.stdout.splitlines() or [""]
    for difference in differences:
        print(difference, file=sys.stderr)
    if len(last.split()) != 5:
        sys.exit(f"bench_verify_numbers ended with status {result.returncode}")
    compared, sampled, different, seconds, threads = map(int, last.split())
    text = (f"{compared:,} floats compared with `printf(\"%g\")`, {sampled:,} of these with a C++ "
            f"stream as well: {different:,} differences. It took {seconds // 60} min "
            f"{seconds % 60} s with {threads} threads "
            f"({datetime.date.today().isoformat()}, {document.cpu_name()}).")
    print(text)
    if arguments.stride == 1 and compared == ALL:
        document.put_verification(text)
    sys.exit(result.returncode)


if __name__ == "__main__":
    main()
