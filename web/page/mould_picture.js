// A picture of a mould that takes too long to be drawn in one frame: drawn part by part, a frame each, while the view
// rests, and then shown in the mould's place, with its depths, for as long as nobody moves the view. So the cloth can
// be draped anew over millions of triangles that are drawn once.

import {
    BufferAttribute,
    BufferGeometry,
    Color,
    CustomBlending,
    DepthTexture,
    FloatType,
    Group,
    Mesh,
    OneFactor,
    OneMinusSrcAlphaFactor,
    ShaderMaterial,
    WebGLRenderTarget,
} from "three";

export class MouldPicture {
    #renderer;
    #target = null;
    #key = ""; // of the view that it shows or begins to
    #next = 0; // part to be drawn
    #group = new Group();

    // `bias` is how much farther off than it is the mould is shown.
    constructor(renderer, bias) {
        this.#renderer = renderer;
        const corners = new BufferGeometry();
        corners.setAttribute("position", new BufferAttribute(new Float32Array([-1, -1, 0, 3, -1, 0, -1, 3, 0]), 3));
        this.mesh = new Mesh(corners, new ShaderMaterial({
            blending: CustomBlending,
            blendSrc: OneFactor,
            blendDst: OneMinusSrcAlphaFactor,
            uniforms: { colours: { value: null }, depths: { value: null }, bias, lens: { value: [0, 0] } },
            vertexShader: `
                varying vec2 vPlace;
                void main() {
                    vPlace = 0.5 + 0.5 * position.xy;
                    gl_Position = vec4(position.xy, 0.0, 1.0);
                }`,
            fragmentShader: `
                uniform sampler2D colours, depths;
                uniform float bias;
                uniform vec2 lens; // the two numbers of the projection that make a depth
                varying vec2 vPlace;
                void main() {
                    float depth = texture2D(depths, vPlace).r;
                    if (depth >= 1.0) discard;
                    float away = lens.y / (2.0 * depth - 1.0 + lens.x) + bias;
                    gl_FragDepth = 0.5 + 0.5 * (lens.y - lens.x * away) / away;
                    gl_FragColor = texture2D(colours, vPlace);
                }`,
        }));
        this.mesh.frustumCulled = false;
        this.mesh.renderOrder = -0.5;
        this.mesh.visible = false;
    }

    shows(key) {
        return this.#key === key && this.#next === Infinity;
    }

    forget() {
        this.#key = "";
    }

    // Draws the next of the `parts` as `key` sees them, in `width` by `height` pixels. True once none is left.
    drawPart(key, parts, material, camera, width, height) {
        if (this.#key !== key) {
            this.#begin(key, Math.max(Math.round(width), 1), Math.max(Math.round(height), 1));
        }
        const shown = new Mesh(parts[this.#next], material);
        this.#group.add(shown);
        this.#intoTarget(() => this.#renderer.render(this.#group, camera));
        this.#group.remove(shown);
        const [, , , , , , , , , , x, , , , y] = camera.projectionMatrix.elements;
        this.mesh.material.uniforms.lens.value = [x, y];
        this.#next = this.#next + 1 < parts.length ? this.#next + 1 : Infinity;
        return this.#next === Infinity;
    }

    #begin(key, width, height) {
        this.#key = key;
        this.#next = 0;
        if (this.#target?.width !== width || this.#target?.height !== height) {
            this.#target?.dispose();
            this.#target = new WebGLRenderTarget(width, height, { depthTexture: new DepthTexture(width, height, FloatType) });
            this.mesh.material.uniforms.colours.value = this.#target.texture;
            this.mesh.material.uniforms.depths.value = this.#target.depthTexture;
        }
        this.#intoTarget(() => this.#renderer.clear());
    }

    #intoTarget(draw) {
        const renderer = this.#renderer;
        const before = renderer.getClearAlpha();
        const colour = renderer.getClearColor(new Color());
        renderer.setClearColor(0x000000, 0);
        renderer.setRenderTarget(this.#target);
        draw();
        renderer.setRenderTarget(null);
        renderer.setClearColor(colour, before);
    }
}
