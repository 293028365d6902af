"""solve(): the solution as the library gives it, residuals as arrays, the options, the map,
write_residuals; the same numbers as `vxcam solve --json` prints."""

import json
import os
import subprocess

import numpy as np
import pytest

import vxcameras
from conftest import EXAMPLES


def test_the_complete_scan_solves_as_an_affine_map(rc10, rc10_scan):
    s = vxcameras.solve(rc10_scan, rc10)
    assert s.pix_to_cam.name == "affine" and s.map.is_affine()
    assert (s.observations, s.unknowns, s.redundancy) == (8, 6, 2)
    assert round(s.scale_x_um, 4) == 12.5002 and round(s.rotation_deg, 5) == 0.12033
    assert s.warnings == [] and not s.mirrored
    assert s.mark_indices.tolist() == [1, 2, 3, 4]
    assert s.residuals_pix.shape == (4, 2) and s.residuals_um.shape == (4, 2)
    assert s.residuals_pix.dtype == np.float64
    assert s.residuals_pix[0].tolist() == list(s.residuals[0].residual_pix)
    np.testing.assert_array_equal(s.coords_pix[:, 0], [m.coords_pix[0] for m in rc10_scan.marks])
    lengths = np.hypot(s.residuals_um[:, 0], s.residuals_um[:, 1])
    assert s.rms_um == pytest.approx(np.sqrt(np.mean(lengths**2)), rel=1e-12)


def test_the_solution_maps_pixels_to_camera_and_back(rc10, rc10_scan):
    s = vxcameras.solve(rc10_scan, rc10)
    pixels = np.array([m.coords_pix for m in rc10_scan.marks])
    cam = s.pix_to_cam(pixels)
    np.testing.assert_allclose(s.cam_to_pix(cam), pixels, atol=1e-9)
    np.testing.assert_array_equal(s.map.pix_to_cam()(pixels), cam)
    calibrated = np.array([f.coords_cam for f in rc10.fiducials])
    np.testing.assert_allclose(cam + s.residuals_um / 1000.0, calibrated, atol=1e-12)


@pytest.mark.skipif(not os.environ.get("VX_VXCAM"), reason="the tool is not built")
def test_the_numbers_equal_those_of_vxcam_solve_bit_for_bit(rc10, rc10_scan):
    done = subprocess.run(
        [os.environ["VX_VXCAM"], "solve", "--json",
         str(EXAMPLES / "cameras" / "rc10_radial.yaml"),
         str(EXAMPLES / "measurements" / "rc10_scan_complete.yaml")],
        capture_output=True, text=True, check=True)
    report = json.loads(done.stdout)
    s = vxcameras.solve(rc10_scan, rc10)
    flat = json.dumps(report)
    # The JSON writes every double with the fewest digits that read back to it.
    for value in (s.rms_um, s.sigma0_um, s.largest_um):
        assert repr(value) in flat
    for value in s.map.matrix.tolist()[:6]:
        assert repr(value) in flat


def test_options_reach_the_solver(rc10):
    y_up = vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_y_up.yaml")
    options = vxcameras.SolveOptions(pixel_y_axis=vxcameras.PixelYAxis.Up,
                                     minimise=vxcameras.ResidualSpace.Camera,
                                     residual_limit_um=0.5)
    s = vxcameras.solve(y_up, rc10, options)
    assert s.map.pixel_y_axis == vxcameras.PixelYAxis.Up
    assert s.map.minimised_in == vxcameras.ResidualSpace.Camera
    assert s.residual_limit_um == 0.5
    assert all(r.above_limit == (r.length_um > 0.5) for r in s.residuals)
    assert [w.key for w in s.warnings if w.mark_index is not None] == [
        "global.Warn_IntOrLargeResidual"] * sum(r.above_limit for r in s.residuals)


def test_write_residuals_gives_the_record_its_residuals(rc10, rc10_scan):
    s = vxcameras.solve(rc10_scan, rc10)
    vxcameras.write_residuals(s, rc10_scan)
    assert [m.residuals_pix for m in rc10_scan.marks] == [r.residual_pix for r in s.residuals]


def test_the_map_saves_and_loads(rc10, rc10_scan, tmp_path):
    s = vxcameras.solve(rc10_scan, rc10)
    s.map.save(tmp_path / "map.yaml")
    back = vxcameras.PixToCamMap.load(tmp_path / "map.yaml")
    assert back.matrix.tolist() == s.map.matrix.tolist()
    assert len(back.inverse_matrix()) == 9
