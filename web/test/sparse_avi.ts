// A large AVI file of motion JPEG that is written where it is read: frames of zeros, and an index of all of them.

import type { ByteSource } from '../dist/index.js';

function fourcc(text: string): number[] {
  return [...text].map((character) => character.charCodeAt(0));
}

function u32(...values: number[]): number[] {
  return values.flatMap((value) => [value & 255, (value >>> 8) & 255, (value >>> 16) & 255, (value >>> 24) & 255]);
}

function chunk(name: string, content: number[]): number[] {
  return [...fourcc(name), ...u32(content.length), ...content];
}

function list(name: string, content: number[]): number[] {
  return chunk('LIST', [...fourcc(name), ...content]);
}

/** Everything up to the first frame, at 25 frames a second. */
function header(size: number, frames: number, frameSize: number): number[] {
  const mainHeader = chunk('avih', u32(40000, 0, 0, 0x10, frames, 0, 1, frameSize, 640, 480, 0, 0, 0, 0));
  const streamHeader = chunk('strh',
    [...fourcc('vidsMJPG'), ...u32(0, 0, 0, 1, 25, 0, frames, frameSize, 0, 0, 0, 0)]);
  const streamFormat = chunk('strf', u32(40, 640, 480, 0x180001, 0x47504a4d, 640 * 480 * 3, 0, 0, 0, 0));
  const lists = list('hdrl', [...mainHeader, ...list('strl', [...streamHeader, ...streamFormat])]);
  return [
    ...fourcc('RIFF'), ...u32(size - 8), ...fourcc('AVI '), ...lists,
    ...fourcc('LIST'), ...u32(4 + frames * (frameSize + 8)), ...fourcc('movi'),
  ];
}

export interface SparseAvi {
  readonly source: ByteSource;
  readonly frames: number;
  /** How many bytes have been read of it. */
  readBytes(): number;
}

/** Of about that size, with frames of an even one. */
export function sparseAvi(about: number, frameSize = 0x8000 - 8): SparseAvi {
  const step = frameSize + 8;
  const frames = Math.floor(about / (step + 16));
  const start = header(0, frames, frameSize).length;
  const index = start + frames * step;
  const size = index + 8 + frames * 16;
  const head = new Uint8Array(header(size, frames, frameSize));
  const frameHead = new Uint8Array([...fourcc('00dc'), ...u32(frameSize)]);
  const indexHead = new Uint8Array([...fourcc('idx1'), ...u32(frames * 16)]);
  const entry = (i: number) => new Uint8Array([...fourcc('00dc'), ...u32(0x10, 4 + i * step, frameSize)]);
  let readBytes = 0;
  const source = {
    size,
    read(offset: number, length: number): Uint8Array {
      readBytes += length;
      const bytes = new Uint8Array(length);
      const put = (what: Uint8Array, at: number) => {
        const from = Math.max(offset - at, 0);
        if (at < offset + length && from < what.length)
          bytes.set(what.subarray(from, offset + length - at), at + from - offset);
      };
      put(head, 0);
      put(indexHead, index);
      const within = (first: number, each: number) => Math.max(0, Math.floor((offset - first) / each));
      for (let i = within(start, step); i < frames && start + i * step < offset + length; ++i)
        put(frameHead, start + i * step);
      for (let i = within(index + 8, 16); i < frames && index + 8 + i * 16 < offset + length; ++i)
        put(entry(i), index + 8 + i * 16);
      return bytes;
    },
  };
  return { source, frames, readBytes: () => readBytes };
}
