// The File System Access API's picker, which not every browser has and TypeScript's library lacks.

declare function showSaveFilePicker(options: { suggestedName: string }): Promise<FileSystemFileHandle>;
