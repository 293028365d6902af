"""Calibration files of other programs through the module: the same cameras and numbers as the
exchange library's own tests, as bytes in and out."""

import pytest

import vxcameras
from conftest import EXAMPLES, SOURCE_DIR

INTEROP = SOURCE_DIR / "tests" / "data" / "interop"
OPENCV = INTEROP / "opencv_samples_data_left_intrinsics_TRIMMED.yml"


def test_the_formats_are_named_as_the_tool_names_them() -> None:
    assert vxcameras.exchange_formats() == [
        "opencv-yaml", "opencv-xml", "ros", "colmap-text", "colmap-bin", "metashape"]


def test_an_opencv_calibration_imports_exactly_with_its_pixel_size() -> None:
    camera, report = vxcameras.import_camera(OPENCV.read_bytes(), pixel_size_mm=0.00345,
                                             path=str(OPENCV))
    assert not report.fitted
    assert report.max_deviation_px == 0.0
    assert camera.camera_type == vxcameras.CameraType.Digital
    assert camera.distortion.type == vxcameras.DistortionType.Formula
    # The format was guessed from the content; the same with it named.
    same, _ = vxcameras.import_camera(OPENCV.read_bytes(), "opencv-yaml", pixel_size_mm=0.00345)
    assert same.focus == camera.focus
    assert same.distortion.k1 == camera.distortion.k1


def test_export_then_import_gives_the_same_camera_bit_for_bit() -> None:
    camera, _ = vxcameras.import_camera(OPENCV.read_bytes(), pixel_size_mm=0.00345)
    for name in ("opencv-yaml", "opencv-xml", "ros", "colmap-text", "colmap-bin"):
        content, report = vxcameras.export_camera(camera, name)
        assert isinstance(content, bytes) and content
        assert not report.fitted, name
        back, _ = vxcameras.import_camera(content, name, pixel_size_mm=0.00345)
        assert back.focus == camera.focus, name
        assert back.principal_point == camera.principal_point, name
        for key in ("k1", "k2", "k3", "p1", "p2"):
            assert getattr(back.distortion, key) == getattr(camera.distortion, key), (name, key)


def test_a_film_camera_is_fitted_and_reports_its_deviation() -> None:
    rc10 = vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_radial.yaml")
    content, report = vxcameras.export_camera(rc10, "opencv-yaml", pixel_size_mm=0.0125)
    assert report.fitted
    assert 0.0 < report.max_deviation_mm < 0.05
    assert content.startswith(b"%YAML:1.0")


def test_bad_input_raises_exceptions_that_name_it() -> None:
    with pytest.raises(vxcameras.ExchangeError, match="broken.yml"):
        vxcameras.import_camera(b"%YAML:1.0\n---\nimage_width: 640\n", "opencv-yaml",
                                pixel_size_mm=0.003, path="broken.yml")
    with pytest.raises(vxcameras.ExchangeError):
        vxcameras.import_camera(OPENCV.read_bytes(), pixel_size_mm=0.0)  # no pixel size
    with pytest.raises(ValueError, match="unknown format 'jpeg'"):
        vxcameras.import_camera(OPENCV.read_bytes(), "jpeg", pixel_size_mm=0.003)
    with pytest.raises(ValueError, match="unknown format"):
        vxcameras.export_camera(vxcameras.Camera(), "tiff")
    with pytest.raises(TypeError):
        vxcameras.import_camera("not bytes but text", pixel_size_mm=0.003)  # type: ignore[arg-type]
    assert issubclass(vxcameras.ExchangeError, vxcameras.Error)
