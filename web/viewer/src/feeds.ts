// What a player reads ahead, from one place of the file on: a feed of pictures and a feed of sound.
import type { MediaFile, Packet, Samples, Track } from 'quorv';
import { usablePackets } from './packets.js';
import type { Picture, PictureDecoder } from './pictures.js';
import type { Timing } from './timing.js';

/** Pictures kept ready; decoders stop when too many of theirs are open. */
const PICTURES_AHEAD = 6;
/** Packets in the decoder at a time: more than any stream reorders. */
const PACKETS_AHEAD = 24;
const SOUND_AHEAD_US = 2_000_000;

export interface FeedEvents {
  /** Something new is there. */
  arrived(): void;
  /** A part cannot be used. */
  complain(reason: string): void;
}

/** Lets one wait until another calls. */
class Signal {
  private resolve: () => void = () => undefined;

  wait(): Promise<void> {
    return new Promise((resolve) => { this.resolve = resolve; });
  }

  notify(): void {
    this.resolve();
  }
}

/** Pictures of a track from a time on, the one that is shown at that time first. */
export class PictureFeed {
  ended = false;
  /** Where the last picture that has come ends. */
  untilUs: number;
  private readonly ready: Picture[] = [];
  private newestUs = -Infinity;
  private begun = false;
  private stopped = false;
  private readonly room = new Signal();
  private readonly done: Promise<void>;

  constructor(
    private readonly file: MediaFile, private readonly track: Track, private readonly decoder: PictureDecoder,
    private readonly fromUs: number, private readonly events: FeedEvents,
  ) {
    this.untilUs = fromUs;
    this.done = this.run();
  }

  /** Whether the picture of a moment has come. */
  complete(us: number): boolean {
    return this.ended || this.newestUs > us;
  }

  /** The picture to be shown from now on, null while the one before it stays; and how many came too late. */
  take(nowUs: number): { due: Picture | null; late: number } {
    if (!this.begun && !this.complete(this.fromUs)) return { due: null, late: 0 };
    let due: Picture | null = null;
    let late = 0;
    while (this.ready.length > 0 && (this.ready[0]!.timeUs <= nowUs || (!this.begun && !due))) {
      if (due) {
        due.close();
        ++late;
      }
      due = this.ready.shift()!;
    }
    this.begun ||= due !== null;
    this.room.notify();
    return { due, late };
  }

  /** Takes a picture from the decoder. Those before the first that is wanted were only there to be decoded. */
  deliver(picture: Picture): void {
    if (this.stopped) return picture.close();
    if (picture.timeUs <= this.fromUs) this.ready.pop()?.close();
    this.ready.push(picture);
    this.newestUs = picture.timeUs;
    this.untilUs = picture.timeUs + picture.durationUs;
    this.room.notify();
    this.events.arrived();
  }

  async stop(): Promise<void> {
    this.stopped = true;
    this.room.notify();
    await this.done;
    this.decoder.reset();
    for (const picture of this.ready.splice(0)) picture.close();
  }

  private async run(): Promise<void> {
    const options = { tracks: [this.track.index], presentation: true };
    try {
      for await (const packet of usablePackets(this.file, options, () => undefined)) {
        if (!(await this.decode(packet))) return;
      }
    } catch (error) {
      this.events.complain(String(error));
    }
    if (this.stopped) return;
    await this.decoder.flush();
    this.ended = true;
    this.events.arrived();
  }

  private async decode(packet: Packet): Promise<boolean> {
    while (!this.stopped && (this.ready.length >= PICTURES_AHEAD || this.decoder.pending >= PACKETS_AHEAD)) {
      await this.room.wait();
    }
    if (this.stopped) return false;
    // A packet without bytes stands for a picture that is shown once more.
    if (packet.data.length > 0) this.decoder.decode(packet);
    return true;
  }
}

/** Sound of a track from a time on, given to what makes it heard. */
export class SoundFeed {
  ended = false;
  /** How far the sound goes that has been given. */
  untilUs: number;
  private nowUs: number;
  private stopped = false;
  private readonly room = new Signal();
  private readonly done: Promise<void>;

  constructor(
    private readonly file: MediaFile, private readonly track: Track, private readonly timing: Timing,
    private readonly fromUs: number, private readonly events: FeedEvents,
  ) {
    this.untilUs = fromUs;
    this.nowUs = fromUs;
    this.done = this.run();
  }

  complete(us: number): boolean {
    return this.ended || this.untilUs > us;
  }

  /** Tells how far time is. */
  reach(nowUs: number): void {
    this.nowUs = nowUs;
    if (this.untilUs - nowUs <= SOUND_AHEAD_US) this.room.notify();
  }

  async stop(): Promise<void> {
    this.stopped = true;
    this.room.notify();
    await this.done;
  }

  private async run(): Promise<void> {
    try {
      for await (const samples of this.file.decode(this.track.index)) {
        while (!this.stopped && this.untilUs - this.nowUs > SOUND_AHEAD_US) await this.room.wait();
        if (this.stopped) return;
        this.give(cutFront(samples, this.fromUs));
      }
    } catch (error) {
      this.events.complain(String(error));
    }
    this.ended = true;
    this.events.arrived();
  }

  private give(samples: Samples | null): void {
    if (!samples) return;
    this.timing.hear(samples);
    this.untilUs = endOf(samples);
    this.events.arrived();
  }
}

/** What of the samples lies behind a time; null for nothing. */
function cutFront(samples: Samples, fromUs: number): Samples | null {
  const { format, timeUs, data } = samples;
  const early = Math.max(0, Math.round(((fromUs - timeUs) * format.rate) / 1e6));
  if (early === 0) return samples;
  const rest = data.subarray(early * format.channels);
  return rest.length === 0 ? null : { format, timeUs: timeUs + (early * 1e6) / format.rate, data: rest };
}

function endOf({ format, timeUs, data }: Samples): number {
  return timeUs + (data.length / format.channels / format.rate) * 1e6;
}
