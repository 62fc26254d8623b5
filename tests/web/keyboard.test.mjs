// The whole page by keyboard alone: create a playlist, fill it from the library through
// the add menus, reorder, remove and undo, rename through the menu key, play and skip.
// No mouse event is sent in this file.
import { test, before, after, describe } from 'node:test';
import assert from 'node:assert/strict';
import { startHost } from './lib/host.mjs';
import { launch, menu, until, shownTitles } from './lib/browser.mjs';

let host;
let browser;
let page;
let media;
let plid;

before(async () => {
  host = await startHost();
  browser = await launch();
  media = await host.mediaTracks(3);
  page = await browser.page(host.url);
});
after(async () => {
  await browser?.close();
  await host?.close();
});

const focusedTitle = (pane) => page.locator(`#pane-${pane} [role="option"].focused .title`).textContent();
const key = (k) => page.keyboard.press(k);

/** Presses `k` until the focused row of `pane` has this title. */
async function arrowTo(pane, title, k = 'ArrowDown') {
  for (let i = 0; i < 60; i++) {
    if ((await focusedTitle(pane).catch(() => '')) === title) return;
    await key(k);
  }
  throw new Error(`never reached ${title}`);
}

/** Moves focus in the open menu to the entry with this text and presses Enter. */
async function chooseInMenu(title) {
  await menu(page).waitFor();
  for (let i = 0; i < 20; i++) {
    const text = await page.evaluate(() => document.activeElement?.textContent?.trim());
    if (text === title) return key('Enter');
    await key('ArrowDown');
  }
  throw new Error(`no menu entry ${title}`);
}

const queueOrList = () => host.titles(`playlists:pl/getitems/${plid}`);

describe('keyboard only', () => {
  test('"?" lists the keys and Escape closes the list', async () => {
    await key('?');
    await page.locator('#help[open]').waitFor();
    assert.match(await page.locator('#help').textContent(), /Alt\+↑ ↓/);
    await key('Escape');
    await page.locator('#help:not([open])').waitFor({ state: 'attached' });
  });

  test('a playlist is created through its input row', async () => {
    await key('1');
    await arrowTo('playlists', 'Create New Playlist');
    await key('Enter');
    await page.keyboard.type('By keys');
    await key('Enter');
    await until(async () => (await focusedTitle('playlists')) === 'By keys', { message: 'the new playlist focused' });
    plid = (await host.rows('playlists:')).rows.find((r) => r.title === 'By keys').path.split('/').pop();
  });

  test('tracks are added from the library through the add menus', async () => {
    await key('2');
    await arrowTo('library', media.chain[0]);
    await key('Enter');
    for (const track of media.tracks) {
      await arrowTo('library', track.title);
      await key('Enter');
      await chooseInMenu('Add to playlist');
      await chooseInMenu('By keys');
      await chooseInMenu('Append');
      await until(async () => (await menu(page).count()) === 0, { message: 'the menu to close' });
    }
    assert.deepEqual(await queueOrList(), media.tracks.map((t) => t.title));
  });

  test('tracks are reordered, removed and put back', async () => {
    const [a, b, c] = media.tracks.map((t) => t.title);
    await key('1');
    await arrowTo('playlists', 'By keys');
    await key('Enter');
    await until(async () => (await shownTitles(page, 'playlists')).length === 3, { message: 'the tracks' });
    await arrowTo('playlists', a);
    await key('Alt+ArrowDown');
    await until(async () => JSON.stringify(await queueOrList()) === JSON.stringify([b, a, c]), { message: 'the move' });
    // The view refetches after the move's events; extend the selection only once it shows the new order.
    await until(
      async () =>
        JSON.stringify(await shownTitles(page, 'playlists')) === JSON.stringify([b, a, c]) &&
        (await focusedTitle('playlists')) === a,
      { message: 'the moved row in the view' },
    );
    await key('Shift+ArrowDown');
    await key('Delete');
    await until(async () => JSON.stringify(await queueOrList()) === JSON.stringify([b]), { message: 'the removal' });
    await page.locator('.toast', { hasText: 'Removed' }).waitFor();
    await key('Control+z');
    await until(async () => JSON.stringify(await queueOrList()) === JSON.stringify([b, a, c]), { message: 'the undo' });
  });

  test('the menu key opens the playlist menu, where it is renamed', async () => {
    await key('Backspace');
    await until(async () => (await focusedTitle('playlists')) === 'By keys', { message: 'focus back on the playlist row' });
    await key('Shift+F10');
    await menu(page).waitFor();
    // Tab goes from the focused first entry to the rename field only once the menu's rows are in.
    await menu(page).locator('input').first().waitFor();
    await page.keyboard.press('Tab');
    await until(async () => page.evaluate(() => document.activeElement?.tagName === 'INPUT'), { message: 'the rename field' });
    await page.keyboard.press('Control+a');
    await page.keyboard.type('Keyed');
    await key('Enter');
    await until(async () => (await host.titles('playlists:')).includes('Keyed'), { message: 'the rename' });
    await key('Escape');
    assert.equal(await menu(page).count(), 0);
    await until(async () => (await focusedTitle('playlists')) === 'Keyed', { message: 'focus back on the renamed row' });
  });

  test('Enter plays a track, N skips, P pauses', async () => {
    await key('Enter');
    await until(async () => (await shownTitles(page, 'playlists')).length === 3, { message: 'the tracks' });
    await key('Home');
    await key('Enter');
    await until(async () => (await host.playerState())?.trackRoles?.title === media.tracks[1].title, { message: 'the first row to play' });
    await key('n');
    await until(async () => (await host.playerState())?.trackRoles?.title === media.tracks[0].title, { message: 'the next track' });
    await key('p');
    await until(async () => (await host.playerState()).state === 'paused', { message: 'pause' });
  });
});
