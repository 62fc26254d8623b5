// Find in an open list: the find bar of a pane. Typing counts the entries whose title, artist or
// album hold the text and focuses the first of them; Enter and Shift+Enter (or the arrows) move
// to the next and previous match, scrolling the virtual list to it. The texts of the whole list
// (only those three roles) are read in the background once a list has been shown, and again a
// moment after its rows changed, so that typing finds the matches without waiting for the host;
// while they are still coming, each page read is searched at once.
import { getRows } from './api.js';
import { icon } from './icons.js';

// Pages are kept small so that a page the person scrolls to never waits long behind one of them.
const INDEX_PAGE = 1000;
// Quiet time after a list was shown or changed before its texts are read: the list's own pages go first,
// and a burst of row events is read once.
const READ_DELAY_MS = 100;

export class ListFind {
  constructor(pane) {
    this.pane = pane;
    this.view = null;
    this.matches = [];
    this.at = -1;
    const bar = document.createElement('form');
    bar.className = 'find-bar';
    bar.setAttribute('role', 'search');
    bar.hidden = true;
    bar.innerHTML = `<input type="search" autocomplete="off" enterkeyhint="search" aria-label="Find in this list" placeholder="Find title, artist or album">`
      + `<span class="find-count" role="status" aria-live="polite"></span>`
      + `<button type="button" class="icon-btn" data-find="prev" aria-label="Previous match">${icon('up')}</button>`
      + `<button type="button" class="icon-btn" data-find="next" aria-label="Next match">${icon('down')}</button>`
      + `<button type="button" class="icon-btn" data-find="close" aria-label="Close find">${icon('close')}</button>`;
    this.bar = bar;
    this.input = bar.querySelector('input');
    this.countEl = bar.querySelector('.find-count');
    bar.addEventListener('submit', (e) => e.preventDefault());
    this.input.addEventListener('input', () => this.search());
    this.input.addEventListener('keydown', (e) => this.onKey(e));
    bar.addEventListener('click', (e) => {
      const button = e.target.closest('button[data-find]');
      if (!button) return;
      if (button.dataset.find === 'close') this.close();
      else this.step(button.dataset.find === 'next' ? 1 : -1);
    });
  }

  get isOpen() {
    return !this.bar.hidden;
  }

  /** Opens the bar on view (the pane's current list) and starts reading the list's texts. */
  open(view) {
    if (this.view !== view) this.forget();
    this.view = view;
    this.bar.hidden = false;
    this.input.focus();
    this.input.select();
    this.texts(view);
    if (this.input.value) this.search();
  }

  /**
   * The pane shows view, or view's rows changed: its texts are read soon, in the background, unless
   * they are current. Reading again after a change keeps typing from waiting for the host.
   */
  soon(view) {
    clearTimeout(this.readTimer);
    this.readTimer = setTimeout(async () => {
      if (this.pane.current !== view) return;
      await view.settled();
      if (this.pane.current === view && view.model.count > 0) this.texts(view);
    }, READ_DELAY_MS);
  }

  close() {
    if (!this.isOpen) return;
    this.bar.hidden = true;
    this.view?.focusList();
  }

  /** The pane shows another list, or its list changed: the texts are read again when needed. */
  forget() {
    this.index = null;
    this.matches = [];
    this.at = -1;
    this.query = '';
    this.countEl.textContent = '';
  }

  onKey(event) {
    if (event.key === 'Enter') {
      event.preventDefault();
      this.step(event.shiftKey ? -1 : 1);
    } else if (event.key === 'Escape') {
      event.preventDefault();
      event.stopPropagation();
      this.close();
    } else if (event.key === 'ArrowDown' || event.key === 'ArrowUp') {
      event.preventDefault();
      this.step(event.key === 'ArrowDown' ? 1 : -1);
    }
  }

  /**
   * Lower-case "title\nartist\nalbum" of every row, read once per state of the list, page by page:
   * { view, stamp, texts (filled as pages come), done }. Each page found is searched at once, so
   * the first match shows before the whole list has been read.
   */
  texts(view) {
    const stamp = `${view.model.generation}:${view.model.count}`;
    if (this.index && this.index.view === view && this.index.stamp === stamp) return this.index;
    const index = { view, stamp, texts: [], done: false };
    this.index = index;
    (async () => {
      let total = 1;
      for (let from = 0; from < total; from += INDEX_PAGE) {
        const answer = await getRows(view.path, from, from + INDEX_PAGE - 1, ['title', 'artist', 'album']);
        if (answer.error || this.index !== index) break;
        total = answer.rowsCount ?? 0;
        for (const row of answer.rows ?? []) index.texts.push([row.title, row.artist, row.album].filter(Boolean).join('\n').toLowerCase());
        if (index.texts.length >= total) index.done = true;
        if (this.view === view) this.search();
      }
      if (!index.done) {
        index.done = true;
        if (this.index === index && this.view === view) this.search();
      }
    })();
    return index;
  }

  /** Counts and shows the matches among the texts read so far; the focus moves only to a new match. */
  search() {
    const view = this.view;
    if (!view || !this.isOpen) return;
    const query = this.input.value.trim().toLowerCase();
    if (!query) {
      this.matches = [];
      this.at = -1;
      this.query = '';
      this.countEl.textContent = '';
      return;
    }
    const index = this.texts(view);
    const shown = this.query === query ? this.matches[this.at] : undefined;
    this.query = query;
    this.matches = [];
    index.texts.forEach((text, i) => {
      if (text.includes(query)) this.matches.push(i);
    });
    const kept = shown === undefined ? -1 : this.matches.indexOf(shown);
    this.at = kept >= 0 ? kept : this.matches.length ? 0 : -1;
    this.show(index.done, this.matches[this.at] !== shown);
  }

  step(delta) {
    if (!this.matches.length) return;
    this.at = (this.at + delta + this.matches.length) % this.matches.length;
    this.show(this.index?.done ?? true);
  }

  show(done = true, move = true) {
    const n = this.matches.length;
    const more = done ? '' : '…';
    this.countEl.textContent = n ? `${this.at + 1} of ${n.toLocaleString('en')}${more}` : done ? 'No match' : 'Searching…';
    if (n && move) this.view.setFocus(this.matches[this.at], { align: 'center' });
  }
}
