// Playing: a chosen track plays within its list, the now-playing bar follows the player
// (title, next, pause, shuffle) and the playing row is marked; one key jumps to it.
import { test } from 'node:test';
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

test('a double-clicked track plays within its playlist, the bar\'s next, pause and shuffle drive the player, and "j" jumps to what plays', async () => {
  await row(page, 'playlists', tracks[1].title).dblclick();
  await showsPlaying(tracks[1].title);
  assert.match((await host.playerState()).containerRoles.path, /^playlists:pl\/getitems\/\d+$/);
  await page.getByRole('button', { name: 'Next track' }).click();
  await showsPlaying(tracks[2].title);
  await page.getByRole('button', { name: 'Pause' }).click();
  await player((s) => s.state === 'paused', 'the player to pause');
  await page.getByRole('button', { name: 'Play', exact: true }).click();
  await player((s) => s.state === 'playing', 'the player to resume');
  const shuffle = page.getByRole('button', { name: 'Shuffle' });
  await shuffle.click();
  await player((s) => s.playMode % 2 === 1, 'shuffle on');
  await untilEqual(() => shuffle.getAttribute('aria-pressed'), 'true', 'the button to show it');

  // One key jumps from anywhere to the playing track.
  await page.locator('#pane-playlists .crumb').first().click();
  await page.keyboard.press('j');
  await viewTitle(page, 'Listen').waitFor();
  await untilEqual(() => focusedTitle(page), (await host.playerState()).trackRoles.title, 'focus on the playing row');
});
