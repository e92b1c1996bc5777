// A mould as it is drawn: in parts that a graphics card can be given one per frame, and, of one with many
// triangles, a coarser stand-in for a view that moves where drawing all of them takes too long.

const perPart = 40000; // triangles
const mostAtOnce = 120000; // triangles of a mould that needs no stand-in
const cubesAcross = 128; // along the longest side of the stand-in

// The triangles in their order, part by part, each with vertices of its own.
export function mouldParts({ position, normal, index }) {
    const parts = [];
    const place = new Int32Array(position.length / 3).fill(-1);
    for (let first = 0; first < index.length; first += 3 * perPart) {
        const corners = index.subarray(first, first + 3 * perPart);
        const vertices = [];
        const local = new Uint32Array(corners.length);
        for (let n = 0; n < corners.length; ++n) {
            const vertex = corners[n];
            if (place[vertex] < 0) {
                place[vertex] = vertices.length;
                vertices.push(vertex);
            }
            local[n] = place[vertex];
        }
        const part = { position: new Float32Array(3 * vertices.length), normal: new Float32Array(3 * vertices.length), index: local };
        for (let n = 0; n < vertices.length; ++n) {
            const from = 3 * vertices[n];
            for (let k = 0; k < 3; ++k) {
                part.position[3 * n + k] = position[from + k];
                part.normal[3 * n + k] = normal[from + k];
            }
            place[vertices[n]] = -1;
        }
        parts.push(part);
    }
    return parts;
}

// Of all vertices within a cube one stands for them, in their middle; along the outlines, in the middle of those on
// them. Triangles whose corners come together are gone. Null for a mould of few triangles.
export function coarseMould({ position, normal, index, size }, outlines) {
    if (index.length <= 3 * mostAtOnce) {
        return null;
    }
    const count = position.length / 3;
    const onOutline = new Uint8Array(count);
    for (let at = 0; at < outlines.length; at += 1 + outlines[at]) {
        for (let k = 1; k <= outlines[at]; ++k) {
            onOutline[outlines[at + k]] = 1;
        }
    }
    const width = Math.max(...size) / cubesAcross || 1;
    const cubeOf = (n, k) => Math.floor((position[3 * n + k] + 0.5 * size[k]) / width);
    const across = cubesAcross + 2;
    const numbers = new Map();
    const stand = new Uint32Array(count);
    for (let n = 0; n < count; ++n) {
        const cube = (cubeOf(n, 0) * across + cubeOf(n, 1)) * across + cubeOf(n, 2);
        let number = numbers.get(cube);
        if (number === undefined) {
            number = numbers.size;
            numbers.set(cube, number);
        }
        stand[n] = number;
    }
    const sums = new Float64Array(3 * numbers.size);
    const means = new Float32Array(3 * numbers.size);
    const normals = new Float32Array(3 * numbers.size);
    const members = new Uint32Array(numbers.size);
    const atOutline = new Uint8Array(numbers.size);
    for (let n = 0; n < count; ++n) {
        atOutline[stand[n]] |= onOutline[n];
    }
    for (let n = 0; n < count; ++n) {
        const to = stand[n];
        for (let k = 0; k < 3; ++k) {
            normals[3 * to + k] += normal[3 * n + k];
        }
        if (onOutline[n] === atOutline[to]) {
            ++members[to];
            for (let k = 0; k < 3; ++k) {
                sums[3 * to + k] += position[3 * n + k];
            }
        }
    }
    for (let n = 0; n < numbers.size; ++n) {
        const length = Math.sqrt(normals[3 * n] ** 2 + normals[3 * n + 1] ** 2 + normals[3 * n + 2] ** 2) || 1;
        for (let k = 0; k < 3; ++k) {
            means[3 * n + k] = sums[3 * n + k] / members[n];
            normals[3 * n + k] /= length;
        }
    }
    const corners = [];
    for (let n = 0; n < index.length; n += 3) {
        const [a, b, c] = [stand[index[n]], stand[index[n + 1]], stand[index[n + 2]]];
        if (a !== b && b !== c && c !== a) {
            corners.push(a, b, c);
        }
    }
    return { position: means, normal: normals, index: new Uint32Array(corners) };
}

// A mesh as the core reads polygons: three doubles per point, seen from elsewhere than `origin`, then three corners with
// their number before them.
export function packedMesh({ position, index }, origin) {
    const bytes = new Uint8Array(8 * position.length + (16 * index.length) / 3);
    const points = new Float64Array(bytes.buffer, 0, position.length);
    for (let n = 0; n < points.length; ++n) {
        points[n] = position[n] + origin[n % 3];
    }
    const corners = new Int32Array(bytes.buffer, 8 * position.length);
    for (let from = 0, to = 0; from < index.length; from += 3, to += 4) {
        corners[to] = 3;
        corners.set(index.subarray(from, from + 3), to + 1);
    }
    return { points: position.length / 3, polygons: index.length / 3, bytes };
}
