// The figures in words and pictures: key figures, histogram, scale of colours, summary, what to do about a run
// that ended.

import { colourText } from "./materials.js";

const element = (id) => document.getElementById(id);
const percent = (share) => (100 * share).toFixed(1);

function made(name, text, className) {
    const node = document.createElement(name);
    if (text !== undefined) {
        node.textContent = text;
    }
    if (className) {
        node.className = className;
    }
    return node;
}

// Four significant digits, as the program's summary has them.
const formats = new Map();
export function short(value, digits = 4) {
    const rounded = Number(value.toPrecision(digits));
    if (!formats.has(digits)) {
        formats.set(digits, new Intl.NumberFormat("en", { maximumSignificantDigits: digits }));
    }
    return Math.abs(rounded) >= 1e9 ? String(rounded) : formats.get(digits).format(rounded);
}

export function showFigures(report, speed) {
    const { shear, result, pattern } = report;
    const list = [
        ["mean shear", shear.mean.toFixed(1), "°"],
        ["largest shear", shear.largest.toFixed(1), "°"],
        ["beyond locking", percent(shear.shareBeyondLocking), "%", shear.shareBeyondLocking > 0 ? "beyond" : ""],
        ["covered", percent(result.coveredShare), "%"],
        ["net area", short(pattern.netArea), ""],
        speed,
    ];
    element("figures").replaceChildren(
        ...list.map(([name, value, unit, kind]) => {
            const box = made("div", undefined, kind);
            const number = made("dd", value);
            number.append(made("small", unit));
            box.append(made("dt", name), number);
            return box;
        }),
    );
}

export function showLegend(colours, scale) {
    const steps = 40;
    const stops = Array.from({ length: steps + 1 }, (_, k) => colourText(colours, scale, (scale.top * k) / steps));
    const bar = element("legend").querySelector(".bar");
    bar.style.background = `linear-gradient(to top, ${stops.join(", ")})`;
    const ticks = [[0, ""], [scale.top, ""]];
    if (scale.locking < scale.top) {
        ticks.push([scale.locking, " locking"]);
    } else {
        ticks.push([scale.top / 2, ""]);
    }
    element("legend").querySelector(".ticks").replaceChildren(
        ...ticks.map(([value, word]) => {
            const tick = made("span", `${short(value)}°${word}`, word ? "locks" : "");
            tick.style.bottom = "auto";
            tick.style.top = `${150 * (1 - value / scale.top)}px`;
            return tick;
        }),
    );
}

const space = "http://www.w3.org/2000/svg";
function drawn(name, attributes, text) {
    const node = document.createElementNS(space, name);
    for (const [key, value] of Object.entries(attributes)) {
        node.setAttribute(key, value);
    }
    if (text !== undefined) {
        node.textContent = text;
    }
    return node;
}

export function showHistogram({ histogram, lockingAngle, largest }, colours, scale) {
    const { counts, binDegrees } = histogram;
    const last = counts.findLastIndex((count) => count > 0);
    const bins = Math.min(counts.length, Math.max(last + 1, 4));
    const total = counts.reduce((sum, count) => sum + count, 0) || 1;
    const most = Math.max(...counts) || 1;
    const svg = element("histogram");
    const width = svg.clientWidth || 300;
    const height = 92;
    const foot = height - 18;
    const each = width / bins;
    const marks = [];
    for (let k = 0; k < bins; ++k) {
        const tall = ((foot - 14) * counts[k]) / most;
        const shear = 0.5 * (k * binDegrees + Math.min((k + 1) * binDegrees, Math.max(largest, k * binDegrees)));
        const bar = drawn("rect", {
            x: k * each + 1, y: foot - tall, width: Math.max(each - 2, 1), height: tall, rx: 2,
            fill: colourText(colours, scale, Math.min(shear, scale.top)),
        });
        bar.append(drawn("title", {}, `${k * binDegrees} to ${(k + 1) * binDegrees}°: ${counts[k]} cells, ${percent(counts[k] / total)} %`));
        marks.push(bar);
    }
    marks.push(drawn("line", { x1: 0, x2: width, y1: foot + 0.5, y2: foot + 0.5, stroke: "currentColor", "stroke-opacity": 0.3 }));
    const every = Math.ceil(bins / 9);
    for (let k = 0; k <= bins; k += every) {
        const anchor = k === 0 ? "start" : k === bins ? "end" : "middle";
        marks.push(drawn("text", { x: k * each, y: height - 4, "text-anchor": anchor }, `${k * binDegrees}°`));
    }
    const locks = (lockingAngle / binDegrees) * each;
    if (locks > 0 && locks < width) {
        marks.push(drawn("line", { class: "locks", x1: locks, x2: locks, y1: 2, y2: foot }));
        const end = locks > 0.7 * width;
        marks.push(drawn("text", { x: locks + (end ? -4 : 4), y: 9, "text-anchor": end ? "end" : "start" }, "locking"));
    }
    svg.setAttribute("viewBox", `0 0 ${width} ${height}`);
    svg.setAttribute("aria-label", `Histogram of shear: ${counts.slice(0, bins).map((count, k) => `${k * binDegrees} to ${(k + 1) * binDegrees} degrees ${count} cells`).join(", ")}`);
    svg.replaceChildren(...marks);
}

