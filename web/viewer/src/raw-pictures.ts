// Uncompressed pictures of AVI files, as the browser takes them.
import type { Packet, Track } from 'quorv';
import type { Complain, Deliver, PictureDecoder } from './pictures.js';

/** How the pictures of a track lie in their packets. */
export interface RawLayout {
  readonly width: number;
  readonly height: number;
  readonly bytes: number;
  readonly format: VideoPixelFormat;
  /** Brings at least `bytes` bytes of a packet into that format. */
  arrange(data: Uint8Array<ArrayBuffer>): Uint8Array<ArrayBuffer>;
}

const FOURCC = { I420: 0x49343230, YV12: 0x59563132, IYUV: 0x49595556, YUY2: 0x59555932 };

/** The layout of a track's pictures; null when it is not known, or they are compressed. */
export function rawLayout(track: Track): RawLayout | null {
  const { width, height } = track;
  if (track.framing !== 'raw-picture' || width <= 0 || height <= 0 || !('VideoFrame' in globalThis)) return null;
  const chroma = Math.ceil(width / 2) * Math.ceil(height / 2);
  if (track.tag === FOURCC.I420 || track.tag === FOURCC.IYUV) {
    return { width, height, bytes: width * height + 2 * chroma, format: 'I420', arrange: (data) => data };
  }
  if (track.tag === FOURCC.YUY2) {
    const bytes = Math.ceil(width / 2) * 4 * height;
    return { width, height, bytes, format: 'I422', arrange: (data) => planes(data, width, height) };
  }
  if (track.tag === 0) {
    const bytes = rowBytes(width, 3) * height;
    return { width, height, bytes, format: 'BGRX', arrange: (data) => topDown(data, width, height) };
  }
  return null;
}

/** Rows of RGB pictures are filled up to four bytes. */
function rowBytes(width: number, pixelBytes: number): number {
  return Math.ceil((width * pixelBytes) / 4) * 4;
}

/** Y, U and V of their own from pixels in pairs (Y0 U Y1 V). */
function planes(data: Uint8Array, width: number, height: number): Uint8Array<ArrayBuffer> {
  const half = Math.ceil(width / 2);
  const out = new Uint8Array(width * height + 2 * half * height);
  const u = width * height;
  const v = u + half * height;
  for (let y = 0, at = 0; y < height; ++y) {
    for (let x = 0; x < half; ++x, at += 4) {
      out[y * width + 2 * x] = data[at]!;
      if (2 * x + 1 < width) out[y * width + 2 * x + 1] = data[at + 2]!;
      out[u + y * half + x] = data[at + 1]!;
      out[v + y * half + x] = data[at + 3]!;
    }
  }
  return out;
}

/** Four bytes a pixel, first row first, from three or four bytes a pixel, last row first. */
function topDown(data: Uint8Array, width: number, height: number): Uint8Array<ArrayBuffer> {
  const out = new Uint8Array(width * height * 4);
  const pixel = data.length >= width * height * 4 ? 4 : 3;
  for (let y = 0; y < height; ++y) {
    let at = (height - 1 - y) * rowBytes(width, pixel);
    for (let x = 0; x < width; ++x, at += pixel) out.set(data.subarray(at, at + 3), (y * width + x) * 4);
  }
  return out;
}

export class RawPictures implements PictureDecoder {
  readonly pending = 0;

  constructor(
    private readonly layout: RawLayout, private readonly deliver: Deliver, private readonly complain: Complain,
  ) {}

  decode({ data, timeUs, durationUs }: Packet): void {
    const { width, height, bytes, format } = this.layout;
    if (data.length < bytes) return this.complain('Some pictures are cut off.');
    const init = { format, timestamp: timeUs, codedWidth: width, codedHeight: height };
    const frame = new VideoFrame(this.layout.arrange(data), init);
    this.deliver({ image: frame, width, height, timeUs, durationUs, close: () => frame.close() });
  }

  async flush(): Promise<void> {}
  reset(): void {}
  close(): void {}
}
