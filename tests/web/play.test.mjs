// Playing: a chosen track plays within its list, the now-playing bar follows the player
// (title, running time, next, pause, play mode) and the playing row is marked.
import { test, describe } from 'node:test';
import assert from 'node:assert/strict';
import { useHostAndBrowser, row, openChain, viewTitle, focusedTitle, until, untilEqual } from './lib/browser.mjs';

let page;
let tracks;
const { host, open } = useHostAndBrowser({ setUp: async () => {
  tracks = (await host.mediaTracks(4)).tracks;
  await host.createPlaylist('Listen', tracks.map((t) => t.path));
  page = await open();
  await openChain(page, 'playlists', ['Listen']);
} });

const player = (check, message) => until(async () => check(await host.playerState()), { message });
/** The bar shows this track, and its row alone is marked as playing. */
const showsPlaying = async (title) => {
  await untilEqual(() => page.locator('.np-title').textContent(), title, 'the bar to show the track');
  await untilEqual(() => page.locator('#pane-playlists [role="option"].playing .title').allTextContents(), [title], 'the row to be marked');
};
const seconds = async () => {
  const [m, s] = (await page.locator('.np-time').textContent()).split(':').map(Number);
  return m * 60 + s;
};

describe('playing a list', () => {
  test('double-clicking a track plays it within its playlist and marks its row; next moves both on', async () => {
    await row(page, 'playlists', tracks[1].title).dblclick();
    await showsPlaying(tracks[1].title);
    assert.match((await host.playerState()).containerRoles.path, /^playlists:pl\/getitems\/\d+$/);
    assert.match(await page.locator('.np-len').textContent(), /^\d+:\d\d$/);
    await page.getByRole('button', { name: 'Next track' }).click();
    await showsPlaying(tracks[2].title);
  });

  test('the play time runs in the page between reports of the player, and stops while paused', async () => {
    const start = await seconds();
    await page.waitForTimeout(2200);
    assert.ok((await seconds()) >= start + 1, 'the time moved on');
    await page.getByRole('button', { name: 'Pause' }).click();
    await player((s) => s.state === 'paused', 'the player to pause');
    const paused = await seconds();
    await page.waitForTimeout(1200);
    assert.equal(await seconds(), paused);
    await page.getByRole('button', { name: 'Play', exact: true }).click();
    await player((s) => s.state === 'playing', 'the player to resume');
  });

  test('the shuffle button switches the player\'s mode and shows it', async () => {
    const shuffle = page.getByRole('button', { name: 'Shuffle' });
    await shuffle.click();
    await player((s) => s.playMode % 2 === 1, 'shuffle on');
    await untilEqual(() => shuffle.getAttribute('aria-pressed'), 'true', 'the button to show it');
    await shuffle.click();
    await player((s) => s.playMode % 2 === 0, 'shuffle off');
  });

  test('one key jumps from anywhere to the playing track', async () => {
    await page.locator('#pane-playlists .crumb').first().click();
    await page.keyboard.press('j');
    await viewTitle(page, 'Listen').waitFor();
    const playing = (await host.playerState()).trackRoles.title;
    await untilEqual(() => focusedTitle(page), playing, 'focus on the playing row');
  });
});
