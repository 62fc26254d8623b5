// The whole page by keyboard alone: create a playlist, fill it from the library through
// the add menus, rename it through the menu key and in place. (Moving, removing and undoing by
// keys are in the live views' tests.)
// No mouse event is sent in this file.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { useHostAndBrowser, menu, toast, until, focusedTitle } from './lib/browser.mjs';

let page;
let media;
let plid;
const { host, open } = useHostAndBrowser({ setUp: async () => {
  media = await host.mediaTracks(3);
  page = await open();
} });

const focuses = (pane, title) => until(async () => (await focusedTitle(page, pane)) === title, { message: `focus on ${title}` });
const key = (k) => page.keyboard.press(k);

/** Presses the down arrow until `reached()` holds. */
async function pressUntil(reached, what) {
  for (let i = 0; i < 60; i++) {
    if (await reached()) return;
    await key('ArrowDown');
  }
  throw new Error(`never reached ${what}`);
}
const arrowTo = (pane, title) => pressUntil(async () => (await focusedTitle(page, pane).catch(() => '')) === title, title);
/** Moves focus in the open menu to the entry with this text and presses Enter. */
async function chooseInMenu(title) {
  await menu(page).waitFor();
  await pressUntil(async () => (await page.evaluate(() => document.activeElement?.textContent?.trim())) === title, `menu entry ${title}`);
  await key('Enter');
}

test('a playlist is created through its input row and filled through the add menus, each add noting its position', async () => {
  await key('1');
  await arrowTo('playlists', 'Create New Playlist');
  await key('Enter');
  await page.keyboard.type('By keys');
  await key('Enter');
  await focuses('playlists', 'By keys');
  plid = (await host.rows('playlists:')).find((r) => r.title === 'By keys').path.split('/').pop();

  await key('2');
  await arrowTo('library', media.chain[0]);
  await key('Enter');
  for (const [i, track] of media.tracks.entries()) {
    await arrowTo('library', track.title);
    await key('Enter');
    for (const entry of ['Add to playlist', 'By keys', 'Append']) await chooseInMenu(entry);
    await toast(page, `Added “${track.title}” to By keys at position ${i + 1}.`).waitFor();
    await until(async () => (await menu(page).count()) === 0, { message: 'the menu to close' });
  }
  assert.deepEqual(await host.titles(`playlists:pl/getitems/${plid}`), media.tracks.map((t) => t.title));
});

test('a playlist is renamed in the menu the menu key opens, which stays open, and in place by F2', async () => {
  await key('1');
  await focuses('playlists', 'By keys');
  await key('Shift+F10');
  // Tab goes from the focused first entry to the rename field only once the menu's rows are in.
  await menu(page).locator('input').first().waitFor();
  await key('Tab');
  await until(async () => page.evaluate(() => document.activeElement?.tagName === 'INPUT'), { message: 'the rename field' });
  await key('Control+a');
  await page.keyboard.type('Keyed');
  await key('Enter');
  await menu(page).locator('.menu-msg.ok').waitFor();
  assert.ok((await host.titles('playlists:')).includes('Keyed'));
  await key('Escape');
  assert.equal(await menu(page).count(), 0);
  await focuses('playlists', 'Keyed');

  await key('F2');
  const field = page.locator('#pane-playlists .inline-edit input');
  assert.equal(await field.inputValue(), 'Keyed');
  await key('Control+a');
  await page.keyboard.type('Typed');
  await key('Enter');
  await focuses('playlists', 'Typed');
  assert.ok((await host.titles('playlists:')).includes('Typed'));
});
