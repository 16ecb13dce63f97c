// The records of quorv/media_records.h as they lie in the module's memory, and what the package makes of them.

import type {
  Codec, DamageCount, DamageRecord, ErrorCode, Format, Framing, SampleFormat, Track, TrackType,
} from './types.js';

type FieldType = 'u32' | 'i32' | 'i64' | 'pointer';

/** Numbers by the names of a record's fields. */
type Values<Fields> = { [Name in keyof Fields]: number };

type Reader<Fields> = (view: DataView, at: number) => Values<Fields>;

const readers: Record<FieldType, (view: DataView, at: number) => number> = {
  u32: (view, at) => view.getUint32(at, true),
  i32: (view, at) => view.getInt32(at, true),
  i64: (view, at) => Number(view.getBigInt64(at, true)),
  pointer: (view, at) => view.getUint32(at, true),
};

/**
 * Reads a record whose fields are in C's order and at C's places: each at a multiple of its own size. A field is read
 * when it is asked for, since most callers want few: that must be before the library's next call.
 */
function record<const Fields extends Record<string, FieldType>>(fields: Fields): Reader<Fields> {
  class Place {
    constructor(readonly view: DataView, readonly at: number) {}
  }
  let end = 0;
  for (const [name, type] of Object.entries(fields)) {
    const size = type === 'i64' ? 8 : 4;
    const from = Math.ceil(end / size) * size;
    const read = readers[type];
    end = from + size;
    Object.defineProperty(Place.prototype, name, { get(this: Place) { return read(this.view, this.at + from); } });
  }
  return (view, at) => new Place(view, at) as unknown as Values<Fields>;
}

export const readFile = record({ container: 'u32', trackCount: 'u32', durationUs: 'i64', size: 'i64' });

const trackFields = record({
  type: 'u32', number: 'u32', codec: 'u32', tag: 'u32', codecName: 'pointer', framing: 'u32', durationUs: 'i64',
  bitRate: 'u32', seekable: 'i32', width: 'u32', height: 'u32', frameRateNum: 'i64', frameRateDen: 'i64',
  sampleRate: 'u32', channels: 'u32', bitsPerSample: 'u32', blockAlign: 'u32', sampleFormat: 'u32',
  codecData: 'pointer', codecDataSize: 'u32', huffmanTables: 'pointer', huffmanTablesSize: 'u32', reorders: 'i32',
  sampleCount: 'i64', trimFront: 'u32', trimBack: 'u32', maxPacketSize: 'u32', statedPackets: 'i64',
  statedEnd: 'i64',
});

export const readPacket = record({
  track: 'u32', data: 'pointer', size: 'u32', timeUs: 'i64', presentationUs: 'i64', durationUs: 'i64', offset: 'i64',
  key: 'i32',
});

const damageFields = record({
  passedOver: 'i64', passedOverAt: 'i64', missing: 'i64', missingAt: 'i64', unusable: 'i64', unusableAt: 'i64',
  skipped: 'i64', skippedAt: 'i64', cutOff: 'i32', bytesMissing: 'i64',
  passedOverRanges: 'pointer', passedOverRangeCount: 'u32', missingRanges: 'pointer', missingRangeCount: 'u32',
  unusableRanges: 'pointer', unusableRangeCount: 'u32', skippedRanges: 'pointer', skippedRangeCount: 'u32',
});

const readRange = record({ begin: 'i64', end: 'i64' });
const rangeSize = 16;

export const readSamples = record({
  samples: 'pointer', frames: 'u32', sampleRate: 'u32', channels: 'u32', formatChanged: 'i32',
});

export const readSkippedFrames = record({
  total: 'i64', lostSync: 'i64', badCheck: 'i64', noReservoir: 'i64', badData: 'i64', lastCode: 'u32', cutOff: 'i64',
});

/** QuorvResult by number. */
export const results = [
  'ok', 'end', 'again', 'argument', 'memory', 'source', 'not-media', 'damaged', 'unsupported', 'closed',
] as const satisfies readonly (ErrorCode | 'ok' | 'end' | 'again')[];

const formats: readonly (Format | undefined)[] = [undefined, 'avi', 'asf', 'mp3'];
const trackTypes: readonly TrackType[] = ['other', 'video', 'audio', 'text'];
const framings: readonly Framing[] = [
  'unknown', 'annex-b', 'mpeg4-visual', 'jpeg', 'raw-picture', 'wmv', 'pcm', 'mpeg-audio', 'blocks',
];
const sampleFormats: readonly SampleFormat[] = ['none', 'u8', 's16', 's24', 's32', 'f32', 'f64', 'alaw', 'mulaw'];

