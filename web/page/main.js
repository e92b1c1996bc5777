// The page: one part, its settings and their history, the latest drape, and what hands, keys and files do to
// them. The page never waits: whatever takes time is done by workers, and of drapes only the newest is asked for.

import { Vector3 } from "three";
import { Engine, Latest } from "./engine.js";
import { ownAssets, ownPart, save } from "./files.js";
import { Marks } from "./handle.js";
import { colourText } from "./materials.js";
import { adviceOn, short, showEnd, showFigures, showHistogram, showLegend, showNotes, showSummary } from "./panel.js";
import { commandLine, History, sameSurface, settingsFrom, settingsOfReport } from "./settings.js";
import { Stage } from "./stage.js";
import { Sweep } from "./sweep.js";

const element = (id) => document.getElementById(id);
const all = (selector) => [...document.querySelectorAll(selector)];

const frame = 1000 / 36; // milliseconds that a drape may take while something is dragged
const mostToWaitFor = 150000; // triangles of a mould that is shown with the best start only, not first with the middle
const fewestCells = 900; // of the coarser cloth that is shown then
const readable = 100; // milliseconds; figures that change faster than the eye reads only cost frames
const patience = 250; // milliseconds before the page says that it works

const page = {
    assets: null,
    colours: null,
    engine: null,
    stage: null,
    marks: null,
    part: null, // {file, blob, polygons}
    prepared: null, // settings for which the worker holds the surface
    opening: null, // the engine that reads the next part
    surface: null,
    settings: settingsFrom({}),
    history: null,
    result: null, // the latest drape
    search: null, // for a start
    perCell: 0, // milliseconds that a cell takes
    sweep: null,
    sweepCsv: null,
    told: 0, // when the figures were last written while something was dragged
    filled: 0, // and the fields
    times: [], // when the latest drapes of a drag were shown
};

// ---- telling

function complain(error) {
    if (error.kind === "stopped") {
        return;
    }
    element("problem").hidden = false;
    element("problem").querySelector("p").textContent = `${sentence(error.message)} ${adviceOn(error)}`.trim();
}

const sentence = (text) => `${text[0].toUpperCase()}${text.slice(1)}${/[.!?]$/.test(text) ? "" : "."}`;

let chipTimer = 0;
let chipDepth = 0;

// Runs `work` and says so if it takes its time.
async function busy(text, work) {
    document.body.dataset.state = "busy";
    const before = element("chip-text").textContent;
    element("chip-text").textContent = text;
    if (++chipDepth === 1) {
        chipTimer = setTimeout(() => (element("chip").hidden = false), patience);
    }
    try {
        return await work();
    } finally {
        element("chip-text").textContent = before;
        if (--chipDepth === 0) {
            clearTimeout(chipTimer);
            element("chip").hidden = true;
            document.body.dataset.state = "ready";
        }
    }
}

// ---- the engine

async function startEngine() {
    page.engine = new Engine(page.assets.worker);
    page.prepared = null;
    page.colours = await page.engine.ask("begin", { wasm: page.assets.wasm });
}

// Gives up what is being read or looked for, else whatever the worker does. What was shown stays.
async function stopWork() {
    if (page.search || page.opening) {
        page.search = null;
        page.opening?.stop();
        return;
    }
    page.engine.stop();
    drapes.clear();
    page.settings = page.history?.now ?? page.settings;
    showSettings();
    await startEngine();
    if (page.part) {
        await page.engine.ask("open", page.part);
    }
}

const prepare = async (settings) => showSurface(await page.engine.ask("prepare", { settings, drawn: true }), settings);

function showSurface(surface, settings) {
    const { engine } = page;
    page.prepared = settings;
    page.surface = surface;
    page.stage.setMould(surface);
    engine.ask("searchTree").then((found) => page.engine === engine && page.prepared === settings && page.stage.setSearchTree(found), () => {});
    clearSweep();
    element("part-name").textContent = page.part.file;
    element("part-name").title = page.part.file;
    element("part-facts").textContent =
        `${surface.triangles.toLocaleString("en")} triangles, ${surface.size.map((value) => short(value, 3)).join(" × ")}`;
    element("holes-row").hidden = surface.holes === 0 && !settings.fillHoles;
}

