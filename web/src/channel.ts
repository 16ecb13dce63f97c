// Calls between a page and its worker, in both directions: the worker's engine is called, and the page's source.

import { QuorvError } from './errors.js';
import type { Port } from './platform.js';
import type { ErrorCode } from './types.js';

type Message =
  | { readonly kind: 'call'; readonly id: number; readonly name: string; readonly values: readonly unknown[] }
  | { readonly kind: 'value'; readonly id: number; readonly value: unknown }
  | { readonly kind: 'error'; readonly id: number; readonly code: ErrorCode; readonly message: string };

interface Waiting {
  resolve(value: unknown): void;
  reject(error: Error): void;
}

export type Answer = (name: string, values: readonly unknown[]) => unknown;

export class Channel {
  readonly #port: Port;
  readonly #waiting = new Map<number, Waiting>();
  #count = 0;
  #failure: QuorvError | undefined;

  constructor(port: Port, answer: Answer) {
    this.#port = port;
    port.listen(
      (message) => this.#receive(message as Message, answer),
      (error) => this.#fail(new QuorvError('internal', error.message)));
  }

  call(name: string, ...values: unknown[]): Promise<unknown> {
    return new Promise((resolve, reject) => {
      if (this.#failure !== undefined) throw this.#failure;
      const id = this.#count++;
      this.#waiting.set(id, { resolve, reject });
      this.#post({ kind: 'call', id, name, values });
    });
  }

  /** Ends the worker; what it was asked for will not come. */
  close(): void {
    this.#port.close();
    this.#fail(new QuorvError('closed', 'the file is closed'));
  }

  #fail(error: QuorvError): void {
    this.#failure = error;
    for (const { reject } of this.#waiting.values()) reject(error);
    this.#waiting.clear();
  }

  #receive(message: Message, answer: Answer): void {
    if (message.kind === 'call') {
      void this.#answer(message.id, () => answer(message.name, message.values));
      return;
    }
    const waiting = this.#waiting.get(message.id);
    this.#waiting.delete(message.id);
    if (message.kind === 'value') waiting?.resolve(message.value);
    else waiting?.reject(new QuorvError(message.code, message.message));
  }

  async #answer(id: number, task: () => unknown): Promise<void> {
    try {
      this.#post({ kind: 'value', id, value: await task() });
    } catch (error) {
      const code = error instanceof QuorvError ? error.code : 'internal';
      this.#post({ kind: 'error', id, code, message: error instanceof Error ? error.message : String(error) });
    }
  }

  #post(message: Message): void {
    const values = message.kind === 'value' ? [message.value] : [];
    this.#port.post(message, [...buffersOf(values)]);
  }
}

/** The buffers of what is sent, which are given away: all results are made for the one who asked. */
function* buffersOf(value: unknown): Generator<ArrayBuffer> {
  if (ArrayBuffer.isView(value)) yield value.buffer as ArrayBuffer;
  else if (Array.isArray(value)) for (const element of value) yield* buffersOf(element);
  else if (typeof value === 'object' && value !== null && Object.getPrototypeOf(value) === Object.prototype)
    for (const element of Object.values(value)) yield* buffersOf(element);
}
