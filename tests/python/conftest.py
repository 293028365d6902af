"""Shared fixtures of the Python module's tests: the example files and the C++ reference."""

import os
import pathlib
import subprocess

import numpy as np
import pytest

import vxcameras

SOURCE_DIR = pathlib.Path(os.environ.get("VX_SOURCE_DIR", pathlib.Path(__file__).parents[2]))
EXAMPLES = SOURCE_DIR / "examples"


@pytest.fixture
def rc10() -> vxcameras.Camera:
    return vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_radial.yaml")


@pytest.fixture
def rc10_scan() -> vxcameras.Measurements:
    return vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_complete.yaml")


def film_grid(n: int = 41, half: float = 115.0) -> np.ndarray:
    """An n x n grid over a 230 mm film frame, corners included, as an (n*n, 2) array."""
    axis = np.linspace(-half, half, n)
    x, y = np.meshgrid(axis, axis)
    return np.column_stack([x.ravel(), y.ravel()])


def cpp_reference(camera_path: pathlib.Path, direction: str, points: np.ndarray):
    """The library's batch call on the same points, run by the C++ helper: (result, NaN count)."""
    text = "".join(f"{float(x).hex()} {float(y).hex()}\n" for x, y in points)
    done = subprocess.run([os.environ["VX_PY_REFERENCE"], str(camera_path), direction],
                          input=text, capture_output=True, text=True, check=True)
    lines = done.stdout.splitlines()
    result = np.array([[float.fromhex(v) for v in line.split()] for line in lines[:-1]])
    return result.reshape(-1, 2), int(lines[-1].split()[1])
