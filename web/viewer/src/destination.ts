// Where a saved file goes: straight to disk where the browser can, else into memory and then to the downloads.

/** Takes bytes at any place, and keeps them once it is closed. */
export interface Destination {
  write(data: Uint8Array<ArrayBuffer>, position: number): Promise<void>;
  close(): Promise<void>;
  /** Leaves nothing behind. */
  abort(): Promise<void>;
}

/** What a browser that cannot write to disk keeps in memory. */
export const MEMORY_LIMIT = 1_000_000_000;

const PAGE_BYTES = 1 << 20;

/** Whether the browser lets a page write to a file that the user picks. */
export function canStream(): boolean {
  return 'showSaveFilePicker' in globalThis;
}

/** Asks where to save; null when the user thinks better of it. */
export async function chooseDestination(name: string): Promise<Destination | null> {
  if (!canStream()) return new MemoryDestination((blob) => download(blob, name));
  try {
    const handle = await showSaveFilePicker({ suggestedName: name });
    return new DiskDestination(await handle.createWritable());
  } catch (error) {
    if ((error as Error).name === 'AbortError') return null;
    throw error;
  }
}

/** Gives a file to the browser's downloads. */
export function download(blob: Blob, name: string): void {
  const link = document.createElement('a');
  link.href = URL.createObjectURL(blob);
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60_000);
}

class DiskDestination implements Destination {
  constructor(private readonly stream: FileSystemWritableFileStream) {}

  async write(data: Uint8Array<ArrayBuffer>, position: number): Promise<void> {
    await this.stream.write({ type: 'write', position, data });
  }

  async close(): Promise<void> {
    await this.stream.close();
  }

  async abort(): Promise<void> {
    await this.stream.abort();
  }
}

class MemoryDestination implements Destination {
  private pages: Uint8Array<ArrayBuffer>[] = [];
  private length = 0;

  constructor(private readonly done: (blob: Blob) => void) {}

  async write(data: Uint8Array<ArrayBuffer>, position: number): Promise<void> {
    if (position + data.length > MEMORY_LIMIT) {
      throw new Error('It is larger than 1 GB, which is what this browser can save. '
        + 'Chrome and Edge on a computer save files of any size.');
    }
    this.length = Math.max(this.length, position + data.length);
    for (let taken = 0; taken < data.length;) {
      const within = (position + taken) % PAGE_BYTES;
      const part = data.subarray(taken, taken + PAGE_BYTES - within);
      this.page((position + taken - within) / PAGE_BYTES).set(part, within);
      taken += part.length;
    }
  }

  async close(): Promise<void> {
    const whole = new Blob(this.pages);
    this.pages = [];
    this.done(whole.slice(0, this.length));
  }

  async abort(): Promise<void> {
    this.pages = [];
  }

  private page(index: number): Uint8Array<ArrayBuffer> {
    while (this.pages.length <= index) this.pages.push(new Uint8Array(PAGE_BYTES));
    return this.pages[index]!;
  }
}
