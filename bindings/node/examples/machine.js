// Prints the hardware inventory of this machine, one document a line.
//     machine.js [--json] [--log] [--limit MS] [--retry MS] [--times N] LIBRARY [KIND...]
//     --json      as the library wrote the documents
//     --log       with the library's log
//     --limit     the longest that a collection may take
//     --retry     how long to try again while an earlier collection is not back
//     --times     how often to collect
import { setTimeout } from 'node:timers/promises';
import { parseArgs } from 'node:util';
import { BusyError, Inventory, InventoryError, kinds, stringify } from '../index.js';

const { values, positionals } = parseArgs({
    allowPositionals: true,
    options: {
        json: { type: 'boolean', default: false },
        log: { type: 'boolean', default: false },
        limit: { type: 'string', default: '60000' },
        retry: { type: 'string', default: '0' },
        times: { type: 'string', default: '1' },
    },
});
const [library, ...wanted] = positionals;
if (library === undefined) {
    console.log('usage: machine.js [--json] [--log] [--limit MS] [--retry MS] [--times N] LIBRARY [KIND...]');
    process.exit(64);
}

// Waits for the reader, so that lines do not pile up.
const say = line => new Promise(written => process.stdout.write(`${line}\n`, written));

async function collect(inventory, kind) {
    const options = { timeout: Number(values.limit) };
    try {
        return values.json ? await inventory.collectJSON(kind, options) : stringify(await inventory.collect(kind, options));
    } catch (error) {
        if (error instanceof InventoryError)
            return `${error.message} (${error.record.function} in ${error.record.file}, line ${error.record.line})`;
        if (error instanceof BusyError)
            return `${kind}: busy`;
        return error.message;
    }
}

async function print(inventory, kind) {
    const busy = `${kind}: busy`;
    const end = Date.now() + Number(values.retry);
    let line = await collect(inventory, kind);
    if (line === busy)
        await say(busy);
    while (line === busy && Date.now() < end) {
        await setTimeout(50);
        line = await collect(inventory, kind);
    }
    if (line !== busy)
        await say(line);
}

try {
    const log = values.log ? (level, message) => say(`log ${level}: ${message}`) : undefined;
    const inventory = await Inventory.open(library, { log });
    for (let time = 0; time < Number(values.times); time++)
        for (const kind of wanted.length > 0 ? wanted : kinds)
            await print(inventory, kind);
    // Left open: an Inventory keeps no process alive.
} catch (error) {
    console.log(error.message);
    process.exitCode = 1;
}
