"""Transforming 10^7 points from Python against the C++ batch call on the same points.

    PYTHONPATH=build/python /usr/bin/python3 bench/python/transform_benchmark.py \
        build/bench/python/VxBatchTransform_benchmark [--repetitions 5]

Maps the grid of VxBatchTransform_benchmark.cpp through vxcameras, each way against its like:
into a preallocated `out` against the C++ call into an array allocated once, and into a new array
each call (`transform(points)`) against the C++ call into a new block each call. C++ and Python
take turns, once a repetition; the script prints the median times and the median of the
per-repetition ratios Python / C++ with their range. On a shared machine read the ratios, not
the times.
"""

import argparse
import json
import pathlib
import statistics
import subprocess
import time
from typing import Callable

import numpy as np

import vxcameras

POINTS = 10_000_000
SIDE = 3163  # the grid of VxBatchTransform_benchmark.cpp, row by row
HALF_FORMAT = 115.0
CAMERA = pathlib.Path(__file__).resolve().parents[2] / "examples" / "cameras" / "rc10_formula.yaml"


def grid() -> np.ndarray:
    i = np.arange(POINTS)
    step = 2.0 * HALF_FORMAT / (SIDE - 1)
    return np.column_stack([-HALF_FORMAT + step * (i % SIDE), -HALF_FORMAT + step * (i // SIDE)])


def cpp_times(program: str) -> dict[str, float]:
    """One run of every C++ benchmark: seconds per call, by benchmark name."""
    done = subprocess.run([program, "--benchmark_format=json"], capture_output=True, text=True,
                          check=True)
    report = json.loads(done.stdout)
    # Names carry suffixes such as "/real_time"; times are in milliseconds.
    return {b["run_name"].split("/")[0]: b["real_time"] / 1000.0 for b in report["benchmarks"]}


def python_time(call: Callable[[], object], calls: int) -> float:
    """Seconds per call: the median of `calls` calls after one warm-up call."""
    call()
    times = []
    for _ in range(calls):
        start = time.perf_counter()
        call()
        times.append(time.perf_counter() - start)
    return statistics.median(times)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("cpp_benchmark", help="path of VxBatchTransform_benchmark")
    parser.add_argument("--repetitions", type=int, default=5)
    args = parser.parse_args()

    camera = vxcameras.Camera.load(CAMERA)
    points = grid()
    out = np.empty_like(points)
    cases = {"CamToMm": vxcameras.Transform.cam_to_mm(camera),
             "MmToCam": vxcameras.Transform.mm_to_cam(camera)}
    # The machine is shared: C++ and Python take turns, and each repetition gives its own ratio.
    ratios: dict[str, list[float]] = {}
    times: dict[str, list[float]] = {}
    for _ in range(args.repetitions):
        cpp = cpp_times(args.cpp_benchmark)
        for name, transform in cases.items():
            measured = {
                "out=": (python_time(lambda: transform(points, out=out), 5),
                         cpp["BM_Batch" + name]),
                "new": (python_time(lambda: transform(points), 5),
                        cpp["BM_Batch" + name + "NewOutput"]),
            }
            for kind, (py, c) in measured.items():
                ratios.setdefault(f"{name} {kind}", []).append(py / c)
                times.setdefault(f"{name} {kind}", []).append(py)
                times.setdefault(f"{name} {kind} C++", []).append(c)
    print(f"{'case':14} {'C++ [ms]':>9} {'Python [ms]':>12} {'ratio (median)':>15} "
          f"{'ratios (min..max)':>18}")
    for case, values in ratios.items():
        print(f"{case:14} {1000 * statistics.median(times[case + ' C++']):9.1f} "
              f"{1000 * statistics.median(times[case]):12.1f} {statistics.median(values):15.3f} "
              f"{min(values):8.3f}..{max(values):.3f}")


if __name__ == "__main__":
    main()
