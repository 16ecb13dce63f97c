// Samples of uncompressed sound as 16-bit ones. Those of more bits are cut to the upper 16.

import type { SampleFormat } from './types.js';

interface Kind {
  readonly bytes: number;
  readonly read: (view: DataView, at: number) => number;
}

/** The value of a float, of which 1 is full scale. */
function ofFloat(value: number): number {
  return Math.max(-0x8000, Math.min(0x7fff, Math.round(value * 0x8000)));
}

/** ITU-T G.711: the sign, three bits of exponent and four of mantissa, every second one inverted. */
function ofALaw(code: number): number {
  const bits = code ^ 0x55;
  const exponent = (bits >> 4) & 7;
  const mantissa = ((bits & 15) << 4) + 8;
  const value = exponent === 0 ? mantissa : (mantissa + 0x100) << (exponent - 1);
  return (bits & 0x80) !== 0 ? value : -value;
}

/** The same, all of them inverted, and with a bias that makes the exponents regular. */
function ofMuLaw(code: number): number {
  const bits = ~code & 0xff;
  const value = ((((bits & 15) << 3) + 0x84) << ((bits >> 4) & 7)) - 0x84;
  return (bits & 0x80) !== 0 ? -value : value;
}

const kinds: Partial<Record<SampleFormat, Kind>> = {
  u8: { bytes: 1, read: (view, at) => (view.getUint8(at) - 0x80) << 8 },
  s16: { bytes: 2, read: (view, at) => view.getInt16(at, true) },
  s24: { bytes: 3, read: (view, at) => view.getInt16(at + 1, true) },
  s32: { bytes: 4, read: (view, at) => view.getInt16(at + 2, true) },
  f32: { bytes: 4, read: (view, at) => ofFloat(view.getFloat32(at, true)) },
  f64: { bytes: 8, read: (view, at) => ofFloat(view.getFloat64(at, true)) },
  alaw: { bytes: 1, read: (view, at) => ofALaw(view.getUint8(at)) },
  mulaw: { bytes: 1, read: (view, at) => ofMuLaw(view.getUint8(at)) },
};

export function isPcm(format: SampleFormat): boolean {
  return kinds[format] !== undefined;
}

/** The whole samples of a packet, all channels in turn. */
export function samplesOf(format: SampleFormat, channels: number, data: Uint8Array): Int16Array<ArrayBuffer> {
  const kind = kinds[format];
  if (kind === undefined || channels === 0) return new Int16Array(0);
  const frames = Math.floor(data.length / (kind.bytes * channels));
  const samples = new Int16Array(frames * channels);
  const view = new DataView(data.buffer, data.byteOffset, data.byteLength);
  for (let i = 0; i < samples.length; ++i) samples[i] = kind.read(view, i * kind.bytes);
  return samples;
}
