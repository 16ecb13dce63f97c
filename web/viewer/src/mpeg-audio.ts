// Cuts MPEG audio out of pieces that begin and end anywhere into its frames (ISO/IEC 11172-3, 13818-3).

export interface AudioFrame {
  readonly data: Uint8Array<ArrayBuffer>;
  readonly timeUs: number;
  readonly durationUs: number;
}

/** kbit/s of Layer III by index, for MPEG-1 and for MPEG-2 and 2.5. */
const RATES_1 = [0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320];
const RATES_2 = [0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160];
const SAMPLE_RATES = [44100, 48000, 32000];
/** A frame's time follows from those before it; where its piece's time is later by more than this, sound is missing. */
const HOLE_US = 250_000;

interface Header {
  readonly bytes: number;
  readonly durationUs: number;
}

export class FrameCutter {
  private rest = new Uint8Array(0);
  private restUs = 0;
  private nextUs: number | null = null;

  /** The frames that are whole after the next piece of a track. */
  push(piece: Uint8Array, timeUs: number): AudioFrame[] {
    const kept = this.rest.length;
    const data = new Uint8Array(kept + piece.length);
    data.set(this.rest);
    data.set(piece, kept);
    const frames: AudioFrame[] = [];
    let at = 0;
    while (at + 4 <= data.length) {
      const header = readHeader(data, at);
      if (!header) {
        ++at;
        continue;
      }
      if (at + header.bytes > data.length) break;
      frames.push(this.frame(data.slice(at, at + header.bytes), at < kept ? this.restUs : timeUs, header));
      at += header.bytes;
    }
    this.restUs = at < kept ? this.restUs : timeUs;
    this.rest = data.slice(at);
    return frames;
  }

  private frame(data: Uint8Array<ArrayBuffer>, pieceUs: number, { durationUs }: Header): AudioFrame {
    const timeUs = this.nextUs !== null && pieceUs - this.nextUs < HOLE_US ? this.nextUs : pieceUs;
    this.nextUs = timeUs + durationUs;
    return { data, timeUs, durationUs };
  }
}

/** A Layer III header; null where there is none, or one whose size it does not tell. */
function readHeader(data: Uint8Array, at: number): Header | null {
  if (data[at] !== 0xff || (data[at + 1]! & 0xe6) !== 0xe2) return null;
  const version = (data[at + 1]! >> 3) & 3;  // 3: MPEG-1, 2: MPEG-2, 0: MPEG-2.5
  const rateIndex = data[at + 2]! >> 4;
  const sampleRate = SAMPLE_RATES[(data[at + 2]! >> 2) & 3];
  const kilobits = (version === 3 ? RATES_1 : RATES_2)[rateIndex];
  if (version === 1 || !sampleRate || !kilobits) return null;
  const rate = version === 3 ? sampleRate : version === 2 ? sampleRate / 2 : sampleRate / 4;
  const samples = version === 3 ? 1152 : 576;
  const padding = (data[at + 2]! >> 1) & 1;
  return { bytes: Math.floor((samples * 125 * kilobits) / rate) + padding, durationUs: (samples * 1e6) / rate };
}
