// Puts the page together: one HTML file with the script, the worker's script, the library in WebAssembly and
// the samples inside. The policy in it names the page's own script and style by their hashes and lets nothing be
// fetched from anywhere.
//
//   node build.mjs --core page_core.js --samples FOLDER --out drape.html

import { createHash } from "node:crypto";
import { readFileSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { parseArgs } from "node:util";
import { gzipSync } from "node:zlib";
import { build } from "esbuild";

const here = dirname(fileURLToPath(import.meta.url));
const { values: options } = parseArgs({
    options: { core: { type: "string" }, samples: { type: "string" }, out: { type: "string" } },
});

const samples = {
    double_dome: "Double dome",
    hemisphere: "Hemisphere",
    saddle: "Saddle",
    corrugated_panel: "Corrugated panel",
    slit_dome: "Dome with a slit",
    notched_plate: "Notched plate",
    holed_plate: "Plate with a hole",
};

async function script(entry, format) {
    const result = await build({
        entryPoints: [join(here, "page", entry)],
        bundle: true,
        minify: true,
        write: false,
        format,
        target: "es2022",
        charset: "utf8",
        legalComments: "none",
        alias: { "page-core": options.core },
        // The compiler's loader asks for these where it runs in Node.js.
        external: ["fs", "path"],
    });
    return result.outputFiles[0].text;
}

const packed = (bytes) => gzipSync(bytes, { level: 9 }).toString("base64");
const hash = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;

const worker = await script("worker.js", "iife");
// Inside an HTML file a script ends at the first closing tag.
const page = (await script("main.js", "esm")).replaceAll("</script", "<\\/script");
const style = readFileSync(join(here, "page/style.css"), "utf8").replace(/\s*\n\s*/g, "\n");
const assets = JSON.stringify({
    worker: packed(worker),
    wasm: packed(readFileSync(options.core.replace(/\.js$/, ".wasm"))),
    samples: Object.entries(samples).map(([file, title]) => ({
        file: `${file}.obj`,
        title,
        data: packed(readFileSync(join(options.samples, `${file}.obj`))),
    })),
});
const policy = [
    "default-src 'none'",
    `script-src ${hash(page)} 'wasm-unsafe-eval' blob:`,
    "worker-src blob:",
    `style-src ${hash(style)}`,
    "img-src data:",
    "base-uri 'none'",
    "form-action 'none'",
].join("; ");

const parts = { "@POLICY@": policy, "@STYLE@": style, "@ASSETS@": assets, "@SCRIPT@": page };
const html = readFileSync(join(here, "page/index.html"), "utf8").replace(/@[A-Z]+@/g, (name) => parts[name]);
writeFileSync(options.out, html);
