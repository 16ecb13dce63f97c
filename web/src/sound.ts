// Gathers decoded sound into as few portions as it can be told in.

import type { Samples } from './types.js';

/** Pieces whose times are so near to each other follow each other: times are rounded. */
const sameUs = 1000;
/** Room for so many samples at first. */
const usualRoom = 0x8000;

export class Sound {
  /** Samples of each channel that are here. */
  frames = 0;

  readonly #done: Samples[] = [];
  #room = new Int16Array(usualRoom);
  /** The portion that grows: how much of the room it takes, and what it is. */
  #length = 0;
  #rate = 0;
  #channels = 0;
  #timeUs = 0;

  /** Samples of all channels in turn, which are copied. */
  add(rate: number, channels: number, timeUs: number, samples: Int16Array): void {
    const follows = rate === this.#rate && channels === this.#channels && Math.abs(timeUs - this.#endUs) < sameUs;
    if (!follows) this.#begin(rate, channels, timeUs);
    this.#reserve(this.#length + samples.length);
    this.#room.set(samples, this.#length);
    this.#length += samples.length;
    this.frames += samples.length / channels;
  }

  /** All of it; nothing can be added behind that. */
  portions(): Samples[] {
    this.#begin(0, 0, 0);
    return this.#done;
  }

  get #endUs(): number {
    return this.#timeUs + (this.#length / this.#channels / this.#rate) * 1e6;
  }

  #begin(rate: number, channels: number, timeUs: number): void {
    const format = { rate: this.#rate, channels: this.#channels };
    const data = this.#room.slice(0, this.#length);
    if (data.length > 0) this.#done.push({ format, timeUs: this.#timeUs, data });
    this.#length = 0;
    this.#rate = rate;
    this.#channels = channels;
    this.#timeUs = timeUs;
  }

  #reserve(length: number): void {
    if (length <= this.#room.length) return;
    const room = new Int16Array(2 * length);
    room.set(this.#room.subarray(0, this.#length));
    this.#room = room;
  }
}
