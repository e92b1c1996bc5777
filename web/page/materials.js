// How the surfaces look: shear as colour from one strip of colours, cell borders as fine lines that fade where
// cells get too small, the cell under the pointer and its two yarns lit up. The mould is drawn a little farther
// off than it is, so that cloth whose cells cut across a bend stays in front of it.

import { DataTexture, DoubleSide, LinearFilter, RGBAFormat, ShaderMaterial, UnsignedByteType } from "three";

const half = 128;

export function colourStrip({ cool, hot }) {
    const texels = new Uint8Array(4 * 2 * half);
    [cool, hot].forEach((list, which) => {
        for (let k = 0; k < half; ++k) {
            texels.set([...list.slice(3 * k, 3 * k + 3), 255], 4 * (which * half + k));
        }
    });
    const strip = new DataTexture(texels, 2 * half, 1, RGBAFormat, UnsignedByteType);
    strip.minFilter = strip.magFilter = LinearFilter;
    strip.needsUpdate = true;
    return strip;
}

// The same as text for a style sheet.
export function colourText({ cool, hot }, { top, locking }, shear) {
    const angle = Math.abs(shear);
    const list = angle > locking ? hot : cool;
    const share = angle > locking ? (angle - locking) / Math.max(top - locking, 1e-9) : angle / locking;
    const at = 3 * Math.round((half - 1) * Math.min(Math.max(share, 0), 1));
    return `rgb(${list[at]} ${list[at + 1]} ${list[at + 2]})`;
}

// What is seen behind everything: light in the middle, darker towards the edges.
export function backgroundMaterial(glow, back, spread) {
    return new ShaderMaterial({
        depthTest: false,
        depthWrite: false,
        uniforms: { glow, back, spread: { value: spread } },
        vertexShader: `
            varying vec2 vPlace;
            void main() {
                vPlace = position.xy;
                gl_Position = vec4(position.xy, 0.0, 1.0);
            }`,
        fragmentShader: `
            uniform vec3 glow, back;
            uniform float spread;
            varying vec2 vPlace;
            void main() {
                float away = length((vPlace - vec2(0.0, 0.16)) / vec2(1.8, 1.5)) * spread;
                gl_FragColor = vec4(mix(glow, back, min(away, 1.0)), 1.0);
            }`,
    });
}

const lighting = `
float shade(vec3 normal) {
    vec3 n = normalize(gl_FrontFacing ? normal : -normal);
    float key = max(dot(n, normalize(vec3(0.35, 0.6, 0.72))), 0.0);
    float fill = max(dot(n, normalize(vec3(-0.6, -0.1, 0.5))), 0.0);
    return (gl_FrontFacing ? 1.0 : 0.72) * (0.62 + 0.36 * key + 0.10 * fill);
}`;

export function clothMaterial(shared, flat) {
    return new ShaderMaterial({
        side: DoubleSide,
        uniforms: { ...shared },
        vertexShader: `
            attribute vec2 flatPlace;
            attribute vec2 inCell;
            attribute vec3 info;
            varying vec2 vCell;
            varying vec3 vInfo;
            varying vec3 vNormal;
            void main() {
                vCell = inCell;
                vInfo = info;
                vNormal = normalMatrix * normal;
                vec3 place = ${flat ? "vec3(flatPlace, 0.0)" : "position"};
                gl_Position = projectionMatrix * modelViewMatrix * vec4(place, 1.0);
            }`,
        fragmentShader: `
            uniform sampler2D strip;
            uniform float locking, top;
            uniform vec3 light;
            uniform vec4 hover; // column, row, whether there is one, whether yarns are lit
            varying vec2 vCell;
            varying vec3 vInfo;
            varying vec3 vNormal;
            ${lighting}
            vec3 shearColour(float shear) {
                float angle = abs(shear);
                float part = angle <= locking ? 0.5 + 127.0 * angle / locking
                                              : 128.5 + 127.0 * min((angle - locking) / max(top - locking, 1e-6), 1.0);
                return texture2D(strip, vec2(part / 256.0, 0.5)).rgb;
            }
            void main() {
                vec3 colour = shearColour(vInfo.x);
                vec2 width = fwidth(vCell);
                vec2 inside = smoothstep(vec2(0.0), 1.1 * width, min(vCell, 1.0 - vCell));
                float line = 1.0 - min(inside.x, inside.y);
                float near = 1.0 - smoothstep(0.10, 0.34, max(width.x, width.y));
                colour = mix(colour, colour * 0.62, line * near * 0.85);
                vec2 same = step(abs(vInfo.yz - hover.xy), vec2(0.5));
                float yarn = hover.z * max(same.x, same.y);
                float cell = hover.z * same.x * same.y;
                colour = mix(colour, light, yarn * 0.30 + cell * 0.45);
                ${flat ? "" : "colour *= shade(vNormal);"}
                gl_FragColor = vec4(colour, 1.0);
            }`,
    });
}

export function mouldMaterial(shared) {
    return new ShaderMaterial({
        side: DoubleSide,
        uniforms: { ...shared },
        vertexShader: `
            uniform float bias;
            varying vec3 vNormal;
            void main() {
                vNormal = normalMatrix * normal;
                vec4 seen = modelViewMatrix * vec4(position, 1.0);
                gl_Position = projectionMatrix * seen;
                vec4 behind = projectionMatrix * (seen - vec4(0.0, 0.0, bias, 0.0));
                gl_Position.z = behind.z / behind.w * gl_Position.w;
            }`,
        fragmentShader: `
            uniform vec3 mould;
            varying vec3 vNormal;
            ${lighting}
            void main() {
                gl_FragColor = vec4(mould * shade(vNormal), 1.0);
            }`,
    });
}
