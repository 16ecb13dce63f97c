// The bytes of a file that are here: blocks of it, of which those that were used last are kept.

import { QuorvError } from './errors.js';
import type { ByteSource } from './types.js';

/** How a file is cut up. */
export interface Cut {
  /** Bytes of a block. */
  readonly blockSize: number;
  /** Blocks that are kept. */
  readonly room: number;
  /** Blocks that are fetched at once when a file is read on, each time twice as many as before; at most `room`. */
  readonly longestRun: number;
}

/** 32 MB are kept, 1 MB at most is fetched at once. */
const usualCut: Cut = { blockSize: 0x10000, room: 512, longestRun: 16 };

export class Blocks {
  readonly size: number;

  readonly #source: ByteSource;
  readonly #cut: Cut;
  /** By number, the one that was used last at the end. */
  readonly #blocks = new Map<number, Uint8Array>();
  #run = 1;
  /** The block behind those that were fetched last. */
  #next = -1;

  constructor(source: ByteSource, cut = usualCut) {
    if (!Number.isSafeInteger(source.size) || source.size < 0)
      throw new QuorvError('argument', `a source of ${source.size} bytes`);
    this.#source = source;
    this.#cut = cut;
    this.size = source.size;
  }

  close(): void {
    this.#source.close?.();
  }

  /** Fills as much of `to` as is here; returns how many bytes that is, 0 at the end, -1 when the first is not here. */
  copy(offset: number, to: Uint8Array): number {
    const { blockSize } = this.#cut;
    const end = Math.min(offset + to.length, this.size);
    let at = offset;
    while (at < end) {
      const block = this.#use(Math.floor(at / blockSize));
      if (block === undefined) return at > offset ? at - offset : -1;
      const from = at % blockSize;
      const piece = block.subarray(from, from + end - at);
      to.set(piece, at - offset);
      at += piece.length;
    }
    return Math.max(at - offset, 0);
  }

  /** Gets the first bytes of that part that are not here, or all of them; and more when the file is read on. */
  async fetch(offset: number, length: number): Promise<void> {
    const { blockSize, longestRun } = this.#cut;
    let first = Math.floor(offset / blockSize);
    const last = Math.ceil(Math.min(offset + length, this.size) / blockSize);
    while (first < last && this.#blocks.has(first)) ++first;
    if (first >= last) return;
    this.#run = first === this.#next ? Math.min(2 * this.#run, longestRun) : 1;
    const wanted = Math.min(Math.max(last - first, this.#run), longestRun);
    let count = 1;
    while (count < wanted && !this.#blocks.has(first + count)) ++count;
    this.#next = first + count;
    const from = first * blockSize;
    const bytes = await this.#read(from, Math.min(count * blockSize, this.size - from));
    // Copies: the source may use its memory for something else, and each is to go on its own.
    for (let at = 0; at < bytes.length; at += blockSize)
      this.#keep(first + at / blockSize, new Uint8Array(bytes.subarray(at, at + blockSize)));
  }

  async #read(offset: number, length: number): Promise<Uint8Array> {
    let bytes;
    try {
      bytes = await this.#source.read(offset, length);
    } catch (error) {
      if (error instanceof QuorvError) throw error;
      throw new QuorvError('source', `the source failed: ${error instanceof Error ? error.message : String(error)}`);
    }
    if (bytes.length < length) throw new QuorvError('source', 'the source has fewer bytes than it says');
    return bytes.length > length ? bytes.subarray(0, length) : bytes;
  }

  #use(number: number): Uint8Array | undefined {
    const block = this.#blocks.get(number);
    if (block !== undefined) {
      this.#blocks.delete(number);
      this.#blocks.set(number, block);
    }
    return block;
  }

  #keep(number: number, block: Uint8Array): void {
    this.#blocks.delete(number);
    this.#blocks.set(number, block);
    const [oldest] = this.#blocks.keys();
    if (this.#blocks.size > this.#cut.room && oldest !== undefined) this.#blocks.delete(oldest);
  }
}
