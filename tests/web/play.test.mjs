// Playing: a chosen track plays within its list, the now-playing bar follows the player
// (title, running time, next, pause, seek, play mode) and the playing row is marked.
import { test, before, after, describe } from 'node:test';
import assert from 'node:assert/strict';
import { startHost } from './lib/host.mjs';
import { launch, row, openChain, until } from './lib/browser.mjs';

let host;
let browser;
let page;
let tracks;

before(async () => {
  host = await startHost();
  browser = await launch();
  tracks = (await host.mediaTracks(4)).tracks;
  const plid = await host.createPlaylist('Listen');
  await host.addByPath(plid, tracks.map((t) => t.path));
  page = await browser.page(host.url);
  await openChain(page, 'playlists', ['Listen']);
  await row(page, 'playlists', tracks[3].title).waitFor();
});
after(async () => {
  await browser?.close();
  await host?.close();
});

const barTitle = () => page.locator('.np-title').textContent();
const playingRows = () => page.locator('#pane-playlists [role="option"].playing .title').allTextContents();
const seconds = async () => {
  const [m, s] = (await page.locator('.np-time').textContent()).split(':').map(Number);
  return m * 60 + s;
};

describe('playing a list', () => {
  test('double-clicking a track plays it and marks its row', async () => {
    await row(page, 'playlists', tracks[1].title).dblclick();
    await until(async () => (await barTitle()) === tracks[1].title, { message: 'the bar to show the track' });
    const state = await host.playerState();
    assert.equal(state.state, 'playing');
    assert.match(state.containerRoles.path, /^playlists:pl\/getitems\/\d+$/, 'it plays within its playlist');
    await until(async () => JSON.stringify(await playingRows()) === JSON.stringify([tracks[1].title]), { message: 'the row to be marked' });
    assert.match(await page.locator('.np-len').textContent(), /^\d+:\d\d$/);
  });

  test('the play time runs in the page between reports of the player', async () => {
    const first = await seconds();
    await page.waitForTimeout(2200);
    assert.ok((await seconds()) >= first + 1, 'the time moved on');
  });

  test('next moves the bar and the mark to the following track', async () => {
    await page.getByRole('button', { name: 'Next track' }).click();
    await until(async () => (await barTitle()) === tracks[2].title, { message: 'the next track in the bar' });
    await until(async () => JSON.stringify(await playingRows()) === JSON.stringify([tracks[2].title]), { message: 'the mark to move' });
  });

  test('pause stops the clock and play resumes it', async () => {
    await page.getByRole('button', { name: 'Pause' }).click();
    await until(async () => (await host.playerState()).state === 'paused', { message: 'the player to pause' });
    await page.getByRole('button', { name: 'Play', exact: true }).waitFor();
    const paused = await seconds();
    await page.waitForTimeout(1200);
    assert.equal(await seconds(), paused);
    await page.getByRole('button', { name: 'Play', exact: true }).click();
    await until(async () => (await host.playerState()).state === 'playing', { message: 'the player to resume' });
  });

  test('seeking sets the player\'s time', async () => {
    await page.keyboard.press(']');
    await page.keyboard.press(']');
    await until(async () => (await host.playerState()).playTime >= 19000, { message: 'the player to seek forward' });
  });

  test('the shuffle button asks the player for the shuffle mode', async () => {
    await page.getByRole('button', { name: 'Shuffle' }).click();
    await until(async () => (await host.playerState()).playMode % 2 === 1, { message: 'shuffle on' });
    await until(async () => (await page.getByRole('button', { name: 'Shuffle' }).getAttribute('aria-pressed')) === 'true', { message: 'the button to show it' });
    await page.getByRole('button', { name: 'Shuffle' }).click();
    await until(async () => (await host.playerState()).playMode % 2 === 0, { message: 'shuffle off' });
  });

  test('one key jumps from anywhere to the playing track', async () => {
    await page.locator('#pane-playlists .crumb').first().click();
    await page.keyboard.press('j');
    await page.locator('#pane-playlists .view-title', { hasText: 'Listen' }).waitFor();
    const playing = (await host.playerState()).trackRoles.title;
    await until(async () => (await page.locator('#pane-playlists [role="option"].focused .title').textContent()) === playing, { message: 'focus on the playing row' });
  });
});
