"""The worked example of docs/python.md: load the RC10 camera, solve the interior orientation of
a scan, map pixels to corrected millimetres, and draw the residuals when Matplotlib is there.

    PYTHONPATH=build/python /usr/bin/python3 examples/python/solve_scan.py [residuals.png]
"""

import importlib
import pathlib
import sys

import numpy as np

import vxcameras

EXAMPLES = pathlib.Path(__file__).resolve().parents[1]


def main(argv: list[str]) -> int:
    camera = vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_radial.yaml")
    scan = vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_complete.yaml")
    print(camera)

    try:
        solution = vxcameras.solve(scan, camera)
    except vxcameras.SolveError as error:
        print(f"cannot solve: {error}", file=sys.stderr)
        return 1
    print(f"{solution.pix_to_cam.name}: {solution.scale_x_um:.4f} x {solution.scale_y_um:.4f} "
          f"µm/px, rotation {solution.rotation_deg:.5f}°, RMS {solution.rms_um:.2f} µm")
    for index, (rx, ry) in zip(solution.mark_indices, solution.residuals_um):
        print(f"  mark {index}: {rx:+.2f} {ry:+.2f} µm")
    for warning in solution.warnings:
        print(f"  warning: {warning.text}")

    # Pixels of the scan -> camera millimetres -> corrected millimetres, as one array each.
    pixels = np.array([[9628.0, 9616.0], [1166.6, 18114.14], [18090.17, 1118.22]])
    to_mm = vxcameras.Transform.chain([solution.pix_to_cam, vxcameras.Transform.cam_to_mm(camera)])
    corrected, not_converged = to_mm.apply(pixels)
    print("corrected mm:")
    print(np.array2string(corrected, precision=6, suppress_small=True))
    assert not_converged == 0

    if len(argv) > 1:
        draw_residuals(solution, camera, argv[1])
    return 0


def draw_residuals(solution: vxcameras.Solution, camera: vxcameras.Camera, path: str) -> None:
    try:
        # Imported by name: Matplotlib is optional, and without its stubs a type checker
        # takes it as Any either way.
        matplotlib = importlib.import_module("matplotlib")
        matplotlib.use("Agg")
        plt = importlib.import_module("matplotlib.pyplot")
    except ImportError:
        print("Matplotlib is not installed: no drawing (apt-get install python3-matplotlib)")
        return
    calibrated = {f.index: f.coords_cam for f in camera.fiducials}
    marks = np.array([calibrated[int(i)] for i in solution.mark_indices])
    figure, axes = plt.subplots(figsize=(5, 5))
    axes.scatter(marks[:, 0], marks[:, 1], marker="+", color="black")
    scale = 10.0  # mm of the drawing per µm of residual
    axes.quiver(marks[:, 0], marks[:, 1],
                solution.residuals_um[:, 0] * scale, solution.residuals_um[:, 1] * scale,
                angles="xy", scale_units="xy", scale=1.0, color="red")
    axes.set_aspect("equal")
    axes.set_title(f"Residuals of {camera.name} (×{scale:g} mm/µm)")
    figure.savefig(path)
    print(f"Written: {path}")


if __name__ == "__main__":
    sys.exit(main(sys.argv))
