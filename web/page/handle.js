// What lies over the views as marks: the seed with its ring to turn the cloth by, the starts of a sweep, the
// place where a run ended, and on the pattern the seed with warp and weft.

import { Vector3 } from "three";

const ringRadius = 58; // pixels
const labelAway = 22; // pixels at least between the knob and the angle
const points = 64;

const element = (id) => document.getElementById(id);
const at = ({ x, y }) => `${x.toFixed(1)} ${y.toFixed(1)}`;
const moveTo = (node, { x, y }) => node.setAttribute("transform", `translate(${x.toFixed(1)} ${y.toFixed(1)})`);
const shiftTo = (node, { x, y }) => (node.style.transform = `translate(${x.toFixed(1)}px, ${y.toFixed(1)}px)`);
const asPoint = (value, origin) => new Vector3(value[0] - origin[0], value[1] - origin[1], value[2] - origin[2]);

export class Marks {
    #stage;
    #waiting = 0;
    #pose = null; // seed, warp, weft, normal, rosette seen from the middle of the part

    constructor(stage) {
        this.#stage = stage;
    }

    show(choice) {
        const { origin } = this.#stage;
        this.#pose = choice && {
            seed: asPoint(choice.seed, origin),
            warp: new Vector3(...choice.warp),
            weft: new Vector3(...choice.weft),
            normal: new Vector3(...choice.normal),
            rosette: new Vector3(...choice.rosette),
            plyAngle: choice.plyAngle,
            step: choice.step,
        };
        element("handle").toggleAttribute("hidden", !choice);
        element("flat-marks").toggleAttribute("hidden", !choice);
        this.#stage.draw();
    }

    // Follows the pointer ahead of the drape.
    move({ point, normal }) {
        const pose = this.#pose;
        pose.seed = point.clone();
        for (const axis of [pose.warp, pose.weft, pose.rosette]) {
            axis.addScaledVector(normal, -axis.dot(normal)).normalize();
        }
        pose.normal = normal.clone();
        this.#placeSoon();
    }

    // Degrees from the rosette to where a ray meets the seed's plane.
    angleOf(ray) {
        const { seed, normal, rosette } = this.#pose;
        const along = ray.direction.dot(normal);
        if (Math.abs(along) < 1e-6) {
            return null;
        }
        const to = ray.at(seed.clone().sub(ray.origin).dot(normal) / along, new Vector3()).sub(seed);
        const across = new Vector3().crossVectors(normal, rosette);
        return (Math.atan2(to.dot(across), to.dot(rosette)) * 180) / Math.PI;
    }

    turnTo(plyAngle) {
        const pose = this.#pose;
        const across = new Vector3().crossVectors(pose.normal, pose.rosette);
        const radians = (plyAngle * Math.PI) / 180;
        pose.warp = pose.rosette.clone().multiplyScalar(Math.cos(radians)).addScaledVector(across, Math.sin(radians));
        pose.weft = new Vector3().crossVectors(pose.normal, pose.warp);
        pose.plyAngle = plyAngle;
        this.#placeSoon();
    }

    // The marks alone, as nothing else has changed yet.
    #placeSoon() {
        if (!this.#waiting) {
            this.#waiting = requestAnimationFrame(() => {
                this.#waiting = 0;
                this.place();
            });
        }
    }

    // Called before each frame: brings all marks to where they are seen.
    place() {
        if (this.#pose) {
            this.#placeHandle();
            this.#placeOnPattern();
        }
        if (this.end) {
            moveTo(element("end-mark"), this.#stage.toScreen(this.end));
        }
        for (const mark of this.sweep ?? []) {
            moveTo(mark.node, this.#stage.toScreen(mark.point));
        }
    }

    #placeHandle() {
        const { seed, warp, weft, normal, plyAngle } = this.#pose;
        const radius = ringRadius * this.#stage.unitPerPixel(seed);
        const centre = this.#stage.toScreen(seed);
        const place = (along, across) => {
            const { x, y } = this.#stage.toScreen(seed.clone().addScaledVector(warp, along * radius).addScaledVector(weft, across * radius));
            return { x: x - centre.x, y: y - centre.y };
        };
        const ring = Array.from({ length: points }, (_, k) => {
            const turn = (2 * Math.PI * k) / points;
            return at(place(Math.cos(turn), Math.sin(turn)));
        });
        const path = `M${ring.join("L")}Z`;
        element("ring").setAttribute("d", path);
        element("ring-back").setAttribute("d", path);
        const knob = place(1, 0);
        element("warp-arm").setAttribute("d", `M0 0L${at(knob)}`);
        element("weft-arm").setAttribute("d", `M0 0L${at(place(0, 1))}`);
        moveTo(element("knob"), knob);
        moveTo(element("knob-touch"), knob);
        shiftTo(element("handle"), centre);
        const away = Math.max(Math.hypot(knob.x, knob.y), 1);
        const beyond = Math.max(1.42, 1 + labelAway / away);
        const label = { x: beyond * knob.x, y: beyond * knob.y };
        moveTo(element("angle-text"), { x: label.x, y: label.y + 4 });
        element("angle-text").textContent = `${Number(plyAngle.toFixed(1))}°`;
        const hidden = normal.dot(this.#stage.camera.position.clone().sub(seed)) < 0;
        element("handle").style.opacity = hidden ? 0.45 : 1;
    }

    #placeOnPattern() {
        shiftTo(element("flat-marks"), this.#stage.patternToScreen(0, 0));
    }

    showEnd(place) {
        this.end = place ? asPoint(place, this.#stage.origin) : null;
        element("end-mark").toggleAttribute("hidden", !place);
    }

    // Starts of a sweep, best first: {seed, colour, label, whole}.
    showSweep(starts, choose) {
        const group = element("sweep-marks");
        group.replaceChildren();
        this.sweep = starts.map((start, rank) => {
            const node = document.createElementNS(group.namespaceURI, "g");
            const disc = document.createElementNS(group.namespaceURI, "circle");
            disc.setAttribute("r", rank === 0 ? "11" : "8");
            disc.setAttribute("fill", start.colour);
            const title = document.createElementNS(group.namespaceURI, "title");
            title.textContent = start.label;
            const text = document.createElementNS(group.namespaceURI, "text");
            text.textContent = start.whole ? (rank < 9 ? rank + 1 : "") : "×";
            node.classList.toggle("first", rank === 0);
            node.append(title, disc, text);
            node.addEventListener("click", () => choose(start));
            group.prepend(node);
            return { node, point: asPoint(start.seed, this.#stage.origin) };
        });
        this.#stage.draw();
    }
}
