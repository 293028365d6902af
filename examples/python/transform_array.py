"""Camera coordinates to corrected millimetres and back for a large NumPy array: zero copies,
the inverse's non-converged points counted, several threads sharing one transform.

    PYTHONPATH=build/python /usr/bin/python3 examples/python/transform_array.py
"""

import concurrent.futures
import pathlib

import numpy as np

import vxcameras

EXAMPLES = pathlib.Path(__file__).resolve().parents[1]


def main() -> None:
    camera = vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_formula.yaml")
    forward = vxcameras.Transform.cam_to_mm(camera)
    inverse = vxcameras.Transform.mm_to_cam(camera)

    rng = np.random.default_rng(1)
    points = rng.uniform(-115.0, 115.0, size=(1_000_000, 2))
    mm = forward(points)  # read where it lies, written into a new array
    back, not_converged = inverse.apply(mm)
    print(f"{len(points)} points, largest round-trip error "
          f"{np.abs(back - points).max():.1e} mm, {not_converged} not converged")

    # One transform, four threads, each its own quarter of the array, in place.
    parts = np.array_split(points.copy(), 4)
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        list(pool.map(lambda part: forward(part, out=part), parts))
    assert np.array_equal(np.concatenate(parts), mm)
    print("four threads: the same result bit for bit")


if __name__ == "__main__":
    main()
