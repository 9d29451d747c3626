// The spelling checker of the spell check dialog, loaded on the first check only: nspell (a
// Hunspell-compatible checker) with the English dictionary, both served beside this file.
import nspell from './nspell.js';

async function text(url) {
  const response = await fetch(url);
  if (!response.ok) throw new Error(`${url}: HTTP ${response.status}`);
  return response.text();
}

// A promise of the checker: { correct(word) -> boolean, suggest(word) -> [text] }.
export async function createChecker() {
  const base = new URL('./', import.meta.url);
  const [aff, dic] = await Promise.all([text(new URL('en.aff', base)), text(new URL('en.dic', base))]);
  return nspell(aff, dic);
}