// `settings` with cells so large that a drape keeps up with the pointer.
function eased(settings) {
    const cells = page.result?.report.result.cells ?? 0;
    const factor = Math.min(Math.sqrt((page.perCell * cells) / frame), Math.sqrt(cells / fewestCells));
    if (!page.result || !(factor > 1.1)) {
        return settings;
    }
    const step = settings.step ?? page.result.usualStep;
    return { ...settings, step: step.map((length) => length * factor) };
}

const drapes = new Latest(async ({ settings, dragging }) => {
    const work = async () => {
        if (!page.prepared || !sameSurface(page.prepared, settings)) {
            await prepare(settings);
        }
        const asked = dragging ? { ...eased(settings), live: true } : settings;
        const begin = performance.now();
        const reply = await page.engine.ask("drape", { settings: asked });
        const took = performance.now() - begin;
        // A drape that nobody sees would only take time from those that are drawn.
        await page.stage.drawn();
        const perCell = took / Math.max(reply.report.result.cells, fewestCells);
        page.perCell = page.perCell === 0 ? perCell : Math.min(perCell, 0.5 * (page.perCell + perCell));
        reply.usualStep = settings.step ?? page.surface.steps;
        showDrape(reply, { dragging, coarse: reply.coarse || asked.step !== settings.step, took });
    };
    try {
        await (dragging ? work() : busy("Draping", work));
    } catch (error) {
        if (!dragging || error.kind === "crash") {
            complain(error);
        }
        if (error.kind === "crash") {
            await stopWork();
        }
    }
});

// Makes `settings` those of the page. While something is dragged they are no step of the history yet.
function apply(settings, { dragging = false } = {}) {
    page.settings = settings;
    page.search = null; // for a start, which nobody waits for any more
    if (!dragging) {
        page.history?.commit(settings);
    }
    if (!dragging || performance.now() - page.filled > readable) {
        page.filled = performance.now();
        showSettings();
    }
    return drapes.put({ settings, dragging });
}

// Where the seed was found rather than chosen holds for the settings that it was found with.
const change = (part, how) => apply({ ...page.settings, passedOver: null, ...part }, how);

// ---- showing

function speedFigure(dragging, coarse, took) {
    if (!dragging) {
        page.times = [];
        return ["this drape", took < 1000 ? took.toFixed(0) : (took / 1000).toFixed(1), took < 1000 ? "ms" : "s"];
    }
    const now = performance.now();
    page.times = [...page.times.filter((time) => now - time < 1000), now];
    const rate = page.times.length > 1 ? ((page.times.length - 1) * 1000) / (now - page.times[0]) : 0;
    return ["drapes a second", rate.toFixed(0), coarse ? " coarser" : ""];
}

// Nothing of the part before is told beside a new one.
function clearResult() {
    page.marks.show(null);
    page.marks.showEnd(null);
    showSummary("");
    element("ended").hidden = true;
    for (const id of ["figures", "notes", "histogram", "pattern-size"]) {
        element(id).replaceChildren();
    }
}

function showDrape(reply, { dragging, coarse, took }) {
    const { stage, marks, colours } = page;
    page.result = reply;
    stage.setCloth(reply);
    // A scale that changed with every drape of a drag would flicker.
    if (!dragging || reply.scale.top > page.scale.top) {
        page.scale = reply.scale;
        stage.setScale(page.scale);
        showLegend(colours, page.scale);
    }
    if (!drapes.hasNewer && !grip) {
        marks.show(reply.report.choice);
    }
    marks.showEnd(reply.report.result.endedNear);
    const speed = speedFigure(dragging, coarse, took);
    if (!dragging || performance.now() - page.told > readable) {
        page.told = performance.now();
        showFigures(reply.report, speed);
        showHistogram(reply.report.shear, colours, page.scale);
        const { width, height } = reply.report.pattern;
        element("pattern-size").textContent = `${short(width)} × ${short(height)}`;
    }
    stage.followPattern(reply.report.pattern.extent, dragging);
    document.body.dataset.drapes = Number(document.body.dataset.drapes ?? 0) + 1;
    if (dragging) {
        return;
    }
    showSummary(reply.summary);
    showNotes([...page.surface.notes, ...reply.notes, ...remarksOn(page.settings, reply.report)], reply.report);
    showEnd(reply);
    element("command").value = commandLine(page.part.file, page.settings);
    element("spoken").textContent = reply.summary.split("\n").slice(4, 7).map((line) => line.slice(10)).join(". ");
}

