// The thread of an Inventory: it alone calls the library, and stays connected to WMI until it ends.
import { existsSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { parentPort, workerData } from 'node:worker_threads';
import koffi from 'koffi';
import { kinds } from './documents.js';

const MODULE_NOT_FOUND = 126;

// Loads the library with its imports from its own folder and the system's. It stays loaded until the process ends.
function load(path) {
    let error = 0;
    if (process.platform === 'win32') {
        const kernel32 = koffi.load('kernel32.dll');
        const loadLibrary = kernel32.func('intptr_t LoadLibraryExW(str16 path, intptr_t file, uint32_t flags)');
        const getLastError = kernel32.func('uint32_t GetLastError()');
        error = loadLibrary(path, 0, 0x100 | 0x800) ? 0 : getLastError(); // LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR, ..._SYSTEM32
    }
    // Windows reports the library as missing also where one of its imports is.
    const needed = error === MODULE_NOT_FOUND ? [path, join(dirname(path), 'vm_detect.dll')] : [path];
    const missing = needed.find(file => !existsSync(file));
    if (missing !== undefined)
        throw Object.assign(new Error(`Cannot load ${path}: ${missing} is missing.`), { code: 'ENOENT', path: missing });
    if (error !== 0)
        throw new Error(`Cannot load ${path}: error ${error}.`);
    return koffi.load(path);
}

const library = load(workerData.path);
const text = koffi.disposable('str', library.func('void release_buffer(void *buffer)'));
const parameters = [koffi.out(koffi.pointer(text)), koffi.out(koffi.pointer('size_t'))];
const find = Object.fromEntries(
    kinds.map(kind => [kind, library.func(`hardware_inventory_find_${kind.replace('-', '_')}`, 'uint32_t', parameters)]));
const record = koffi.struct(
    { stackTrace: 'str', file: 'str', function: 'str', line: 'int64_t', message: 'str', errorText: 'str' });
const getException = library.func('hardware_inventory_get_exception', koffi.pointer(record), []);
const logger = koffi.pointer(koffi.proto('void', ['uint32_t', 'str']));
const setLogger = library.func('hardware_inventory_set_logger', 'void', [logger]);
const log = workerData.log ? koffi.register((...line) => parentPort.postMessage({ log: line }), logger) : null;

function collect(kind) {
    const document = [null];
    const size = [0];
    setLogger(log); // that of the Inventory whose call runs
    const status = find[kind](document, size);
    setLogger(null);
    if (status === 0)
        return { document: document[0] };
    // A call that fails with its size written had no memory for the document, and the record is that of an earlier failure.
    return { status, record: Number(size[0]) === 0 ? koffi.decode(getException(), record) : {} };
}

parentPort.on('message', kind => kind === null ? parentPort.close() : parentPort.postMessage(collect(kind)));
parentPort.postMessage('loaded');
