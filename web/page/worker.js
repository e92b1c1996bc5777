// A worker: the core with one part, and answers to the page one by one. Every message is {id, operation, ...};
// the answer is {id, reply} or {id, error}.

import { BufferAttribute, BufferGeometry } from "three";
import { MeshBVH } from "three-mesh-bvh";
import { Core } from "./core.js";
import { clothGeometry, curveLines, mouldGeometry, netLines, outlineSegments } from "./geometry.js";
import load from "page-core";

let core;
let origin = [0, 0, 0];

// Buffers of the arrays within a value, to be handed over rather than copied.
function buffersOf(value, found = new Set()) {
    if (ArrayBuffer.isView(value)) {
        found.add(value.buffer);
    } else if (value && typeof value === "object") {
        Object.values(value).forEach((member) => buffersOf(member, found));
    }
    return found;
}

function searchTree({ position, index }) {
    const geometry = new BufferGeometry();
    geometry.setAttribute("position", new BufferAttribute(position, 3));
    geometry.setIndex(new BufferAttribute(index, 1));
    return MeshBVH.serialize(new MeshBVH(geometry, { maxLeafSize: 8 }), { cloneBuffers: false });
}

const operations = {
    async begin({ wasm }) {
        core = await Core.start(load, wasm);
        return core.call("colours", {});
    },

    open({ file, bytes, polygons }) {
        return polygons
            ? core.call("openPolygons", { file, ...polygons }, bytes)
            : core.call("openFile", { file }, bytes);
    },

    // `drawn` unless the surface is only swept.
    prepare({ settings, drawn }) {
        const reply = core.call("prepare", settings);
        const { arrays } = reply;
        delete reply.arrays;
        if (drawn) {
            const mould = mouldGeometry(core.doubles(arrays.positions), core.ints(arrays.corners));
            origin = mould.origin;
            reply.outlines = outlineSegments(core.ints(arrays.outlines), mould.position);
            reply.tree = searchTree(mould);
            reply.mould = mould;
        }
        return reply;
    },

    drape({ settings }) {
        const reply = core.call("drape", settings);
        const { arrays, report } = reply;
        delete reply.arrays;
        reply.cloth = clothGeometry(core, arrays, origin, report.choice.step);
        reply.net = { ...netLines(core, arrays, origin), curve: curveLines(core, arrays, origin) };
        return reply;
    },

    file({ settings }) {
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
