// Debian's Chromium driven by Playwright, one fresh profile per test file, the set-up every
// test file shares (one host and one browser), and the page helpers the tests share.
import { before, after, afterEach } from 'node:test';
import { chromium } from 'playwright-core';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { Host } from './host.mjs';

export const LAPTOP = { width: 1366, height: 820 };
export const PHONE = { width: 390, height: 844 };
const ARGS = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];
const utf8Locale = (lang) => (lang && /utf-?8/i.test(lang) ? lang : 'C.UTF-8');

export class Browser {
  async start() {
    this.profile = mkdtempSync(path.join(tmpdir(), 'kelo-chromium-'));
    // A person's desktop has a UTF-8 locale; without one (a bare root, CI) Chromium cannot write a
    // download's non-ASCII name and calls it "download".
    const env = { ...process.env, LANG: utf8Locale(process.env.LANG), ...(process.env.LC_ALL && { LC_ALL: utf8Locale(process.env.LC_ALL) }) };
    this.context = await chromium.launchPersistentContext(this.profile, {
      executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', headless: true, args: ARGS, viewport: LAPTOP, env,
    });
    return this;
  }

  /** Opens the host's page and waits until it shows its playlists. */
  async page(url, viewport = LAPTOP) {
    const page = await this.context.newPage();
    await page.setViewportSize(viewport);
    await page.goto(url);
    // Polled from node: the page's Content-Security-Policy refuses the eval that waitForFunction
    // needs once it has to poll inside the page.
    const ready = () => page.evaluate(() => !!window.keloApp && document.querySelectorAll('#pane-playlists [role="option"]').length > 0);
    await until(ready, { message: 'the page shows its playlists' });
    return page;
  }

  async close() {
    await this.context?.close();
    if (this.profile) rmSync(this.profile, { recursive: true, force: true });
  }
}

export const launch = () => new Browser().start();

/**
 * The host and the browser of one test file: both start before its tests (then `setUp` runs) and
 * close after them. `open(viewport)` opens the host's page; a page opened by a test or its
 * beforeEach closes after that test, one opened by `setUp` stays for the whole file. The file's
 * set-up goes in `setUp`, not in a top-level before(): node runs those side by side, not after this one.
 */
export function useHostAndBrowser({ settings, setUp } = {}) {
  const host = new Host({ settings });
  const browser = new Browser();
  let testPages = null;
  before(async () => {
    await host.start();
    await browser.start();
    await setUp?.();
    testPages = [];
  });
  afterEach(async () => {
    for (const page of testPages.splice(0)) await page.close();
  });
  after(async () => {
    await browser.close();
    await host.close();
  });
  const open = async (viewport) => {
    const page = await browser.page(host.url, viewport);
    testPages?.push(page);
    return page;
  };
  return { host, browser, open };
}

const exactly = (text) => new RegExp(`^\\s*${text.replace(/[.*+?^${}()|[\]\\]/g, '\\$&')}\\s*$`);
export const rows = (page, name) => page.locator(`#pane-${name} [role="option"]`);
export const row = (page, name, title) => rows(page, name).filter({ has: page.locator('.title', { hasText: exactly(title) }) });
export const viewTitle = (page, title, name = 'playlists') => page.locator(`#pane-${name} .view-title`, { hasText: title });
export const toast = (page, text) => page.locator('.toast', { hasText: text }).last();
export const menu = (page) => page.locator('.menu-layer:not([hidden]) [role="menu"]');
export const menuItem = (page, title) => menu(page).locator('[role^="menuitem"]').filter({ hasText: exactly(title) });
export const focusedTitle = (page, name = 'playlists') => page.locator(`#pane-${name} [role="option"].focused .title`).textContent();
export const selectedTitles = (page) => page.locator('#pane-playlists [role="option"][aria-selected="true"] .title').allTextContents();
export const viewMenuButton = (page) => page.locator('#pane-playlists .view-actions button[data-act="menu"]');

/** Titles of the rendered rows of the playlists pane, in list order. */
export const shownTitles = (page) => page.evaluate(() => [...document.querySelectorAll('#pane-playlists [role="option"]')]
  .sort((a, b) => Number(a.dataset.index) - Number(b.dataset.index)).map((el) => el.querySelector('.title')?.textContent ?? ''));

/** Opens the rows of a pane by their titles, one level after the other. */
export async function openChain(page, name, titles) {
  for (const title of titles) {
    await row(page, name, title).first().click();
    await viewTitle(page, title, name).waitFor();
  }
}

/** Waits until `fn` (run in node) returns a truthy value. */
export async function until(fn, { timeout = 15000, message = 'condition' } = {}) {
  const end = Date.now() + timeout;
  let last;
  while (Date.now() < end) {
    if ((last = await fn())) return last;
    await new Promise((r) => setTimeout(r, 50));
  }
  throw new Error(`Timed out waiting for ${message} (last: ${JSON.stringify(last)})`);
}

/** Waits until `fn` (run in node) answers a value deeply equal to `expected`. */
export const untilEqual = (fn, expected, message = JSON.stringify(expected)) =>
  until(async () => JSON.stringify(await fn()) === JSON.stringify(expected), { message });
