// The two views, drawn by one graphics context behind the page: the mould with its cloth, and the flat pattern.
// Each is drawn into the place of an element of the page, and only when something has changed.

import {
    BufferAttribute,
    BufferGeometry,
    Color,
    Group,
    LineSegments,
    LineBasicMaterial,
    Mesh,
    OrthographicCamera,
    PerspectiveCamera,
    Raycaster,
    Scene,
    Vector2,
    Vector3,
    WebGLRenderer,
    MOUSE,
    TOUCH,
} from "three";
import { OrbitControls } from "three/examples/jsm/controls/OrbitControls.js";
import { LineMaterial } from "three/examples/jsm/lines/LineMaterial.js";
import { LineSegments2 } from "three/examples/jsm/lines/LineSegments2.js";
import { LineSegmentsGeometry } from "three/examples/jsm/lines/LineSegmentsGeometry.js";
import { acceleratedRaycast, MeshBVH } from "three-mesh-bvh";
import { MouldPicture } from "./mould_picture.js";
import { backgroundMaterial, clothMaterial, colourStrip, mouldMaterial } from "./materials.js";

Mesh.prototype.raycast = acceleratedRaycast;

const lineKinds = ["edge", "cloth", "curve"]; // of the pattern, where the cloth ends, carried onto it

// Drawing without a graphics card has no smooth edges; once nothing moves, one frame with more pixels has.
const restPixels = 2; // of the screen's, along each side
const restAfter = 160; // milliseconds
const soon = 12; // until to look again whether something is drawn

// While something is dragged, frames that take longer than this are drawn with fewer pixels. A canvas that
// changes its size waits for all that was drawn before, so that happens in two steps at most.
const slowFrame = 34; // milliseconds
const fewerPixels = { 1: 0.7, 0.7: 0.5 }; // of the screen's, along each side
const softwarePixels = 0.5; // from the start where there is no graphics card

// A view that moves, or is given the mould's parts, at such a pace is drawn with a coarser mould from then on, where there
// is one.
const slowTurn = 50; // milliseconds
const slowTurns = 3; // in a row

function meshGeometry({ position, normal, index }) {
    const geometry = new BufferGeometry();
    geometry.setAttribute("position", new BufferAttribute(position, 3));
    geometry.setAttribute("normal", new BufferAttribute(normal, 3));
    geometry.setIndex(new BufferAttribute(index, 1));
    return geometry;
}

function orbit(camera, element) {
    const controls = new OrbitControls(camera, element);
    controls.enableDamping = false;
    controls.zoomToCursor = true;
    return controls;
}

// Without a graphics card every pixel costs time.
function drawsInSoftware() {
    const context = document.createElement("canvas").getContext("webgl2");
    const details = context?.getExtension("WEBGL_debug_renderer_info");
    const name = details ? context.getParameter(details.UNMASKED_RENDERER_WEBGL) : "";
    context?.getExtension("WEBGL_lose_context")?.loseContext();
    return /swiftshader|llvmpipe|software|basic render/i.test(name);
}

export class Stage {
    #renderer;
    #scene = new Scene();
    #flatScene = new Scene();
    #part = new Group();
    #flat = new Group();
    #boxes = {}; // of both views within the canvas, in the page's pixels
    #wanted = false;
    #frame = Promise.resolve();
    #parts = []; // geometries of the mould's parts
    #partMeshes = new Group();
    #uploaded = 0; // parts that the graphics card has
    #slow = false; // all parts take too long for a frame
    #slowFrames = 0;
    #moving = false; // a hand turns the view
    #picture;
    #before = 0; // when the frame before was drawn
    #share = 1; // of the screen's pixels, along each side
    #hurried = false;
    #drawnSize = "";
    #software = false;
    #restTimer = 0;
    #untouched = true; // nobody has moved the pattern by hand
    #framed = null; // the side from which the whole mould is seen, until somebody moves it
    beforeDraw = () => {};

