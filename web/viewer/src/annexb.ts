// H.264 from a byte stream with start codes (ITU-T H.264, annex B) to the form that MP4 and Matroska have
// (ISO/IEC 14496-15): units with their lengths in front, and a record of the parameter sets.

export const NAL_SPS = 7;
const NAL_PPS = 8;
const NAL_DELIMITER = 9;
const NAL_SPS_EXTENSION = 13;
const LENGTH_BYTES = 4;
const START = Uint8Array.of(0, 0, 0, 1);

/** The units of a stream, without start codes. */
export function units(data: Uint8Array): Uint8Array[] {
  const found: Uint8Array[] = [];
  for (let at = behindStart(data, 0); at < data.length;) {
    const next = behindStart(data, at);
    let end = next < data.length ? next - 3 : data.length;
    while (end > at && data[end - 1] === 0) --end;
    if (end > at) found.push(data.subarray(at, end));
    at = next;
  }
  return found;
}

function behindStart(data: Uint8Array, from: number): number {
  for (let at = from; at + 3 < data.length; ++at) {
    if (data[at] === 0 && data[at + 1] === 0 && data[at + 2] === 1) return at + 3;
  }
  return data.length;
}

export function unitsOfType(data: Uint8Array, type: number): Uint8Array[] {
  return units(data).filter((unit) => (unit[0]! & 0x1f) === type);
}

/**
 * A key frame with the parameter sets that it needs, which containers may keep elsewhere: decoders can begin there.
 * What stands in front of a delimiter is another frame for some of them, one without a picture.
 */
export function withParameterSets(frame: Uint8Array<ArrayBuffer>, codecData: Uint8Array): Uint8Array<ArrayBuffer> {
  const has = (type: number): boolean => unitsOfType(frame, type).length > 0;
  if (has(NAL_SPS) && has(NAL_PPS)) return frame;
  const sets = [NAL_SPS, NAL_SPS_EXTENSION, NAL_PPS].flatMap((type) => unitsOfType(codecData, type));
  const rest = units(frame).filter((unit) => (unit[0]! & 0x1f) !== NAL_DELIMITER);
  return joined([...sets, ...rest].flatMap((unit) => [START, unit]));
}

/** The codec by RFC 6381, "avc1.4d401e", from a sequence parameter set. */
export function codecString(sps: Uint8Array): string {
  return `avc1.${Array.from(sps.subarray(1, 4), (byte) => byte.toString(16).padStart(2, '0')).join('')}`;
}

/** Each unit behind its length. */
export function lengthPrefixed(data: Uint8Array): Uint8Array<ArrayBuffer> {
  return joined(units(data).flatMap((unit) => [bigEndian(unit.length), unit]));
}

function bigEndian(value: number): Uint8Array {
  const bytes = new Uint8Array(LENGTH_BYTES);
  new DataView(bytes.buffer).setUint32(0, value);
  return bytes;
}

function joined(parts: readonly Uint8Array[]): Uint8Array<ArrayBuffer> {
  const whole = new Uint8Array(parts.reduce((sum, part) => sum + part.length, 0));
  let at = 0;
  for (const part of parts) {
    whole.set(part, at);
    at += part.length;
  }
  return whole;
}

/** The AVCDecoderConfigurationRecord of a track's parameter sets; null where one is missing. */
export function decoderRecord(codecData: Uint8Array): Uint8Array<ArrayBuffer> | null {
  const sets = unitsOfType(codecData, NAL_SPS);
  const pictureSets = unitsOfType(codecData, NAL_PPS);
  const sps = sets[0];
  if (!sps || sps.length < 4 || pictureSets.length === 0) return null;
  const record = [1, sps[1]!, sps[2]!, sps[3]!, 0xfc | (LENGTH_BYTES - 1), 0xe0 | sets.length];
  const add = (unit: Uint8Array): void => void record.push(unit.length >> 8, unit.length & 0xff, ...unit);
  sets.forEach(add);
  record.push(pictureSets.length);
  pictureSets.forEach(add);
  if (PROFILES_WITH_FORMAT.includes(sps[1]!)) {
    const { chroma, lumaBits, chromaBits } = sampleFormat(sps);
    const extensions = unitsOfType(codecData, NAL_SPS_EXTENSION);
    record.push(0xfc | chroma, 0xf8 | (lumaBits - 8), 0xf8 | (chromaBits - 8), extensions.length);
    extensions.forEach(add);
  }
  return Uint8Array.from(record);
}

/** Profiles whose parameter sets tell the format of samples, and whose records do, too. */
const PROFILES_WITH_FORMAT = [100, 110, 122, 144, 244, 44, 83, 86, 118, 128, 138];

function sampleFormat(sps: Uint8Array): { chroma: number; lumaBits: number; chromaBits: number } {
  let position = 4 * 8;
  const bit = (): number => {
    const value = ((sps[position >> 3] ?? 0xff) >> (7 - (position & 7))) & 1;
    ++position;
    return value;
  };
  const unsigned = (): number => {
    let zeros = 0;
    while (zeros < 16 && bit() === 0) ++zeros;
    let value = 1;
    for (; zeros > 0; --zeros) value = value * 2 + bit();
    return value - 1;
  };
  unsigned();  // the set's own number
  const chroma = unsigned() & 3;
  if (chroma === 3) bit();
  return { chroma, lumaBits: 8 + (unsigned() & 7), chromaBits: 8 + (unsigned() & 7) };
}
