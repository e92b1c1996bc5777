"""What tests of laminates share: layups, meshes, readers of the decks, the solver, and classical laminate theory."""

import csv
import json
import math
import subprocess

from bulk_deck import read_bulk
from program import DONE, Case
from solver_meshes import element, node

STIFF = {"E1": 140e3, "E2": 9e3, "nu12": 0.3, "G12": 4.5e3}


def layup(*plies, columns=()):
    """A layup of dictionaries as CSV."""
    names = list(dict.fromkeys(["name", *columns, *(key for ply in plies for key in ply)]))
    rows = [",".join(names)] + [",".join(f'"{ply.get(name, "")}"' for name in names) for ply in plies]
    return "# drape-layup 1\n" + "\n".join(rows) + "\n"


def stiff(name, angle, thickness=0.2, **more):
    return {"name": name, "cloth": "ud", "thickness": thickness, "angle": angle, **STIFF, **more}


def quads(columns, rows, width, height, wound=1):
    """A plate of quads as a deck, with numbers of its own, its middle at the origin and its rim as a set."""
    at = lambda i, j: i + (columns + 1) * j
    text = "*NODE\n"
    for j in range(rows + 1):
        for i in range(columns + 1):
            text += f"{node(at(i, j))}, {width * (i / columns - 0.5)!r}, {height * (j / rows - 0.5)!r}, 0.\n"
    text += "*ELEMENT, TYPE=S4, ELSET=SKIN\n"
    for j in range(rows):
        for i in range(columns):
            corners = [at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)][::wound]
            text += f"{element(i + columns * j)}, " + ", ".join(str(node(k)) for k in corners) + "\n"
    rim = [at(i, j) for j in range(rows + 1) for i in range(columns + 1) if i in (0, columns) or j in (0, rows)]
    return text + "*NSET, NSET=RIM\n" + "".join(f"{node(k)},\n" for k in rim)


