// Everything that can be opened as something that can be read at an offset.

import { platform } from '#platform';
import { QuorvError } from './errors.js';
import type { ByteSource, Input } from './types.js';

export async function sourceOf(input: Input): Promise<ByteSource> {
  if (input instanceof Blob) return blobSource(input);
  if (input instanceof URL) return (await openFile(input)) ?? urlSource(input);
  if (input instanceof ArrayBuffer) return bytesSource(new Uint8Array(input));
  if (input instanceof Uint8Array) return bytesSource(input);
  if (typeof input?.read === 'function' && typeof input.size === 'number') return input;
  throw new QuorvError('argument', 'nothing that can be read');
}

function blobSource(blob: Blob): ByteSource {
  return {
    size: blob.size,
    read: async (offset, length) => new Uint8Array(await blob.slice(offset, offset + length).arrayBuffer()),
  };
}

function bytesSource(bytes: Uint8Array): ByteSource {
  return { size: bytes.length, read: (offset, length) => bytes.subarray(offset, offset + length) };
}

async function openFile(url: URL): Promise<ByteSource | undefined> {
  try {
    return await platform.openFile(url);
  } catch (error) {
    throw failed(url, error);
  }
}

async function urlSource(url: URL): Promise<ByteSource> {
  const response = await getRange(url, 0, 1);
  const total = /\/(\d+)$/.exec(response.headers.get('content-range') ?? '')?.[1];
  if (response.status !== 206 || total === undefined) return blobSource(await body(response, url, 'blob'));
  const before = versionOf(response);
  return {
    size: Number(total),
    async read(offset, length) {
      const piece = await getRange(url, offset, length);
      if (piece.status !== 206) throw new Error(`${url.href}: the server answers range requests no more`);
      if (versionOf(piece) !== before) throw new Error(`${url.href}: the file has changed`);
      return new Uint8Array(await body(piece, url, 'arrayBuffer'));
    },
  };
}

/** What differs when a server has another file than before; tags may differ between servers that answer in turn. */
function versionOf({ headers }: Response): string {
  const size = (headers.get('content-range') ?? '').replace(/^.*\//, '');
  return `${size}, ${headers.get('last-modified') ?? headers.get('etag')}`;
}

async function getRange(url: URL, offset: number, length: number): Promise<Response> {
  let response;
  try {
    response = await fetch(url, { headers: { range: `bytes=${offset}-${offset + length - 1}` } });
  } catch (error) {
    throw failed(url, error);
  }
  if (!response.ok) throw new QuorvError('source', `${url.href}: the server answers ${response.status}`);
  return response;
}

async function body<Kind extends 'blob' | 'arrayBuffer'>(
  response: Response, url: URL, kind: Kind,
): Promise<Awaited<ReturnType<Response[Kind]>>> {
  try {
    return (await response[kind]()) as Awaited<ReturnType<Response[Kind]>>;
  } catch (error) {
    throw failed(url, error);
  }
}

function failed(url: URL, error: unknown): QuorvError {
  return new QuorvError('source', `${url.href}: ${error instanceof Error ? error.message : String(error)}`);
}
