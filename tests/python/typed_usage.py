"""Typed use of every area of the module, for `mypy --strict` against the stub (not run)."""

import numpy as np
import numpy.typing as npt

import vxcameras


def typed_usage(path: str) -> tuple[npt.NDArray[np.float64], int, float]:
    camera: vxcameras.Camera = vxcameras.Camera.load(path)
    camera.principal_point = (0.0, 0.007)
    camera.fiducials.append(vxcameras.Fiducial(5, (0.0, 110.0)))
    camera.distortion.table_r.append(vxcameras.RadialRow(10.0, 0.001))
    camera.distortion.poly_k = np.zeros(8)
    meas = vxcameras.Measurements.from_text("camera_type: Fiducials\n")
    ok, reason = meas.int_or_ready(camera)
    options = vxcameras.SolveOptions(pixel_y_axis=vxcameras.PixelYAxis.Up, residual_limit_um=5.0)
    try:
        solution = vxcameras.solve(meas, camera, options)
    except vxcameras.SolveError:
        raise
    except vxcameras.ReadError as error:
        print(error.file, error.line, error.column, error.key)
        raise
    vxcameras.write_residuals(solution, meas)
    residuals: npt.NDArray[np.float64] = solution.residuals_um
    result, nan_count = vxcameras.Transform.cam_to_mm(camera).apply(np.zeros((3, 2)))
    fitted, deviation = vxcameras.fit_distortion(camera, vxcameras.DistortionType.Formula)
    vxcameras.apply_distortion_multiplier(fitted, 0.5)
    vxcameras.set_language("de")
    text: str = vxcameras.camera_type_text(camera.camera_type) + str(reason) + str(ok)
    print(text, residuals.shape, solution.map.matrix[0], solution.warnings[0].mark_index)
    return result, nan_count, deviation
