// Debian's Chromium driven by Playwright, one fresh profile per test file, plus the few
// page helpers that the browser tests share.
import { chromium } from 'playwright-core';
import { mkdtempSync, rmSync, mkdirSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { repoRoot } from './host.mjs';

export const LAPTOP = { width: 1366, height: 820 };
export const PHONE = { width: 390, height: 844 };
export const screenshotDir = path.join(repoRoot, 'test-output', 'screenshots');

const ARGS = [
  '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync',
];

/** extraArgs: further Chromium switches, e.g. a host resolver rule. */
const utf8Locale = (lang) => (lang && /utf-?8/i.test(lang) ? lang : 'C.UTF-8');

export async function launch(extraArgs = []) {
  const profile = mkdtempSync(path.join(tmpdir(), 'kelo-chromium-'));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    headless: true,
    args: [...ARGS, ...extraArgs],
    viewport: LAPTOP,
    // A person's desktop has a UTF-8 locale; without one (a bare root, CI) Chromium cannot write a
    // download's non-ASCII name and calls it "download".
    env: { ...process.env, LANG: utf8Locale(process.env.LANG), ...(process.env.LC_ALL ? { LC_ALL: utf8Locale(process.env.LC_ALL) } : {}) },
  });
  const errors = [];
  context.on('weberror', (e) => errors.push(String(e.error())));
  return {
    context,
    errors,
    async page(url, viewport = LAPTOP) {
      const page = await context.newPage();
      await page.setViewportSize(viewport);
      page.on('pageerror', (e) => errors.push(e.message));
      await page.goto(url);
      // Polled from node: the page's Content-Security-Policy refuses the eval that waitForFunction
      // needs once it has to poll inside the page.
      await until(() => page.evaluate(() => !!window.keloApp && document.querySelectorAll('#pane-playlists [role="option"]').length > 0), {
        message: 'the page shows its playlists',
      });
      return page;
    },
    async close() {
      await context.close();
      rmSync(profile, { recursive: true, force: true });
    },
  };
}

export const pane = (page, name) => page.locator(`#pane-${name}`);
export const rows = (page, name) => pane(page, name).locator('[role="option"]');
export const row = (page, name, title) => rows(page, name).filter({ has: page.locator('.title', { hasText: new RegExp(`^${escapeRe(title)}$`) }) });
export const menu = (page) => page.locator('.menu-layer:not([hidden]) [role="menu"]');
export const menuItem = (page, title) => menu(page).locator('[role^="menuitem"]').filter({ hasText: new RegExp(`^\\s*${escapeRe(title)}\\s*$`) });
export const menuField = (page, title) => menu(page).getByRole('textbox', { name: title, exact: true });

export function escapeRe(text) {
  return text.replace(/[.*+?^${}()|[\]\\]/g, '\\$&');
}

/** Titles of the rendered rows of a pane, in list order. */
export async function shownTitles(page, name) {
  return page.evaluate((id) => {
    const els = [...document.querySelectorAll(`#pane-${id} [role="option"]`)];
    return els
      .sort((a, b) => Number(a.dataset.index) - Number(b.dataset.index))
      .map((el) => el.querySelector('.title')?.textContent ?? '');
  }, name);
}

/** Opens the rows of a pane by their titles, one level after the other. */
export async function openChain(page, name, titles) {
  for (const title of titles) {
    await row(page, name, title).first().click();
    await page.locator(`#pane-${name} .view-title`, { hasText: title }).waitFor();
  }
}

export async function screenshot(page, file) {
  mkdirSync(screenshotDir, { recursive: true });
  await page.screenshot({ path: path.join(screenshotDir, file) });
}

/** Waits until `fn` (run in node) returns a truthy value. */
export async function until(fn, { timeout = 15000, message = 'condition' } = {}) {
  const end = Date.now() + timeout;
  let last;
  while (Date.now() < end) {
    last = await fn();
    if (last) return last;
    await new Promise((r) => setTimeout(r, 50));
  }
  throw new Error(`Timed out waiting for ${message} (last: ${JSON.stringify(last)})`);
}
