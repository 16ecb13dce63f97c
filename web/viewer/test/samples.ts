// The folder of sample files: QUORV_SAMPLES, else made once by the samples' own script.
import { execFileSync } from 'node:child_process';
import { existsSync } from 'node:fs';
import { fileURLToPath } from 'node:url';

export function samplesFolder(): string {
  const given = process.env['QUORV_SAMPLES'];
  if (given) return given;
  const folder = fileURLToPath(new URL('../../../build/samples', import.meta.url));
  const script = fileURLToPath(new URL('../../../samples/make-samples.sh', import.meta.url));
  if (!existsSync(folder)) execFileSync(script, [folder], { stdio: 'inherit' });
  return folder;
}
