// The page's side of a worker: promises for its answers, and of drapes only the newest wish, so that a drag is
// never more than one drape behind the mouse.

export class Refused extends Error {
    constructor({ kind, text }) {
        super(text);
        this.kind = kind;
    }
}

export class Engine {
    #worker;
    #waiting = new Map();
    #next = 1;

    constructor(workerAddress) {
        this.#worker = new Worker(workerAddress);
        this.#worker.onmessage = ({ data }) => this.#settle(data.id, data);
        this.#worker.onerror = (event) => {
            event.preventDefault();
            this.#giveUp({ kind: "crash", text: event.message || "the worker stopped" });
        };
    }

    #settle(id, { reply, error }) {
        const waiting = this.#waiting.get(id);
        this.#waiting.delete(id);
        if (error) {
            waiting?.reject(new Refused(error));
        } else {
            waiting?.resolve(reply);
        }
    }

    #giveUp(error) {
        for (const id of [...this.#waiting.keys()]) {
            this.#settle(id, { error });
        }
    }

    ask(operation, message = {}, transfer = []) {
        return new Promise((resolve, reject) => {
            const id = this.#next++;
            this.#waiting.set(id, { resolve, reject });
            this.#worker.postMessage({ id, operation, ...message }, transfer);
        });
    }

    stop() {
        this.#worker.terminate();
        this.#giveUp({ kind: "stopped", text: "stopped" });
    }
}

// Runs `work` on the newest value handed in; those that come while it works wait, and only the last stays.
export class Latest {
    #work;
    #next = null;
    busy = false;

    constructor(work) {
        this.#work = work;
    }

    async put(value) {
        this.#next = { value };
        if (this.busy) {
            return;
        }
        this.busy = true;
        try {
            while (this.#next) {
                const { value: newest } = this.#next;
                this.#next = null;
                await this.#work(newest);
            }
        } finally {
            this.busy = false;
        }
    }

    get hasNewer() {
        return this.#next !== null;
    }

    clear() {
        this.#next = null;
    }
}
