// A worker: the core with one part, and answers to the page one by one. Every message is {id, operation, ...};
// the answer is {id, reply} or {id, error}.

import { BufferAttribute, BufferGeometry, DoubleSide, Ray, Vector3 } from "three";
import { MeshBVH } from "three-mesh-bvh";
import { Core } from "./core.js";
import { clothGeometry, curveLines, mouldGeometry, netLines, outlineSegments } from "./geometry.js";
import { coarseMould, mouldParts, packedMesh } from "./mould_parts.js";
import { patternSvg, unpackedPart } from "./files.js";
import load from "page-core";

let core;
let mould = null; // as it is drawn
let origin = [0, 0, 0];
let colours = null; // of shear
let latest = null; // the drape that is shown: {arrays, reply without its arrays}, and once asked for {cloth, tree}

// Buffers of the arrays within a value, to be handed over rather than copied.
function buffersOf(value, found = new Set()) {
    if (ArrayBuffer.isView(value)) {
        found.add(value.buffer);
    } else if (value && typeof value === "object") {
        Object.values(value).forEach((member) => buffersOf(member, found));
    }
    return found;
}

function geometryOf({ position, index }) {
    const geometry = new BufferGeometry();
    geometry.setAttribute("position", new BufferAttribute(position, 3));
    geometry.setIndex(new BufferAttribute(index, 1));
    return geometry;
}

// The latest drape with its search tree.
function searchable() {
    if (!latest.tree) {
        latest.cloth = clothGeometry(core, latest.arrays, origin, latest.reply.report.choice.step);
        latest.tree = new MeshBVH(geometryOf(latest.cloth), { indirect: true });
    }
    return latest;
}

const linesOf = (arrays) => ({ ...netLines(core, arrays, origin), curve: curveLines(core, arrays, origin) });

function cellOfVertex({ info }, vertex) {
    const [shear, column, row] = info.subarray(3 * vertex);
    return { shear, column, row };
}

const operations = {
    async begin({ wasm }) {
        core = await Core.start(load, wasm);
        colours = core.call("colours", {});
        return colours;
    },

    // `blob` holds a file, `packed` the part that the program has put into the page. The reply's blob is a copy that
    // stays when the file changes.
    async open({ file, blob, packed, polygons }) {
        const own = packed ? unpackedPart(packed) : null;
        const bytes = own ? own.bytes : new Uint8Array(await blob.arrayBuffer());
        const counts = own ? own.polygons : polygons;
        const name = own ? own.file : file;
        const kept = new Blob([bytes]);
        if (counts) {
            core.call("openPolygons", { file: name, ...counts }, bytes);
        } else {
            core.call("openFile", { file: name }, bytes);
        }
        return { part: { file: name, blob: kept, polygons: counts }, settings: own?.settings, sweep: own?.sweep };
    },

    // `drawn` unless the surface is only swept.
    prepare({ settings, drawn }) {
        const reply = core.call("prepare", settings);
        const { arrays } = reply;
        delete reply.arrays;
        latest = null;
        if (drawn) {
            mould = mouldGeometry(core.doubles(arrays.positions), core.ints(arrays.corners));
            origin = mould.origin;
            const outlines = core.ints(arrays.outlines);
            reply.outlines = outlineSegments(outlines, mould.position);
            reply.parts = mouldParts(mould);
            reply.coarse = coarseMould(mould, outlines);
            mould.coarse = reply.coarse && packedMesh(reply.coarse, origin);
            reply.origin = mould.origin;
            reply.size = mould.size;
        }
        return reply;
    },

    // To find the place on the mould under the pointer; apart from `prepare`, so that the mould is seen before. And what
    // drapes while something is dragged are made on: where the coarser mould isn't a surface, the mould itself.
    searchTree() {
        const { position, index, coarse } = mould;
        mould = null;
        try {
            if (coarse) {
                core.call("prepareCoarse", { points: coarse.points, polygons: coarse.polygons }, coarse.bytes);
            }
        } catch (error) {
            if (error.kind === "memory") {
                throw error;
            }
        }
        const tree = MeshBVH.serialize(new MeshBVH(geometryOf({ position, index }), { maxLeafSize: 8 }), { cloneBuffers: false });
        return { position, tree };
    },

    drape({ settings }) {
        const reply = core.call("drape", settings);
        const { arrays, report } = reply;
        delete reply.arrays;
        latest = { arrays, reply };
        return { ...reply, cloth: clothGeometry(core, arrays, origin, report.choice.step), net: linesOf(arrays) };
    },

    // The cell that a ray meets first, and how far off.
    cellUnder({ from, along }) {
        if (!latest) {
            return { cell: null };
        }
        const { cloth, tree } = searchable();
        const hit = tree.raycastFirst(new Ray(new Vector3(...from), new Vector3(...along)), DoubleSide);
        return hit ? { cell: cellOfVertex(cloth, hit.face.a), distance: hit.distance } : { cell: null };
    },

    // The cell at a column and row of the pattern.
    cellAt({ column, row }) {
        const { info } = latest ? searchable().cloth : { info: [] };
        for (let n = 0; n < info.length; n += 3) {
            if (info[n + 1] === column && info[n + 2] === row) {
                return { cell: cellOfVertex({ info }, n / 3) };
            }
        }
        return { cell: null };
    },

    file({ settings }) {
        if (settings.kind === "svg") {
            const { cloth, arrays, reply } = searchable();
            return { bytes: new TextEncoder().encode(patternSvg({ ...reply, cloth, net: linesOf(arrays) }, colours)) };
        }
        core.call("file", settings);
        return { bytes: core.bytes() };
    },
};

self.onmessage = async ({ data }) => {
    const { id, operation } = data;
    try {
        const perform = operations[operation] ?? (({ settings }) => core.call(operation, settings));
        const reply = await perform(data);
        self.postMessage({ id, reply }, [...buffersOf(reply)]);
    } catch (error) {
        self.postMessage({ id, error: { kind: error.kind ?? "crash", text: error.message } });
    }
};
