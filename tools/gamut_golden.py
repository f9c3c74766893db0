#!/usr/bin/env python3
"""Writes tests/device/golden/gamut.txt: pairs of triangles with the area ratio and the coverage that exact rational
arithmetic gives, rounded once. A row: family, six points (reference, panel), ratio, coverage; numbers in hexadecimal.
    tools/gamut_golden.py [ROWS [SEED]] > tests/device/golden/gamut.txt
"""
import random
import sys
from fractions import Fraction


def area(polygon):
    return sum(p[0] * q[1] - q[0] * p[1] for p, q in zip(polygon, polygon[1:] + polygon[:1])) / 2


def clip(polygon, a, b):
    """What of the polygon lies on the left of a-b."""
    side = lambda p: (b[0] - a[0]) * (p[1] - a[1]) - (b[1] - a[1]) * (p[0] - a[0])
    kept = []
    for p, q in zip(polygon, polygon[1:] + polygon[:1]):
        at_p, at_q = side(p), side(q)
        if at_p >= 0:
            kept.append(p)
        if at_p * at_q < 0:
            part = at_p / (at_p - at_q)
            kept.append((p[0] + part * (q[0] - p[0]), p[1] + part * (q[1] - p[1])))
    return kept


def cover(reference, panel):
    exact = lambda triangle: [(Fraction(x), Fraction(y)) for x, y in triangle]
    reference, panel = exact(reference), exact(panel)
    outer, inner = area(reference), area(panel)
    if outer == 0 or inner == 0:
        return 0.0, 0.0
    try:
        ratio = float(inner / outer)
    except OverflowError:
        ratio = sys.float_info.max * (1 if inner * outer > 0 else -1)
    if outer < 0:
        reference.reverse()
    shared = panel
    for i in range(3):
        shared = clip(shared, reference[i], reference[(i + 1) % 3])
        if not shared:
            return ratio, 0.0
    return ratio, float(abs(area(shared) / outer))


def three(point):
    return [point() for _ in range(3)]


def uniform():
    return random.random(), random.random()


def grid(count, step):
    return lambda: (random.randrange(count) / step, random.randrange(count) / step)


def scaled(size, shift=0.0):
    return lambda: tuple(c * size + shift for c in uniform())


def sliver(height):
    a, b, t = uniform(), uniform(), random.random()
    return [a, b, (a[0] + t * (b[0] - a[0]) + height * random.random(), a[1] + t * (b[1] - a[1]))]


def decimals_in_line():
    x, y, dx, dy = (random.randrange(1, 9) / 10 for _ in range(4))
    return [(x, y), (x + dx, y + dy), (x + 3 * dx, y + 3 * dy)]


def moved(triangle, by):
    return [tuple(c + random.choice((-1, 0, 1)) * by for c in point) for point in triangle]


def of_its_parts():
    """A triangle, and one whose corners are its corners, middles of its edges or points beyond them."""
    outer = three(grid(64, 64))
    middle = lambda p, q: ((p[0] + q[0]) / 2, (p[1] + q[1]) / 2)
    points = outer + [middle(outer[i], outer[i - 1]) for i in range(3)]
    points += [middle(points[3], outer[1]), (2 * outer[0][0] - outer[1][0], 2 * outer[0][1] - outer[1][1])]
    return outer, [random.choice(points) for _ in range(3)]


def wild():
    return tuple(random.choice((-1, 1)) * random.random() * 10.0 ** random.uniform(-300, 300) for _ in range(2))


def extreme():
    return tuple(random.choice((0.0, -1.0, 1.0, 1e-300, 5e-324, 1e300, 1.7e308, -1e300, 1e-5)) for _ in range(2))


