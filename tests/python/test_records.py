"""The records as Python classes: attributes, lists and views that change the record, enums,
repr, equality, copies, and settings files and texts that round-trip."""

import copy

import numpy as np
import pytest

import vxcameras
from conftest import EXAMPLES

ALL_CAMERAS = sorted((EXAMPLES / "cameras").glob("*.yaml"))
ALL_MEASUREMENTS = sorted((EXAMPLES / "measurements").glob("*.yaml"))


def test_a_loaded_camera_has_the_file_values(rc10):
    assert rc10.name == "Wild RC10 2337 / UAG 1045"
    assert rc10.camera_type == vxcameras.CameraType.Fiducials
    assert rc10.focus == 153.228
    assert rc10.principal_point == (0.0, 0.007)
    assert [f.index for f in rc10.fiducials] == [1, 2, 3, 4]
    assert rc10.fiducials[0].coords_cam == (-105.993, -106.006)
    assert rc10.distortion.type == vxcameras.DistortionType.Radial
    assert [(row.r, row.dr) for row in rc10.distortion.table_r][0] == (20.173, -0.006)


@pytest.mark.parametrize("path", ALL_CAMERAS, ids=lambda p: p.stem)
def test_every_example_camera_saves_to_the_text_it_was_loaded_from(path, tmp_path):
    camera = vxcameras.Camera.load(path)
    camera.save(tmp_path / "copy.yaml")
    assert vxcameras.Camera.load(tmp_path / "copy.yaml") == camera
    assert vxcameras.Camera.from_text(camera.to_text()) == camera
    assert (tmp_path / "copy.yaml").read_text() == camera.to_text()


@pytest.mark.parametrize("path", ALL_MEASUREMENTS, ids=lambda p: p.stem)
def test_every_example_measurement_round_trips(path):
    meas = vxcameras.Measurements.load(str(path))
    assert vxcameras.Measurements.from_text(meas.to_text()) == meas


def test_lists_and_blocks_change_the_record_they_came_from(rc10):
    rc10.fiducials.append(vxcameras.Fiducial(5, (0.0, 110.0)))
    assert len(rc10.fiducials) == 5 and "110" in rc10.to_text()
    row = rc10.distortion.table_r[0]
    row.dr = 0.5
    rc10.distortion.table_r[0] = row
    assert rc10.distortion.table_r[0].dr == 0.5
    rc10.distortion.poly_k[3] = 2.5
    assert rc10.distortion.poly_k.tolist()[3] == 2.5
    rc10.distortion.mixed.K = [1.0, 2.0, 3.0]
    assert rc10.distortion.mixed.K.tolist() == [1.0, 2.0, 3.0]
    rc10.fiducials = [vxcameras.Fiducial(1, (1.0, 2.0))]
    assert [f.coords_cam for f in rc10.fiducials] == [(1.0, 2.0)]


def test_elements_are_copies_that_outlive_changes_of_the_list(rc10):
    first = rc10.fiducials[0]
    first.index = 9
    assert rc10.fiducials[0].index == 1
    rc10.fiducials.clear()  # a reference into the vector would dangle now
    assert first.coords_cam == (-105.993, -106.006)
    popped = vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_radial.yaml").fiducials.pop()
    assert popped.index == 4


def test_lists_follow_python_index_rules(rc10):
    marks = rc10.fiducials
    assert marks[-1].index == 4
    with pytest.raises(IndexError):
        marks[4]
    del marks[0]
    marks.insert(-1, vxcameras.Fiducial(7))
    assert [f.index for f in rc10.fiducials] == [2, 3, 7, 4]
    assert repr(vxcameras.FiducialList()) == "FiducialList([])"
    with pytest.raises(TypeError):
        marks.append(None)
    with pytest.raises(TypeError):
        marks.extend([vxcameras.Fiducial(8), "not a mark"])
    assert len(rc10.fiducials) == 4


def test_a_block_of_the_wrong_length_is_refused_and_leaves_the_record_alone():
    d = vxcameras.Distortion()
    with pytest.raises(ValueError, match="exactly 8"):
        d.poly_k = [1.0, 2.0]
    with pytest.raises(TypeError):
        d.poly_k = [1.0] * 7 + ["x"]
    assert d.poly_k.tolist() == [0.0] * 8


