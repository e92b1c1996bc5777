// What comes with the page, what is opened and what is saved.

import { colourText } from "./materials.js";

function fromBase64(text) {
    const letters = atob(text);
    const bytes = new Uint8Array(letters.length);
    for (let n = 0; n < bytes.length; ++n) {
        bytes[n] = letters.charCodeAt(n);
    }
    return bytes;
}

async function unpacked(text) {
    const stream = new Blob([fromBase64(text)]).stream().pipeThrough(new DecompressionStream("gzip"));
    return new Uint8Array(await new Response(stream).arrayBuffer());
}

// The worker's address, the module's bytes and the samples of this page.
export async function ownAssets() {
    const { worker, wasm, samples } = JSON.parse(document.getElementById("drape-assets").textContent);
    const script = new Blob([await unpacked(worker)], { type: "text/javascript" });
    return {
        worker: URL.createObjectURL(script),
        wasm: await unpacked(wasm),
        samples: samples.map(({ file, title, data }) => ({ file, title, read: async () => new Blob([await unpacked(data)]) })),
    };
}

// The part that the program has put into this page, as text that only a worker unpacks, since it may be long; empty
// without one.
export const ownPart = () => document.getElementById("drape-part").textContent.trim();

// The same unpacked, with its settings and the results of its sweep.
export function unpackedPart(text) {
    const { file, points, polygons, data, settings, sweep } = JSON.parse(text);
    return { file, bytes: fromBase64(data), polygons: { points, polygons }, settings, sweep };
}

export function save(name, bytes, type) {
    const address = URL.createObjectURL(new Blob([bytes], { type }));
    const link = document.createElement("a");
    link.href = address;
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(address), 10000);
}

const escaped = (text) => text.replace(/[<>&"]/g, (letter) => `&#${letter.charCodeAt(0)};`);

// The pattern true to size in millimetres: cells in shear colours, the net, the seed with warp and weft.
export function patternSvg({ cloth, net, report, labels, scale }, colours) {
    const factor = report.input.millimetresPerUnit;
    const [lowX, lowY, highX, highY] = report.pattern.extent;
    const margin = 12;
    const line = 5.5;
    const width = factor * (highX - lowX) + 2 * margin;
    const height = factor * (highY - lowY) + 2 * margin + line * labels.length + 4;
    const x = (value) => (factor * (value - lowX) + margin).toFixed(3);
    const y = (value) => (factor * (highY - value) + margin).toFixed(3);
    const byColour = new Map();
    const add = (vertices) => {
        const colour = colourText(colours, scale, cloth.info[3 * vertices[0]]);
        const path = `M${vertices.map((n) => `${x(cloth.flat[2 * n])} ${y(cloth.flat[2 * n + 1])}`).join("L")}Z`;
        byColour.set(colour, (byColour.get(colour) ?? "") + path);
    };
    for (let cell = 0; cell < cloth.whole; ++cell) {
        add([0, 1, 2, 3].map((k) => 4 * cell + k));
    }
    for (let n = 6 * cloth.whole; n < cloth.index.length; n += 3) {
        add([0, 1, 2].map((k) => cloth.index[n + k]));
    }
    const segments = (flat) => {
        let path = "";
        for (let n = 0; n < flat.length; n += 6) {
            path += `M${x(flat[n])} ${y(flat[n + 1])}L${x(flat[n + 3])} ${y(flat[n + 4])}`;
        }
        return path;
    };
    const cells = [...byColour].map(([colour, path]) => `<path d="${path}" fill="${colour}" stroke="${colour}" stroke-width="0.1"/>`);
    const arm = 15;
    const [seedX, seedY] = [Number(x(0)), Number(y(0))];
    return `<svg xmlns="http://www.w3.org/2000/svg" width="${width.toFixed(2)}mm" height="${height.toFixed(2)}mm" viewBox="0 0 ${width.toFixed(2)} ${height.toFixed(2)}">
<g id="cells">${cells.join("\n")}</g>
<path id="net" d="${segments(net.edge.flat)}" fill="none" stroke="black" stroke-width="0.35" stroke-linecap="round"/>
<path id="cloth-edge" d="${segments(net.cloth.flat)}" fill="none" stroke="rgb(179 38 30)" stroke-width="0.35" stroke-linecap="round"/>
<path id="curves" d="${segments(net.curve.flat)}" fill="none" stroke="rgb(23 96 127)" stroke-width="0.35" stroke-linecap="round"/>
<path id="warp" d="M${seedX} ${seedY}h${arm}m-3 -2l3 2l-3 2" fill="none" stroke="black" stroke-width="0.5"/>
<path id="weft" d="M${seedX} ${seedY}v${-arm}" fill="none" stroke="black" stroke-width="0.5" stroke-dasharray="1.5 1"/>
<circle id="seed" cx="${seedX}" cy="${seedY}" r="1.5" fill="white" stroke="black" stroke-width="0.4"/>
<g id="labels" font-family="sans-serif" font-size="4">${labels
        .map((label, k) => `<text x="${margin}" y="${(height - 4 - line * (labels.length - 1 - k)).toFixed(2)}">${escaped(label)}</text>`)
        .join("")}</g>
</svg>
`;
}
