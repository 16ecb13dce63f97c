// The library's module: an instance of it for a file, and its functions by name.

import { QuorvError } from './errors.js';
import type { Blocks } from './blocks.js';
import { results, type Memory } from './records.js';

type Call = (...values: (number | bigint)[]) => number;

/** The functions that are called; a test holds that they are all that quorv/quorv.h has without paths. */
type FunctionName =
  | 'quorv_open_page' | 'quorv_close' | 'quorv_file' | 'quorv_track' | 'quorv_select' | 'quorv_set_presentation'
  | 'quorv_read' | 'quorv_seek' | 'quorv_damage' | 'quorv_decoder_open' | 'quorv_decode' | 'quorv_decoder_finish'
  | 'quorv_decoder_reset' | 'quorv_decoder_skipped' | 'quorv_strerror' | 'MMemAlloc' | 'MMemFree';

/** QuorvSource's "not here yet". */
const notHereYet = -2;

export type Result = (typeof results)[number];

export class Library implements Memory {
  /** What a call lacked that answered 'again'. */
  wanted = { offset: 0, length: 0 };

  readonly #exports: WebAssembly.Exports;
  readonly #memory: WebAssembly.Memory;
  #view: DataView;
  #failed = false;

  private constructor(instance: WebAssembly.Instance) {
    this.#exports = instance.exports;
    this.#memory = instance.exports['memory'] as WebAssembly.Memory;
    this.#view = new DataView(this.#memory.buffer);
    (instance.exports['_initialize'] as () => void)();
  }

  static async create(module: WebAssembly.Module, blocks: Blocks): Promise<Library> {
    let library: Library | undefined;
    const page = {
      read_at(_file: number, offset: number, buffer: number, size: number): number {
        if (library === undefined) return notHereYet;
        const copied = blocks.copy(offset, new Uint8Array(library.#memory.buffer, buffer >>> 0, size >>> 0));
        if (copied >= 0) return copied;
        library.wanted = { offset, length: size >>> 0 };
        return notHereYet;
      },
      size: () => blocks.size,
    };
    library = new Library(await WebAssembly.instantiate(module, { page }));
    return library;
  }

  /** Calls a function that returns a number or an address. */
  call(name: FunctionName, ...values: (number | bigint)[]): number {
    if (this.#failed) throw new QuorvError('closed', 'the file is closed, because the library failed');
    try {
      return (this.#exports[name] as Call)(...values) >>> 0;
    } catch (error) {
      this.#failed = true;
      throw new QuorvError('internal', `the library failed: ${error instanceof Error ? error.message : String(error)}`);
    }
  }

  /** Calls a function that returns a QuorvResult. */
  result(name: FunctionName, ...values: (number | bigint)[]): Result {
    const result = results[this.call(name, ...values)];
    if (result === undefined) throw new QuorvError('internal', `${name} has an unknown result`);
    return result;
  }

  /** Throws what the result means, unless it is 'ok'. */
  check(result: Result): void {
    if (result !== 'ok') throw this.error(result);
  }

  error(result: Result): QuorvError {
    const message = this.text(this.call('quorv_strerror', results.indexOf(result)));
    return new QuorvError(result === 'ok' || result === 'end' || result === 'again' ? 'internal' : result, message);
  }

  allocate(size: number): number {
    const address = this.call('MMemAlloc', 0, size);
    if (address === 0) throw this.error('memory');
    return address;
  }

  free(address: number): void {
    this.call('MMemFree', 0, address);
  }

  get view(): DataView {
    // Memory that has grown is another buffer.
    if (this.#view.buffer !== this.#memory.buffer) this.#view = new DataView(this.#memory.buffer);
    return this.#view;
  }

  /** What is there, until the next call. */
  borrow(at: number, size: number): Uint8Array<ArrayBuffer> {
    return new Uint8Array(this.#memory.buffer, at, size);
  }

  /** Samples, which lie at an even place. */
  borrowSamples(at: number, count: number): Int16Array<ArrayBuffer> {
    return new Int16Array(this.#memory.buffer, at, count);
  }

  bytes(at: number, size: number): Uint8Array<ArrayBuffer> {
    return this.borrow(at, size).slice();
  }

  text(at: number): string {
    const rest = new Uint8Array(this.#memory.buffer, at);
    return new TextDecoder().decode(rest.subarray(0, rest.indexOf(0)));
  }
}
