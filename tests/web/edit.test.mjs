// Editing a playlist in place: reorder by dragging and to a position; select
// several and remove them with one command; undo removal, clearing and deleting.
import { test, beforeEach } from 'node:test';
import assert from 'node:assert/strict';
import { useHostAndBrowser, row, menu, menuItem, openChain, toast, viewTitle, viewMenuButton, selectedTitles, until, untilEqual, shownTitles } from './lib/browser.mjs';

let tracks, page, plid, commands;
let name = 0;
const { host, open } = useHostAndBrowser({ setUp: async () => {
  tracks = (await host.mediaTracks(8, { distinct: true })).tracks;
  assert.equal(tracks.length, 8, 'the library has eight distinct titles');
} });

/** A fresh playlist of the eight tracks, opened in a fresh page that records the commands it sends. */
beforeEach(async () => {
  name += 1;
  plid = await host.createPlaylist(`Edit ${name}`, tracks.map((t) => t.path));
  page = await open();
  commands = [];
  page.on('request', (request) => {
    if (request.url().endsWith('/api/setData')) commands.push(JSON.parse(request.postData()));
  });
  await openChain(page, 'playlists', [`Edit ${name}`]);
  await row(page, 'playlists', tracks[7].title).waitFor();
});

const titles = () => host.titles(`playlists:pl/getitems/${plid}`);
const t = (...indices) => indices.map((i) => tracks[i].title);
const sent = (path) => commands.filter((c) => c.path === path);

async function waitForOrder(expected) {
  await untilEqual(titles, expected, `order ${expected}`);
  await untilEqual(() => shownTitles(page), expected, 'the page to show the new order');
}

/** Drags the handle of track `from` onto the top (or the bottom) of track `onto`. */
async function drag(from, onto, bottom = false) {
  const handle = await row(page, 'playlists', tracks[from].title).locator('.handle').boundingBox();
  const target = await row(page, 'playlists', tracks[onto].title).boundingBox();
  await page.mouse.move(handle.x + handle.width / 2, handle.y + handle.height / 2);
  await page.mouse.down();
  await page.mouse.move(handle.x + 5, bottom ? target.y + target.height - 4 : target.y + 4, { steps: 8 });
  await page.mouse.up();
}

test('dragging by the handle moves a track with one command, and a selection in its order; "Move to…" puts it at the position typed', async () => {
  await drag(5, 1);
  await waitForOrder(t(0, 5, 1, 2, 3, 4, 6, 7));
  assert.equal(sent('playlists:pl/moveitems').length, 1);
  assert.deepEqual(await selectedTitles(page), t(5));
  await row(page, 'playlists', tracks[1].title).click();
  await row(page, 'playlists', tracks[2].title).click({ modifiers: ['Shift'] });
  await drag(2, 4, true);
  await waitForOrder(t(0, 5, 3, 4, 1, 2, 6, 7));
  await row(page, 'playlists', tracks[6].title).click();
  await row(page, 'playlists', tracks[7].title).click({ modifiers: ['Control'] });
  await page.getByRole('button', { name: 'Move to…' }).click();
  await page.locator('#ask input').fill('2');
  await page.locator('#ask input').press('Enter');
  await waitForOrder(t(0, 6, 7, 5, 3, 4, 1, 2));
});

test('click, shift-click and ctrl-click select; Delete removes them with one command; clearing and deleting from the list menu; Undo puts each back', async () => {
  await row(page, 'playlists', tracks[1].title).click();
  await row(page, 'playlists', tracks[3].title).click({ modifiers: ['Shift'] });
  await row(page, 'playlists', tracks[6].title).click({ modifiers: ['Control'] });
  assert.deepEqual(await selectedTitles(page), t(1, 2, 3, 6));
  await page.keyboard.press('Delete');
  await waitForOrder(t(0, 4, 5, 7));
  assert.deepEqual(sent('playlists:pl/removeitems').map((c) => c.value.items), [[1, 2, 3, 6]]);
  await toast(page, 'Removed 4 tracks').getByRole('button', { name: 'Undo' }).click();
  await waitForOrder(t(0, 1, 2, 3, 4, 5, 6, 7));

  await viewMenuButton(page).click();
  await menuItem(page, 'Clear playlist').click();
  await untilEqual(titles, [], 'the playlist to be cleared');
  await toast(page, 'Cleared').getByRole('button', { name: 'Undo' }).click();
  await waitForOrder(t(0, 1, 2, 3, 4, 5, 6, 7));

  // Deleting the open playlist closes its menu and view; undo brings back its tracks and shuffle switch.
  await host.command('playlists:pl/setshuffle', { plid, mode: 1 });
  await viewMenuButton(page).click();
  await menuItem(page, 'Delete playlist').click();
  await viewTitle(page, 'Playlists').waitFor();
  // The view and the menu each close on their own event, which may come a moment apart.
  await untilEqual(() => menu(page).count(), 0, 'the menu of the deleted playlist to close');
  await toast(page, 'Deleted').waitFor();
  await page.keyboard.press('Control+z');
  await toast(page, `Brought back Edit ${name}`).waitFor();
  await row(page, 'playlists', `Edit ${name}`).waitFor();
  const back = (await host.rows('playlists:')).find((r) => r.title === `Edit ${name}`);
  plid = Number(back.path.split('/').pop());
  assert.deepEqual(await titles(), t(0, 1, 2, 3, 4, 5, 6, 7));
  const shuffle = (await host.rows(back.context.path)).find((r) => r.title === 'Set shuffle mode');
  assert.equal(shuffle.value.bool_, true);
});
