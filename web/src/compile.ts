// Where the module comes from.

import { platform } from '#platform';
import { QuorvError } from './errors.js';
import type { OpenOptions } from './types.js';

const compiled = new Map<string, Promise<WebAssembly.Module>>();

/** The module beside this file, unless it lies elsewhere; compiled once for all files that are opened. */
export function compile(wasm: OpenOptions['wasm']): Promise<WebAssembly.Module> {
  if (wasm !== undefined && !(wasm instanceof URL)) return WebAssembly.compile(wasm as BufferSource);
  const url = wasm ?? new URL('./quorv.wasm', import.meta.url);
  let module = compiled.get(url.href);
  if (module === undefined) {
    module = load(url);
    compiled.set(url.href, module);
    // Another attempt may have more luck.
    module.catch(() => compiled.delete(url.href));
  }
  return module;
}

async function load(url: URL): Promise<WebAssembly.Module> {
  try {
    return await WebAssembly.compile((await platform.load(url)) as BufferSource);
  } catch (error) {
    const reason = error instanceof Error ? error.message : String(error);
    throw new QuorvError('internal', `the module cannot be loaded: ${reason}`);
  }
}
