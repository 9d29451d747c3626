// The table dialog, special characters and the about box, used as a person uses them.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, rawBody, bodyHTML, choose, docWithSelection } = require('./commands_support');

const env = useEditorEnvironment();
const editor = (page) => page.locator('#ed');

test('Insert > Table: a 3 x 4 table with border 1 and width 80% is exactly that table', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>x|</p>');
  await choose(page, 'Insert', 'Table');
  const dialog = editor(page).getByRole('dialog', { name: 'Tables' });
  assert.equal(await dialog.getByLabel('Rows:').inputValue(), '3');
  assert.equal(await dialog.getByLabel('Cell Padding:').inputValue(), '3');
  await dialog.getByLabel('Columns:').fill('4');
  await dialog.getByLabel('Width:').fill('80');
  await dialog.getByLabel('Cell Padding:').fill('');
  // Rows left empty: OK is not offered.
  await dialog.getByLabel('Rows:').fill('');
  assert.equal(await dialog.getByRole('button', { name: 'OK' }).isDisabled(), true);
  await dialog.getByLabel('Rows:').fill('3');
  await dialog.getByLabel('Rows:').press('Enter');
  await dialog.waitFor({ state: 'hidden' });
  const html = await rawBody(page);
  const table = html.match(/<table[^>]*>/)[0];
  assert.match(table, /border="1"/);
  assert.match(table, /width="80%"/);
  assert.doesNotMatch(table, /id=|cellpadding/i);
  assert.equal((html.match(/<tr>/g) || []).length, 3);
  assert.equal((html.match(/<td/g) || []).length, 12);
  await page.close();
});

test('A table too large, or text where a number belongs, is refused beside its box and nothing is inserted', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>x|</p>');
  await choose(page, 'Insert', 'Table');
  const dialog = editor(page).getByRole('dialog', { name: 'Tables' });
  await dialog.getByLabel('Rows:').fill('10000');
  await dialog.getByLabel('Columns:').fill('10000');
  await dialog.getByRole('button', { name: 'OK' }).click();
  await dialog.getByRole('alert').filter({ hasText: 'A table may have at most 1000 rows.' }).waitFor();
  await dialog.getByLabel('Rows:').fill('2');
  await dialog.getByRole('button', { name: 'OK' }).click();
  await dialog.getByRole('alert').filter({ hasText: 'A table may have at most 100 columns.' }).waitFor();
  await dialog.getByLabel('Columns:').fill('2');
  await dialog.getByLabel('Border:').fill('thick');
  await dialog.getByRole('button', { name: 'OK' }).click();
  await dialog.getByRole('alert').filter({ hasText: 'The border must be a whole number' }).waitFor();
  await page.keyboard.press('Escape');
  await dialog.waitFor({ state: 'hidden' });
  assert.equal(await rawBody(page), '<p>x</p>');
  await page.close();
});

test('after a dialog closes, cancelled or confirmed, typing goes on at the caret, in a colour chosen there', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>one</p>');
  const frame = editor(page).locator('iframe.vellmar-engine-frame').contentFrame();
  // As a person: a click at the end of the text, then a dialog from the toolbar.
  await frame.locator('p').click();
  await page.keyboard.press('End');
  const closes = [
    ['Link', 'Links', () => page.keyboard.press('Escape')],
    ['Table', 'Tables', (d) => d.getByRole('button', { name: 'Cancel' }).click()],
    ['Set Color', 'Color', (d) => d.getByRole('button', { name: 'Red #FF0000' }).click()],
  ];
  for (const [button, caption, close] of closes) {
    await editor(page).getByRole('button', { name: button, exact: true }).click();
    const dialog = editor(page).getByRole('dialog', { name: caption });
    await dialog.waitFor();
    await close(dialog);
    await dialog.waitFor({ state: 'hidden' });
    await page.keyboard.type(` ${caption}.`);
  }
  // (A space typed next to the coloured text's start is kept as a non-breaking one.)
  assert.equal((await frame.locator('p').textContent()).replace(/\u00a0/g, ' '), 'one Links. Tables. Color.');
  // The colour chosen with the caret alone colours what is typed next.
  assert.match(await rawBody(page), /<font color="#ff0000">(&nbsp;| )Color\.<\/font>/i);
  await page.close();
});

test('Special Characters offers 93 characters; the chosen ones are saved as numeric references', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>a|b</p>');
  await choose(page, 'Insert', 'Special Characters', 'Other Characters...');
  const dialog = editor(page).getByRole('dialog', { name: 'Special Characters' });
  const list = dialog.getByRole('listbox', { name: 'Select Character' });
  const entries = await list.locator('option').allTextContents();
  assert.equal(entries.length, 93);
  assert.equal(entries[0], '\u00a2 - Cent Sign');
  assert.equal(entries[92], '\u00ff - Latin Small Letter y With Diaeresis');
  await list.selectOption({ label: '\u00a9 - Copyright Sign' });
  await dialog.getByRole('button', { name: 'OK' }).click();
  await dialog.waitFor({ state: 'hidden' });
  // By keyboard alone: the list has the focus, a letter finds nothing, arrows move, Enter chooses.
  await choose(page, 'Insert', 'Special Characters', 'Other Characters...');
  await list.selectOption({ label: '\u00e9 - Latin Small Letter e With Acute' });
  await list.press('Enter');
  await dialog.waitFor({ state: 'hidden' });
  assert.equal(await docWithSelection(page), '<p>a\u00a9\u00e9|b</p>');
  assert.equal(await bodyHTML(page), '<p>a&#169;&#233;b</p>');
  // OK with nothing chosen, and Cancel, insert nothing.
  await choose(page, 'Insert', 'Special Characters', 'Other Characters...');
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  assert.equal(await bodyHTML(page), '<p>a&#169;&#233;b</p>');
  await page.close();
});

test('Help > About shows the title and the version the server reports', async () => {
  const page = await openEditor(env);
  await choose(page, 'Help', 'About Vellmar');
  const dialog = editor(page).getByRole('dialog', { name: 'About Korvath Vellmar 2 HTML Editor' });
  await dialog.getByText('Vellmar 2 HTML Editor', { exact: true }).waitFor();
  const version = await page.evaluate(() => window.vellmar && window.vellmar.version ? window.vellmar.version : null);
  const text = await dialog.textContent();
  assert.match(text, /Version: \d+\.\d+\.\d+/);
  if (version) assert.ok(text.includes(`Version: ${version}`));
  await dialog.getByRole('button', { name: 'Vellmar 2' }).click();
  const thanks = editor(page).getByRole('alertdialog', { name: 'About Korvath Vellmar 2 HTML Editor' });
  await thanks.getByText('Thank you for using Vellmar 2!').waitFor();
  await thanks.getByRole('button', { name: 'OK' }).click();
  await dialog.getByRole('button', { name: 'OK' }).click();
  await dialog.waitFor({ state: 'hidden' });
  await page.close();
});
