// Motion JPEG pictures as JPEG files: puts in the Huffman tables that they lack.
import { STANDARD_TABLES } from './jpeg-tables.js';

const SOI = 0xd8;
const DHT = 0xc4;
const SOS = 0xda;

/** The picture's bytes as they are, or with the tables (those of the track, else the standard's) behind its start. */
export function completeJpeg(data: Uint8Array<ArrayBuffer>, trackTables: Uint8Array): BlobPart[] {
  if (data.length < 2 || data[0] !== 0xff || data[1] !== SOI || hasTables(data)) return [data];
  const tables = trackTables.length > 0 ? Uint8Array.from(trackTables) : STANDARD_TABLES;
  return [data.subarray(0, 2), tables, data.subarray(2)];
}

/** Whether a DHT segment comes before the first scan. */
function hasTables(data: Uint8Array): boolean {
  for (let at = 2; at + 4 <= data.length;) {
    if (data[at] !== 0xff) return false;
    const marker = data[at + 1]!;
    if (marker === DHT) return true;
    if (marker === SOS) return false;
    const fill = marker === 0xff;
    at += fill ? 1 : 2 + ((data[at + 2]! << 8) | data[at + 3]!);
  }
  return false;
}