export function showSummary(text) {
    const list = element("summary");
    list.replaceChildren();
    for (const line of text.trimEnd().split("\n")) {
        const [, name, words] = /^(\S+)\s+(.*)$/.exec(line) ?? [];
        if (name) {
            list.append(made("dt", name), made("dd", words));
        }
    }
}

// Drapes that came to their end and still aren't what one wants.
function doubts({ result, shear, pattern, mould }) {
    const list = [];
    if (result.doubledShare > 0.05) {
        list.push(`Cloth of ${percent(result.doubledShare)} % of the mould's area lies over other cloth; only what drapes, or another start, may lie in one layer.`);
    }
    if (shear.largestTurn > 30) {
        list.push(`A yarn turns by ${shear.largestTurn.toFixed(0)}° between neighbouring cells; finer cells show whether it kinks.`);
    }
    if (pattern.overlapArea > 0) {
        list.push(`The flat pattern lies over itself in an area of ${short(pattern.overlapArea)}; it can't be cut in one piece.`);
    }
    if (result.complete && result.coveredShare < 0.85) {
        list.push(`The cloth covers only ${percent(result.coveredShare)} % of the mould; another seed may reach the rest${mould.loops.length > 1 ? ", and cloth can run on over holes" : ""}.`);
    }
    return list.map((words) => ({ text: words, weight: "warning" }));
}

export function showNotes(notes, report) {
    const told = [...doubts(report), ...notes.filter(({ weight }) => weight !== "detail")];
    element("notes").replaceChildren(...told.map(({ text, weight }) => made("li", text, weight)));
}

const remedies = {
    otherStart: "Move the seed or turn the cloth; cells nearer to square and a smaller area help too.",
    finerOrOther: "Move the seed or turn the cloth, or take cells that are small against the mould's features.",
    checkMesh: "The outline isn't one clean loop: look at the notes on the mesh, and repair the file.",
    reportFault: "This shouldn't happen on a sound mesh: try another seed or cell size, and please report it with the file.",
    moreNodes: "Take larger cells; if the cloth winds round the mould, start elsewhere or drape only a part.",
    otherSeed: "Move the seed off a degenerate triangle, or try another cell size.",
    smallerStep: "Take smaller cells.",
    lessMemory: "Take larger cells.",
    fewerNodes: "Take larger cells.",
};

export function showEnd({ end, remedy }) {
    const box = element("ended");
    box.hidden = !end;
    if (end) {
        box.querySelector("strong").textContent = `${end[0].toUpperCase()}${end.slice(1)}.`;
        box.querySelector("p").textContent = `The cloth that stands is shown. ${remedies[remedy] ?? ""}`;
    }
}

const refusals = {
    closed: "Choose \u201cdrapes\u201d as the area, or cut the part open.",
    tooFine: "Take larger cells.",
    upright: "Move the seed, or give another direction.",
    noSuchSide: "Choose another side.",
    stopped: "",
};

export function adviceOn(error) {
    return refusals[error.kind] ?? "";
}
