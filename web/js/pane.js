// A pane shows one stack of open nodes (a breadcrumb leads back) and follows the events
// stream for every node in its stack: inserts, resets and closes.
import { ListView, TYPE, escapeHtml } from './listview.js';
import { eventCloses, eventCovers } from './paths.js';
import { icon } from './icons.js';
import { ListFind } from './listfind.js';
import { getRows } from './api.js';

// How many rows of a hidden list are read to find a new name for the list opened from it.
const RETITLE_ROWS = 1000;

export class Pane {
  constructor(el, { path, title, name }, app) {
    this.el = el;
    this.name = name;
    this.app = app;
    this.stack = [];
    el.innerHTML = `
      <div class="pane-head">
        <nav class="crumbs" aria-label="${escapeHtml(title)} location"><ol></ol></nav>
        <div class="view-head">
          <button class="icon-btn back" type="button" aria-label="Back" hidden>${icon('back')}</button>
          <h2 class="view-title" tabindex="-1"></h2>
          <span class="view-count" aria-live="off"></span>
          <span class="view-actions"></span>
        </div>
      </div>
      <div class="pane-body"></div>
        <div class="selection-bar" role="toolbar" aria-label="Selected tracks" hidden>
          <span class="sel-count"></span>
          <button type="button" class="tool" data-tool="up" aria-label="Move selected up">${icon('up')}</button>
          <button type="button" class="tool" data-tool="down" aria-label="Move selected down">${icon('down')}</button>
          <button type="button" class="tool" data-tool="moveto">${icon('move')}<span>Move to…</span></button>
          <button type="button" class="tool danger" data-tool="remove">${icon('trash')}<span>Remove</span></button>
          <button type="button" class="tool" data-tool="clear" aria-label="Clear selection">${icon('close')}</button>
        </div>`;
    this.crumbsEl = el.querySelector('.crumbs ol');
    this.titleEl = el.querySelector('.view-title');
    this.countEl = el.querySelector('.view-count');
    this.actionsEl = el.querySelector('.view-actions');
    this.selBar = el.querySelector('.selection-bar');
    this.bodyEl = el.querySelector('.pane-body');
    this.find = new ListFind(this);
    el.querySelector('.pane-head').append(this.find.bar);
    el.querySelector('.back').addEventListener('click', () => this.back());
    this.crumbsEl.addEventListener('click', (e) => {
      const button = e.target.closest('button[data-level]');
      if (button) this.goTo(Number(button.dataset.level));
    });
    this.selBar.addEventListener('click', (e) => {
      const button = e.target.closest('button[data-tool]');
      if (button) this.app.selectionTool(this.current, button.dataset.tool);
    });
    this.actionsEl.addEventListener('click', (e) => {
      const button = e.target.closest('button[data-act]');
      if (button) this.app.viewAction(this.current, button.dataset.act, button);
    });
    this.openPath(path, title, null);
  }

  get current() {
    return this.stack[this.stack.length - 1];
  }

  openPath(path, title, opener, { focus = false } = {}) {
    if (this.current) this.current.unmount();
    const view = new ListView({ path, title, opener }, this.app.listLook);
    this.app.wireList(view, this);
    this.stack.push(view);
    this.show(view, focus);
    return view;
  }

  open(row, options) {
    return this.openPath(row.path, row.title, row, options);
  }

  show(view, focus) {
    if (this.find.view !== view) {
      this.find.forget();
      this.find.bar.hidden = true;
      this.find.view = view;
    }
    for (const old of this.bodyEl.querySelectorAll('.list-scroll')) old.remove();
    view.mount(this.bodyEl);
    if (view.stale) {
      view.stale = false;
      view.refresh();
    }
    this.find.soon(view);
    this.renderHead();
    if (focus) view.focusList();
  }

  back() {
    if (this.stack.length > 1) this.goTo(this.stack.length - 2);
  }

  goTo(level, { focus = true } = {}) {
    if (level < 0 || level >= this.stack.length - 1) return;
    while (this.stack.length - 1 > level) this.stack.pop().destroy();
    this.show(this.current, focus);
  }

  /** Opens `path` from the root of this pane, as if the person had clicked through. */
  openFromRoot(path, title, opener) {
    const existing = this.stack.findIndex((view) => view.path === path);
    if (existing >= 0) {
      this.goTo(existing, { focus: false });
      if (existing === this.stack.length - 1) this.show(this.current, false);
      return this.current;
    }
    this.goTo(0, { focus: false });
    return this.openPath(path, title, opener);
  }

