"""fit_distortion and apply_distortion_multiplier: the library's answers through Python."""

import pytest

import vxcameras
from conftest import EXAMPLES


def test_the_radial_table_fits_the_formula_model_with_its_deviation(rc10):
    fitted, deviation = vxcameras.fit_distortion(rc10, vxcameras.DistortionType.Formula)
    assert fitted.type == vxcameras.DistortionType.Formula
    assert f"{fitted.k1:.6e}" == "-7.790461e-08"
    assert f"{deviation * 1000:.2f}" == "6.58"  # µm, as `vxcam fit` reports it
    assert fitted.symmetry_point == rc10.principal_point


def test_a_formula_camera_converts_exactly_to_the_mixed_model():
    camera = vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_formula.yaml")
    camera.distortion.symmetry_point = camera.principal_point
    fitted, deviation = vxcameras.fit_distortion(camera, vxcameras.DistortionType.Mixed)
    assert deviation == 0.0 and fitted.type == vxcameras.DistortionType.Mixed


def test_a_transform_is_fitted_over_the_given_disc(rc10):
    source = vxcameras.Transform.cam_to_mm(rc10)
    fitted, deviation = vxcameras.fit_distortion(rc10, vxcameras.DistortionType.Formula, 100.0,
                                                 source)
    # The source includes the shift by the principal point, which no radial model holds.
    assert fitted.type == vxcameras.DistortionType.Formula and 0.0 < deviation < 0.02


def test_the_multiplier_scales_the_coefficients_in_place():
    camera = vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_formula.yaml")
    k1, p3 = camera.distortion.k1, camera.distortion.p3
    vxcameras.apply_distortion_multiplier(camera.distortion, 0.5)
    assert camera.distortion.k1 == k1 * 0.5 and camera.distortion.p3 == p3


def test_a_fit_of_a_model_other_than_formula_or_mixed_is_refused(rc10):
    with pytest.raises(vxcameras.FitError):
        vxcameras.fit_distortion(rc10, vxcameras.DistortionType.Radial)