def test_a_view_keeps_its_record_alive():
    view = vxcameras.Distortion().poly_p
    view[0] = 1.0
    assert view.tolist() == [1.0, 0.0, 0.0, 0.0]


def test_points_are_tuples_and_any_pair_of_numbers_sets_one():
    camera = vxcameras.Camera()
    camera.principal_point = np.array([0.5, -0.25])
    assert camera.principal_point == (0.5, -0.25)
    camera.sensor_dims = (7680, 13824)
    assert camera.sensor_dims == (7680, 13824)
    with pytest.raises(TypeError):
        camera.principal_point = (1.0, 2.0, 3.0)
    with pytest.raises(TypeError):
        camera.sensor_dims = (-1, 2)


def test_enums_carry_the_library_values():
    assert int(vxcameras.CameraType.Fiducials) == 4
    assert int(vxcameras.DistortionType.Directed4Plus) == 4
    assert int(vxcameras.CamRotate.NotSet) == 0
    assert vxcameras.Camera().camera_type == vxcameras.CameraType.NotSet
    assert vxcameras.Distortion().type == vxcameras.DistortionType.None_
    assert set(vxcameras.PixelYAxis.__members__) == {"Down", "Up"}


def test_repr_names_the_class_and_the_main_fields(rc10, rc10_scan):
    assert repr(rc10).startswith("Camera(name='Wild RC10 2337 / UAG 1045', "
                                 "camera_type=CameraType.Fiducials, focus=153.228")
    assert repr(rc10.fiducials[0]) == ("Fiducial(index=1, coords_cam=(-105.993, -106.006), "
                                       "template_index=1)")
    assert repr(rc10.distortion.table_r[0]) == "RadialRow(r=20.173, dr=-0.006)"
    assert repr(rc10_scan).startswith("Measurements(camera_type=CameraType.Fiducials, marks=4")
    assert repr(vxcameras.SolveOptions()).startswith("SolveOptions(pixel_y_axis=PixelYAxis.Down")
    assert "DirectedRow(r=1.0, dr=(0.0, 0.0, 0.0, 0.0))" == repr(vxcameras.DirectedRow())


def test_copies_are_independent(rc10):
    other = copy.deepcopy(rc10)
    assert other == rc10
    other.fiducials[0] = vxcameras.Fiducial(9)
    assert other != rc10 and rc10.fiducials[0].index == 1
    assert copy.copy(rc10) == rc10
    assert (rc10 == None) is False  # noqa: E711
    assert (rc10 == "camera") is False


def test_measurements_check_against_the_camera(rc10):
    two_missing = vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_two_missing.yaml")
    assert two_missing.verify(rc10) == (True, None)
    ok, warning = two_missing.int_or_ready(rc10)
    assert ok and warning == "Not all fiducial marks of the camera have been measured."
    unknown = vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_unknown_mark.yaml")
    assert unknown.verify(rc10) == (
        False, "A measured mark has a number that the camera's fiducial marks do not have.")


def test_mark_templates_load_from_their_file():
    templates = vxcameras.MarkTemplates.load(EXAMPLES / "templates" / "rc10_mark_templates.yaml")
    assert len(templates.templates) > 0
    assert templates.templates[0].index >= 1
    assert "MarkTemplates(template_pixel_size=" in repr(templates)


def test_default_cameras():
    dmc = vxcameras.Camera.default_dmc()
    assert dmc.camera_type == vxcameras.CameraType.Digital
    assert dmc.focus == 120.0 and dmc.sensor_dims == (7680, 13824)
    assert vxcameras.Camera.default().camera_type == vxcameras.CameraType.Digital


def _documented(obj, name: str) -> bool:
    # pybind11 starts a docstring with the signature; a documented function has more.
    doc = obj.__doc__ or ""
    return any(line.strip() and not line.startswith(name + "(") for line in doc.splitlines())


def test_every_public_class_function_and_method_has_a_docstring():
    undocumented = []
    for name in dir(vxcameras):
        if name.startswith("_"):
            continue
        obj = getattr(vxcameras, name)
        if isinstance(obj, type):
            undocumented += [] if (obj.__doc__ or "").strip() else [name]
            for member, value in vars(obj).items():
                if not member.startswith("_") and callable(value):
                    if not _documented(getattr(obj, member), member):
                        undocumented.append(f"{name}.{member}")
        elif callable(obj) and not _documented(obj, name):
            undocumented.append(name)
    assert undocumented == []
