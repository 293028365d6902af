"""Transform on NumPy arrays: results equal the C++ batch call bit for bit, every array-like is
read or refused clearly, zero copies where the input allows, NaN points counted, threads."""

import concurrent.futures
import os
import subprocess
import sys
import threading

import numpy as np
import pytest

import vxcameras
from conftest import EXAMPLES, cpp_reference, film_grid

CAMERAS = sorted((EXAMPLES / "cameras").glob("rc10_*.yaml"))
THREADS = 8
ROUNDS = 20


def bits(a: np.ndarray) -> bytes:
    return np.ascontiguousarray(a, dtype=np.float64).tobytes()


@pytest.mark.parametrize("path", CAMERAS, ids=lambda p: p.stem)
@pytest.mark.parametrize("direction", ["cam_to_mm", "mm_to_cam"])
def test_results_equal_the_cpp_batch_call_bit_for_bit(path, direction):
    camera = vxcameras.Camera.load(path)
    points = film_grid()
    points[7] = (np.nan, 1.0)
    transform = getattr(vxcameras.Transform, direction)(camera)
    result, nan_count = transform.apply(points)
    expected, expected_nan = cpp_reference(path, direction, points)
    assert bits(result) == bits(expected)
    assert nan_count == expected_nan >= 1


def test_a_point_equals_its_row_of_the_batch(rc10):
    transform = vxcameras.Transform.cam_to_mm(rc10)
    points = film_grid(5)
    batch = transform(points)
    for p, row in zip(points, batch):
        assert transform.point(tuple(p)) == tuple(row)


def test_the_inverse_maps_back(rc10):
    points = film_grid(11, 100.0)
    back = vxcameras.Transform.mm_to_cam(rc10)(vxcameras.Transform.cam_to_mm(rc10)(points))
    np.testing.assert_allclose(back, points, rtol=0, atol=1e-9)


def test_points_that_are_nan_come_back_nan_and_are_counted(rc10):
    points = np.array([[1.0, 2.0], [np.nan, 0.0], [0.0, np.nan], [3.0, 4.0]])
    result, nan_count = vxcameras.Transform.cam_to_mm(rc10).apply(points)
    assert nan_count == 2
    assert np.isnan(result[1]).all() and np.isnan(result[2]).all()
    assert np.isfinite(result[[0, 3]]).all()


def test_a_contiguous_float64_input_is_read_where_it_lies_and_written_into_out(rc10):
    transform = vxcameras.Transform.cam_to_mm(rc10)
    points = film_grid(3)
    out = np.empty_like(points)
    result, _ = transform.apply(points, out=out)
    assert result is out
    assert bits(out) == bits(transform(points))


def test_in_place(rc10):
    transform = vxcameras.Transform.cam_to_mm(rc10)
    points = film_grid(3)
    expected = transform(points)
    result = transform(points, out=points)
    assert result is points
    assert bits(points) == bits(expected)


def test_an_empty_array_gives_an_empty_array(rc10):
    result, nan_count = vxcameras.Transform.cam_to_mm(rc10).apply(np.empty((0, 2)))
    assert result.shape == (0, 2) and result.dtype == np.float64 and nan_count == 0


@pytest.mark.parametrize("make", [
    lambda p: p.tolist(),
    lambda p: [tuple(row) for row in p],
    lambda p: p.astype(np.float32).astype(np.float64).astype(np.float32),
    lambda p: np.asfortranarray(p),
    lambda p: np.repeat(p, 2, axis=0)[::2],
    lambda p: np.column_stack([p, p])[:, 1:3],
    lambda p: np.round(p).astype(np.int64),
    lambda p: np.round(p).astype(np.int32),
], ids=["list", "tuples", "float32", "fortran", "strided", "column-view", "int64", "int32"])
def test_any_array_like_of_numbers_is_converted(rc10, make):
    transform = vxcameras.Transform.cam_to_mm(rc10)
    points = film_grid(4)
    given = make(points)
    expected = transform(np.ascontiguousarray(np.asarray(given, dtype=np.float64)))
    assert bits(transform(given)) == bits(expected)


def test_a_read_only_input_is_read(rc10):
    points = film_grid(3)
    points.flags.writeable = False
    transform = vxcameras.Transform.cam_to_mm(rc10)
    assert bits(transform(points)) == bits(transform(points.copy()))


