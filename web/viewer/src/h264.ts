// H.264 by WebCodecs: access units with start codes in, pictures in the order in which they are shown out.
import type { Packet, Track } from 'quorv';
import { codecString, NAL_SPS, unitsOfType, withParameterSets } from './annexb.js';
import type { Complain, Deliver, PictureDecoder } from './pictures.js';

export class H264Decoder implements PictureDecoder {
  private decoder: VideoDecoder;
  private readonly config: VideoDecoderConfig;
  private started = false;
  private durations = new Map<number, number>();

  /** Why the browser cannot show it; null when it can. */
  static async whyNot(track: Track): Promise<string | null> {
    if (!('VideoDecoder' in globalThis)) {
      return isSecureContext ? 'This browser cannot decode H.264 for pages (WebCodecs is missing)'
        : 'Browsers decode H.264 only for pages that come over https';
    }
    const config = configuration(track);
    if (!config) return 'The H.264 stream lacks the parameters that a decoder needs';
    const { supported } = await VideoDecoder.isConfigSupported(config).catch(() => ({ supported: false }));
    return supported ? null : `This browser cannot decode this kind of H.264 (${config.codec})`;
  }

  constructor(
    private readonly track: Track, private readonly deliver: Deliver, private readonly complain: Complain,
  ) {
    this.config = configuration(track) ?? { codec: 'avc1.42001e' };
    this.decoder = this.open();
  }

  get pending(): number {
    return this.durations.size;
  }

  decode(packet: Packet): void {
    if (this.decoder.state === 'closed') this.decoder = this.open();
    if (!this.started && !packet.key) return this.complain('Pictures before a key frame cannot be shown.');
    const timeUs = packet.presentationUs ?? packet.timeUs;
    const data = packet.key ? withParameterSets(packet.data, this.track.codecData) : packet.data;
    const type = packet.key ? 'key' : 'delta';
    this.started = true;
    this.durations.set(timeUs, packet.durationUs);
    try {
      this.decoder.decode(new EncodedVideoChunk({ type, timestamp: timeUs, data }));
    } catch (error) {
      // What decodes may still see that a key frame is none; the next one may be.
      this.durations.delete(timeUs);
      this.started = false;
      this.complain(`Some pictures cannot be decoded (${String(error)}).`);
    }
  }

  async flush(): Promise<void> {
    if (this.decoder.state === 'configured') await this.decoder.flush().catch(() => undefined);
    this.durations.clear();
    this.started = false;
  }

  reset(): void {
    this.durations.clear();
    this.started = false;
    if (this.decoder.state === 'closed') return;
    this.decoder.reset();
    this.decoder.configure(this.config);
  }

  close(): void {
    if (this.decoder.state !== 'closed') this.decoder.close();
  }

  private open(): VideoDecoder {
    const decoder = new VideoDecoder({
      output: (frame) => this.output(frame),
      error: (error) => {
        this.complain(`Some pictures cannot be decoded (${error.message.replace(/\.$/, '')}).`);
        this.durations.clear();
        this.started = false;
      },
    });
    decoder.configure(this.config);
    return decoder;
  }

  private output(frame: VideoFrame): void {
    const timeUs = frame.timestamp;
    const durationUs = this.durations.get(timeUs) ?? 0;
    // What is shown before this one has come out, or never will.
    for (const time of this.durations.keys()) if (time <= timeUs) this.durations.delete(time);
    const { displayWidth: width, displayHeight: height } = frame;
    this.deliver({ image: frame, width, height, timeUs, durationUs, close: () => frame.close() });
  }
}

/** By the profile, constraints and level of the first sequence parameter set. */
function configuration(track: Track): VideoDecoderConfig | null {
  const sps = unitsOfType(track.codecData, NAL_SPS)[0];
  return sps && sps.length >= 4 ? { codec: codecString(sps) } : null;
}