    constructor(canvas, mouldElement, patternElement, colours) {
        this.mouldElement = mouldElement;
        this.patternElement = patternElement;
        this.canvas = canvas;
        this.#software = this.#slow = drawsInSoftware();
        this.#renderer = new WebGLRenderer({
            canvas,
            antialias: !this.#software,
            alpha: false,
            powerPreference: "high-performance",
        });
        this.#renderer.setScissorTest(true);
        this.#renderer.autoClear = false;
        this.#renderer.debug.checkShaderErrors = false; // to ask waits until all shaders are compiled
        this.camera = new PerspectiveCamera(28, 1, 0.1, 1000);
        this.camera.up.set(0, 0, 1);
        this.controls = orbit(this.camera, mouldElement);
        this.flatCamera = new OrthographicCamera(-1, 1, 1, -1, -1000, 1000);
        this.flatControls = orbit(this.flatCamera, patternElement);
        this.flatControls.enableRotate = false;
        this.flatControls.mouseButtons = { LEFT: MOUSE.PAN, MIDDLE: MOUSE.DOLLY, RIGHT: MOUSE.PAN };
        this.flatControls.touches = { ONE: TOUCH.PAN, TWO: TOUCH.DOLLY_PAN };
        this.controls.addEventListener("change", () => this.draw());
        this.controls.addEventListener("start", () => {
            this.#framed = null;
            this.#moving = true;
        });
        this.controls.addEventListener("end", () => {
            this.#moving = false;
            this.draw();
        });
        this.flatControls.addEventListener("change", () => this.draw());
        this.flatControls.addEventListener("start", () => (this.#untouched = false));
        this.shared = {
            strip: { value: colourStrip(colours) },
            locking: { value: 45 },
            top: { value: 60 },
            light: { value: new Color() },
            glow: { value: new Color() },
            back: { value: new Color() },
            mould: { value: new Color() },
            bias: { value: 0 },
            hover: { value: { x: 0, y: 0, z: 0, w: 0 } },
        };
        this.#scene.add(this.#part);
        this.#flatScene.add(this.#flat);
        this.#makeObjects();
        new ResizeObserver(() => this.#layOut()).observe(mouldElement);
        new ResizeObserver(() => this.#layOut()).observe(patternElement);
        window.addEventListener("resize", () => this.#layOut());
        this.#layOut();
    }

    // Reads the views' places, once: to ask for them in every frame would lay out the page anew each time.
    #layOut() {
        const whole = this.canvas.getBoundingClientRect();
        for (const [view, element] of [["space", this.mouldElement], ["flat", this.patternElement]]) {
            const box = element.getBoundingClientRect();
            const { width, height } = box;
            this.#boxes[view] = { left: box.left - whole.left, bottom: whole.bottom - box.bottom, width, height };
        }
        Object.assign(this.#boxes, { width: whole.width, height: whole.height });
        if (this.#framed) {
            this.fit(this.#framed);
        }
        this.draw();
    }

    #makeObjects() {
        const fat = (width, dashed = false) =>
            new LineMaterial({ color: 0x000000, linewidth: width, dashed, dashSize: 1, gapSize: 0.7 });
        this.mouldMaterial = mouldMaterial({ ...this.shared, bias: { value: 0 } });
        this.biasedMaterial = mouldMaterial(this.shared);
        this.mouldMesh = new Mesh(new BufferGeometry(), this.mouldMaterial); // never drawn: only to be met by rays
        this.coarse = new Mesh(new BufferGeometry(), this.biasedMaterial);
        this.#picture = new MouldPicture(this.#renderer, this.shared.bias);
        this.edges = new LineSegments(new BufferGeometry(), new LineBasicMaterial());
        this.cloth = new Mesh(new BufferGeometry(), clothMaterial(this.shared, false));
        this.pattern = new Mesh(this.cloth.geometry, clothMaterial(this.shared, true));
        this.pattern.frustumCulled = this.cloth.frustumCulled = false;
        this.lines = {};
        for (const kind of lineKinds) {
            const width = kind === "edge" ? 1.8 : 2.2;
            this.lines[kind] = {
                space: new LineSegments2(new LineSegmentsGeometry(), fat(width)),
                flat: new LineSegments2(new LineSegmentsGeometry(), fat(width)),
            };
            this.#part.add(this.lines[kind].space);
            this.#flat.add(this.lines[kind].flat);
        }
        this.#part.add(this.#background(1), this.#picture.mesh, this.#partMeshes, this.coarse, this.edges, this.cloth);
        this.#flat.add(this.#background(0), this.pattern);
    }

    #background(spread) {
        const corners = new BufferGeometry();
        corners.setAttribute("position", new BufferAttribute(new Float32Array([-1, -1, 0, 3, -1, 0, -1, 3, 0]), 3));
        const mesh = new Mesh(corners, backgroundMaterial(this.shared.glow, this.shared.back, spread));
        mesh.frustumCulled = false;
        mesh.renderOrder = -1;
        return mesh;
    }

    setTheme({ light, mould, glow, back, edge, line, clothEdge, curve }) {
        for (const [name, value] of Object.entries({ light, mould, glow, back })) {
            this.shared[name].value.setStyle(value, "");
        }
        this.edges.material.color.setStyle(edge);
        for (const place of ["space", "flat"]) {
            this.lines.edge[place].material.color.setStyle(line);
            this.lines.cloth[place].material.color.setStyle(clothEdge);
            this.lines.curve[place].material.color.setStyle(curve);
        }
        this.draw();
    }

    setMould({ parts, coarse, outlines, origin, size }) {
        for (const geometry of this.#parts) {
            geometry.dispose();
        }
        this.#parts = parts.map(meshGeometry);
        this.#partMeshes.clear();
        this.#partMeshes.add(...this.#parts.map((geometry) => new Mesh(geometry, this.biasedMaterial)));
        this.#uploaded = 0;
        this.#picture.forget();
        this.coarse.geometry.dispose();
        this.coarse.geometry = coarse ? meshGeometry(coarse) : new BufferGeometry();
        this.hasCoarse = coarse !== null;
        this.sample = (coarse ?? parts[0]).position;
        this.mouldMesh.geometry = new BufferGeometry();
        const edges = new BufferGeometry();
        edges.setAttribute("position", new BufferAttribute(outlines, 3));
        this.edges.geometry.dispose();
        this.edges.geometry = edges;
        this.origin = origin;
        this.shared.bias.value = 0;
        this.setCloth(null);
        this.draw();
    }

    // Lets rays find the mould.
    setSearchTree({ position, tree }) {
        const geometry = new BufferGeometry();
        geometry.setAttribute("position", new BufferAttribute(position, 3));
        geometry.setIndex(new BufferAttribute(tree.index, 1));
        geometry.boundsTree = MeshBVH.deserialize(tree, geometry);
        this.mouldMesh.geometry = geometry;
    }

    setCloth(reply) {
        const geometry = new BufferGeometry();
        if (reply) {
            const { position, normal, flat, inCell, info, index } = reply.cloth;
            geometry.setAttribute("position", new BufferAttribute(position, 3));
            geometry.setAttribute("normal", new BufferAttribute(normal, 3));
            geometry.setAttribute("flatPlace", new BufferAttribute(flat, 2));
            geometry.setAttribute("inCell", new BufferAttribute(inCell, 2));
            geometry.setAttribute("info", new BufferAttribute(info, 3));
            geometry.setIndex(new BufferAttribute(index, 1));
            const [a, b] = reply.report.choice.step;
            this.shared.bias.value = 0.3 * Math.max(a, b);
        }
        this.cloth.geometry.dispose();
        this.cloth.geometry = this.pattern.geometry = geometry;
        for (const kind of lineKinds) {
            for (const place of ["space", "flat"]) {
                const line = this.lines[kind][place];
                const segments = reply?.net[kind][place] ?? [];
                line.geometry.dispose();
                line.geometry = new LineSegmentsGeometry();
                line.visible = segments.length > 0;
                if (line.visible) {
                    line.geometry.setPositions(segments);
                }
            }
        }
        this.setHover(null);
        this.draw();
    }

    setScale({ top, locking }) {
        this.shared.top.value = top;
        this.shared.locking.value = locking;
    }

    setHover(cell) {
        const hover = this.shared.hover.value;
        if (cell) {
            Object.assign(hover, { x: cell.column, y: cell.row, z: 1 });
        } else {
            hover.z = 0;
        }
        this.draw();
    }

    // Looks at the whole part from a corner on the side of the cloth.
    fit(towards = [0, 0, 1]) {
        const up = new Vector3(...towards);
        const from = new Vector3(-0.42, -0.78, 0.62);
        if (Math.abs(up.z) < 0.5) {
            from.copy(up).multiplyScalar(1.2).add(new Vector3(-0.3, -0.3, 0.45));
        } else if (up.z < 0) {
            from.z = -from.z;
        }
        const { width, height } = this.#boxes.space;
        const { away, target } = this.#framing(from.normalize(), width / Math.max(height, 1));
        this.#framed = towards;
        this.controls.target.copy(target);
        this.camera.position.copy(target).addScaledVector(from, away);
        this.camera.near = away / 200;
        this.camera.far = away * 6;
        this.camera.updateProjectionMatrix();
        this.controls.update();
        this.draw();
    }

    // How far off along `from`, and looking where, the part is seen whole and in the middle.
    #framing(from, aspect) {
        const right = new Vector3().crossVectors(this.camera.up, from).normalize();
        const up = new Vector3().crossVectors(from, right);
        const tall = Math.tan((0.5 * this.camera.fov * Math.PI) / 180) * 0.74;
        const wide = tall * aspect * 1.18;
        const every = 3 * Math.ceil(this.sample.length / 12000);
        const points = [];
        for (let n = 0; n < this.sample.length; n += every) {
            const point = new Vector3().fromArray(this.sample, n);
            points.push([point.dot(right), point.dot(up), point.dot(from)]);
        }
        let [x, y, away] = [0, 0, 0];
        for (let k = 0; k < 4; ++k) {
            away = points.reduce((most, [px, py, pz]) => Math.max(most, pz + Math.abs(px - x) / wide, pz + Math.abs(py - y) / tall), 0);
            const middle = (axis, offset) => {
                const seen = points.map((point) => (point[axis] - offset) / (away - point[2]));
                return seen.reduce((low, value) => Math.min(low, value)) + seen.reduce((high, value) => Math.max(high, value));
            };
            x += 0.5 * away * middle(0, x);
            y += 0.5 * away * middle(1, y);
        }
        return { away, target: right.multiplyScalar(x).addScaledVector(up, y) };
    }

    // Keeps a pattern in view that nobody has moved by hand, never larger than before if `steady`.
    followPattern(extent, steady) {
        if (this.#untouched) {
            this.fitPattern(extent, steady ? this.flatPerPixel : 0);
        }
    }

    // Shows all of a pattern of this extent (low x, low y, high x, high y), with at least `least` units in a pixel.
    fitPattern([lowX, lowY, highX, highY], least = 0) {
        const { width, height } = this.#boxes.flat;
        this.#untouched = true;
        if (!(highX > lowX) || width === 0) {
            return;
        }
        const heading = 56; // pixels
        const margin = 18;
        const perPixel = Math.max(
            least,
            (highX - lowX) / Math.max(width - 2 * margin, 1),
            (highY - lowY) / Math.max(height - heading - margin, 1),
        );
        const middle = [0.5 * (lowX + highX), 0.5 * (lowY + highY + (heading - margin) * perPixel)];
        this.flatPerPixel = perPixel;
        this.flatCamera.zoom = 1;
        this.flatControls.target.set(...middle, 0);
        this.flatCamera.position.set(...middle, 10);
        this.flatControls.update();
        this.draw();
    }

    // The ray through a pointer's place, and where it meets the mould: {point, normal} seen from the middle.
    #ray(event, element, camera) {
        const box = element.getBoundingClientRect();
        const x = ((event.clientX - box.left) / box.width) * 2 - 1;
        const y = 1 - ((event.clientY - box.top) / box.height) * 2;
        const caster = new Raycaster();
        caster.firstHitOnly = true;
        caster.setFromCamera(new Vector2(x, y), camera);
        return caster;
    }

    rayAt(event) {
        return this.#ray(event, this.mouldElement, this.camera).ray;
    }

    hitMould(event) {
        return this.#meets(this.#ray(event, this.mouldElement, this.camera));
    }

    #meets(caster) {
        if (!this.mouldMesh.geometry.boundsTree) {
            return null;
        }
        const [hit] = caster.intersectObject(this.mouldMesh);
        return hit ? { point: hit.point, normal: hit.face.normal, distance: hit.distance } : null;
    }

    // The ray under a pointer over the mould, and how far off cloth can be for the mould not to hide it.
    sight(event) {
        const caster = this.#ray(event, this.mouldElement, this.camera);
        const { origin, direction } = caster.ray;
        const reach = (this.#meets(caster)?.distance ?? Infinity) + this.shared.bias.value;
        return { from: origin.toArray(), along: direction.toArray(), reach };
    }

    // Where a pointer over the pattern points.
    placeOnPattern(event) {
        const { origin } = this.#ray(event, this.patternElement, this.flatCamera).ray;
        return [origin.x, origin.y];
    }

    // Where a point (from the middle) comes to lie on the page within the view over the mould, in pixels.
    toScreen(point) {
        const place = point.clone().project(this.camera);
        const { width, height } = this.#boxes.space;
        return { x: (0.5 + 0.5 * place.x) * width, y: (0.5 - 0.5 * place.y) * height, behind: place.z > 1 };
    }

    // The same for a place on the pattern.
    patternToScreen(x, y) {
        const place = new Vector3(x, y, 0).project(this.flatCamera);
        const { width, height } = this.#boxes.flat;
        return { x: (0.5 + 0.5 * place.x) * width, y: (0.5 - 0.5 * place.y) * height };
    }

    // Lengths in the mould's unit that a pixel shows at a point.
    unitPerPixel(point) {
        const distance = this.camera.position.distanceTo(point);
        return (2 * distance * Math.tan((0.5 * this.camera.fov * Math.PI) / 180)) / this.#boxes.space.height;
    }

    draw() {
        if (!this.#wanted) {
            this.#wanted = true;
            this.#frame = new Promise((done) => {
                requestAnimationFrame(() => {
                    this.#wanted = false;
                    this.#drawNow();
                    done();
                });
            });
        }
    }

    // Until what was last asked for is drawn.
    drawn() {
        return document.hidden ? Promise.resolve() : this.#frame;
    }

    #drawNow(resting = false) {
        clearTimeout(this.#restTimer);
        const coarse = this.hasCoarse && this.#slow;
        if ((this.#software || coarse) && !resting && !this.#hurried) {
            this.#restTimer = setTimeout(() => this.#afterDrawing(() => this.#rest()), restAfter);
        }
        const { width, height } = this.#boxes;
        if (!resting) {
            this.#keepPace();
        }
        const ratio = this.#pixelsOf(resting);
        const drawn = [width, height, ratio].join();
        if (drawn !== this.#drawnSize) {
            this.#drawnSize = drawn;
            this.#renderer.setDrawingBufferSize(width, height, ratio);
        }
        this.#fitCameras();
        this.#chooseMould();
        this.beforeDraw();
        this.#drawInto("space", this.#scene, this.camera);
        this.#drawInto("flat", this.#flatScene, this.flatCamera);
    }

    #pixelsOf(resting) {
        return Math.min(window.devicePixelRatio, 2) * (resting && this.#software ? restPixels : this.#share);
    }

    // All parts, or their picture, or the coarser mould until either can be shown.
    #chooseMould() {
        const pictured = this.#slow && this.hasCoarse && this.#picture.shows(this.#view());
        const whole = !this.hasCoarse || (!this.#slow && this.#uploaded >= this.#parts.length);
        this.#picture.mesh.visible = pictured;
        this.coarse.visible = !pictured && !whole;
        this.#partMeshes.visible = !pictured && !(this.hasCoarse && this.#slow);
        if (this.#partMeshes.visible && !whole) {
            ++this.#uploaded; // another one with this frame
            this.draw();
        }
        this.#partMeshes.children.forEach((part, n) => (part.visible = whole || n < this.#uploaded));
    }

    // What the picture of the mould depends on.
    #view() {
        const { width, height } = this.#boxes.space;
        return [...this.camera.matrixWorld.elements, ...this.camera.projectionMatrix.elements, width, height,
            this.shared.mould.value.getHex()].join();
    }

    // Calls `next` once all that was drawn so far is done. Until then a call that needs the graphics card's answer, such
    // as one to change the canvas's size, would hold up the page.
    #afterDrawing(next) {
        const context = this.#renderer.getContext();
        const fence = context.fenceSync(context.SYNC_GPU_COMMANDS_COMPLETE, 0);
        context.flush();
        const look = () => {
            if (context.isContextLost() || context.getSyncParameter(fence, context.SYNC_STATUS) === context.SIGNALED) {
                context.deleteSync(fence);
                next();
            } else {
                this.#restTimer = setTimeout(look, soon);
            }
        };
        this.#restTimer = setTimeout(look, soon);
    }

    // Nothing has moved for a while: the same once more with more pixels, and what of the mould was too much before.
    #rest() {
        this.#drawNow(true);
        if (this.hasCoarse && this.#slow && !this.#picture.shows(this.#view())) {
            this.#afterDrawing(() => this.#drawPart());
        }
    }

    #drawPart() {
        if (this.#moving || this.#hurried) {
            return;
        }
        const { width, height } = this.#boxes.space;
        const ratio = this.#pixelsOf(true);
        this.camera.updateMatrixWorld();
        if (this.#picture.drawPart(this.#view(), this.#parts, this.mouldMaterial, this.camera, ratio * width, ratio * height)) {
            this.#afterDrawing(() => this.#drawNow(true));
        } else {
            this.#afterDrawing(() => this.#drawPart());
        }
    }

    // Fewer pixels where frames follow each other too slowly.
    #keepPace() {
        const now = performance.now();
        const took = now - this.#before;
        this.#before = now;
        if (this.#hurried && took > slowFrame && took < 500) {
            this.#share = fewerPixels[this.#share] ?? this.#share;
        }
        if ((this.#moving || this.#uploaded < this.#parts.length) && this.hasCoarse && !this.#slow) {
            this.#slowFrames = took > slowTurn ? this.#slowFrames + 1 : 0;
            this.#slow = this.#slowFrames >= slowTurns;
        }
    }

    // While something is dragged, keeping up goes before sharpness.
    hurry(hurried) {
        this.#hurried = hurried;
        this.#share = hurried && this.#software ? softwarePixels : 1;
        this.draw();
    }

    #fitCameras() {
        const { space, flat } = this.#boxes;
        const { width, height } = space;
        this.camera.aspect = width / Math.max(height, 1);
        this.camera.updateProjectionMatrix();
        const perPixel = this.flatPerPixel ?? 1;
        const halfWidth = 0.5 * flat.width * perPixel;
        const halfHeight = 0.5 * flat.height * perPixel;
        Object.assign(this.flatCamera, { left: -halfWidth, right: halfWidth, top: halfHeight, bottom: -halfHeight });
        this.flatCamera.updateProjectionMatrix();
    }

    #drawInto(view, scene, camera) {
        const { left, bottom, width, height } = this.#boxes[view];
        for (const kind of lineKinds) {
            this.lines[kind][view].material.resolution.set(width, height);
        }
        this.#renderer.setViewport(left, bottom, width, height);
        this.#renderer.setScissor(left, bottom, width, height);
        this.#renderer.clearDepth();
        this.#renderer.render(scene, camera);
    }
}