def test_the_input_is_left_alone(rc10):
    points = film_grid(3)
    before = points.copy()
    vxcameras.Transform.cam_to_mm(rc10)(points)
    assert bits(points) == bits(before)


@pytest.mark.parametrize("shape", [(4,), (4, 3), (4, 1), (2, 2, 2), (), (0,)])
def test_a_wrong_shape_is_a_value_error_naming_it(rc10, shape):
    with pytest.raises(ValueError, match=r"shape \(N, 2\), got \("):
        vxcameras.Transform.cam_to_mm(rc10)(np.zeros(shape))


@pytest.mark.parametrize("given", [
    np.zeros((3, 2), dtype=np.complex128), np.zeros((3, 2), dtype=bool),
    np.array([["a", "b"]]), np.array([[object(), 1]], dtype=object), "points", None,
], ids=["complex", "bool", "text", "object", "str", "None"])
def test_what_is_not_real_numbers_is_a_type_error(rc10, given):
    with pytest.raises(TypeError):
        vxcameras.Transform.cam_to_mm(rc10)(given)


@pytest.mark.parametrize("out", [
    np.empty((3, 2), dtype=np.float32), np.empty((4, 2)), np.empty((3, 2), order="F")[:, :],
    np.empty((3, 4))[:, :2], np.empty(6),
], ids=["float32", "length", "fortran-copy", "strided", "flat"])
def test_an_unfit_out_is_a_value_error(rc10, out):
    if out.flags.c_contiguous and out.dtype == np.float64 and out.shape == (3, 2):
        pytest.skip("this layout is a fit one")
    with pytest.raises(ValueError, match="out must be"):
        vxcameras.Transform.cam_to_mm(rc10)(film_grid(3)[:3], out=out)


def test_a_read_only_out_is_refused(rc10):
    out = np.empty((3, 2))
    out.flags.writeable = False
    with pytest.raises(ValueError, match="read-only"):
        vxcameras.Transform.cam_to_mm(rc10)(np.zeros((3, 2)), out=out)


def test_an_out_that_partly_overlaps_the_input_is_refused(rc10):
    buffer = np.zeros((5, 2))
    with pytest.raises(ValueError, match="overlaps"):
        vxcameras.Transform.cam_to_mm(rc10)(buffer[:4], out=buffer[1:])


def test_a_chain_applies_its_members_in_order(rc10):
    forward = vxcameras.Transform.cam_to_mm(rc10)
    inverse = vxcameras.Transform.mm_to_cam(rc10)
    points = film_grid(5)
    chained = vxcameras.Transform.chain([forward, inverse])
    assert bits(chained(points)) == bits(inverse(forward(points)))
    assert vxcameras.Transform.chain([]).is_identity
    assert chained.name == "combined"


def test_threads_mapping_at_once_get_what_one_thread_gets(rc10):
    forward = vxcameras.Transform.cam_to_mm(rc10)
    inverse = vxcameras.Transform.mm_to_cam(rc10)
    points = film_grid(101)
    expected = {id(forward): bits(forward(points)), id(inverse): bits(inverse(points))}
    start = threading.Barrier(THREADS)

    def work(index: int) -> bool:
        transform = forward if index % 2 == 0 else inverse
        start.wait()
        return all(bits(transform(points)) == expected[id(transform)] for _ in range(ROUNDS))

    with concurrent.futures.ThreadPoolExecutor(THREADS) as pool:
        assert all(pool.map(work, range(THREADS)))


def test_the_gil_is_released_while_points_are_mapped(rc10):
    # Another thread runs Python code while a large batch is mapped: it counts how often it got
    # the interpreter. Holding the GIL for the whole batch would leave it at its start value.
    transform = vxcameras.Transform.mm_to_cam(rc10)
    points = np.tile(film_grid(101), (40, 1))
    done = threading.Event()
    ticks = [0]

    def ticker() -> None:
        while not done.is_set():
            ticks[0] += 1

    thread = threading.Thread(target=ticker)
    thread.start()
    try:
        before = ticks[0]
        transform(points)
        during = ticks[0] - before
    finally:
        done.set()
        thread.join()
    assert during > 0


def test_a_huge_broadcast_view_is_refused_with_memory_error(rc10):
    huge = np.broadcast_to(np.zeros(2), (2**40, 2))
    with pytest.raises(MemoryError):
        vxcameras.Transform.cam_to_mm(rc10)(huge)