FAMILIES = {
    'uniform': lambda: (three(uniform), three(uniform)),
    'steps of 1/1024': lambda: (three(grid(1024, 1024)), three(grid(1024, 1024))),
    'steps of 1/4': lambda: (three(grid(4, 4)), three(grid(4, 4))),
    'steps of 1/10': lambda: (three(grid(8, 10)), three(grid(8, 10))),
    'of its parts': of_its_parts,
    'of its parts, other way round': lambda: of_its_parts()[::-1],
    'decimals nearly in line': lambda: (decimals_in_line(), three(uniform)),
    'two of decimals nearly in line': lambda: (decimals_in_line(), decimals_in_line()),
    'wild': lambda: (three(wild), three(wild)),
    'extreme': lambda: (three(extreme), three(extreme)),
}
for height in (1e-6, 1e-10, 1e-13, 1e-16):
    FAMILIES[f'sliver of {height}'] = lambda h=height: (sliver(h), three(uniform))
    FAMILIES[f'two slivers of {height}'] = lambda h=height: (lambda one: (one, moved(one, h)))(sliver(h))
for size in (1e-12, 1e-16, 1e160, 1e-160, 1e-170, 1e-320):
    FAMILIES[f'size {size}'] = lambda s=size: (three(scaled(s)), three(scaled(s)))
for shift in (1e6, 1e10, 1e15):
    FAMILIES[f'shift {shift}'] = lambda s=shift: (three(scaled(1, s)), three(scaled(1, s)))
for distance in (1e-9, 1e-13, 1e-15):
    FAMILIES[f'moved by {distance}'] = lambda d=distance: (lambda one: (one, moved(one, d)))(three(grid(1024, 1024)))

P3 = [(.68, .32), (.265, .69), (.15, .06)]
ADOBE = [(.64, .33), (.21, .71), (.15, .06)]
BT2020 = [(.708, .292), (.17, .797), (.131, .0046)]
SRGB = [(.64, .33), (.3, .6), (.15, .06)]
RIGHT = [(0, 0), (1, 0), (0, 1)]
NAMED = [(f'{a} of {b}', first, second) for a, second in (('sRGB', SRGB), ('P3', P3), ('Adobe', ADOBE), ('BT.2020', BT2020))
         for b, first in (('P3', P3), ('Adobe', ADOBE), ('BT.2020', BT2020))]
NAMED += [
    ('around', [(.3, .3), (.4, .3), (.3, .4)], RIGHT),
    ('touched from inside', RIGHT, [(.5, .5), (.1, .3), (.3, .1)]),
    ('an edge in common, same side', RIGHT, [(0, 0), (1, 0), (.5, .25)]),
    ('an edge in common, other side', RIGHT, [(0, 0), (1, 0), (.5, -.25)]),
    ('edges that overlap in part', RIGHT, [(.25, 0), (1.5, 0), (.25, .5)]),
    ('a corner in common', RIGHT, [(0, 0), (-1, 0), (0, -1)]),
    ('apart', RIGHT, [(2, 2), (3, 2), (2, 3)]),
    ('a star', [(0, 0), (1, 0), (.5, .75)], [(0, .5), (.5, -.25), (1, .5)]),
    ('beyond products', [(0, 0), (1e300, 0), (0, 1e300)], [(0, 0), (5e299, 0), (0, 5e299)]),
    ('below products', [(0, 0), (1e-300, 0), (0, 1e-300)], [(0, 0), (5e-301, 0), (0, 5e-301)]),
    ('a panel without area', RIGHT, [(.1, .1), (.1, .1), (.3, .2)]),
    ('a reference without area', [(0, 0), (.5, .5), (1, 1)], RIGHT),
]


def row(name, reference, panel):
    numbers = [float(c) for point in reference + panel for c in point]
    if all(abs(number) <= sys.float_info.max for number in numbers):
        print(name.replace(' ', '_'), *(number.hex() for number in numbers),
              *(number.hex() for number in cover(reference, panel)))


random.seed(int(sys.argv[2]) if len(sys.argv) > 2 else 16)
for name, reference, panel in NAMED:
    row(name, reference, panel)
for name, make in FAMILIES.items():
    for _ in range(int(sys.argv[1]) if len(sys.argv) > 1 else 8):
        row(name, *make())
