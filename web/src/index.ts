// Media files in the browser and in node: AVI, ASF (WMV, WMA) and MPEG audio.

import { compile } from './compile.js';
import { OpenFile } from './file.js';
import { openInWorker } from './remote.js';
import type { Input, MediaFile, OpenOptions } from './types.js';

export { QuorvError } from './errors.js';
export type * from './types.js';

/** Opens a file. Throws a QuorvError: with 'not-media' for a file of no format that the library reads. */
export async function open(input: Input, options: OpenOptions = {}): Promise<MediaFile> {
  const module = await compile(options.wasm);
  if (options.worker !== false) return new OpenFile(await openInWorker(input, module));
  const { Engine } = await import('./engine.js');
  return new OpenFile(await Engine.open(input, module));
}
