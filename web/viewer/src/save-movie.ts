// Saves H.264 with its sound as MP4 or Matroska, without encoding anything anew. Loaded when it is needed: what writes
// these files is most of the page's code.
import { EncodedAudioPacketSource, EncodedPacket, EncodedVideoPacketSource, MkvOutputFormat, Mp4OutputFormat, Output,
  StreamTarget, type AudioCodec, type StreamTargetChunk } from 'mediabunny';
import type { MediaFile, Packet, Track } from 'quorv';
import { codecString, decoderRecord, lengthPrefixed, NAL_SPS, unitsOfType, withParameterSets } from './annexb.js';
import type { Destination } from './destination.js';
import { audioCodec, type MoviePlan } from './movie-plan.js';
import { FrameCutter } from './mpeg-audio.js';
import { DAMAGED, usablePackets } from './packets.js';
import type { Work } from './save-sound.js';

export async function saveMovie(file: MediaFile, plan: MoviePlan, to: Destination, work: Work): Promise<void> {
  const target = new StreamTarget(new WritableStream<StreamTargetChunk>({
    write: ({ data, position }) => to.write(data, position),
  }), { chunked: true, chunkSize: 1 << 22 });
  const format = plan.container === 'mp4' ? new Mp4OutputFormat({ fastStart: false }) : new MkvOutputFormat();
  const output = new Output({ format, target });
  const writers = new Map<number, TrackWriter>();
  writers.set(plan.video.index, new PictureWriter(output, plan.video));
  for (const track of plan.audio) {
    writers.set(track.index, track.codec === 'mp3' ? new Mp3Writer(output, track)
      : new PcmWriter(output, track, audioCodec(track, plan.container)!));
  }
  await output.start();
  try {
    await addPackets(file, writers, work);
    await output.finalize();
  } catch (error) {
    await output.cancel().catch(() => undefined);
    throw error;
  }
  const lost = [...writers.values()].reduce((sum, writer) => sum + writer.leftOut, 0);
  if (lost > 0) work.complain(`${lost} packets that cannot be decoded were left out.`);
}

async function addPackets(file: MediaFile, writers: Map<number, TrackWriter>, work: Work): Promise<void> {
  const options = { tracks: [...writers.keys()], presentation: true };
  for await (const packet of usablePackets(file, options, () => work.complain(DAMAGED))) {
    work.signal.throwIfAborted();
    await writers.get(packet.track)!.add(packet);
    work.progress(packet.timeUs / (file.durationUs ?? Infinity));
  }
}

/** Takes one track's packets. */
interface TrackWriter {
  /** Packets that have no place in the container. */
  readonly leftOut: number;
  add(packet: Packet): Promise<void>;
}

class PictureWriter implements TrackWriter {
  leftOut = 0;
  private readonly source = new EncodedVideoPacketSource('avc');
  private readonly config: VideoDecoderConfig;
  private begun = false;
  /** The latest picture, and the latest before the last key frame: what follows must be shown after that one. */
  private latestUs = -Infinity;
  private boundUs = -Infinity;

  constructor(output: Output, private readonly track: Track) {
    const sps = unitsOfType(track.codecData, NAL_SPS)[0]!;
    this.config = {
      codec: codecString(sps), codedWidth: track.width, codedHeight: track.height,
      description: decoderRecord(track.codecData)!,
    };
    output.addVideoTrack(this.source);
  }

  async add({ data, key, presentationUs, timeUs, durationUs }: Packet): Promise<void> {
    const shownUs = presentationUs ?? timeUs;
    if (key) this.boundUs = this.latestUs;
    if (data.length === 0) return;
    if ((!this.begun && !key) || shownUs < this.boundUs) return void ++this.leftOut;
    this.latestUs = Math.max(this.latestUs, shownUs);
    const bytes = lengthPrefixed(key ? withParameterSets(data, this.track.codecData) : data);
    const packet = new EncodedPacket(bytes, key ? 'key' : 'delta', shownUs / 1e6, durationUs / 1e6);
    await this.source.add(packet, this.begun ? undefined : { decoderConfig: this.config });
    this.begun = true;
  }
}

class Mp3Writer implements TrackWriter {
  readonly leftOut = 0;
  private readonly source = new EncodedAudioPacketSource('mp3');
  private readonly cutter = new FrameCutter();
  private begun = false;

  constructor(output: Output, private readonly track: Track) {
    output.addAudioTrack(this.source);
  }

  async add({ data, timeUs }: Packet): Promise<void> {
    for (const frame of this.cutter.push(data, timeUs)) {
      const packet = new EncodedPacket(frame.data, 'key', frame.timeUs / 1e6, frame.durationUs / 1e6);
      await this.source.add(packet, this.begun ? undefined : audioMeta('mp3', this.track));
      this.begun = true;
    }
  }
}

class PcmWriter implements TrackWriter {
  readonly leftOut = 0;
  private readonly source: EncodedAudioPacketSource;
  private begun = false;

  constructor(output: Output, private readonly track: Track, private readonly codec: AudioCodec) {
    this.source = new EncodedAudioPacketSource(codec);
    output.addAudioTrack(this.source);
  }

  async add({ data, timeUs }: Packet): Promise<void> {
    const seconds = data.length / (this.track.channels * (this.track.bitsPerSample / 8)) / this.track.sampleRate;
    if (!(seconds > 0)) return;
    await this.source.add(new EncodedPacket(data, 'key', timeUs / 1e6, seconds),
      this.begun ? undefined : audioMeta(this.codec, this.track));
    this.begun = true;
  }
}

function audioMeta(codec: string, track: Track): EncodedAudioChunkMetadata {
  return { decoderConfig: { codec, numberOfChannels: track.channels, sampleRate: track.sampleRate } };
}