/** QUORV_CODEC_* of quorv/codec.h. */
const codecs = new Map<number, Codec>([
  [fourcc('264 '), 'h264'], [fourcc('263 '), 'h263'], [fourcc('m4va'), 'mpeg4'], [fourcc('m4vs'), 'mpeg4-simple'],
  [fourcc('xvid'), 'xvid'], [fourcc('divx'), 'divx'], [fourcc('dx50'), 'dx50'], [fourcc('div3'), 'div3'],
  [fourcc('div4'), 'div4'], [0x00ffffff, 'draft-mpeg4'], [fourcc('wmv7'), 'wmv7'], [fourcc('wmv8'), 'wmv8'],
  [fourcc('wmv9'), 'wmv9'], [fourcc('mpg1'), 'mpeg1'], [fourcc('mpg2'), 'mpeg2'], [fourcc('mjpg'), 'mjpeg'],
  [fourcc('pcm '), 'pcm'], [fourcc('imaa'), 'adpcm'], [fourcc('mp1 '), 'mp1'], [fourcc('mp2 '), 'mp2'],
  [fourcc('mp3 '), 'mp3'], [fourcc('aac '), 'aac'], [fourcc('wmv1'), 'wma1'], [fourcc('wmv2'), 'wma2'],
  [fourcc('wm9p'), 'wma-pro'], [fourcc('wm9l'), 'wma-lossless'], [fourcc('ac3 '), 'ac3'], [fourcc('dts '), 'dts'],
  [fourcc('amrn'), 'amr-nb'], [fourcc('amrw'), 'amr-wb'], [fourcc('sipr'), 'sipr'], [fourcc('raac'), 'real-audio'],
  [fourcc('ogg '), 'vorbis'],
]);

function fourcc(text: string): number {
  return [...text].reduce((value, character) => value * 256 + character.charCodeAt(0), 0);
}

function known(value: number): number | null {
  return value >= 0 ? value : null;
}

export function formatOf(container: number): Format {
  const format = formats[container];
  if (format === undefined) throw new RangeError(`container ${container}`);
  return format;
}

/** What a record points at. */
export interface Memory {
  readonly view: DataView;
  /** A copy. */
  bytes(at: number, size: number): Uint8Array<ArrayBuffer>;
  text(at: number): string;
}

export function trackOf(memory: Memory, at: number, index: number, readable: boolean): Track {
  const fields = trackFields(memory.view, at);
  return {
    index,
    number: fields.number,
    type: trackTypes[fields.type] ?? 'other',
    readable,
    codec: codecs.get(fields.codec) ?? '',
    codecName: memory.text(fields.codecName),
    tag: fields.tag,
    framing: framings[fields.framing] ?? 'unknown',
    durationUs: known(fields.durationUs),
    bitRate: fields.bitRate,
    seekable: fields.seekable !== 0,
    width: fields.width,
    height: fields.height,
    frameRate: fields.frameRateDen !== 0 ? { num: fields.frameRateNum, den: fields.frameRateDen } : null,
    sampleRate: fields.sampleRate,
    channels: fields.channels,
    bitsPerSample: fields.bitsPerSample,
    blockAlign: fields.blockAlign,
    sampleFormat: sampleFormats[fields.sampleFormat] ?? 'none',
    codecData: memory.bytes(fields.codecData, fields.codecDataSize),
    huffmanTables: memory.bytes(fields.huffmanTables, fields.huffmanTablesSize),
    reorders: fields.reorders !== 0,
    sampleCount: fields.sampleCount,
    trimFront: fields.trimFront,
    trimBack: fields.trimBack,
    maxPacketSize: fields.maxPacketSize,
    statedPackets: fields.statedPackets,
    statedEnd: known(fields.statedEnd),
  };
}

export function damageOf(memory: Memory, at: number): DamageRecord {
  const fields = damageFields(memory.view, at);
  const of = (count: number, firstOffset: number, ranges: number, rangeCount: number): DamageCount => ({
    count,
    firstOffset,
    places: Array.from({ length: rangeCount }, (_, i) => {
      const { begin, end } = readRange(memory.view, ranges + i * rangeSize);
      return { begin, end };
    }),
  });
  const { passedOver, missing, unusable, skipped } = fields;
  return {
    bytesPassedOver: of(passedOver, fields.passedOverAt, fields.passedOverRanges, fields.passedOverRangeCount),
    chunksMissing: of(missing, fields.missingAt, fields.missingRanges, fields.missingRangeCount),
    packetsUnusable: of(unusable, fields.unusableAt, fields.unusableRanges, fields.unusableRangeCount),
    framesSkipped: of(skipped, fields.skippedAt, fields.skippedRanges, fields.skippedRangeCount),
    cutOff: fields.cutOff !== 0,
    bytesMissing: fields.bytesMissing,
  };
}
