// The error that every call of the package fails with, and what of it passes between threads.

import type { ErrorCode } from './types.js';

export class QuorvError extends Error {
  override readonly name = 'QuorvError';

  constructor(
    /** What a program can decide by. */
    readonly code: ErrorCode,
    /** For people, in English without a full stop. */
    message: string,
  ) {
    super(message);
  }
}

/** A QuorvError on its way to another thread, where errors lose all but their message. */
export interface Failure {
  readonly code: ErrorCode;
  readonly message: string;
}

export function failureOf({ code, message }: QuorvError): Failure {
  return { code, message };
}
