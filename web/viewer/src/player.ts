// Plays a file: shows each picture when its time has come, by a clock that the sound drives.
import type { MediaFile, Track } from 'quorv';
import { PictureFeed, SoundFeed } from './feeds.js';
import { openDecoder, type Picture, type PictureDecoder } from './pictures.js';
import type { Timing } from './timing.js';

/** Sound that must be there before time begins to run. */
const SOUND_READY_US = 200_000;
/** A picture that is later than this lets time stand still until it is there. */
const PATIENCE_US = 500_000;

export type PlayerState = 'paused' | 'playing' | 'waiting' | 'ended';

export interface PlayerEvents {
  /** After each change of state or place. */
  changed(): void;
  /** A picture is to be drawn; it is closed when the next one comes. */
  show(picture: Picture): void;
  /** Something could not be played. */
  complain(reason: string): void;
}

/** What is played of a file: a track that can be shown and one that can be heard; null for none. */
export interface Choice {
  readonly video: Track | null;
  readonly audio: Track | null;
}

export class Player {
  /** Pictures that were shown, and those whose time had passed before they were there. */
  shown = 0;
  dropped = 0;
  private wanted: 'play' | 'pause' = 'pause';
  private running = false;
  private ended = false;
  /** Where time stands while it does not run. */
  private placeUs = 0;
  private endUs: number;
  private current: Picture | null = null;
  private pictures: PictureFeed | null = null;
  private sound: SoundFeed | null = null;
  private readonly decoder: PictureDecoder | null;
  private moves = 0;
  private moving: Promise<void>;

  constructor(
    private readonly file: MediaFile, readonly choice: Choice,
    private readonly timing: Timing, private readonly events: PlayerEvents,
  ) {
    this.endUs = file.durationUs ?? 0;
    this.decoder = choice.video
      ? openDecoder(choice.video, (picture) => this.deliver(picture), (reason) => events.complain(reason)) : null;
    timing.silence();
    timing.onTick(() => this.tick());
    this.moving = this.feedFrom(0);
  }

  get nowUs(): number {
    return this.running ? Math.min(this.timing.nowUs, this.endUs) : this.placeUs;
  }

  get durationUs(): number {
    return this.endUs;
  }

  get state(): PlayerState {
    if (this.ended) return 'ended';
    if (this.wanted === 'pause') return 'paused';
    return this.running ? 'playing' : 'waiting';
  }

  play(): void {
    if (this.ended) void this.seek(0);
    this.wanted = 'play';
    this.tick();
  }

  pause(): void {
    this.wanted = 'pause';
    this.halt();
    this.events.changed();
  }

  /** Goes to a time; its picture is shown as soon as it is there, whether time runs or not. */
  seek(toUs: number): Promise<void> {
    this.halt();
    this.timing.silence();
    this.placeUs = Math.max(0, Math.min(toUs, this.endUs));
    this.ended = false;
    this.events.changed();
    const move = ++this.moves;
    this.moving = this.moving.then(async () => {
      // Only the latest of several seeks that came meanwhile is carried out.
      if (move !== this.moves) return;
      await this.stopFeeds();
      this.timing.silence();
      await this.feedFrom(this.placeUs);
    });
    return this.moving;
  }

  /** Shows the next picture, or the one before. */
  async step(direction: 1 | -1): Promise<void> {
    this.pause();
    if (!this.current) return;
    const { timeUs, durationUs } = this.current;
    await this.seek(direction > 0 ? timeUs + (durationUs || 40_000) : timeUs - 1);
  }

  async close(): Promise<void> {
    this.halt();
    this.timing.onTick(() => true);
    this.timing.silence();
    ++this.moves;
    await this.moving;
    await this.stopFeeds();
    this.decoder?.close();
    this.current?.close();
    this.current = null;
  }

  private async feedFrom(fromUs: number): Promise<void> {
    const { video, audio } = this.choice;
    const tracks = [video, audio].flatMap((track) => (track ? [track.index] : []));
    const events = { arrived: () => void this.tick(), complain: (reason: string) => this.events.complain(reason) };
    // Where nothing says where a time lies, the feeds pass over what comes before it.
    await this.file.seek(fromUs, { tracks }).catch(() => this.file.seek(0, { tracks })).catch(() => undefined);
    this.pictures = video && this.decoder ? new PictureFeed(this.file, video, this.decoder, fromUs, events) : null;
    this.sound = audio ? new SoundFeed(this.file, audio, this.timing, fromUs, events) : null;
    this.tick();
  }

  private async stopFeeds(): Promise<void> {
    await Promise.all([this.pictures?.stop(), this.sound?.stop()]);
    this.pictures = null;
    this.sound = null;
  }

  private deliver(picture: Picture): void {
    if (this.pictures) this.pictures.deliver(picture);
    else picture.close();
  }

  /** Does what is due now; tells whether all that belongs to now was there. */
  private tick(): boolean {
    if (this.running) this.endUs = Math.max(this.endUs, this.availableUs());
    const nowUs = this.nowUs;
    this.sound?.reach(nowUs);
    this.showDue(nowUs);
    const complete = this.complete(nowUs, nowUs);
    if (this.running && this.finished(this.timing.nowUs)) this.finish();
    else if (this.running && !this.complete(nowUs - PATIENCE_US, nowUs)) this.halt();
    else if (this.wanted === 'play' && !this.running && this.complete(nowUs, nowUs + SOUND_READY_US)) this.begin();
    this.events.changed();
    return this.wanted === 'pause' || (this.running && complete);
  }

  private complete(pictureUs: number, soundUs: number): boolean {
    const { video, audio } = this.choice;
    if ((video && !this.pictures) || (audio && !this.sound)) return false;
    return (this.pictures?.complete(pictureUs) ?? true) && (this.sound?.complete(soundUs) ?? true);
  }

  private availableUs(): number {
    return Math.max(this.pictures?.untilUs ?? 0, this.sound?.untilUs ?? 0);
  }

  private finished(nowUs: number): boolean {
    return (this.pictures?.ended ?? true) && (this.sound?.ended ?? true) && nowUs >= this.availableUs();
  }

  private showDue(nowUs: number): void {
    const { due, late } = this.pictures?.take(nowUs) ?? { due: null, late: 0 };
    this.dropped += late;
    if (!due) return;
    this.current?.close();
    this.current = due;
    ++this.shown;
    this.events.show(due);
  }

  private begin(): void {
    this.running = true;
    void this.timing.start(this.placeUs);
  }

  private halt(): void {
    if (!this.running) return;
    this.placeUs = Math.min(this.timing.nowUs, this.endUs);
    this.running = false;
    this.timing.stop();
  }

  private finish(): void {
    this.halt();
    this.wanted = 'pause';
    this.ended = true;
  }
}
