#!/usr/bin/env python3
"""Runs each side of each ratio, and each counted piece of work, with few calls: bench_test.py QX_RATIO QX_WORKLOAD. How fast
they are nobody asks here; they have to run."""

import os
import subprocess
import sys
import tempfile

CALLS = "1000"


def names(program):
    usage = subprocess.run([program], capture_output=True, text=True).stderr
    return usage.partition("one of ")[2].split()


def failures(program, *arguments):
    failed = []
    for name in names(program):
        with tempfile.TemporaryDirectory() as folder:
            environment = {**os.environ, "QX_RUNTIME_DIR": folder, "QX_LOG": "none"}
            run = subprocess.run([program, name, *arguments], capture_output=True, text=True, env=environment)
        if run.returncode != 0:
            failed.append(f"{program} {name}: status {run.returncode}: {run.stderr}")
    if not names(program):
        failed.append(f"{program} tells nothing that it can run")
    return failed


problems = failures(sys.argv[1], CALLS) + failures(sys.argv[2])
sys.exit("\n".join(problems) or 0)
