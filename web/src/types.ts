// What the package takes and gives. Times are microseconds from the beginning of the file.

/** A file that the caller reads. It may be called with any offset below `size`, one call at a time or several. */
export interface ByteSource {
  /** The length in bytes. */
  readonly size: number;
  /** At most `length` bytes at an offset; fewer only where the source ends. */
  read(offset: number, length: number): Uint8Array | Promise<Uint8Array>;
  /** Called once, when the file is closed or could not be opened. */
  close?(): void;
}

/**
 * What `open` reads: a picked or dropped file; bytes in memory, which stay as they are until the file is closed; an
 * address (in node also `file:`), in slices where the server answers range requests and as a whole where it does
 * not; or anything that can be read at an offset.
 */
export type Input = Blob | ArrayBuffer | Uint8Array | URL | ByteSource;

export interface OpenOptions {
  /** Whether the library runs in a worker, which is so unless this is false. */
  worker?: boolean;
  /** Where quorv.wasm lies, or its bytes; beside this package's code unless given. */
  wasm?: URL | ArrayBuffer | Uint8Array;
}

/** A fraction in its lowest terms. */
export interface Rational {
  readonly num: number;
  readonly den: number;
}

export type Format = 'avi' | 'asf' | 'mp3';

export type TrackType = 'video' | 'audio' | 'text' | 'other';

/** What a track's frames are encoded with; '' when the library does not know it. */
export type Codec =
  | 'h264' | 'h263' | 'mpeg4' | 'mpeg4-simple' | 'xvid' | 'divx' | 'dx50' | 'div3' | 'div4' | 'draft-mpeg4'
  | 'wmv7' | 'wmv8' | 'wmv9' | 'mpeg1' | 'mpeg2' | 'mjpeg'
  | 'pcm' | 'adpcm' | 'mp1' | 'mp2' | 'mp3' | 'aac' | 'wma1' | 'wma2' | 'wma-pro' | 'wma-lossless'
  | 'ac3' | 'dts' | 'amr-nb' | 'amr-wb' | 'sipr' | 'real-audio' | 'vorbis' | '';

/**
 * What the bytes of a packet are: H.264 with start codes ('annex-b'), VOPs ('mpeg4-visual'), a JPEG picture whose
 * Huffman tables may be missing ('jpeg'), an uncompressed picture ('raw-picture'), a frame of WMV ('wmv'), samples
 * ('pcm'), MPEG audio, which in AVI and ASF files may be cut inside of frames ('mpeg-audio'), or whole blocks of
 * `blockAlign` bytes ('blocks').
 */
export type Framing =
  | 'unknown' | 'annex-b' | 'mpeg4-visual' | 'jpeg' | 'raw-picture' | 'wmv' | 'pcm' | 'mpeg-audio' | 'blocks';

/** Uncompressed samples, little-endian; 'none' for compressed ones. */
export type SampleFormat = 'none' | 'u8' | 's16' | 's24' | 's32' | 'f32' | 'f64' | 'alaw' | 'mulaw';

/** A track, as the file describes it. Numbers that a track cannot have, or the file does not tell, are 0. */
export interface Track {
  /** From 0: the place in `MediaFile.tracks`. */
  readonly index: number;
  /** As the file counts. */
  readonly number: number;
  readonly type: TrackType;
  /** Whether its packets can be read; else it can only be listed. */
  readonly readable: boolean;
  readonly codec: Codec;
  /** For people: "H.264", "MPEG-4 Part 2 (XVID)", "PCM, 16 bits". */
  readonly codecName: string;
  /** What the file says: a FourCC with its first character most significant, or the format tag of a WAVEFORMAT. */
  readonly tag: number;
  readonly framing: Framing;
  /** null when it is not known. */
  readonly durationUs: number | null;
  /** bit/s, of variable ones the mean. */
  readonly bitRate: number;
  readonly seekable: boolean;
  readonly width: number;
  readonly height: number;
  /** Of video, exactly; null when it is not known. */
  readonly frameRate: Rational | null;
  /** Of audio, in hertz. */
  readonly sampleRate: number;
  readonly channels: number;
  readonly bitsPerSample: number;
  readonly blockAlign: number;
  readonly sampleFormat: SampleFormat;
  /** What decoders must have first, such as parameter sets; may be empty. */
  readonly codecData: Uint8Array;
  /** Motion JPEG: DHT segments that its pictures lack; may be empty. */
  readonly huffmanTables: Uint8Array;
  /** Whether packets may be shown in another order than they come in. */
  readonly reorders: boolean;
  /** MPEG audio files: samples of each channel. */
  readonly sampleCount: number;
  /** MPEG audio files: samples that a decoder gives in front of those, and behind; `decode` leaves them out. */
  readonly trimFront: number;
  readonly trimBack: number;
  /** Bytes, as the file suggests: a packet may have more. */
  readonly maxPacketSize: number;
  /** MPEG audio files: packets, as the encoder says in front. */
  readonly statedPackets: number;
  /** MPEG audio files: the offset behind the last packet, as the encoder says in front; null when it does not. */
  readonly statedEnd: number | null;
}

