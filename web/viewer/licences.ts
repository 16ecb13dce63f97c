// A vite plugin that writes the licences of all that the built page contains into licences.txt.
import { existsSync, readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import type { Plugin } from 'vite';

/** The package that a module of the bundle belongs to; null for our own. */
function packageOf(id: string): string | null {
  const at = id.lastIndexOf('/node_modules/');
  if (at < 0) return null;
  const [scope, name] = id.slice(at + '/node_modules/'.length).split('/');
  return id.slice(0, at) + '/node_modules/' + (scope!.startsWith('@') ? `${scope}/${name}` : scope!);
}

function licenceOf(folder: string): string {
  const { name, version, license, homepage } = JSON.parse(readFileSync(join(folder, 'package.json'), 'utf8')) as
    Record<string, string>;
  const file = ['LICENSE', 'LICENSE.md', 'LICENSE.txt'].map((each) => join(folder, each)).find(existsSync);
  if (!file) throw new Error(`${name} has no licence file`);
  const source = homepage ? `Source: https://www.npmjs.com/package/${name} (version ${version}), ${homepage}\n` : '';
  return `${name} ${version} (${license})\n${source}\n${readFileSync(file, 'utf8').trim()}\n`;
}

/** Debian's packages of which parts are linked into the module; LLVM's run-time library has libc++'s licence. */
const MODULE_PACKAGES = ['wasi-libc', 'libc++-14-dev-wasm32'];

function moduleLicence(name: string): string {
  const text = readFileSync(`/usr/share/doc/${name}/copyright`, 'utf8');
  return `${name}, parts of which are in the WebAssembly module\n\n${text.trim()}\n`;
}

/** `own` is the page's own licence file. */
export function licences(own: string): Plugin {
  return {
    name: 'licences',
    generateBundle(_, bundle) {
      const folders = new Set<string>();
      for (const piece of Object.values(bundle)) {
        if (piece.type !== 'chunk') continue;
        for (const id of piece.moduleIds) {
          const folder = packageOf(id.replace(/^\0/, '').split('?')[0]!);
          if (folder && existsSync(dirname(folder))) folders.add(folder);
        }
      }
      const parts = [`quorv and its viewer (Apache-2.0)\n\n${readFileSync(own, 'utf8').trim()}\n`,
        ...MODULE_PACKAGES.map(moduleLicence),
        ...[...folders].sort().map(licenceOf)];
      this.emitFile({ type: 'asset', fileName: 'licences.txt', source: parts.join(`\n${'-'.repeat(78)}\n\n`) });
    },
  };
}