  renderHead() {
    const view = this.current;
    this.crumbsEl.innerHTML = this.stack
      .map((v, i) => {
        const label = escapeHtml(v.title || '…');
        return i === this.stack.length - 1
          ? `<li><span aria-current="page">${label}</span></li>`
          : `<li><button type="button" class="crumb" data-level="${i}">${label}</button></li>`;
      })
      .join('');
    this.el.querySelector('.back').hidden = this.stack.length < 2;
    this.el.querySelector('.crumbs').hidden = this.stack.length < 2;
    this.titleEl.textContent = view.title || '';
    view.listEl.setAttribute('aria-label', view.title || 'List');
    this.renderCount();
    const actions = [];
    if (view.path === 'playlists:') {
      actions.push(`<button type="button" class="small import" data-act="import" title="Import a playlist file (M3U, PLS, XSPF); you can also drop one here">Import playlist…</button>`);
    }
    actions.push(`<button type="button" class="icon-btn" data-act="find" aria-label="Find in ${escapeHtml(view.title || 'this list')}" title="Find (/)">${icon('find')}</button>`);
    if (view.opener && view.opener.context) {
      actions.push(`<button type="button" class="icon-btn" data-act="menu" aria-haspopup="menu" aria-label="Menu for ${escapeHtml(view.title)}">${icon('more')}</button>`);
    }
    this.actionsEl.innerHTML = actions.join('');
    this.renderSelection();
  }

  renderCount() {
    const view = this.current;
    const count = view.model.count;
    const tracks = view.editable || this.isTrackList(view);
    this.countEl.textContent = count < 0 || !tracks ? '' : `${count.toLocaleString('en')} track${count === 1 ? '' : 's'}`;
  }

  renderSelection() {
    const view = this.current;
    const n = view.selected.size;
    this.selBar.hidden = !(view.editable && n > 0);
    this.selBar.querySelector('.sel-count').textContent = `${n} selected`;
  }

  /** Titles of deeper crumbs follow renames seen in the rows of shallower views. */
  followTitles(view) {
    if (this.retitleDeeper(view, view.model.rows.values())) this.renderHead();
  }

  /** Takes the titles of rows (of `view`) that opened deeper views; true when one changed. */
  retitleDeeper(view, rows) {
    const level = this.stack.indexOf(view);
    if (level < 0) return false;
    let changed = false;
    for (const row of rows) {
      for (const deeper of this.stack.slice(level + 1)) {
        if (deeper.opener && row.path === deeper.opener.path && row.title && row.title !== deeper.title) {
          deeper.title = row.title;
          deeper.opener = { ...deeper.opener, ...row };
          changed = true;
        }
      }
    }
    return changed;
  }

  /**
   * A hidden list that was reset may hold a new name for the list opened from it. It is not
   * reloaded until it is shown again, so its rows are read once here (a rename may also have
   * moved the row, so by path, not by position) and the open list's title follows at once.
   */
  async retitleFromHidden(view) {
    const deeper = this.stack[this.stack.indexOf(view) + 1];
    if (!deeper || !deeper.opener || view.model.count <= 0) return;
    const answer = await getRows(view.path, 0, Math.min(view.model.count, RETITLE_ROWS) - 1, ['title', 'path']);
    if (answer.error || !Array.isArray(answer.rows)) return;
    if (this.retitleDeeper(view, answer.rows)) this.renderHead();
  }

  onEvent(event) {
    const path = event.path;
    if (typeof path !== 'string') return;
    if (event.change === 'close') {
      const level = this.stack.findIndex((view) => view.path && eventCloses(path, view.path));
      if (level > 0) {
        const gone = this.stack[level].title;
        this.goTo(level - 1, { focus: this.el.contains(document.activeElement) });
        this.app.announce(`${gone} was closed.`);
      } else if (level === 0) {
        this.current.refresh();
      }
      return;
    }
    for (const view of this.stack) {
      if (event.change === 'rows' && view.path === path && Array.isArray(event.rows)) {
        const positions = event.rows.filter((r) => /^\+\d+$/.test(r)).map((r) => Number(r.slice(1)));
        if (positions.length && view === this.current) view.inserted(positions);
        else if (positions.length) view.stale = true;
        else if (view === this.current) view.refresh();
        else view.stale = true;
      } else if (event.change === 'reset' && eventCovers(path, view.path)) {
        if (view === this.current) view.refresh();
        else {
          view.stale = true;
          this.retitleFromHidden(view);
        }
      }
    }
    if (event.change === 'rows' || event.change === 'reset') this.find.soon(this.current);
  }

  resync() {
    for (const view of this.stack) view.stale = true;
    this.current.stale = false;
    this.current.refresh();
    this.find.soon(this.current);
  }

  isTrackList(view) {
    return [...view.model.rows.values()].some((row) => row.type === TYPE.track);
  }
}
