// The error that every call of the package fails with.

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
