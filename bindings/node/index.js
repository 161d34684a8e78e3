// The hardware inventory of a Windows machine, through hw_inventory_interface.dll. index.d.ts describes what is exported.
import { once } from 'node:events';
import { resolve } from 'node:path';
import { isMainThread, Worker } from 'node:worker_threads';
import koffi from 'koffi';
import { kinds, sizes } from './documents.js';

export { kinds };

export class InventoryError extends Error {
    name = 'InventoryError';

    constructor(kind, status, { line, ...texts }) {
        super([kind, `status ${status}`, texts.errorText, texts.message?.trim()].filter(Boolean).join(': '));
        const record = { message: '', errorText: '', file: '', function: '', line: Number(line ?? 0), stackTrace: '' };
        for (const key in texts)
            record[key] = texts[key] ?? '';
        Object.assign(this, { kind, status, record });
    }
}

export class BusyError extends Error {
    name = 'BusyError';
    message = 'An earlier call has not come back.';
}

export class ClosedError extends Error {
    name = 'ClosedError';
    message = 'The inventory is closed.';
}

// JSON.parse rounds numbers above 2^53, so the 64-bit ones are quoted before it. A quote inside a text follows a backslash: what
// these expressions find is a key.
const KEY = String.raw`(?<!\\)("(?:${sizes.join('|')})"\s*:\s*)`;
const PLAIN = new RegExp(String.raw`${KEY}(0|[1-9]\d*)(?![\d.eE])`, 'g');
const QUOTED = new RegExp(String.raw`${KEY}"(\d+)"`, 'g');

export function parse(json) {
    const exact = (key, value) => typeof value === 'string' && sizes.includes(key) ? BigInt(value) : value;
    return JSON.parse(json.replace(PLAIN, '$1"$2"'), exact);
}

export function stringify(document) {
    const quoted = (key, value) => typeof value === 'bigint' ? String(value) : value;
    return JSON.stringify(document, quoted).replace(QUOTED, '$1$2');
}

// The library serves one call at a time in a process.
let running = null;
let waiting = [];

function next() {
    process.off('exit', end).off('uncaughtExceptionMonitor', report);
    running = waiting.shift() ?? null;
    if (!running)
        return;
    if (isMainThread)
        process.on('exit', end).on('uncaughtExceptionMonitor', report);
    running.start();
}

function leave(call, reason) {
    call.reject(reason);
    call.left = true;
    const behind = waiting.filter(each => call === running && each.inventory === call.inventory);
    behind.forEach(each => each.reject(new BusyError()));
    waiting = waiting.filter(each => each !== call && !behind.includes(each));
}

// Node would wait at its end for the thread of the running call, which may never come back.
function end(code) {
    if (process.platform === 'win32')
        koffi.load('kernel32.dll').func('int TerminateProcess(intptr_t process, uint32_t code)')(-1, code);
    else
        koffi.load(null).func('void _exit(int code)')(code);
}

// Node reports an exception after it has called end.
function report(error) {
    if (process.listenerCount('uncaughtException') === 0)
        console.error(error);
}

export class Inventory {
    #worker;
    #closed = false;
    #wanted = 0; // calls that somebody waits for

    static async open(path, { log } = {}) {
        const data = { path: resolve(path), log: log !== undefined };
        const worker = new Worker(new URL('worker.js', import.meta.url), { workerData: data });
        await once(worker, 'message'); // rejects with what the worker throws
        return new Inventory(worker, log);
    }

    constructor(worker, log) {
        this.#worker = worker;
        worker.on('message', message => message.log ? log(...message.log) : this.#finish(message));
        worker.on('error', error => {
            this.#leaveAll(error);
            this.#finish({});
        });
        worker.unref(); // listeners have it wait again
    }

    async collect(kind, options) {
        return parse(await this.collectJSON(kind, options));
    }

    async collectJSON(kind, { signal, timeout = 60000 } = {}) {
        if (!kinds.includes(kind))
            throw new TypeError(`No kind ${kind}`);
        if (!(timeout >= 0))
            throw new RangeError(`No time limit: ${timeout}`);
        signal?.throwIfAborted();
        if (this.#closed)
            throw new ClosedError();
        if (running?.left && running.inventory === this)
            throw new BusyError();

        const call = { inventory: this, kind, left: false, start: () => this.#worker.postMessage(kind) };
        const result = new Promise((resolve, reject) => Object.assign(call, { resolve, reject }));
        const expire = () => leave(call, new DOMException(`${kind}: timed out`, 'TimeoutError'));
        const timer = timeout < 2 ** 31 ? setTimeout(expire, timeout) : undefined; // a timer takes no more
        const abort = () => leave(call, signal.reason);
        signal?.addEventListener('abort', abort);
        if (this.#wanted++ === 0)
            this.#worker.ref();
        waiting.push(call);
        if (!running)
            next();
        try {
            return await result;
        } finally {
            clearTimeout(timer);
            signal?.removeEventListener('abort', abort);
            if (--this.#wanted === 0)
                this.#worker.unref();
        }
    }

    close() {
        if (this.#closed)
            return;
        this.#leaveAll(new ClosedError());
        this.#worker.postMessage(null); // it ends after its call
    }

    #leaveAll(reason) {
        this.#closed = true;
        for (const call of [...waiting, running])
            if (call?.inventory === this)
                leave(call, reason);
    }

    #finish({ document, status, record }) {
        const call = running;
        if (call?.inventory !== this)
            return;
        if (document !== undefined)
            call.resolve(document);
        else if (!call.left)
            call.reject(new InventoryError(call.kind, status, record));
        next();
    }
}
