// Says in plain words what could not be used of a file.
import type { Damage, DamageCount, DamageRecord, Track } from 'quorv';
import { count, place, size, trackTitle } from './words.js';

/** One sentence for each kind of damage; none for a file that is whole. */
export function damageSentences(damage: Damage, tracks: readonly Track[]): string[] {
  const sentences: string[] = [];
  if (damage.cutOff) {
    const missing = damage.bytesMissing > 0
      ? `: ${size(damage.bytesMissing)} that its own header promises are missing` : '';
    sentences.push(`The file ends too early${missing}. What is there can be used.`);
  }
  const { bytesPassedOver, chunksMissing, packetsUnusable, framesSkipped } = damage;
  const add = (count: DamageCount, what: string): void => {
    if (count.count > 0) sentences.push(`${what}${first(count.firstOffset)}.`);
  };
  add(bytesPassedOver, `${size(bytesPassedOver.count)} make no sense and were passed over`);
  add(chunksMissing, `${count(chunksMissing.count, 'piece')} that the file’s index names cannot be found there`
    + shares(damage, tracks, (record) => record.chunksMissing));
  add(packetsUnusable, `${count(packetsUnusable.count, 'packet')} cannot be used or lack a part`);
  add(framesSkipped, `${count(framesSkipped.count, 'frame')} of sound cannot be decoded and are left out`);
  return sentences;
}

/** " (4 of the picture, 8 of the sound)" where several tracks have a part in it. */
function shares(damage: Damage, tracks: readonly Track[], which: (record: DamageRecord) => DamageCount): string {
  const parts = tracks.flatMap((track) => {
    const record = damage.tracks[track.index];
    return record && which(record).count > 0
      ? [`${which(record).count} of the ${trackTitle(track, tracks).toLowerCase()}`] : [];
  });
  return parts.length > 1 ? ` (${parts.join(', ')})` : '';
}

function first(offset: number): string {
  return offset < 0 ? '' : `, for the first time at ${place(offset)}`;
}
