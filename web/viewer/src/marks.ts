// Where a file is damaged: each place by its bytes and by the time that they belong to.
import type { Damage, DamageCount } from 'quorv';
import type { Survey, TrackSurvey } from './survey.js';
import { size } from './words.js';

export interface Mark {
  /** Bytes of the file; behind its end for what is missing there. */
  readonly begin: number;
  readonly end: number;
  readonly fromUs: number;
  readonly toUs: number;
  /** In plain words. */
  readonly what: string;
}

type Kind = [count: DamageCount, what: (bytes: number) => string];

/** All places, in the order of the file. */
export function damageMarks(damage: Damage, survey: Survey): Mark[] {
  const kinds: Kind[] = [
    [damage.bytesPassedOver, (bytes) => `${size(bytes)} that make no sense`],
    [damage.chunksMissing, () => 'a piece that the index names is not there'],
    [damage.packetsUnusable, () => 'a packet that cannot be used or lacks a part'],
    [damage.framesSkipped, () => 'a frame of sound that cannot be decoded'],
  ];
  const marks = kinds.flatMap(([{ places }, what]) => places.map(({ begin, end }) =>
    ({ begin, end, ...timesOf(survey, begin, end), what: what(end - begin) })));
  if (damage.cutOff) marks.push(cutOff(damage, survey));
  return marks.sort((a, b) => a.begin - b.begin);
}

function cutOff({ bytesMissing }: Damage, survey: Survey): Mark {
  const missing = bytesMissing > 0 ? `, ${size(bytesMissing)} are missing` : '';
  const end = survey.size + Math.max(0, bytesMissing);
  return { ...timesOf(survey, survey.size, end), begin: survey.size, end, what: `the file ends too early${missing}` };
}

/** The time between what can be read in front of these bytes and what can be read behind them. */
function timesOf(survey: Survey, begin: number, end: number): { fromUs: number; toUs: number } {
  let [before, after] = [-1, Infinity];
  let [fromUs, toUs] = [0, survey.endUs];
  for (const track of survey.tracks) {
    const next = firstBehind(track, begin);
    if (next > 0 && track.offset[next - 1]! > before) {
      before = track.offset[next - 1]!;
      fromUs = track.timeUs[next - 1]! + track.durationUs[next - 1]!;
    }
    const behind = firstBehind(track, end);
    if (behind < track.count && track.offset[behind]! < after) {
      after = track.offset[behind]!;
      toUs = track.timeUs[behind]!;
    }
  }
  // Sound and picture of the same moment may lie apart.
  return { fromUs: Math.min(fromUs, toUs), toUs: Math.max(fromUs, toUs) };
}

/** The first packet at or behind a place of the file; those that lie there in several pieces have none. */
function firstBehind({ count, offset }: TrackSurvey, place: number): number {
  let low = 0;
  let high = count;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (offset[middle]! < place) low = middle + 1;
    else high = middle;
  }
  return low;
}

/** The moment to which a place of the file belongs. */
export function timeAt(survey: Survey, place: number): number {
  return timesOf(survey, place, place).toUs;
}

/** For each of equal parts of the file, which part of it the packets of each track take. */
export function shares(survey: Survey, parts: number): Float32Array[] {
  const part = Math.max(1, survey.size / parts);
  return survey.tracks.map(({ count, offset, size: sizes }) => {
    const found = new Float32Array(parts);
    for (let at = 0; at < count; ++at) {
      const end = offset[at]! + sizes[at]!;
      for (let from = offset[at]!; from >= 0 && from < end;) {
        const index = Math.floor(from / part);
        const to = Math.min(end, Math.max((index + 1) * part, from + 1));
        if (index < parts) found[index]! += (to - from) / part;
        from = to;
      }
    }
    return found;
  });
}