// What of the settings doesn't show in the drape.
function remarksOn({ allowance, keepGood }, { good, pattern, mould }) {
    const remarks = [];
    if (allowance > 0 && pattern.netArea > 0) {
        remarks.push({ text: `The cut line ${short(allowance)} outside the net is left to the program: the command under Save draws it. This page shows and saves the net line.`, weight: "change" });
    }
    if (keepGood && !good && mould.within === null) {
        remarks.push({ text: "Nothing around the seed is good cloth in one layer; the whole drape is kept.", weight: "warning" });
    }
    return remarks;
}

function showSettings() {
    const { settings } = page;
    const fill = (id, value) => {
        if (document.activeElement !== element(id)) {
            element(id).value = value ?? "";
        }
    };
    // Digits far below a cell are rounding.
    const fine = 1e-3 * Math.min(...(settings.step ?? page.surface?.steps ?? [1]));
    const decimals = Math.min(Math.max(Math.ceil(-Math.log10(fine)), 0), 20);
    settings.seed?.forEach((value, k) => {
        fill(`seed-${k}`, Number(value.toFixed(decimals)));
        element(`seed-${k}`).title = value;
    });
    fill("angle", Number(settings.angle.toFixed(3)));
    element("angle-range").value = settings.angle;
    fill("locking", settings.locking);
    element("locking-range").value = settings.locking;
    fill("step-a", settings.step && Number(settings.step[0].toPrecision(6)));
    fill("step-b", settings.step && Number(settings.step[1].toPrecision(6)));
    ["step-a", "step-b"].forEach((id, k) => {
        element(id).placeholder = page.surface ? `${short(page.surface.steps[k])}` : "";
    });
    element("side").value = settings.side?.join(",") ?? "";
    element("fill-holes").checked = settings.fillHoles;
    const chosen = { pivot: settings.pivot, area: areaOf(settings) };
    for (const [name, value] of Object.entries(chosen)) {
        for (const choice of all(`input[name="${name}"]`)) {
            choice.checked = choice.value === value;
        }
    }
    element("within-row").hidden = chosen.area !== "near";
    fill("within", typeof settings.within === "number" ? Number(settings.within.toPrecision(6)) : null);
    fill("name", settings.name);
    element("name").placeholder = page.part?.file.replace(/\.[^.]*$/, "") ?? "";
    element("undo").disabled = !page.history?.canGoBack;
    element("redo").disabled = !page.history?.canGoForth;
}

function applyTheme(theme) {
    document.documentElement.dataset.theme = theme;
    const style = getComputedStyle(document.documentElement);
    const colour = (name) => style.getPropertyValue(`--${name}`).trim();
    page.stage?.setTheme({
        light: colour("lit"), mould: colour("mould"), edge: colour("soft"), glow: colour("glow"), back: colour("back"),
        line: colour("net"), clothEdge: colour("alarm"), curve: colour("curve"),
    });
}

// ---- parts

// A part that can't be opened leaves the one that was there.
async function openInWorker(source) {
    page.opening?.stop();
    const engine = (page.opening = new Engine(page.assets.worker));
    try {
        await engine.ask("begin", { wasm: page.assets.wasm });
        const { part, settings: given, sweep } = await engine.ask("open", source);
        const settings = settingsFrom(given);
        element("chip-text").textContent = "Preparing the surface";
        const surface = await engine.ask("prepare", { settings, drawn: true });
        page.search = null;
        drapes.clear();
        page.engine.stop();
        Object.assign(page, { engine, part, result: null, perCell: 0 });
        clearResult();
        showSurface(surface, settings);
        return { settings, sweep };
    } catch (error) {
        engine.stop();
        throw error;
    } finally {
        page.opening = page.opening === engine ? null : page.opening;
    }
}

