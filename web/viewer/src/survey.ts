// What the picture of a file is drawn from: every packet's time, size and place, and the numbers computed from them.
import type { Damage, MediaFile, PacketTable, Track } from 'quorv';

/** One track's packets, in the order of the file. */
export interface TrackSurvey {
  readonly track: Track;
  readonly count: number;
  readonly timeUs: Float64Array;
  readonly durationUs: Float64Array;
  readonly size: Uint32Array;
  readonly offset: Float64Array;
  /** Bytes of all packets before each one. */
  readonly before: Float64Array;
  /** A Kind of each packet. */
  readonly kind: Uint8Array;
}

/** What a packet is; B stands for pictures that are shown before one that was decoded earlier. */
export enum Kind { Key, Predicted, B, Sound }

export interface Survey {
  readonly tracks: readonly TrackSurvey[];
  readonly endUs: number;
  /** Bytes of the file. */
  readonly size: number;
  readonly damage: Damage;
}

/** A stretch of time in which a track has nothing. */
export interface Hole {
  readonly track: Track;
  readonly fromUs: number;
  readonly toUs: number;
}

/** Reads the whole file; tells after each piece how far it is, and ends early when told to. */
export async function survey(
  file: MediaFile, progress: (done: number) => void, signal: AbortSignal,
): Promise<Survey> {
  const tables: PacketTable[] = [];
  for await (const table of file.scan({ presentation: true })) {
    if (signal.aborted) break;
    tables.push(table);
    progress(reached(table) / file.size);
  }
  const tracks = file.tracks.map((track) => gather(track, tables));
  const ends = tracks.map((each) => lastEnd(each));
  const endUs = Math.max(file.durationUs ?? 0, ...ends);
  return { tracks, endUs, size: file.size, damage: await file.damage() };
}

function reached(table: PacketTable): number {
  let furthest = 0;
  for (const offset of table.offset) furthest = Math.max(furthest, offset);
  return furthest;
}

function gather(track: Track, tables: readonly PacketTable[]): TrackSurvey {
  let count = 0;
  for (const table of tables) for (const index of table.track) if (index === track.index) ++count;
  const gathered = {
    track, count,
    timeUs: new Float64Array(count), durationUs: new Float64Array(count), size: new Uint32Array(count),
    offset: new Float64Array(count), before: new Float64Array(count), kind: new Uint8Array(count),
  };
  let bytes = 0;
  let at = 0;
  let latestShown = -Infinity;
  for (const table of tables) {
    for (let row = 0; row < table.track.length; ++row) {
      if (table.track[row] !== track.index) continue;
      const shown = table.presentationUs[row]!;
      gathered.timeUs[at] = table.timeUs[row]!;
      gathered.durationUs[at] = table.durationUs[row]!;
      gathered.size[at] = table.size[row]!;
      gathered.offset[at] = table.offset[row]!;
      gathered.kind[at] = track.type !== 'video' ? Kind.Sound
        : table.key[row] ? Kind.Key : shown < latestShown ? Kind.B : Kind.Predicted;
      gathered.before[at] = bytes;
      bytes += gathered.size[at]!;
      latestShown = Math.max(latestShown, shown);
      ++at;
    }
  }
  return gathered;
}

function lastEnd(survey: TrackSurvey): number {
  return survey.count === 0 ? 0 : survey.timeUs[survey.count - 1]! + survey.durationUs[survey.count - 1]!;
}

/** Times of the key frames of the first video track. */
export function keyTimes(survey: Survey): Float64Array {
  const video = survey.tracks.find((each) => each.track.type === 'video' && each.count > 0);
  return video ? video.timeUs.filter((_, at) => video.kind[at] === Kind.Key) : new Float64Array();
}

