// How many times faster than it is heard MPEG audio is decoded, by the time of the processor, which other work on the
// machine leaves as it is. usage: npm run bench -- FILE.mp3...

import { readFileSync } from 'node:fs';
import { open, type MediaFile } from '../dist/index.js';

/** Seconds of sound a second of all threads of the process. */
async function measure(file: MediaFile, track: number): Promise<number> {
  const start = process.cpuUsage();
  let seconds = 0;
  for await (const { data, format } of file.decode(track)) seconds += data.length / format.channels / format.rate;
  const { user, system } = process.cpuUsage(start);
  return (seconds * 1e6) / (user + system);
}

for (const path of process.argv.slice(2)) {
  const bytes = readFileSync(path);
  for (const worker of [false, true]) {
    const runs: number[] = [];
    for (let run = 0; run < 5; ++run) {
      const file = await open(bytes, { worker });
      const track = file.tracks.find(({ framing }) => framing === 'mpeg-audio');
      if (track === undefined) throw new Error(`${path}: no MPEG audio`);
      runs.push(await measure(file, track.index));
      await file.close();
    }
    // The first ones compile what they run.
    const figures = runs.map((run) => run.toFixed(0)).join(', ');
    console.log(`${path} ${worker ? 'in a worker' : 'beside the caller'}: ${figures} times real time`);
  }
}
