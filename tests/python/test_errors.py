"""The library's exceptions as Python exceptions: the position of a read error kept in
attributes, the localised reasons of solve and fit, ValueError for what a transform refuses."""

import pytest

import vxcameras
from conftest import EXAMPLES, SOURCE_DIR


def test_a_bad_value_names_file_line_column_and_key():
    path = SOURCE_DIR / "tests" / "tools" / "data" / "bad_type.yaml"
    with pytest.raises(vxcameras.ReadError) as caught:
        vxcameras.Camera.load(path)
    error = caught.value
    assert (error.file, error.line, error.column, error.key) == (str(path), 9, 9, "distortion/type")
    assert str(error) == f"{path}:9:9: distortion/type: invalid value 'Fromula'"
    assert isinstance(error, vxcameras.Error)


def test_a_missing_file_is_a_read_error_with_the_reason(tmp_path):
    path = tmp_path / "no_such.yaml"
    with pytest.raises(vxcameras.ReadError, match="cannot open the file: No such file") as caught:
        vxcameras.Measurements.load(path)
    assert (caught.value.file, caught.value.line, caught.value.column) == (str(path), 0, 0)


def test_a_text_names_its_source():
    with pytest.raises(vxcameras.ReadError) as caught:
        vxcameras.Distortion.from_text("type: Formula\n", "mine")
    assert caught.value.file == "mine" and caught.value.key != ""


def test_a_file_that_cannot_be_written_is_a_write_error(rc10, tmp_path):
    with pytest.raises(vxcameras.WriteError, match="no_folder"):
        rc10.save(tmp_path / "no_folder" / "camera.yaml")


def test_content_the_library_refuses_to_save_is_an_error():
    with pytest.raises(vxcameras.Error):
        vxcameras.Camera().to_text()  # the camera type is not set


def test_measurements_that_cannot_be_solved_raise_the_localised_reason(rc10):
    unknown = vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_unknown_mark.yaml")
    with pytest.raises(vxcameras.SolveError, match="^A measured mark has a number that the camera's"):
        vxcameras.solve(unknown, rc10)


def test_a_distortion_that_cannot_be_fitted_is_a_fit_error():
    camera = vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_polynomial.yaml")
    with pytest.raises(vxcameras.FitError, match="^this distortion cannot be fitted$"):
        vxcameras.fit_distortion(camera, vxcameras.DistortionType.Formula)


def test_a_distortion_the_geometry_refuses_is_a_value_error(rc10):
    rc10.distortion.type = vxcameras.DistortionType.Directed8
    rc10.distortion.table_4plus.append(vxcameras.DirectedRow(10.0, [0.0] * 4))
    with pytest.raises(ValueError, match="table_x"):
        vxcameras.Transform.cam_to_mm(rc10)


def test_a_singular_map_is_a_value_error():
    m = vxcameras.PixToCamMap()
    m.matrix = [0.0] * 9
    with pytest.raises(ValueError):
        m.inverse_matrix()


def test_residuals_of_another_record_are_refused(rc10, rc10_scan):
    solution = vxcameras.solve(rc10_scan, rc10)
    other = vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_two_missing.yaml")
    before = other.to_text()
    with pytest.raises(ValueError):
        vxcameras.write_residuals(solution, other)
    assert other.to_text() == before
