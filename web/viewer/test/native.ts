// What the native tool says of a file, to compare the page with.
import { spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const BUILD = process.env['QUORV_NATIVE_BUILD'] ?? fileURLToPath(new URL('../../../build/release', import.meta.url));
const TOOL = join(BUILD, 'tools/quorv/quorv');
/** What samples/make-samples.sh made. */
export const samples = join(BUILD, 'samples/made');

export interface NativeTrack {
  track: number;
  type: 'vide' | 'soun';
  codec: string;
  channels: number;
  block_align: number;
}

export interface NativeFrame { pts_ms: number; size: number; key: boolean; offset: number }

export const work = mkdtempSync(join(tmpdir(), 'quorv-viewer-'));

function run(...args: string[]): string {
  const { status, stdout } = spawnSync(TOOL, args, { encoding: 'utf8', maxBuffer: 1 << 28 });
  // 1: the file is damaged, and what could be used of it was written.
  if (status !== 0 && status !== 1) throw new Error(`${TOOL} ${args.join(' ')}: ${status}`);
  return stdout;
}

export function tracks(file: string): NativeTrack[] {
  return (JSON.parse(run('info', '--json', file)) as { tracks: NativeTrack[] }).tracks;
}

export function frames(file: string, track: number): NativeFrame[] {
  return run('frames', file, '--track', String(track), '--json').trim().split('\n')
    .filter((line) => line !== '').map((line) => JSON.parse(line) as NativeFrame);
}

export function extract(file: string, track: number): Buffer {
  const out = join(work, 'native');
  run('extract', file, '--track', String(track), '-o', out);
  return readFileSync(out);
}

/** Samples of each channel that a track gives. */
export function sampleCount(file: string, { track, codec, channels, block_align }: NativeTrack): number {
  if (!/^mp[123] $/.test(codec)) {
    return frames(file, track).reduce((sum, frame) => sum + frame.size, 0) / block_align;
  }
  return (decode(file, track).length - 44) / (2 * channels);
}

/** A WAV file of a track's sound. */
export function decode(file: string, track: number): Buffer {
  const out = join(work, 'native.wav');
  run('decode', file, '--track', String(track), '-o', out);
  return readFileSync(out);
}