/** Where a track has nothing for longer than a few of its packets last. */
export function holes(survey: Survey): Hole[] {
  const found: Hole[] = [];
  for (const each of survey.tracks) {
    const usual = median(each.durationUs);
    if (usual === 0) continue;
    for (let at = 0; at + 1 < each.count; ++at) {
      const fromUs = each.timeUs[at]! + each.durationUs[at]!;
      const toUs = each.timeUs[at + 1]!;
      if (toUs - fromUs > Math.max(3 * usual, 100_000)) found.push({ track: each.track, fromUs, toUs });
    }
  }
  return found;
}

function median(values: Float64Array): number {
  return Float64Array.from(values).sort()[values.length >> 1] ?? 0;
}

/** The first packet at or after a time. */
export function firstAt(survey: TrackSurvey, us: number): number {
  let low = 0;
  let high = survey.count;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (survey.timeUs[middle]! < us) low = middle + 1;
    else high = middle;
  }
  return low;
}

/** Equal parts of a stretch of time, by which the charts are drawn. */
export interface Columns {
  readonly fromUs: number;
  readonly toUs: number;
  readonly count: number;
}

/** The middles of the columns, in seconds. */
export function columnSeconds({ fromUs, toUs, count }: Columns): number[] {
  return Array.from({ length: count }, (_, at) => (fromUs + ((at + 0.5) * (toUs - fromUs)) / count) / 1e6);
}

/** Bits a second around the middle of each column: over half a second at least, since less says nothing. */
export function bitRates(survey: TrackSurvey, columns: Columns): (number | null)[] {
  const reach = Math.max(250_000, (columns.toUs - columns.fromUs) / columns.count / 2);
  const beginUs = survey.timeUs[0] ?? 0;
  const endUs = lastEnd(survey);
  return columnSeconds(columns).map((seconds) => {
    const fromUs = Math.max(beginUs, seconds * 1e6 - reach);
    const toUs = Math.min(endUs, seconds * 1e6 + reach);
    if (toUs - fromUs <= 0) return null;
    return ((bytesUntil(survey, toUs) - bytesUntil(survey, fromUs)) * 8e6) / (toUs - fromUs);
  });
}

/** Bytes up to a time; those of a packet are spread over the time it lasts. */
function bytesUntil(survey: TrackSurvey, us: number): number {
  const at = firstAt(survey, us) - 1;
  if (at < 0) return 0;
  const lasts = survey.durationUs[at]!;
  const part = lasts > 0 ? Math.min(1, (us - survey.timeUs[at]!) / lasts) : 1;
  return survey.before[at]! + survey.size[at]! * part;
}

/** The largest packet of a kind in each column, null where there is none. */
export function largest(survey: TrackSurvey, kind: Kind, columns: Columns): (number | null)[] {
  const sizes: (number | null)[] = new Array<number | null>(columns.count).fill(null);
  const scale = columns.count / (columns.toUs - columns.fromUs);
  for (let at = firstAt(survey, columns.fromUs); at < survey.count && survey.timeUs[at]! < columns.toUs; ++at) {
    if (survey.kind[at] !== kind) continue;
    const column = Math.floor((survey.timeUs[at]! - columns.fromUs) * scale);
    sizes[column] = Math.max(sizes[column] ?? 0, survey.size[at]!);
  }
  return sizes;
}

/**
 * How far behind the picture (in bytes of the file) the sound of the same moment lies, in each column; negative where
 * it lies in front, null where one of them is missing.
 */
export function distances(picture: TrackSurvey, sound: TrackSurvey, columns: Columns): (number | null)[] {
  return columnSeconds(columns).map((seconds) => {
    const of = placeAt(picture, seconds * 1e6);
    const other = placeAt(sound, seconds * 1e6);
    return of === null || other === null ? null : other - of;
  });
}

function placeAt(survey: TrackSurvey, us: number): number | null {
  const at = firstAt(survey, us + 1) - 1;
  if (at < 0 || survey.offset[at]! < 0) return null;
  const since = us - survey.timeUs[at]!;
  const lasts = survey.durationUs[at]!;
  if (since > lasts + 200_000) return null;
  return survey.offset[at]! + (lasts > 0 ? survey.size[at]! * Math.min(1, since / lasts) : 0);
}
