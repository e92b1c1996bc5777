// The arrays that the graphics card draws, made of those of the core: in single precision, so seen from the
// middle of the part. The cloth is the part of it that lies over the mould, cell by cell, with its place in
// space and on the pattern at every corner, so that both views draw the same arrays.

import { ShapeUtils, Vector2 } from "three";

const cellSize = 32; // bytes, of which four int32 nodes come first

export function mouldGeometry(positions, corners) {
    const low = [Infinity, Infinity, Infinity];
    const high = [-Infinity, -Infinity, -Infinity];
    for (let n = 0; n < positions.length; n += 3) {
        for (let k = 0; k < 3; ++k) {
            low[k] = Math.min(low[k], positions[n + k]);
            high[k] = Math.max(high[k], positions[n + k]);
        }
    }
    const origin = low.map((value, k) => 0.5 * (value + high[k]));
    const place = new Float32Array(positions.length);
    for (let n = 0; n < positions.length; n += 3) {
        place[n] = positions[n] - origin[0];
        place[n + 1] = positions[n + 1] - origin[1];
        place[n + 2] = positions[n + 2] - origin[2];
    }
    const index = new Uint32Array(corners.length);
    for (let n = 0; n < corners.length; ++n) {
        index[n] = corners[n] - 1;
    }
    return { origin, size: high.map((value, k) => value - low[k]), position: place, normal: normalsOf(place, index), index };
}

// Means over the triangles around each vertex, by their area.
function normalsOf(position, index) {
    const normal = new Float32Array(position.length);
    for (let t = 0; t < index.length; t += 3) {
        const [a, b, c] = [3 * index[t], 3 * index[t + 1], 3 * index[t + 2]];
        const ux = position[b] - position[a];
        const uy = position[b + 1] - position[a + 1];
        const uz = position[b + 2] - position[a + 2];
        const vx = position[c] - position[a];
        const vy = position[c + 1] - position[a + 1];
        const vz = position[c + 2] - position[a + 2];
        const n = [uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx];
        for (let k = 0; k < 3; ++k) {
            normal[a + k] += n[k];
            normal[b + k] += n[k];
            normal[c + k] += n[k];
        }
    }
    for (let n = 0; n < normal.length; n += 3) {
        const length = Math.hypot(normal[n], normal[n + 1], normal[n + 2]) || 1;
        normal[n] /= length;
        normal[n + 1] /= length;
        normal[n + 2] /= length;
    }
    return normal;
}

// Pairs of vertices along closed outlines, each given as its count and its vertices.
export function outlineSegments(outlines, position) {
    const segments = [];
    for (let at = 0; at < outlines.length; ) {
        const count = outlines[at++];
        for (let k = 0; k < count; ++k) {
            for (const vertex of [outlines[at + k], outlines[at + ((k + 1) % count)]]) {
                segments.push(position[3 * vertex], position[3 * vertex + 1], position[3 * vertex + 2]);
            }
        }
        at += count;
    }
    return new Float32Array(segments);
}

// Triangles of the polygons of one cell: solid ones run anticlockwise, holes clockwise.
function trianglesOf(polygons) {
    const solid = polygons.filter((polygon) => ShapeUtils.area(polygon) > 0);
    const holes = polygons.filter((polygon) => ShapeUtils.area(polygon) < 0);
    return solid.map((outline, n) => {
        const inside = n === 0 ? holes : [];
        return { points: [outline, ...inside].flat(), faces: ShapeUtils.triangulateShape(outline, inside) };
    });
}

// One cell at a time: what stays the same for all its vertices. Twelve numbers stand for its corners' places, seen
// from the origin, and twelve for their normals. Nothing is made anew per cell, as a drag reads some 50,000 a second.
class CellReader {
    constructor(core, arrays, origin, steps) {
        const records = core.records(arrays.cells, cellSize);
        this.nodes = new Int32Array(records.buffer, records.address, records.count * 8);
        this.allPositions = core.doubles(arrays.position);
        this.allNormals = core.doubles(arrays.normal);
        this.allFlat = core.doubles(arrays.flat);
        this.origin = origin;
        this.steps = steps;
        this.position = new Float64Array(12);
        this.normal = new Float64Array(12);
    }

    // `shear` of the cell's face.
    read(cell, shear) {
        const { nodes, allPositions, allNormals, allFlat, origin, position, normal } = this;
        for (let corner = 0; corner < 4; ++corner) {
            const from = 3 * nodes[8 * cell + corner];
            const to = 3 * corner;
            for (let k = 0; k < 3; ++k) {
                position[to + k] = allPositions[from + k] - origin[k];
                normal[to + k] = allNormals[from + k];
            }
        }
        this.shear = shear;
        this.lowX = allFlat[2 * nodes[8 * cell]];
        this.lowY = allFlat[2 * nodes[8 * cell] + 1];
        this.column = Math.round(this.lowX / this.steps[0]);
        this.row = Math.round(this.lowY / this.steps[1]);
    }
}

// A value of the corners at shares u and v of the cell.
function mixed(values, k, u, v) {
    return (1 - v) * ((1 - u) * values[k] + u * values[3 + k]) + v * ((1 - u) * values[9 + k] + u * values[6 + k]);
}

class ClothArrays {
    constructor(vertices, triangles) {
        this.position = new Float32Array(3 * vertices);
        this.normal = new Float32Array(3 * vertices);
        this.flat = new Float32Array(2 * vertices);
        this.inCell = new Float32Array(2 * vertices);
        this.info = new Float32Array(3 * vertices); // shear, column, row
        this.index = new Uint32Array(3 * triangles);
        this.vertices = 0;
        this.indices = 0;
    }

