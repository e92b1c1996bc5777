// The settings of a drape, their history, and the command line that gives the same drape.

export const usual = Object.freeze({
    seed: null, // null: where the cloth shears least around the middle
    angle: 0,
    step: null, // null: about 40 cells across
    pivot: "grid",
    locking: 45,
    side: null, // null: the usual side
    rosette: null,
    warp: null,
    tolerance: null,
    mostNodes: null,
    fillHoles: false,
    weld: true,
    clips: [],
    within: null, // null: the whole surface; a distance; "max": the largest part that drapes in one layer
    keepGood: false, // of a drape that folds or locks, the good region alone
    millimetresPerUnit: 1,
    name: null, // null: that of the file
    allowance: 0, // of the cut line, which the program draws
    curves: [], // {file, name, points, directions}
    cutCurves: false, // where they leave the cloth
    passedOver: null, // the middle, where the seed was found beside it and nothing was changed since
});

// Those that change the surface itself.
const surfaceMembers = ["side", "fillHoles", "weld", "clips"];

export function sameSurface(a, b) {
    return surfaceMembers.every((name) => JSON.stringify(a[name]) === JSON.stringify(b[name]));
}

const isPoint = (value) => Array.isArray(value) && value.length === 3 && value.every(Number.isFinite);

const isCurve = ({ file, name, points, directions }) =>
    typeof file === "string" && typeof name === "string" && [points, directions].every((list) => Array.isArray(list) && list.every(isPoint)) &&
    points.length > 0 && (directions.length === 0 || directions.length === points.length);

const checks = {
    seed: isPoint,
    angle: Number.isFinite,
    step: (value) => Array.isArray(value) && value.length === 2 && value.every((length) => length > 0 && length < Infinity),
    pivot: (value) => value === "grid" || value === "shear",
    locking: (value) => value >= 0 && value <= 90,
    side: isPoint,
    rosette: isPoint,
    warp: isPoint,
    tolerance: (value) => value >= 0 && value < Infinity,
    mostNodes: (value) => Number.isInteger(value) && value >= 4 && value <= 50e6,
    fillHoles: (value) => typeof value === "boolean",
    weld: (value) => typeof value === "boolean",
    clips: (value) => Array.isArray(value) && value.every((c) => Array.isArray(c) && c.length === 6 && c.every(Number.isFinite)),
    within: (value) => value === "max" || (value > 0 && value < Infinity),
    keepGood: (value) => typeof value === "boolean",
    millimetresPerUnit: (value) => value > 0 && value < Infinity,
    name: (value) => typeof value === "string" && value !== "",
    allowance: (value) => value >= 0 && value < Infinity,
    curves: (value) => Array.isArray(value) && value.every((curve) => curve && isCurve(curve)),
    cutCurves: (value) => typeof value === "boolean",
    passedOver: isPoint,
};

// Members of `given` that are settings and make sense, over the usual ones.
export function settingsFrom(given) {
    const settings = { ...usual };
    for (const [name, check] of Object.entries(checks)) {
        const value = given?.[name];
        if (value !== undefined && value !== null && check(value)) {
            settings[name] = value;
        }
    }
    return settings;
}

// A direction of the program's words for a side, such as "towards -y".
function namedSide(text) {
    const [, sign, axis] = /^towards ([+-])([xyz])$/.exec(text ?? "") ?? [];
    return axis ? [..."xyz"].map((name) => (name === axis ? Number(`${sign}1`) : 0)) : null;
}

// Where a report counts its angle from, unless that is the usual direction, +x laid onto the surface.
function namedRosette({ rosette, normal }) {
    const laid = [1 - normal[0] * normal[0], -normal[0] * normal[1], -normal[0] * normal[2]];
    const length = Math.hypot(...laid);
    return laid.every((value, k) => Math.abs(value / length - rosette[k]) < 1e-9) ? null : rosette;
}

// The settings in a JSON file: one saved by this page, or a report of the program.
export function settingsOfReport(report) {
    if (report?.settings) {
        return settingsFrom(report.settings);
    }
    if (report?.format !== "drape-report") {
        throw new Error("this JSON holds no settings of a drape");
    }
    const { choice, shear, input, mould, good, cut } = report;
    return settingsFrom({
        ...choice,
        angle: choice.plyAngle,
        rosette: namedRosette(choice),
        warp: null,
        side: namedSide(choice.side),
        locking: shear.lockingAngle,
        millimetresPerUnit: input.millimetresPerUnit,
        within: mould.within,
        keepGood: good?.kept ?? false,
        allowance: cut?.allowance,
    });
}

const quoted = (text) => (/^[\w./:+,-]+$/.test(text) ? text : `'${text.replaceAll("'", "'\\''")}'`);

export function commandLine(file, settings, output = "part.html") {
    const words = ["drape", quoted(file.startsWith("-") ? `./${file}` : file)];
    const add = (option, value) => words.push(option, String(value));
    for (const clip of settings.clips) {
        add("--clip", clip);
    }
    for (const name of ["seed", "side", "rosette", "warp"]) {
        if (settings[name]) {
            add(`--${name}`, settings[name]);
        }
    }
    for (const [name, option] of [["angle", "--angle"], ["pivot", "--pivot"], ["locking", "--locking"], ["tolerance", "--tolerance"], ["within", "--within"], ["mostNodes", "--max-nodes"], ["allowance", "--allowance"]]) {
        if (settings[name] !== usual[name]) {
            add(option, settings[name]);
        }
    }
    if (settings.step) {
        add("--step", settings.step[0] === settings.step[1] ? settings.step[0] : settings.step);
    }
    if (settings.fillHoles) {
        words.push("--fill-holes");
    }
    if (!settings.weld) {
        words.push("--no-weld");
    }
    if (settings.keepGood) {
        add("--keep", "good");
    }
    for (const { file: drawn } of settings.curves) {
        add("--curve", quoted(drawn));
    }
    if (settings.cutCurves) {
        words.push("--curve-clip");
    }
    if (settings.name !== null) {
        add("--name", quoted(settings.name));
    }
    if (settings.millimetresPerUnit !== 1) {
        add("--units-mm", settings.millimetresPerUnit);
    }
    return [...words, "-o", output].join(" ");
}

export class History {
    #past = [];
    #future = [];

    constructor(now) {
        this.now = now;
    }

    // Takes `settings` as the present; an equal one is no step.
    commit(settings) {
        if (JSON.stringify(settings) !== JSON.stringify(this.now)) {
            this.#past.push(this.now);
            this.#future = [];
            this.now = settings;
        }
    }

    back() {
        if (this.canGoBack) {
            this.#future.push(this.now);
            this.now = this.#past.pop();
        }
        return this.now;
    }

    forth() {
        if (this.canGoForth) {
            this.#past.push(this.now);
            this.now = this.#future.pop();
        }
        return this.now;
    }

    get canGoBack() {
        return this.#past.length > 0;
    }

    get canGoForth() {
        return this.#future.length > 0;
    }
}