// `source` holds a file, or the part that came with the page. The results of that part's sweep.
async function openPart(source) {
    return busy(`Reading ${source.file ?? "the part"}`, async () => {
        const { settings, sweep } = await openInWorker(source);
        page.stage.fit(page.surface.towards);
        page.stage.fitPattern([0, 0, 0, 0]);
        if (page.surface.closed && !settings.within) {
            settings.within = "max"; // cloth needs an edge to end at
            page.surface.notes.push({ text: "the part is closed: the cloth ends at the edge of what drapes", weight: "change" });
        }
        element("problem").hidden = true;
        const later = !settings.seed && page.surface.triangles > mostToWaitFor;
        if (later) {
            settings.seed = page.surface.middle;
        } else if (!settings.seed) {
            Object.assign(settings, await findStart(settings));
        }
        beginWith(settings);
        await apply(settings);
        if (later) {
            const found = await findStart(settings).catch(() => null);
            if (found && page.settings === settings) {
                beginWith({ ...settings, ...found });
                await apply(page.initial);
            }
        }
        return sweep;
    });
}

function beginWith(settings) {
    page.initial = settings;
    page.history = new History(settings);
}

async function openFile(file) {
    const name = file.name;
    try {
        if (/\.json$/i.test(name)) {
            const settings = settingsOfReport(JSON.parse(await file.text()));
            await apply({ ...settings, seed: settings.seed ?? page.settings.seed });
            return;
        }
        await openPart({ file: name, blob: file });
    } catch (error) {
        complain(error instanceof SyntaxError ? new Error(`${name} isn't whole JSON`) : Object.assign(new Error(`can't read ${name}: ${error.message}`), { kind: error.kind }));
    }
}

// ---- starts

// The seed that the program would take, place by place, so that the worker stays free for drapes in between. Null once
// the search is given up.
async function findStart(settings) {
    const { engine } = page;
    const search = (page.search = {});
    return busy("Looking for a start", async () => {
        try {
            const { places } = await engine.ask("startPlaces", { settings });
            for (let place = 0; place < places; ++place) {
                element("chip-text").textContent = `Looking for a start, place ${place + 1} of ${places}`;
                await engine.ask("tryPlace", { settings: { ...settings, place } });
                if (page.search !== search) {
                    return null;
                }
            }
            return await engine.ask("bestPlace", { settings });
        } finally {
            page.search = page.search === search ? null : page.search;
        }
    });
}

async function bestStart() {
    if (!page.part) {
        return;
    }
    try {
        const settings = { ...page.settings };
        const found = await findStart(settings);
        if (found) {
            await change(found);
        }
    } catch (error) {
        complain(error);
    }
}

function clearSweep() {
    page.sweep?.stop();
    page.sweepCsv = null;
    page.marks.showSweep([], () => {});
    element("sweep-list").hidden = true;
    element("save-sweep").hidden = true;
}

async function runSweep() {
    if (page.sweep) {
        page.sweep.stop();
        return;
    }
    const progress = element("sweep-progress");
    const settings = { ...page.settings, angle: 0 };
    clearSweep();
    const sweep = (page.sweep = new Sweep());
    element("sweep").textContent = "Stop";
    try {
        const seeds = Number(element("sweep-seeds").value);
        const { candidates } = await page.engine.ask("candidates", { settings: { ...settings, seeds } });
        progress.hidden = false;
        const results = await sweep.run(page.assets, page.part, settings, candidates, (done, of) => {
            progress.max = of;
            progress.value = done;
        });
        if (results.length > 0 && page.sweep === sweep) {
            await rankSweep(results, settings);
        }
    } catch (error) {
        complain(error);
    } finally {
        page.sweep = null;
        progress.hidden = true;
        element("sweep").textContent = "Sweep starts";
    }
}

async function rankSweep(results, { within }) {
    const ranked = await page.engine.ask("rank", { settings: { results, within } });
    page.sweepCsv = ranked.csv;
    showSweep(ranked.results);
}

