"""A sweep of hostile arguments through every function of the module: each either works or
raises an ordinary Python exception; none crashes the interpreter (the sweep runs in a child
interpreter, so that a crash fails this test instead of ending pytest)."""

import math
import subprocess
import sys
import textwrap

import numpy as np
import pytest

import vxcameras
from conftest import EXAMPLES

HOSTILE = [None, math.nan, -math.inf, 10**100, -1, "", "x" * 10000, b"\x00", [], [[]], {}, (1,),
           np.nan, np.zeros((3, 2)), np.zeros((0,)), np.array([np.nan, np.nan]), object(),
           vxcameras.Camera(), vxcameras.Transform.chain([])]


def nan_camera() -> vxcameras.Camera:
    camera = vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_formula.yaml")
    camera.focus = math.nan
    camera.principal_point = (math.nan, math.nan)
    camera.distortion.k1 = math.nan
    camera.distortion.symmetry_point = (math.inf, -math.inf)
    return camera


def callables():
    camera = vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_radial.yaml")
    meas = vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_complete.yaml")
    forward = vxcameras.Transform.cam_to_mm(camera)
    solution = vxcameras.solve(meas, camera)
    return {
        "Camera.load": vxcameras.Camera.load,
        "Measurements.load": vxcameras.Measurements.load,
        "Distortion.from_text": vxcameras.Distortion.from_text,
        "MarkTemplates.load": vxcameras.MarkTemplates.load,
        "PixToCamMap.from_text": vxcameras.PixToCamMap.from_text,
        "camera.save": camera.save,
        "Transform.cam_to_mm": vxcameras.Transform.cam_to_mm,
        "Transform.mm_to_cam": vxcameras.Transform.mm_to_cam,
        "Transform.chain": vxcameras.Transform.chain,
        "transform": forward,
        "transform.apply": forward.apply,
        "transform.point": forward.point,
        "solve": lambda a: vxcameras.solve(a, camera),
        "solve.camera": lambda a: vxcameras.solve(meas, a),
        "write_residuals": lambda a: vxcameras.write_residuals(solution, a),
        "fit_distortion": lambda a: vxcameras.fit_distortion(a, vxcameras.DistortionType.Formula),
        "fit_distortion.radius": lambda a: vxcameras.fit_distortion(
            camera, vxcameras.DistortionType.Formula, a, forward),
        "apply_distortion_multiplier": lambda a: vxcameras.apply_distortion_multiplier(
            camera.distortion, a),
        "set_language": vxcameras.set_language,
        "verify": meas.verify,
        "camera.fiducials.append": camera.fiducials.append,
        "camera.distortion.poly_k": lambda a: setattr(camera.distortion, "poly_k", a),
        "camera_type_text": vxcameras.camera_type_text,
    }


@pytest.mark.parametrize("name", sorted(callables()))
def test_hostile_arguments_raise_python_exceptions(name):
    function = callables()[name]
    for argument in HOSTILE:
        try:
            function(argument)
        except (TypeError, ValueError, MemoryError, OverflowError, vxcameras.Error):
            pass


def test_a_nan_camera_is_refused_with_the_number_named():
    for make in (vxcameras.Transform.cam_to_mm, vxcameras.Transform.mm_to_cam):
        with pytest.raises(ValueError, match="focus is not a finite number"):
            make(nan_camera())
        camera = vxcameras.Camera()
        camera.distortion.type = vxcameras.DistortionType.Formula
        camera.distortion.k2 = math.inf
        with pytest.raises(ValueError, match="distortion/k2 is not a finite number"):
            make(camera)
    with pytest.raises(vxcameras.SolveError, match="not a finite number|marks do not determine"):
        meas = vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_complete.yaml")
        mark = meas.marks[0]
        mark.coords_pix = (math.nan, 0.0)
        meas.marks[0] = mark
        vxcameras.solve(meas, vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_radial.yaml"))


def test_the_sweep_does_not_crash_a_child_interpreter():
    script = textwrap.dedent(f"""
        import sys
        sys.path[:0] = {sys.path!r}
        import test_hostile
        for name in sorted(test_hostile.callables()):
            test_hostile.test_hostile_arguments_raise_python_exceptions(name)
        test_hostile.test_a_nan_camera_is_refused_with_the_number_named()
        print("swept")
    """)
    done = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True,
                          cwd=str(EXAMPLES.parent / "tests" / "python"))
    assert done.returncode == 0, done.stderr[-2000:]
    assert done.stdout.strip() == "swept"


def test_enum_values_outside_the_enumeration_reach_the_library_and_are_refused_there(rc10, rc10_scan):
    rc10.camera_type = vxcameras.CameraType(99)
    with pytest.raises(vxcameras.Error):
        rc10.to_text()
    assert vxcameras.camera_type_text(vxcameras.CameraType(99)) == "???"
    rc10.distortion.type = vxcameras.DistortionType(99)
    assert vxcameras.Transform.cam_to_mm(rc10).name == "affine"  # the principal point's shift alone
    with pytest.raises(vxcameras.SolveError):
        vxcameras.solve(rc10_scan, rc10)


@pytest.mark.parametrize("iterations", [-5, 0, 2**31 - 1])
def test_any_iteration_limit_solves_or_says_why(iterations):
    camera = vxcameras.Camera.load(EXAMPLES / "cameras" / "rc10_radial.yaml")
    scan = vxcameras.Measurements.load(EXAMPLES / "measurements" / "rc10_scan_complete.yaml")
    scan.transform_type = vxcameras.TransformType.Projective
    options = vxcameras.SolveOptions(max_iterations=iterations)
    try:
        assert vxcameras.solve(scan, camera, options).pix_to_cam.name == "projective"
    except vxcameras.SolveError as error:
        assert str(error)
    with pytest.raises(TypeError):
        vxcameras.SolveOptions(max_iterations=2**40)