    addVertex(reader, u, v) {
        const n = this.vertices++;
        const { position, normal, flat, inCell, info } = this;
        for (let k = 0; k < 3; ++k) {
            position[3 * n + k] = mixed(reader.position, k, u, v);
            normal[3 * n + k] = mixed(reader.normal, k, u, v) || 0;
        }
        flat[2 * n] = reader.lowX + u * reader.steps[0];
        flat[2 * n + 1] = reader.lowY + v * reader.steps[1];
        inCell[2 * n] = u;
        inCell[2 * n + 1] = v;
        info[3 * n] = reader.shear;
        info[3 * n + 1] = reader.column;
        info[3 * n + 2] = reader.row;
        return n;
    }

    addTriangle(a, b, c) {
        this.index[this.indices++] = a;
        this.index[this.indices++] = b;
        this.index[this.indices++] = c;
    }
}

// The cut cells: [cell, shear, list of polygons]. Shears of the whole cells stand before theirs.
function cutCells(core, arrays, shears) {
    const points = core.doubles(arrays.clipped);
    const ends = core.ints(arrays.clippedEnds);
    const cells = core.ints(arrays.clippedCells);
    const cut = [];
    for (let n = 0, first = 0; n < ends.length; first = ends[n++]) {
        const polygon = [];
        for (let k = first; k < ends[n]; ++k) {
            polygon.push(new Vector2(points[2 * k], points[2 * k + 1]));
        }
        if (cut.length === 0 || cut.at(-1)[0] !== cells[n]) {
            cut.push([cells[n], shears[cut.length], []]);
        }
        cut.at(-1)[2].push(polygon);
    }
    return cut.map(([cell, shear, polygons]) => [cell, shear, trianglesOf(polygons)]);
}

// The first `whole` cells have four vertices each, in order around the cell.
export function clothGeometry(core, arrays, origin, steps) {
    const whole = core.ints(arrays.wholeCells);
    const shears = core.doubles(arrays.shears);
    const cut = cutCells(core, arrays, shears.subarray(whole.length));
    const parts = cut.flatMap(([, , shapes]) => shapes);
    const cloth = new ClothArrays(
        4 * whole.length + parts.reduce((sum, part) => sum + part.points.length, 0),
        2 * whole.length + parts.reduce((sum, part) => sum + part.faces.length, 0),
    );
    const reader = new CellReader(core, arrays, origin, steps);
    for (let n = 0; n < whole.length; ++n) {
        reader.read(whole[n], shears[n]);
        const a = cloth.addVertex(reader, 0, 0);
        cloth.addVertex(reader, 1, 0);
        cloth.addVertex(reader, 1, 1);
        cloth.addVertex(reader, 0, 1);
        cloth.addTriangle(a, a + 1, a + 2);
        cloth.addTriangle(a, a + 2, a + 3);
    }
    for (const [cell, shear, shapes] of cut) {
        reader.read(cell, shear);
        for (const { points, faces } of shapes) {
            const first = cloth.vertices;
            for (const point of points) {
                cloth.addVertex(reader, (point.x - reader.lowX) / steps[0], (point.y - reader.lowY) / steps[1]);
            }
            for (const [a, b, c] of faces) {
                cloth.addTriangle(first + a, first + b, first + c);
            }
        }
    }
    const { position, normal, flat, inCell, info, index } = cloth;
    return { position, normal, flat, inCell, info, index, whole: whole.length };
}

// Segments of the carried curves on the pattern and in space.
export function curveLines(core, arrays, origin) {
    const flat = core.doubles(arrays.curveFlat);
    const space = core.doubles(arrays.curveSpace);
    const lines = { flat: [], space: [] };
    let first = 0;
    for (const end of core.ints(arrays.curveEnds)) {
        for (let k = first; k + 1 < end; ++k) {
            for (const n of [k, k + 1]) {
                lines.flat.push(flat[2 * n], flat[2 * n + 1], 0);
                lines.space.push(...[0, 1, 2].map((axis) => space[3 * n + axis] - origin[axis]));
            }
        }
        first = end;
    }
    return { flat: new Float32Array(lines.flat), space: new Float32Array(lines.space) };
}

// Segments of the net's lines on the pattern and in space, with their kind: 0 the mould's edge, 1 the same just
// beyond the cloth, 2 the cloth's own edge.
export function netLines(core, arrays, origin) {
    const flat = core.doubles(arrays.flatLines);
    const space = core.doubles(arrays.spaceLines);
    const kinds = core.ints(arrays.borders);
    const lines = { edge: { flat: [], space: [] }, cloth: { flat: [], space: [] } };
    let first = 0;
    for (const end of core.ints(arrays.lineEnds)) {
        for (let k = first; k < end; ++k) {
            const next = k + 1 < end ? k + 1 : first;
            const line = kinds[k] === 2 ? lines.cloth : lines.edge;
            line.flat.push(flat[2 * k], flat[2 * k + 1], 0, flat[2 * next], flat[2 * next + 1], 0);
            for (const n of [k, next]) {
                line.space.push(...[0, 1, 2].map((axis) => space[3 * n + axis] - origin[axis]));
            }
        }
        first = end;
    }
    const packed = ({ flat: f, space: s }) => ({ flat: new Float32Array(f), space: new Float32Array(s) });
    return { edge: packed(lines.edge), cloth: packed(lines.cloth) };
}
