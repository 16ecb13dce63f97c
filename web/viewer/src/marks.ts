// Where a file is damaged: each place by its bytes and by the time that they belong to.
import type { Damage, DamageCount } from 'quorv';
import type { Survey, TrackSurvey } from './survey.js';
import { size } from './words.js';

export interface Mark {
  /** Bytes of the file; behind its end for what is missing there. */
  readonly begin: number;
  readonly end: number;
  /** What the tracks lack there, or the moment at which nothing is lacking; the longest first. */
  readonly spans: readonly [Span, ...Span[]];
  /** In plain words. */
  readonly what: string;
}

/** A stretch of time. */
export interface Span {
  readonly fromUs: number;
  readonly toUs: number;
}

/** Times are rounded in files. */
const ROUNDING_US = 2000;

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
    ({ begin, end, spans: spansOf(survey, begin, end), what: what(end - begin) })));
  if (damage.cutOff) marks.push(cutOff(damage, survey));
  return withoutParts(marks.sort((a, b) => a.begin - b.begin || b.end - a.end));
}

/** A place inside of another one tells nothing new. */
function withoutParts(marks: readonly Mark[]): Mark[] {
  let reached = -1;
  return marks.filter(({ end }) => {
    const isNew = end > reached;
    reached = Math.max(reached, end);
    return isNew;
  });
}

/** The stretches of time in which something is damaged, in their order, none of which touches another. */
export function damagedSpans(marks: readonly Mark[]): Span[] {
  const joined: { fromUs: number; toUs: number }[] = [];
  for (const { fromUs, toUs } of marks.flatMap(({ spans }) => spans).sort((a, b) => a.fromUs - b.fromUs)) {
    const last = joined.at(-1);
    if (last !== undefined && fromUs <= last.toUs) last.toUs = Math.max(last.toUs, toUs);
    else joined.push({ fromUs, toUs });
  }
  return joined;
}

function cutOff({ bytesMissing }: Damage, survey: Survey): Mark {
  const missing = bytesMissing > 0 ? `, ${size(bytesMissing)} are missing` : '';
  const end = survey.size + Math.max(0, bytesMissing);
  return { begin: survey.size, end, spans: spansOf(survey, survey.size, end), what: `the file ends too early${missing}` };
}

/** For each track, from the end of the last packet in front of these bytes to the first one behind them. */
function spansOf(survey: Survey, begin: number, end: number): Mark['spans'] {
  const all = survey.tracks.filter(({ count }) => count > 0).map((track) => {
    const before = firstBehind(track, begin) - 1;
    const behind = firstBehind(track, end);
    const fromUs = before < 0 ? 0 : track.timeUs[before]! + track.durationUs[before]!;
    const toUs = track.timeUs[behind] ?? track.track.durationUs ?? survey.endUs;
    return { fromUs, toUs: Math.max(fromUs, toUs) };
  });
  const [longest, ...others] = all.filter(({ fromUs, toUs }) => toUs - fromUs > ROUNDING_US)
    .sort((a, b) => b.toUs - b.fromUs - (a.toUs - a.fromUs));
  return longest === undefined ? [all[0] ?? { fromUs: 0, toUs: 0 }] : [longest, ...others];
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
  return spansOf(survey, place, place)[0].fromUs;
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