// `ranked` best first; of each seed the best angle stands for it.
function showSweep(ranked) {
    const seen = new Set();
    const starts = ranked.filter(({ seed }) => !seen.has(String(seed)) && seen.add(String(seed)));
    const most = Math.max(...starts.map((start) => start.largestShear), 1);
    const { locking } = page.settings;
    const scale = { top: most, locking: Math.min(locking, most) };
    const words = (start) =>
        !start.ran ? "can't be draped from here"
        : !start.whole ? `ended with code ${start.status}`
        : `${start.largestShear.toFixed(1)}° largest, ${start.meanShear.toFixed(1)}° mean`;
    const shown = starts.map((start) => ({
        ...start,
        colour: start.whole ? colourText(page.colours, scale, start.largestShear) : "#8b1e1a",
        words: words(start),
        label: `angle ${short(start.angle)}°: ${words(start)}, ${(100 * start.coveredShare).toFixed(0)} % covered`,
    }));
    const choose = ({ seed, angle }) => change({ seed, angle });
    page.marks.showSweep(shown, choose);
    const list = element("sweep-list");
    list.hidden = false;
    list.replaceChildren(
        ...shown.slice(0, 6).map((start, rank) => {
            const button = document.createElement("button");
            button.type = "button";
            const dot = document.createElement("i");
            dot.style.background = start.colour;
            const text = document.createElement("span");
            text.textContent = `${rank + 1}. ${start.whole ? `${start.largestShear.toFixed(1)}° max` : start.words}`;
            const more = document.createElement("small");
            more.textContent = start.whole ? `mean ${start.meanShear.toFixed(1)}°, at ${short(start.angle)}°` : `at ${short(start.angle)}°`;
            button.title = start.label;
            button.append(dot, text, more);
            button.addEventListener("click", () => choose(start));
            const item = document.createElement("li");
            item.append(button);
            return item;
        }),
    );
    element("save-sweep").hidden = false;
    element("spoken").textContent = `Sweep done. Best: ${shown[0].label}`;
}

// ---- hands

let grip = null; // what is dragged

function takeHold(event, kind) {
    if (!page.result || event.button !== 0) {
        return;
    }
    event.preventDefault();
    event.stopPropagation();
    grip = { kind, pointer: event.pointerId, offset: null };
    page.stage.controls.enabled = false;
    page.stage.hurry(true);
    event.target.setPointerCapture(event.pointerId);
    element("space").focus({ preventScroll: true });
    element("hint").style.opacity = 0;
    element("tip").hidden = true;
}

function pull(event) {
    if (!grip || event.pointerId !== grip.pointer) {
        return;
    }
    if (grip.kind === "seed") {
        const hit = page.stage.hitMould(event);
        if (hit) {
            page.marks.move(hit);
            change({ seed: hit.point.toArray().map((value, k) => value + page.stage.origin[k]) }, { dragging: true });
        }
        return;
    }
    const seen = page.marks.angleOf(page.stage.rayAt(event));
    if (seen !== null) {
        const { plyAngle, angle } = page.result.report.choice;
        const turned = ((Math.round(event.altKey ? 10 * seen : seen) / (event.altKey ? 10 : 1)) - plyAngle + angle);
        const wrapped = turned - 360 * Math.ceil((turned - 180) / 360);
        page.marks.turnTo(wrapped - angle + plyAngle);
        change({ angle: Number(wrapped.toFixed(6)) }, { dragging: true });
    }
}

function letGo(event) {
    if (grip && event.pointerId === grip.pointer) {
        grip = null;
        page.stage.controls.enabled = true;
        page.stage.hurry(false);
        apply(page.settings);
    }
}

let pointed = 0; // counts the places that were asked for

function hideTip() {
    ++pointed;
    if (!element("tip").hidden) {
        showTip(null, null);
    }
}

function showTip(event, cell) {
    page.stage.setHover(cell);
    const tip = element("tip");
    tip.hidden = !cell;
    if (cell) {
        tip.textContent = `shear ${Math.abs(cell.shear).toFixed(1)}°, warp yarn ${cell.row}, weft yarn ${cell.column}`;
        const left = Math.min(event.clientX + 16, window.innerWidth - tip.offsetWidth - 8);
        tip.style.left = `${left}px`;
        tip.style.top = `${Math.max(event.clientY - 38, 8)}px`;
    }
}

