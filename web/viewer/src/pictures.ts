// Decoders of pictures: what the browser has for a track, behind one interface.
import type { Packet, Track } from 'quorv';
import { H264Decoder } from './h264.js';
import { completeJpeg } from './jpeg.js';
import { RawPictures, rawLayout } from './raw-pictures.js';

export interface Picture {
  readonly image: CanvasImageSource;
  readonly width: number;
  readonly height: number;
  /** When it is shown. */
  readonly timeUs: number;
  readonly durationUs: number;
  close(): void;
}

export interface PictureDecoder {
  /** Packets taken whose pictures have not come out. */
  readonly pending: number;
  /** Takes the next packet; pictures come out later, in the order in which they are shown. */
  decode(packet: Packet): void;
  /** Brings out all pictures. */
  flush(): Promise<void>;
  /** Forgets everything: what comes next begins with a key frame. */
  reset(): void;
  close(): void;
}

export type Deliver = (picture: Picture) => void;
/** Told of each packet that gives no picture. */
export type Complain = (reason: string) => void;

/** Why a track's pictures cannot be shown, for people; null when they can. */
export async function whyNotShown(track: Track): Promise<string | null> {
  if (track.codec === 'h264') return H264Decoder.whyNot(track);
  if (track.framing === 'jpeg' || rawLayout(track)) return null;
  return `No browser has a decoder for ${track.codecName}`;
}

/** A decoder for a track that can be shown. */
export function openDecoder(track: Track, deliver: Deliver, complain: Complain): PictureDecoder {
  if (track.codec === 'h264') return new H264Decoder(track, deliver, complain);
  const raw = rawLayout(track);
  if (raw) return new RawPictures(raw, deliver, complain);
  return new JpegDecoder(track, deliver, complain);
}

/** Motion JPEG: each packet is a picture, which the browser decodes beside the page's own thread. */
class JpegDecoder implements PictureDecoder {
  pending = 0;
  private generation = 0;
  private last: Promise<void> = Promise.resolve();

  constructor(
    private readonly track: Track, private readonly deliver: Deliver, private readonly complain: Complain,
  ) {}

  decode(packet: Packet): void {
    ++this.pending;
    const generation = this.generation;
    const image = createImageBitmap(new Blob(completeJpeg(packet.data, this.track.huffmanTables)));
    this.last = Promise.all([this.last, settle(image)]).then(([, done]) => this.take(packet, done, generation));
  }

  async flush(): Promise<void> {
    await this.last;
  }

  reset(): void {
    ++this.generation;
    this.pending = 0;
  }

  close(): void {
    this.reset();
  }

  private take(packet: Packet, image: ImageBitmap | Error, generation: number): void {
    if (generation !== this.generation) {
      if (!(image instanceof Error)) image.close();
      return;
    }
    --this.pending;
    if (image instanceof Error) return this.complain(`Some pictures cannot be decoded (${image.message}).`);
    const { timeUs, durationUs } = packet;
    const { width } = image;
    // Of two fields in a packet the first one is decoded, and stands for both.
    const height = image.height * 2 === this.track.height ? this.track.height : image.height;
    this.deliver({ image, width, height, timeUs, durationUs, close: () => image.close() });
  }
}

function settle(image: Promise<ImageBitmap>): Promise<ImageBitmap | Error> {
  return image.catch((error: unknown) => (error instanceof Error ? error : new Error(String(error))));
}
