"""Texts in the user's language: the library's resource language, set from Python."""

import pytest

import vxcameras
from conftest import EXAMPLES


@pytest.fixture
def german():
    vxcameras.set_language("de")
    yield
    vxcameras.set_language("en")


def test_the_environment_chose_english():
    assert vxcameras.language() == "en"
    assert {"de", "en"} <= set(vxcameras.languages())


def test_texts_follow_the_language(german, rc10):
    assert vxcameras.language() == "de"
    unknown = vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_unknown_mark.yaml")
    with pytest.raises(vxcameras.SolveError,
                       match="^Eine gemessene Marke hat eine Nummer, die es unter den Rahmenmarken"):
        vxcameras.solve(unknown, rc10)
    assert vxcameras.fit_distortion  # the module stays usable
    with pytest.raises(vxcameras.FitError, match="^diese Verzeichnung"):
        vxcameras.fit_distortion(rc10, vxcameras.DistortionType.Radial)


def test_names_of_the_enumerations(german):
    assert vxcameras.camera_type_text(vxcameras.CameraType.Fiducials) != vxcameras.camera_type_text(
        vxcameras.CameraType.Cross)
    assert vxcameras.camera_type_text(vxcameras.CameraType.NotSet) == "???"
    vxcameras.set_language("en")
    assert vxcameras.distortion_type_text(vxcameras.DistortionType.Radial) == "Radial table"


def test_an_unknown_language_is_refused_and_the_language_kept():
    with pytest.raises(ValueError, match="'xx'"):
        vxcameras.set_language("xx")
    assert vxcameras.language() == "en"
