// What runs inside the page under test: a clock that runs as fast as pictures and sound come, and what was drawn.
// Given to the browser as text, so it uses nothing from outside.

export interface Driven {
  /** Times of the pictures that were drawn since `forget`; -1 where a picture has none of its own. */
  drawn: number[];
  /** Samples of each channel that were heard. */
  heard: number;
  forget(): void;
  /** Lets time run in steps until the player stops; rejects when nothing comes any more. */
  run(stepUs: number): Promise<void>;
}

export function drivePage(): void {
  type Piece = { format: { channels: number }; timeUs: number; data: Int16Array };
  const state = { now: 0, running: false, pending: [] as Piece[], tick: () => true as boolean };
  const driven: Driven = {
    drawn: [], heard: 0,
    forget() {
      driven.drawn = [];
      driven.heard = 0;
    },
    async run(stepUs) {
      let waits = 0;
      for (let turns = 0; ; ++turns) {
        const complete = state.tick();
        if (complete && !state.running) break;
        if (complete) {
          state.now += stepUs;
          waits = 0;
        } else if (++waits > 20_000) throw new Error(`nothing comes at ${state.now}`);
        // Decoders and workers deliver between tasks only.
        if (!complete || turns % 64 === 0) await new Promise((next) => setTimeout(next, 0));
      }
    },
  };
  const hear = (): void => {
    if (!state.running) return;
    for (const { format, data, timeUs } of state.pending) {
      if (timeUs <= state.now) driven.heard += data.length / format.channels;
    }
    state.pending = state.pending.filter(({ timeUs }) => timeUs > state.now);
  };
  const timing = {
    get nowUs() { return state.now; },
    start: (fromUs: number) => { state.now = fromUs; state.running = true; return Promise.resolve(); },
    stop: () => { hear(); state.running = false; },
    hear: (piece: Piece) => void state.pending.push(piece),
    silence: () => { state.pending = []; },
    setVolume: () => undefined,
    onTick: (callback: () => boolean) => { state.tick = () => { hear(); return callback(); }; },
  };
  const draw = CanvasRenderingContext2D.prototype.drawImage;
  CanvasRenderingContext2D.prototype.drawImage = function (this: CanvasRenderingContext2D, ...args: unknown[]) {
    if (this.canvas.id === 'picture') driven.drawn.push((args[0] as VideoFrame).timestamp ?? -1);
    (draw as (...all: unknown[]) => void).apply(this, args);
  } as typeof draw;
  Object.assign(globalThis, { quorvTiming: timing, driven, showSaveFilePicker: undefined });
  delete (globalThis as { showSaveFilePicker?: unknown }).showSaveFilePicker;
}
