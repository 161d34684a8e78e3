import type { Documents, Kind } from './documents.js';

export * from './documents.js';

/** The level of a log line: information, warning (a value could not be read), error (a call fails), trace. */
export type Level = 0 | 1 | 2 | 3;

export interface CollectOptions {
    /** Ends the waiting with the signal's reason. */
    signal?: AbortSignal;
    /** The longest to wait in milliseconds, from now on; 60000 by default, Infinity for no limit. */
    timeout?: number;
}

/** Collects documents. The calls of an Inventory run one after another on a thread of its own, which stays connected to WMI. */
export class Inventory {
    /**
     * Loads the library. Rejects with an Error with code 'ENOENT' where a file is missing; its path is that of the file.
     * @param path The file hw_inventory_interface.dll, with vm_detect.dll beside it.
     * @param options log gets the library's log lines, which may contain line breaks, on the thread that opened the Inventory.
     */
    static open(path: string, options?: { log?: (level: Level, message: string) => void }): Promise<Inventory>;

    private constructor();

    /**
     * Reads the machine. Rejects with an InventoryError, a BusyError, a ClosedError, a DOMException called TimeoutError, or the
     * signal's reason.
     */
    collect<K extends Kind>(kind: K, options?: CollectOptions): Promise<Documents[K]>;

    /** Reads the machine and returns the document as the library wrote it. */
    collectJSON(kind: Kind, options?: CollectOptions): Promise<string>;

    /** Ends all calls with a ClosedError. Does not wait for the library: the thread ends after the call that runs. */
    close(): void;
}

/** Decodes a document. Sizes are bigint, exact to 64 bits. */
export function parse<K extends Kind = Kind>(json: string): Documents[K];

/** Encodes a document, which JSON.stringify refuses for its bigint. */
export function stringify(document: Documents[Kind]): string;

/** A failure that the library reports. */
export class InventoryError extends Error {
    private constructor();

    kind: Kind;
    /** The area that failed: 1 WMI could not be reached, 2 WMI refused a query, 8 anything else. Others are possible. */
    status: number;
    /** What the library has recorded of it. Texts are empty where it has none. */
    record: {
        /** The cause. May contain line breaks. */
        message: string;
        /** What failed, in fixed words. */
        errorText: string;
        /** The source file of the library. */
        file: string;
        function: string;
        /** The line in the file; 0 if unknown. */
        line: number;
        /** One line a frame, of the library's own stack. */
        stackTrace: string;
    };
}

/** A call that nobody waits for any more has not come back from the library. */
export class BusyError extends Error {
    private constructor();
}

/** The Inventory is closed. */
export class ClosedError extends Error {
    private constructor();
}