// The cell under the pointer, which the worker finds. Of many places only the newest is asked for.
const hover = new Latest(async ({ event, view }) => {
    const { engine, stage } = page;
    const asked = ++pointed;
    const over = view === "space" && event.target.closest("#handle, #ended, button, #sweep-marks");
    let cell = null;
    if (!over && view === "space") {
        const { reach, ...ray } = stage.sight(event);
        const found = await engine.ask("cellUnder", ray);
        cell = found.distance < reach ? found.cell : null;
    } else if (!over) {
        const [x, y] = stage.placeOnPattern(event);
        const [a, b] = page.result.report.choice.step;
        cell = (await engine.ask("cellAt", { column: Math.floor(x / a), row: Math.floor(y / b) })).cell;
    }
    if (asked === pointed && !drapes.busy && !grip) {
        showTip(event, cell);
    }
});

function hoverOver(event) {
    if (!grip && !event.buttons && page.result && !drapes.busy && !page.search && event.pointerType !== "touch") {
        hover.put({ event, view: event.currentTarget.id }).catch(() => {});
    }
}

function seedTo(event) {
    const hit = page.stage.hitMould(event);
    if (hit && page.result && !event.target.closest("button")) {
        change({ seed: hit.point.toArray().map((value, k) => value + page.stage.origin[k]) });
    }
}

// ---- keys

function step(along, across) {
    const { seed, warp, weft, step: [a, b] } = page.result.report.choice;
    const to = new Vector3(...seed).addScaledVector(new Vector3(...warp), along * a).addScaledVector(new Vector3(...weft), across * b);
    change({ seed: to.toArray() });
}

function turn(by) {
    const angle = page.settings.angle + by;
    change({ angle: Number((angle - 360 * Math.ceil((angle - 180) / 360)).toFixed(6)) });
}

function onKey(event) {
    const typing = event.target.matches("input:not([type=radio]):not([type=checkbox]):not([type=range]), textarea, select");
    const control = event.ctrlKey || event.metaKey;
    const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
    if (control && (key === "z" || key === "y") && !typing) {
        event.preventDefault();
        travel(key === "y" || event.shiftKey ? "forth" : "back");
        return;
    }
    if (typing || control || event.altKey || !page.result || document.querySelector("dialog[open]")) {
        return;
    }
    const far = event.shiftKey ? 5 : 1;
    const moves = { ArrowLeft: [-far, 0], ArrowRight: [far, 0], ArrowUp: [0, far], ArrowDown: [0, -far] };
    const inView = document.activeElement === element("space");
    const acts = {
        b: bestStart, s: runSweep, f: () => page.stage.fit(page.surface.towards),
        "?": () => element("help-sheet").showModal(),
        ",": () => turn(-1), ".": () => turn(1), "<": () => turn(-15), ">": () => turn(15), ";": () => turn(-15), ":": () => turn(15),
    };
    if (inView && moves[key]) {
        event.preventDefault();
        step(...moves[key]);
    } else if (acts[key]) {
        event.preventDefault();
        acts[key]();
    }
}

function travel(way) {
    if (page.history) {
        page.settings = page.history[way]();
        showSettings();
        drapes.put({ settings: page.settings, dragging: false });
    }
}

// ---- saving

async function saveAs(kind) {
    const stem = page.part.file.replace(/\.[^.]*$/, "");
    if (kind === "sweep") {
        save(`${stem}.sweep.csv`, page.sweepCsv, "text/csv");
    } else if (kind === "json") {
        const text = JSON.stringify({ ...page.result.report, settings: page.settings }, null, 2);
        save(`${stem}.json`, `${text}\n`, "application/json");
    } else {
        try {
            const { bytes } = await busy("Writing", () => page.engine.ask("file", { settings: { ...page.settings, kind } }));
            const endings = { csv: "fibres.csv", svg: "pattern.svg" };
            save(`${stem}.${endings[kind] ?? kind}`, bytes, kind === "svg" ? "image/svg+xml" : "application/octet-stream");
        } catch (error) {
            complain(error);
        }
    }
    element("save").open = false;
}