def test_an_unaligned_or_byte_swapped_array_is_converted(rc10):
    transform = vxcameras.Transform.cam_to_mm(rc10)
    points = film_grid(3)
    raw = bytearray(points.nbytes + 1)
    unaligned = np.frombuffer(raw, dtype=np.float64, count=points.size, offset=1).reshape(-1, 2)
    unaligned[:] = points
    assert not unaligned.flags.aligned
    swapped = points.astype(">f8")
    expected = bits(transform(points))
    assert bits(transform(unaligned)) == expected
    assert bits(transform(swapped)) == expected
    with pytest.raises(ValueError, match="out must be"):
        transform(points, out=unaligned)


@pytest.mark.parametrize("threads", [0, 2, 3, 4, 8, 64])
def test_a_large_array_on_several_threads_equals_one_thread_bit_for_bit(rc10, threads):
    # 20 chunks' worth of points and an odd remainder, with NaN points in different chunks.
    points = np.tile(film_grid(101), (33, 1))[:5 * 65536 + 7]
    points[[3, 70000, 200000, len(points) - 1]] = np.nan
    for make in (vxcameras.Transform.cam_to_mm, vxcameras.Transform.mm_to_cam):
        transform = make(rc10)
        one, one_nan = transform.apply(points)
        many, many_nan = transform.apply(points, threads=threads)
        assert bits(many) == bits(one) and many_nan == one_nan == 4
        in_place = points.copy()
        transform(in_place, out=in_place, threads=threads)
        assert bits(in_place) == bits(one)


POOL_SCRIPT = """
import os, sys
import numpy as np
import vxcameras
camera = vxcameras.Camera.load(sys.argv[1])
transform = vxcameras.Transform.mm_to_cam(camera)
points = np.random.default_rng(20).uniform(-100.0, 100.0, (300001, 2))
def threads_now():
    return len(os.listdir("/proc/self/task"))
start = threads_now()
transform(points, threads=3)
first = threads_now()
for _ in range(5):
    transform(points, threads=3)
    transform(points, threads=2)
print(first - start, threads_now() - first)
"""


@pytest.mark.skipif(not os.path.isdir("/proc/self/task"), reason="counts threads in /proc")
def test_the_threads_of_the_first_call_wait_for_later_calls_and_are_reused():
    # In a process of its own, so that no earlier test has started the pool: the first call on
    # three threads starts two that stay; later calls start none.
    run = subprocess.run(
        [sys.executable, "-c", POOL_SCRIPT, str(CAMERAS[0])],
        capture_output=True, text=True, check=True, env=os.environ.copy())
    started_by_first, started_later = map(int, run.stdout.split())
    assert (started_by_first, started_later) == (2, 0)


def test_a_negative_thread_count_is_refused(rc10):
    with pytest.raises(ValueError, match="threads"):
        vxcameras.Transform.cam_to_mm(rc10)(np.zeros((3, 2)), threads=-1)


@pytest.mark.parametrize("direction", ["cam_to_mm", "mm_to_cam"])
def test_a_grid_equals_its_points_mapped_one_by_one(rc10, direction):
    transform = getattr(vxcameras.Transform, direction)(rc10)
    columns, rows, x0, y0, dx, dy = 37, 5, -92.5, 40.0, 5.0, -20.0
    result, nan_count = transform.grid(columns, rows, x0, y0, dx, dy)
    assert result.shape == (rows, columns, 2) and result.dtype == np.float64
    assert nan_count == 0
    for j in range(rows):
        for i in range(columns):
            # The grid's point is x0 + i dx, computed in double as the library does.
            expected = transform.point((x0 + i * dx, y0 + j * dy))
            assert tuple(result[j, i]) == expected


def test_a_grid_counts_its_nan_points_and_an_empty_grid_is_empty(rc10):
    transform = vxcameras.Transform.cam_to_mm(rc10)
    result, nan_count = transform.grid(3, 2, x0=np.nan)
    assert nan_count == 6 and np.isnan(result).all()
    empty, none = transform.grid(0, 4)
    assert empty.shape == (4, 0, 2) and none == 0


def test_a_grid_too_large_for_an_array_is_refused_by_name(rc10):
    transform = vxcameras.Transform.cam_to_mm(rc10)
    with pytest.raises(ValueError, match="larger than an array can be"):
        transform.grid(2**40, 2**40)
    with pytest.raises(TypeError):
        transform.grid(-1, 3)