def saddle(kind, n, height):
    """A square sheet of n by n quads, or twice as many triangles, as a deck, bent to a saddle, and how many elements
    it has."""
    size = 60.0
    at = lambda i, j: 1 + i + (2 * n + 1) * j
    text = "*NODE\n"
    for j in range(2 * n + 1):
        for i in range(2 * n + 1):
            x, y = size * (i / n - 1), size * (j / n - 1)
            text += f"{at(i, j)}, {x!r}, {y!r}, {height * (x * x / 300 - y * y / 260)!r}\n"
    shapes = [[(2 * i, 2 * j), (2 * i + 2, 2 * j), (2 * i + 2, 2 * j + 2), (2 * i, 2 * j + 2)] for j in range(n) for i in range(n)]
    if kind in ("S3", "S6"):
        shapes = [[c[k] for k in corners] for c in shapes for corners in ((0, 1, 2), (0, 2, 3))]
    text += f"*ELEMENT, TYPE={kind}\n"
    for k, corners in enumerate(shapes):
        middles = [((a + c) // 2, (b + d) // 2) for (a, b), (c, d) in zip(corners, corners[1:] + corners[:1])]
        text += f"{k + 1}, " + ", ".join(str(at(*p)) for p in corners + (middles if kind in ("S6", "S8") else [])) + "\n"
    return text, len(shapes)


class Laminates(Case):
    def rows(self, name="l.csv"):
        with open(self.folder / name, newline="") as table:
            return list(csv.DictReader(table))

    def laminate(self, mesh, plies, *words, expect=DONE, layup_name="layup.csv"):
        text = plies if isinstance(plies, str) else layup(*plies)
        done = self.drape(mesh, "--layup", self.file(layup_name, text), *words, "-o", "l.csv", "-o", "l.json", expect=expect)
        return json.loads((self.folder / "l.json").read_text()), done

    def read_deck(self, name):
        """Nodes, elements, and for each element its layers: (thickness, material, first axis, second axis). What sections
        say of an offset is in `offsets`, by element."""
        points, corners, layers, axes, sets = {}, {}, {}, {}, {}
        self.offsets = {}
        word = {}
        for line in (self.folder / name).read_text().splitlines():
            fields = [f.strip() for f in line.split(",")]
            if line.startswith("**"):
                continue
            if line.startswith("*"):
                word = dict((f.split("=") + [""])[:2] for f in fields)
                continue
            if "*NODE" in word:
                points[int(fields[0])] = tuple(map(float, fields[1:4]))
            elif "*ELEMENT" in word:
                corners[int(fields[0])] = [int(f) for f in fields[1:]]
            elif "*ELSET" in word:
                sets.setdefault(word["ELSET"], []).extend(int(f) for f in fields if f)
            elif "*ORIENTATION" in word:
                axes[word["NAME"]] = list(map(float, fields))
            elif "*SHELL SECTION" in word:
                for k in dict.fromkeys(sets[word["ELSET"]]):
                    self.offsets[k] = float(word.get("OFFSET", 0))
                    layers.setdefault(k, []).append((float(fields[0]), fields[2], *[axes[fields[3]][i:i + 3] for i in (0, 3)]))
        return points, corners, layers

    def bulk(self, name):
        return read_bulk((self.folder / name).read_text())

    def read_bdf(self, name):
        """Per element its section and THETA, per section its layers: (material, thickness, angle). Where sections begin is
        in `bottoms`."""
        cards = self.bulk(name)
        self.bottoms = {k: values[1] for k, values in cards["PCOMP"].items()}
        theta = {k: (values[2], values[-1]) for k, values in cards["element"].items()}
        return theta, {k: [values[at:at + 3] for at in range(8, len(values), 4)] for k, values in cards["PCOMP"].items()}

    def deflections(self, deck, supports, pressure):
        """Along z, by node."""
        return {k: u[2] for k, u in self.solved(deck, supports, f"*DLOAD\nDRAPE_ELEMENTS, P, {pressure}\n").items()}

    def solved(self, deck, supports, loads):
        """Displacements, by node."""
        self.file("job.inp", f"*INCLUDE, INPUT={deck}\n*BOUNDARY\n{supports}*STEP\n*STATIC\n{loads}"
                             "*NODE PRINT, NSET=DRAPE_NODES\nU\n*END STEP\n")
        done = subprocess.run(["ccx", "-i", "job"], capture_output=True, text=True, cwd=self.folder)
        self.assertNotIn("*ERROR", done.stdout)
        rows = [line.split() for line in (self.folder / "job.dat").read_text().splitlines()]
        return {int(r[0]): tuple(map(float, r[1:])) for r in rows if len(r) == 4 and r[0].isdigit()}


def pulled(nodes, deck, width, pull):
    """Forces along x on the nodes of a plate's ends, by a force per width, for elements with nodes in the middle of sides."""
    loads = {}
    for own in deck.values():
        n = len(own) // 2
        for a, b, middle in zip(own[:n], own[1:n] + own[:1], own[n:]):
            for sense in (-1, 1):
                if all(abs(nodes[k][0] - sense * width / 2) < 1e-6 for k in (a, b)):
                    for k, share in ((a, 1), (b, 1), (middle, 4)):
                        loads[k] = loads.get(k, 0) + sense * pull * abs(nodes[a][1] - nodes[b][1]) * share / 6
    return loads


def stiffness(layers, bottom):
    """The six by six matrix of forces and moments per strain and curvature, by x, y and xy, of layers from the lowest up:
    (angle from x, thickness, constants). Heights count from the plane of reference, over which the lowest begins."""
    whole = [[0.0] * 6 for _ in range(6)]
    for angle, thickness, e in layers:
        q = 1 - e["nu12"] ** 2 * e["E2"] / e["E1"]
        own = [[e["E1"] / q, e["nu12"] * e["E2"] / q, 0.0], [e["nu12"] * e["E2"] / q, e["E2"] / q, 0.0], [0.0, 0.0, e["G12"]]]
        c, s = math.cos(math.radians(angle)), math.sin(math.radians(angle))
        turn = [[c * c, s * s, c * s], [s * s, c * c, -c * s], [-2 * c * s, 2 * c * s, c * c - s * s]]  # strains into fibre axes
        layer = [[sum(turn[k][i] * own[k][l] * turn[l][j] for k in range(3) for l in range(3)) for j in range(3)] for i in range(3)]
        for power, blocks in ((1, [(0, 0)]), (2, [(0, 3), (3, 0)]), (3, [(3, 3)])):
            part = ((bottom + thickness) ** power - bottom ** power) / power
            for row, column in blocks:
                for i in range(3):
                    for j in range(3):
                        whole[row + i][column + j] += part * layer[i][j]
        bottom += thickness
    return whole


def solve(matrix, right):
    """By elimination, the largest pivot first."""
    rows = [[*row, value] for row, value in zip(matrix, right, strict=True)]
    for k in range(len(rows)):
        pivot = max(range(k, len(rows)), key=lambda r: abs(rows[r][k]))
        rows[k], rows[pivot] = rows[pivot], rows[k]
        rows = [row if r == k else [a - row[k] / rows[k][k] * b for a, b in zip(row, rows[k])] for r, row in enumerate(rows)]
    return [row[-1] / row[k] for k, row in enumerate(rows)]