// ---- the page's own parts

function numberIn(id) {
    const text = element(id).value.trim();
    const value = Number(text);
    return text !== "" && Number.isFinite(value) ? value : null;
}

// The usual cells of a part are those of the whole, so a patch keeps the cells that are shown.
function changeArea(area, radius) {
    const within = { max: "max", near: radius > 0 ? radius : Number((Math.sqrt(page.surface.area) / 4).toPrecision(2)) }[area] ?? null;
    change({
        within,
        keepGood: area === "good",
        ...(area === "near" && page.result ? { step: page.settings.step ?? page.result.usualStep } : {}),
    });
}

const areaOf = ({ within, keepGood }) => (keepGood ? "good" : within === "max" ? "max" : within === null ? "" : "near");

function listenToSettings() {
    for (const k of [0, 1, 2]) {
        element(`seed-${k}`).addEventListener("change", () => {
            const value = numberIn(`seed-${k}`);
            if (value !== null && page.settings.seed) {
                change({ seed: page.settings.seed.map((old, n) => (n === k ? value : old)) });
            }
        });
    }
    for (const [name, low, high] of [["angle", -360000, 360000], ["locking", 0, 90]]) {
        element(name).addEventListener("change", () => {
            const value = numberIn(name);
            if (value !== null && value >= low && value <= high) {
                change({ [name]: value });
            }
            showSettings();
        });
        element(`${name}-range`).addEventListener("input", (event) => change({ [name]: Number(event.target.value) }, { dragging: true }));
        element(`${name}-range`).addEventListener("change", () => apply(page.settings));
    }
    for (const id of ["step-a", "step-b"]) {
        element(id).addEventListener("change", () => {
            const typed = numberIn(id);
            const other = numberIn(id === "step-a" ? "step-b" : "step-a");
            const pair = id === "step-a" ? [typed, other ?? typed] : [other ?? typed, typed];
            const lengths = typed === null ? (other === null ? null : [other, other]) : pair;
            if (lengths === null || lengths.every((length) => length > 0)) {
                change({ step: lengths });
            }
            showSettings();
        });
    }
    const scaleStep = (factor) => () => {
        const now = page.settings.step ?? page.surface?.steps;
        if (now) {
            change({ step: now.map((length) => Number((length * factor).toPrecision(3))) });
        }
    };
    element("finer").addEventListener("click", scaleStep(0.8));
    element("coarser").addEventListener("click", scaleStep(1.25));
    element("usual-step").addEventListener("click", () => change({ step: null }));
    for (const choice of all('input[name="pivot"]')) {
        choice.addEventListener("change", () => change({ pivot: choice.value }));
    }
    for (const choice of all('input[name="area"]')) {
        choice.addEventListener("change", () => changeArea(choice.value, numberIn("within")));
    }
    element("within").addEventListener("change", () => {
        const radius = numberIn("within");
        changeArea(radius > 0 ? "near" : "", radius);
        showSettings();
    });
    element("name").addEventListener("change", ({ target }) => change({ name: target.value.trim() || null }));
    element("side").addEventListener("change", ({ target }) =>
        change({ side: target.value ? target.value.split(",").map(Number) : null }));
    element("flip").addEventListener("click", () => {
        const towards = page.settings.side ?? page.surface?.towards;
        const normal = page.result?.report.choice.normal ?? [0, 0, 1];
        const from = towards?.some((value) => value !== 0) ? towards : normal;
        change({ side: from.map((value) => -value || 0) });
    });
    element("fill-holes").addEventListener("change", ({ target }) => change({ fillHoles: target.checked }));
    element("settings").addEventListener("submit", (event) => event.preventDefault());
}

