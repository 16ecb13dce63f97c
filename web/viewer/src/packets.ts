// All packets of a file that can be read.
import type { MediaFile, Packet, PacketOptions } from 'quorv';

/** What is said where something had to be left out. */
export const DAMAGED = 'Parts that are damaged are left out.';

/** Goes on behind parts that are damaged, and tells of each; any other failure is thrown. */
export async function* usablePackets(
  file: Pick<MediaFile, 'packets'>, options: PacketOptions, damaged: () => void,
): AsyncGenerator<Packet> {
  for (;;) {
    try {
      return yield* file.packets(options);
    } catch (error) {
      if ((error as { code?: string }).code !== 'damaged') throw error;
      damaged();
    }
  }
}
