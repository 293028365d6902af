#!/usr/bin/env python3
"""The formula fit of the RC10 2337 radial table (USGS OSL/3036), computed without the library.

The table's corrections (the report's distortion negated, in mm) are interpolated as
docs/distortion-models.md states for the radial table model: (0, 0) added, a natural cubic spline
between rows. The curve e(r) = c1 r^3 + c2 r^5 + c3 r^7 is fitted by least squares at the radii
i R / 100, i = 1..100 (R the last row's radius); a radially symmetric table has the same mean over
every set of directions, so one direction suffices. The normal equations are solved by Gaussian
elimination with partial pivoting. Prints c1, c2, c3 and the largest |e(r) - spline(r)| over the
radii i R / 100, i = 0..100, for FilmCamera_test.cpp.
"""

ROWS = [(20.173, -0.006), (41.057, -0.010), (64.097, -0.009),
        (88.466, -0.001), (107.291, 0.007), (128.574, 0.010)]


def solve(a, b):
    n = len(b)
    m = [row[:] + [b[i]] for i, row in enumerate(a)]
    for col in range(n):
        pivot = max(range(col, n), key=lambda r: abs(m[r][col]))
        m[col], m[pivot] = m[pivot], m[col]
        for r in range(n):
            if r != col:
                f = m[r][col] / m[col][col]
                for k in range(col, n + 1):
                    m[r][k] -= f * m[col][k]
    return [m[i][n] / m[i][i] for i in range(n)]


def natural_spline(xs, ys):
    n = len(xs) - 1
    h = [xs[i + 1] - xs[i] for i in range(n)]
    a = [[0.0] * (n + 1) for _ in range(n + 1)]
    b = [0.0] * (n + 1)
    a[0][0] = a[n][n] = 1.0
    for i in range(1, n):
        a[i][i - 1], a[i][i], a[i][i + 1] = h[i - 1], 2.0 * (h[i - 1] + h[i]), h[i]
        b[i] = 6.0 * ((ys[i + 1] - ys[i]) / h[i] - (ys[i] - ys[i - 1]) / h[i - 1])
    m = solve(a, b)

    def value(x):
        i = 0
        while i < n - 1 and x > xs[i + 1]:
            i += 1
        t0 = (xs[i + 1] - x) / h[i]
        t1 = (x - xs[i]) / h[i]
        return (t0 * ys[i] + t1 * ys[i + 1]
                + ((t0 ** 3 - t0) * m[i] + (t1 ** 3 - t1) * m[i + 1]) * h[i] ** 2 / 6.0)
    return value


def main():
    spline = natural_spline([0.0] + [r for r, _ in ROWS], [0.0] + [d for _, d in ROWS])
    radius = ROWS[-1][0]
    step = radius / 100
    normal = [[0.0] * 3 for _ in range(3)]
    rhs = [0.0] * 3
    for i in range(1, 101):
        r = i * step
        powers = [r ** 3, r ** 5, r ** 7]
        for j in range(3):
            rhs[j] += spline(r) * powers[j]
            for k in range(3):
                normal[j][k] += powers[j] * powers[k]
    c = solve(normal, rhs)
    deviation = max(abs(c[0] * r ** 3 + c[1] * r ** 5 + c[2] * r ** 7 - spline(r))
                    for r in (i * step for i in range(101)))
    print("c1 = %r\nc2 = %r\nc3 = %r\nlargest deviation = %r mm" % (c[0], c[1], c[2], deviation))


if __name__ == "__main__":
    main()
