// The library's side of a worker: calls by name with JSON, and views of the arrays that a reply names. Every
// view ends with the next call, since the memory can move.

const encoder = new TextEncoder();
const decoder = new TextDecoder();

export class CoreError extends Error {
    constructor({ kind, text }) {
        super(text);
        this.kind = kind;
    }
}

export class Core {
    // `load` is the factory that the compiler writes, `wasm` the module's bytes.
    static async start(load, wasm) {
        const core = new Core();
        core.module = await load({ wasmBinary: wasm, print: () => {}, printErr: () => {} });
        return core;
    }

    #fill(which, bytes) {
        const address = this.module._page_room(which, bytes.length) >>> 0;
        if (!address) {
            throw new CoreError({ kind: "memory", text: "there isn't enough memory for that" });
        }
        this.module.HEAPU8.set(bytes, address);
    }

    #reply(which) {
        const address = this.module._page_reply(which) >>> 0;
        return this.module.HEAPU8.subarray(address, address + (this.module._page_reply_length(which) >>> 0));
    }

    call(operation, json, bytes) {
        if (bytes) {
            this.#fill(1, bytes);
        }
        this.#fill(0, encoder.encode(`${operation}\n${JSON.stringify(json)}`));
        this.module._page_call();
        const reply = JSON.parse(decoder.decode(this.#reply(0)));
        if (reply.error) {
            throw new CoreError(reply.error);
        }
        return reply;
    }

    // Bytes of the file that the last call left, as a copy.
    bytes() {
        return this.#reply(1).slice();
    }

    doubles([address, count]) {
        return new Float64Array(this.module.HEAPU8.buffer, address, count);
    }

    ints([address, count]) {
        return new Int32Array(this.module.HEAPU8.buffer, address, count);
    }

    // Elements of `size` bytes, as bytes.
    records([address, count], size) {
        return { buffer: this.module.HEAPU8.buffer, address, count, size };
    }
}
