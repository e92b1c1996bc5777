// A sweep over starts: each worker of a pool holds the part and takes the next candidate as soon as it is free.

import { Engine } from "./engine.js";

const mostWorkers = 8;

export class Sweep {
    #engines = [];
    stopped = false;

    // `assets` of the page, the opened `part`, the settings. `tell` hears how many of how many are done.
    async run(assets, part, settings, candidates, tell) {
        const count = Math.min(Math.max((navigator.hardwareConcurrency || 2) - 1, 1), mostWorkers, candidates.length);
        const results = [];
        let next = 0;
        const work = async () => {
            const engine = new Engine(assets.worker);
            this.#engines.push(engine);
            await engine.ask("begin", { wasm: assets.wasm });
            await engine.ask("open", part);
            await engine.ask("prepare", { settings });
            while (next < candidates.length && !this.stopped) {
                const candidate = candidates[next++];
                results.push(await engine.ask("try", { settings: { ...settings, ...candidate } }));
                tell(results.length, candidates.length);
            }
            engine.stop();
        };
        try {
            await Promise.all(Array.from({ length: count }, work));
        } catch (error) {
            if (!this.stopped) {
                throw error;
            }
        } finally {
            this.#engines.forEach((engine) => engine.stop());
        }
        return results.sort((a, b) => a.candidate - b.candidate);
    }

    stop() {
        this.stopped = true;
        this.#engines.forEach((engine) => engine.stop());
    }
}