/** A piece of a track: a compressed frame, or some samples. */
export interface Packet {
  /** The track's index. */
  readonly track: number;
  /** In a buffer of its own, which the caller may transfer. */
  readonly data: Uint8Array<ArrayBuffer>;
  /** When it is decoded. */
  readonly timeUs: number;
  /** When it is shown; null unless presentation times were asked for. */
  readonly presentationUs: number | null;
  /** 0 when it is not known. */
  readonly durationUs: number;
  /** Whether decoding can begin here. */
  readonly key: boolean;
  /** Of its first byte in the file; -1 when it does not lie there in one piece. */
  readonly offset: number;
}

/** Many packets without their bytes: the k-th is described by the k-th element of each array. */
export interface PacketTable {
  readonly track: Uint32Array;
  readonly size: Uint32Array;
  readonly timeUs: Float64Array;
  readonly presentationUs: Float64Array;
  readonly durationUs: Float64Array;
  readonly offset: Float64Array;
  /** 1 for key frames. */
  readonly key: Uint8Array;
}

/** Decoded sound of one format. */
export interface Samples {
  readonly format: { readonly rate: number; readonly channels: number };
  /** When the first of them is heard. */
  readonly timeUs: number;
  /** All channels in turn, in a buffer of its own. */
  readonly data: Int16Array<ArrayBuffer>;
}

/** A run of bytes of the file: from an offset up to another. */
export interface ByteRange {
  readonly begin: number;
  readonly end: number;
}

/** How often something was met, and where. */
export interface DamageCount {
  readonly count: number;
  /** For the first time; -1 for nowhere. */
  readonly firstOffset: number;
  /** In the order of the file. Of what is not bytes, each takes one. After very many, close ones become one. */
  readonly places: readonly ByteRange[];
}

/** What could not be used. */
export interface DamageRecord {
  /** Bytes that belong to nothing that is known. */
  readonly bytesPassedOver: DamageCount;
  /** Chunks that the index names and that are not where it says. */
  readonly chunksMissing: DamageCount;
  /** ASF: data packets, or frames that lack a part. */
  readonly packetsUnusable: DamageCount;
  /** MPEG audio files: frames that are cut off or make no sense. */
  readonly framesSkipped: DamageCount;
  /** The file ends before its own header says. */
  readonly cutOff: boolean;
  /** How much is missing then; -1 when that is not known. */
  readonly bytesMissing: number;
}

/** Of the whole file, what belongs to no track included, and of each track. */
export interface Damage extends DamageRecord {
  readonly tracks: readonly DamageRecord[];
}

export type ErrorCode =
  | 'argument' | 'memory' | 'source' | 'not-media' | 'damaged' | 'unsupported' | 'closed'
  /** The library itself failed, which is a fault in it; the file is closed. */
  | 'internal';

export interface PacketOptions {
  /** Indexes; all tracks that have packets unless given. */
  tracks?: readonly number[];
  /** Asks for the times at which packets are shown. */
  presentation?: boolean;
}

export interface SeekOptions {
  /** To the key frame at or before the time, or at or after it; 'before' unless given. */
  mode?: 'before' | 'after';
  /** Indexes of the tracks that move; all that have packets unless given. */
  tracks?: readonly number[];
}

/**
 * An open file. Each track has one place, from which iterations go on, moved by what they deliver and by `seek`; an
 * iteration under way goes on from there too. To read at two places, open the file twice.
 */
export interface MediaFile {
  readonly format: Format;
  /** For people: "AVI", "ASF (WMV, WMA)", "MPEG audio". */
  readonly formatName: string;
  readonly tracks: readonly Track[];
  /** Of the longest track; null when it is not known. */
  readonly durationUs: number | null;
  /** Bytes. */
  readonly size: number;

  /**
   * The packets of some tracks in the order of their times. Throws an error with the code 'damaged' where a part of
   * the file cannot be used; another iteration goes on behind it.
   */
  packets(options?: PacketOptions): AsyncIterableIterator<Packet>;

  /**
   * All packets of the file without their bytes, in pieces of some thousand, from its beginning, whatever its tracks'
   * places are; those stay. Goes on behind damage. Afterwards `damage` tells of the whole file. Another scan ends this
   * one with the code 'closed'.
   */
  scan(options?: PacketOptions): AsyncIterableIterator<PacketTable>;

  /** Moves tracks; returns the time reached. */
  seek(timeUs: number, options?: SeekOptions): Promise<number>;

  /**
   * The sound of a track of MPEG audio or PCM from its place on. What lies around damage is passed over. Ends with
   * the track; after a seek it can be iterated again. Reads ahead: who wants the track's packets next seeks first.
   */
  decode(track: number): AsyncIterableIterator<Samples>;

  /** What could not be used of what has been read so far. */
  damage(): Promise<Damage>;

  /** Ends the worker and frees what belongs to the file. */
  close(): Promise<void>;
}
