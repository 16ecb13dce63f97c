// Samples of every kind as 16-bit ones.

import { expect, test } from 'vitest';
import { samplesOf } from '../dist/pcm.js';
import type { SampleFormat } from '../dist/index.js';

function floats(...values: number[]): number[] {
  return [...new Uint8Array(new Float32Array(values).buffer)];
}

function doubles(...values: number[]): number[] {
  return [...new Uint8Array(new Float64Array(values).buffer)];
}

// The values of ITU-T G.711, tables 1 and 2, in units of 1/8 (A-law) and 1/4 (mu-law) of those of 16 bits.
test.each<[SampleFormat, number[], number[]]>([
  ['u8', [0, 0x80, 0xff], [-0x8000, 0, 0x7f00]],
  ['s16', [0x00, 0x80, 0xff, 0x7f], [-0x8000, 0x7fff]],
  ['s24', [0xff, 0x00, 0x80, 0x12, 0x34, 0x56], [-0x8000, 0x5634]],
  ['s32', [0xff, 0xff, 0x00, 0x80, 0, 0, 0x34, 0x12], [-0x8000, 0x1234]],
  ['f32', floats(-1, 0.5, 1, 7, NaN), [-0x8000, 0x4000, 0x7fff, 0x7fff, 0]],
  ['f64', doubles(-2, 0.25, -Infinity), [-0x8000, 0x2000, -0x8000]],
  ['alaw', [0x80 ^ 0x55, 0x00 ^ 0x55, 0xff ^ 0x55, 0x7f ^ 0x55, 0x90 ^ 0x55], [8, -8, 32256, -32256, 264]],
  ['mulaw', [0xff, 0x7f, 0x80, 0x00, 0xef], [0, 0, 32124, -32124, 132]],
])('%s', (format, bytes, samples) => {
  // One byte more than whole samples, and not at a multiple of their size.
  const data = new Uint8Array([0, ...bytes, 1]).subarray(1);
  const whole = bytes.length === samples.length ? data.subarray(0, bytes.length) : data;
  expect([...samplesOf(format, 1, whole)]).toEqual(samples);
});
