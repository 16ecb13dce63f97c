// What node and browsers do in different ways.

import type { ByteSource } from './types.js';

/** The other side of a worker. */
export interface Port {
  post(message: unknown, transfer: ArrayBuffer[]): void;
  /** `failed` learns of a worker that could not be started or has ended. */
  listen(received: (message: unknown) => void, failed: (error: Error) => void): void;
  close(): void;
}

export interface Platform {
  startWorker(): Port;
  /** Of a worker. */
  parentPort(): Port;
  /** All bytes of an address, to compile. */
  load(url: URL): Promise<Uint8Array | ArrayBuffer>;
  /** A file of the system by its address; undefined when this is none, or there is no system. */
  openFile(url: URL): Promise<ByteSource | undefined>;
}
