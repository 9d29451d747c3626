// The spell check as a person runs it: Edit > Check Spelling, the dialog stopping at each word the
// English dictionary does not know, and the buttons.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, choose, docWithSelection, rawBody } = require('./commands_support');

const env = useEditorEnvironment();

// Polls `read` until `check` accepts what it answers (ten seconds at most).
async function until(read, check, what) {
  const deadline = Date.now() + 10000;
  let value;
  for (;;) {
    value = await read();
    if (check(value)) return value;
    if (Date.now() > deadline) assert.fail(`${what}: still ${JSON.stringify(value)}`);
    await new Promise((r) => setTimeout(r, 20));
  }
}

async function answerMessage(page, text) {
  const box = page.getByRole('alertdialog', { name: 'Vellmar' });
  await box.getByText(text, { exact: true }).waitFor();
  await box.getByRole('button', { name: 'OK' }).click();
}

function dialogOf(page) {
  const dialog = page.getByRole('dialog', { name: 'Spell Check' });
  return {
    dialog,
    problem: dialog.getByLabel('Not in dictionary:'),
    changeTo: dialog.getByLabel('Change To:'),
    suggestions: dialog.getByRole('listbox', { name: 'Suggestions:' }),
    button: (name) => dialog.getByRole('button', { name, exact: true }),
  };
}

// Waits until the dialog stops at `word` (its controls enabled again).
async function stopsAt(spell, word) {
  await until(async () => ((await spell.button('Change').isEnabled()) ? spell.problem.inputValue() : ''),
    (v) => v === word, `the dialog stopping at ${word}`);
}

async function startCheck(page) {
  await choose(page, 'Edit', 'Check Spelling');
  await answerMessage(page, 'Starting Spell Check');
}

test('the dialog stops at each misspelling, offers the dictionary\'s suggestions and changes the words', async () => {
  const page = await openEditor(env);
  const spellRequests = [];
  page.on('request', (r) => { if (r.url().includes('/spell/')) spellRequests.push(r.url()); });
  await setContent(page, '<p>We recieve teh letter, <b>Vellmar</b> sends teh parcel|.</p><p>Zorblax and Zorblax.</p>');
  // Nothing of the checker is fetched before a check starts.
  assert.deepEqual(spellRequests, []);
  await startCheck(page);
  const spell = dialogOf(page);

  await stopsAt(spell, 'recieve');
  assert.equal(await docWithSelection(page),
    '<p>We [recieve] teh letter, <b>Vellmar</b> sends teh parcel.</p><p>Zorblax and Zorblax.</p>');
  assert.ok((await spell.suggestions.locator('option').allTextContents()).includes('receive'));
  assert.equal(await spell.changeTo.inputValue(), 'receive');
  await spell.button('Change').click();

  await stopsAt(spell, 'teh');
  assert.ok((await spell.suggestions.locator('option').allTextContents()).includes('the'));
  await spell.suggestions.selectOption('the');
  assert.equal(await spell.changeTo.inputValue(), 'the');
  await spell.button('Change').click();

  await stopsAt(spell, 'Vellmar');
  await spell.button('Ignore All').click();

  // The second "teh": replaced by two words, of which the first is checked again and stops.
  await stopsAt(spell, 'teh');
  await spell.changeTo.fill('thr big');
  await spell.button('Change').click();
  await stopsAt(spell, 'thr');
  await spell.changeTo.fill('the');
  await spell.changeTo.press('Enter');

  await stopsAt(spell, 'Zorblax');
  await spell.button('Ignore All').click();

  await answerMessage(page, 'Spell Check Complete');
  await spell.dialog.waitFor({ state: 'hidden' });
  assert.equal(await rawBody(page),
    '<p>We receive the letter, <b>Vellmar</b> sends the big parcel.</p><p>Zorblax and Zorblax.</p>');
  assert.ok(spellRequests.some((u) => u.endsWith('/spell/en.dic')));
  await page.close();
});

test('Ignore skips one place, Cancel stops with the changes so far, Add keeps a word for the site after a reload', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>Korvath met Qwpz and Qwpz|.</p>');
  await startCheck(page);
  let spell = dialogOf(page);
  await stopsAt(spell, 'Korvath');
  await spell.button('Add').click();
  await stopsAt(spell, 'Qwpz');
  await spell.button('Ignore').click();
  await stopsAt(spell, 'Qwpz');
  await spell.button('Cancel').click();
  await answerMessage(page, 'Spell Check Complete');
  assert.equal(await rawBody(page), '<p>Korvath met Qwpz and Qwpz.</p>');

  await page.reload();
  await page.waitForFunction(() => window.__loaded.length === 1 && document.getElementById('ed').vellmarCommands);
  await setContent(page, '<p>Korvath writes, and Korvath reads|.</p>');
  await startCheck(page);
  spell = dialogOf(page);
  // A clean document: the dialog runs to the end and closes by itself.
  await answerMessage(page, 'Spell Check Complete');
  assert.equal(await spell.dialog.isVisible(), false);
  await page.close();
});

test('undo takes a change back', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>A wrod here|.</p>');
  await startCheck(page);
  const spell = dialogOf(page);
  await stopsAt(spell, 'wrod');
  await spell.changeTo.fill('word');
  await spell.button('Change').click();
  await answerMessage(page, 'Spell Check Complete');
  assert.equal(await rawBody(page), '<p>A word here.</p>');
  await choose(page, 'Edit', 'Undo');
  assert.equal(await rawBody(page), '<p>A wrod here.</p>');
  await page.close();
});
