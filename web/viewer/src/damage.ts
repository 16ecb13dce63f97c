// Says in plain words what could not be used of a file.
import type { Damage, DamageRecord, Track } from 'quorv';
import { count, place, size, trackTitle } from './words.js';

/** One sentence for each kind of damage; none for a file that is whole. */
export function damageSentences(damage: Damage, tracks: readonly Track[]): string[] {
  const sentences: string[] = [];
  if (damage.cutOff) {
    const missing = damage.bytesMissing > 0 ? `: ${size(damage.bytesMissing)} that its own header promises are missing` : '';
    sentences.push(`The file ends too early${missing}. What is there can be used.`);
  }
  sentences.push(...recordSentences(damage, ''));
  for (const track of tracks) {
    const record = damage.tracks[track.index];
    if (record) sentences.push(...recordSentences(record, `${trackTitle(track, tracks)}: `));
  }
  return sentences;
}

function recordSentences(record: DamageRecord, whose: string): string[] {
  const { bytesPassedOver, chunksMissing, packetsUnusable, framesSkipped } = record;
  const sentences: string[] = [];
  if (bytesPassedOver.count > 0) {
    sentences.push(`${size(bytesPassedOver.count)} make no sense and were passed over${first(bytesPassedOver.firstOffset)}.`);
  }
  if (chunksMissing.count > 0) {
    sentences.push(`${count(chunksMissing.count, 'piece')} listed in the file’s index could not be found there${first(chunksMissing.firstOffset)}.`);
  }
  if (packetsUnusable.count > 0) {
    sentences.push(`${count(packetsUnusable.count, 'packet')} cannot be used or lack a part${first(packetsUnusable.firstOffset)}.`);
  }
  if (framesSkipped.count > 0) {
    sentences.push(`${count(framesSkipped.count, 'frame')} of sound cannot be decoded and are left out${first(framesSkipped.firstOffset)}.`);
  }
  return sentences.map((sentence) => whose + sentence);
}

function first(offset: number): string {
  return offset < 0 ? '' : `, for the first time at ${place(offset)}`;
}