function listenToViews() {
    element("seed-touch").addEventListener("pointerdown", (event) => takeHold(event, "seed"));
    element("knob-touch").addEventListener("pointerdown", (event) => takeHold(event, "angle"));
    window.addEventListener("pointermove", pull);
    window.addEventListener("pointerup", letGo);
    window.addEventListener("pointercancel", letGo);
    element("space").addEventListener("dblclick", seedTo);
    for (const id of ["space", "flat"]) {
        element(id).addEventListener("pointermove", hoverOver);
        element(id).addEventListener("pointerleave", hideTip);
    }
    element("fit").addEventListener("click", () => page.stage.fit(page.surface?.towards));
    element("fit-pattern").addEventListener("click", () => page.result && page.stage.fitPattern(page.result.report.pattern.extent));
    for (const button of all("#ended [data-do]")) {
        const acts = { best: bestStart, sweep: runSweep, good: () => changeArea("good"), max: () => changeArea("max") };
        button.addEventListener("click", acts[button.dataset.do]);
    }
    new ResizeObserver(() => page.result && showHistogram(page.result.report.shear, page.colours, page.scale)).observe(element("shear-panel"));
    new ResizeObserver(() => page.result && page.stage.followPattern(page.result.report.pattern.extent, false)).observe(element("flat"));
}

function listenToFiles() {
    element("open").addEventListener("change", ({ target }) => {
        if (target.files[0]) {
            openFile(target.files[0]);
        }
        target.value = "";
    });
    element("samples").addEventListener("change", async ({ target }) => {
        const sample = page.assets.samples.find(({ file }) => file === target.value);
        target.value = "";
        await openPart({ file: sample.file, blob: await sample.read() }).catch(complain);
    });
    window.addEventListener("dragover", (event) => {
        event.preventDefault();
        element("drop").hidden = false;
    });
    window.addEventListener("dragleave", (event) => {
        element("drop").hidden = event.relatedTarget === null;
    });
    window.addEventListener("drop", (event) => {
        event.preventDefault();
        element("drop").hidden = true;
        if (event.dataTransfer.files[0]) {
            openFile(event.dataTransfer.files[0]);
        }
    });
    for (const button of all("[data-save]")) {
        button.addEventListener("click", () => page.result && saveAs(button.dataset.save));
    }
    element("copy").addEventListener("click", async () => {
        element("command").select();
        await navigator.clipboard?.writeText(element("command").value).catch(() => document.execCommand("copy"));
        element("copy").textContent = "Copied";
        setTimeout(() => (element("copy").textContent = "Copy command"), 1500);
    });
    document.addEventListener("pointerdown", (event) => {
        if (!event.target.closest("#save")) {
            element("save").open = false;
        }
    });
}

function listenToButtons() {
    element("undo").addEventListener("click", () => travel("back"));
    element("redo").addEventListener("click", () => travel("forth"));
    element("reset").addEventListener("click", () => page.initial && apply(page.initial));
    element("best").addEventListener("click", bestStart);
    element("sweep").addEventListener("click", runSweep);
    element("stop").addEventListener("click", stopWork);
    element("help").addEventListener("click", () => element("help-sheet").showModal());
    element("theme").addEventListener("click", () =>
        applyTheme(document.documentElement.dataset.theme === "dark" ? "light" : "dark"));
    element("problem").querySelector("button").addEventListener("click", () => (element("problem").hidden = true));
    document.addEventListener("keydown", onKey);
}

async function begin() {
    page.assets = await ownAssets();
    await startEngine();
    page.stage = new Stage(element("canvas"), element("space"), element("flat"), page.colours);
    page.marks = new Marks(page.stage);
    page.stage.beforeDraw = () => page.marks.place();
    const dark = window.matchMedia("(prefers-color-scheme: dark)");
    applyTheme(dark.matches ? "dark" : "light");
    dark.addEventListener("change", () => applyTheme(dark.matches ? "dark" : "light"));
    for (const { file, title } of page.assets.samples) {
        element("samples").append(new Option(title, file));
    }
    listenToSettings();
    listenToViews();
    listenToFiles();
    listenToButtons();
    showSettings();
    const own = ownPart();
    if (own) {
        const sweep = await openPart({ packed: own });
        document.title = `${page.part.file} - Drape`;
        if (sweep.length > 0) {
            await rankSweep(sweep, page.settings);
        }
    } else {
        const sample = page.assets.samples[0];
        await openPart({ file: sample.file, blob: await sample.read() });
    }
}

begin().catch((error) => {
    document.body.dataset.state = "failed";
    complain(error);
});
