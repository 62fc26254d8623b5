// One open node shown as a virtualised list: only the rows in view (and the focused one)
// are in the document; rows are fetched page by page with only the roles the list shows.
// The view is the renderer; its focus and selection live in ListSelection (listselection.js),
// its keys in a table (listkeys.js), what a row shows in the row template (listrow.js).
// What a person does is told by events that the page subscribes to (detail in brackets):
//   activate {index, el}        open, play or fill the row
//   rowaction {index, act, el}  a row's own button (act: "play" or "menu")
//   menu {index, el, event}     the row's menu was asked for
//   edit {kind, ...}            moveBy {delta}, moveTo, remove, rename {index}, drag {index, event}
//   back                        back to the previous list
//   count                       the number of rows changed (rows came in or were inserted)
//   selection                   focus or selection changed
//   announce {text}             something to tell a screen reader
// `look` answers what a row looks like: isPlaying, canPlay, hasSyntheticMenu (view, row).
import { getRows } from './api.js';
import { ListModel, rowKey, shiftedIndex } from './listmodel.js';
import { playlistIdOf, parsePath } from './paths.js';
import { MODULE_PREFIX } from './commands.js';
import { ListSelection } from './listselection.js';
import { runListKey } from './listkeys.js';
import { TYPE, fillRow, escapeHtml, formatTime } from './listrow.js';

export { TYPE, escapeHtml, formatTime };

export const SHOWN_ROLES = [
  'title', 'path', 'type', 'containerType', 'containerPlayable', 'modifiable', 'value',
  'context', 'id', 'artist', 'album', 'duration', 'vimboClearQueue', 'mediaData', 'icon',
];

const OVERSCAN = 6;
const MAX_INFLIGHT = 3;
let nextListId = 1;

export class ListView extends EventTarget {
  constructor({ path, title, opener }, look) {
    super();
    this.path = path;
    this.title = title;
    this.opener = opener;
    this.look = look;
    this.model = new ListModel();
    this.listId = `list${nextListId++}`;
    this.selection = new ListSelection(this);
    this.nodeRoles = null;
    this.inflight = new Map();
    this.wanted = [];
    this.rendered = new Map();
    this.scrollAnchor = null;
    this.editing = null;
    this.error = null;
    this.build();
  }

  emit(name, detail = {}) {
    this.dispatchEvent(new CustomEvent(name, { detail }));
  }

  // ---- identity ------------------------------------------------------------------

  get prefix() {
    return parsePath(this.path).prefix;
  }

  /** The playlist this list shows, when it is one of the module's playlists. */
  get plid() {
    if (this.prefix !== MODULE_PREFIX) return undefined;
    const own = playlistIdOf(this.path);
    if (own !== undefined) return own;
    const contextPath = this.opener && this.opener.context && this.opener.context.path;
    if (contextPath && this.opener.type === TYPE.container) {
      const fromOpener = playlistIdOf(contextPath);
      if (fromOpener !== undefined) return fromOpener;
    }
    for (const row of this.model.rows.values()) {
      if (row.type === TYPE.track && row.context) return playlistIdOf(row.context.path);
    }
    return undefined;
  }

  /** Tracks of a module playlist can be selected, moved and removed. */
  get editable() {
    return this.plid !== undefined && this.prefix === MODULE_PREFIX;
  }

  // ---- DOM -----------------------------------------------------------------------

  build() {
    const el = document.createElement('div');
    el.className = 'list-scroll';
    el.innerHTML = `<div class="list" role="listbox" tabindex="0"></div><p class="list-note" hidden></p>`;
    this.el = el;
    this.listEl = el.querySelector('.list');
    this.noteEl = el.querySelector('.list-note');
    this.listEl.setAttribute('aria-label', this.title || 'List');
    el.addEventListener('scroll', () => this.onScroll(), { passive: true });
    this.listEl.addEventListener('keydown', (e) => this.onKey(e));
    this.listEl.addEventListener('click', (e) => this.onClick(e));
    this.listEl.addEventListener('dblclick', (e) => this.onDoubleClick(e));
    this.listEl.addEventListener('contextmenu', (e) => this.onContextMenu(e));
    this.listEl.addEventListener('pointerdown', (e) => this.onPointerDown(e));
    this.listEl.addEventListener('focus', () => this.render());
    this.resizeObserver = new ResizeObserver(() => this.render());
    this.resizeObserver.observe(el);
  }

  get rowHeight() {
    if (!this._rowHeight) {
      const value = parseFloat(getComputedStyle(this.el).getPropertyValue('--row-h'));
      this._rowHeight = value > 0 ? value : 52;
    }
    return this._rowHeight;
  }

  mount(parent) {
    parent.append(this.el);
    this._rowHeight = 0;
    if (this.savedScroll !== undefined) this.el.scrollTop = this.savedScroll;
    this.render();
    this.fetchVisible();
  }

  unmount() {
    this.savedScroll = this.el.scrollTop;
    this.el.remove();
  }

  destroy() {
    this.resizeObserver.disconnect();
    this.el.remove();
  }

  focusList() {
    this.listEl.focus({ preventScroll: true });
  }

  // ---- fetching ------------------------------------------------------------------

  visibleRange() {
    const h = this.rowHeight;
    const count = Math.max(0, this.model.count);
    const first = Math.max(0, Math.floor(this.el.scrollTop / h));
    const last = Math.min(count - 1, Math.ceil((this.el.scrollTop + this.el.clientHeight) / h));
    return { first, last: Math.max(first, last) };
  }

  fetchVisible() {
    const { first, last } = this.model.count < 0 ? { first: 0, last: 0 } : this.visibleRange();
    this.wanted = this.model.pagesToFetch(first - OVERSCAN, last + OVERSCAN);
    if (this.model.count >= 0 && this.focus.index >= 0 && !this.model.row(this.focus.index)) {
      for (const page of this.model.pagesToFetch(this.focus.index, this.focus.index)) {
        if (!this.wanted.includes(page)) this.wanted.push(page);
      }
    }
    this.pump();
  }

  pump() {
    while (this.inflight.size < MAX_INFLIGHT && this.wanted.length) {
      const page = this.wanted.shift();
      const generation = this.model.generation;
      const key = `${page}:${generation}`;
      if (this.inflight.has(key)) continue;
      const size = this.model.pageSize;
      const request = getRows(this.path, page * size, page * size + size - 1, SHOWN_ROLES).then((answer) => {
        this.inflight.delete(key);
        this.onPage(page, generation, answer);
        this.pump();
      });
      this.inflight.set(key, request);
    }
  }

  /** Resolves when no page is being fetched (tests and the first paint wait on it). */
  async settled() {
    while (this.inflight.size) await Promise.all([...this.inflight.values()]);
  }

  onPage(page, generation, answer) {
    if (answer.error) {
      this.error = answer.error.message;
      this.renderNote();
      return;
    }
    this.error = null;
    if (!this.nodeRoles && answer.roles) this.nodeRoles = answer.roles;
    if (answer.title && !this.title) this.title = answer.title;
    const before = this.model.count;
    if (!this.model.applyPage(page, generation, answer)) {
      this.fetchVisible();
      return;
    }
    this.followIdentity();
    if (before !== this.model.count) this.emit('count');
    this.render();
    this.fetchVisible();
  }

  /** Everything may have changed: refetch what is shown, keep focus and view on their rows. */
  refresh() {
    this.scrollAnchor = this.topAnchor();
    this.model.reset();
    this.fetchVisible();
  }

  /** Rows were inserted at these indices (after insertion). */
  inserted(positions) {
    const { first } = this.visibleRange();
    const above = positions.filter((p) => p < first || (p === first && this.el.scrollTop > 0)).length;
    this.model.insert(positions);
    if (this.focus.index >= 0) {
      const index = this.model.indexOfId(this.focus.key);
      this.focus.index = index >= 0 ? index : shiftedIndex(this.focus.index, [...positions].sort((a, b) => a - b));
    }
    if (above) this.el.scrollTop += above * this.rowHeight;
    this.emit('count');
    this.render();
    this.fetchVisible();
  }

  topAnchor() {
    const { first } = this.visibleRange();
    const row = this.model.row(first);
    return row ? { key: rowKey(row), index: first, offset: this.el.scrollTop - first * this.rowHeight } : null;
  }

  /** After new rows came in, focus and the top of the view stay on the same items. */
  followIdentity() {
    if (this.focus.key) {
      const index = this.model.indexOfId(this.focus.key);
      if (index >= 0) this.focus.index = index;
    }
    if (this.focus.index >= this.model.count) this.focus.index = Math.max(0, this.model.count - 1);
    const focused = this.model.row(this.focus.index);
    if (!this.focus.key && focused) this.selection.focusedRowArrived(focused);
    if (this.revealFocus && this.focus.key && this.model.indexOfId(this.focus.key) >= 0) {
      this.revealFocus = false;
      this.scrollAnchor = null;
      this.scrollToIndex(this.focus.index);
    }
    if (this.scrollAnchor) {
      const index = this.model.indexOfId(this.scrollAnchor.key);
      if (index >= 0) {
        if (index !== this.scrollAnchor.index) this.el.scrollTop = index * this.rowHeight + this.scrollAnchor.offset;
        this.scrollAnchor = null;
      }
    }
  }

  // ---- rendering -----------------------------------------------------------------

  render() {
    const count = Math.max(0, this.model.count);
    const h = this.rowHeight;
    this.listEl.style.height = `${count * h}px`;
    this.listEl.setAttribute('aria-multiselectable', String(this.editable));
    this.renderNote();
    if (!count) {
      for (const el of this.rendered.values()) el.remove();
      this.rendered.clear();
      this.listEl.removeAttribute('aria-activedescendant');
      return;
    }
    const { first, last } = this.visibleRange();
    const want = new Set();
    for (let i = Math.max(0, first - OVERSCAN); i <= Math.min(count - 1, last + OVERSCAN); i++) want.add(i);
    if (this.focus.index >= 0 && this.focus.index < count) want.add(this.focus.index);
    for (const [index, el] of this.rendered) {
      if (!want.has(index)) {
        el.remove();
        this.rendered.delete(index);
      }
    }
    for (const index of [...want].sort((a, b) => a - b)) this.renderRow(index, count);
    const active = this.rendered.get(this.focus.index);
    if (active) this.listEl.setAttribute('aria-activedescendant', active.id);
  }

  renderNote() {
    const count = this.model.count;
    let text = '';
    if (this.error) text = this.error;
    else if (count === 0) text = 'Nothing here yet.';
    this.noteEl.textContent = text;
    this.noteEl.hidden = !text;
    this.noteEl.classList.toggle('error', !!this.error);
  }

  renderRow(index, count) {
    const row = this.model.row(index);
    const state = this.rowState(index, row);
    let el = this.rendered.get(index);
    const signature = `${state}|${count}`;
    if (el && el._row === row && el._signature === signature) return;
    if (!el) {
      el = document.createElement('div');
      el.id = `${this.listId}-r${index}`;
      el.dataset.index = String(index);
      this.listEl.append(el);
      this.rendered.set(index, el);
    }
    // Content is rebuilt only when the row or what it shows changed; focus and selection
    // only touch attributes, so a double click lands on the node of its first click.
    const content = `${state.includes('playing')}|${state.includes('editing')}|${this.editable}|${index}`;
    if (el._row !== row || el._content !== content) fillRow(el, row, index, state, this);
    el._row = row;
    el._content = content;
    el._signature = signature;
    el.style.transform = `translateY(${index * this.rowHeight}px)`;
    el.setAttribute('role', 'option');
    el.setAttribute('aria-posinset', String(index + 1));
    el.setAttribute('aria-setsize', String(count));
    el.className = `row type-${row ? row.type : 'loading'} ${state}${row ? '' : ' loading'}`;
    el.setAttribute('aria-selected', String(state.includes('selected')));
  }

  rowState(index, row) {
    const key = rowKey(row);
    const flags = [];
    if (index === this.focus.index) flags.push('focused');
    if (key && this.selected.has(key)) flags.push('selected');
    if (row && this.look.isPlaying(this, row)) flags.push('playing');
    if (this.editing && this.editing.index === index) flags.push('editing');
    return flags.join(' ');
  }

  onScroll() {
    this.scrollAnchor = null;
    if (this.scrollFrame) return;
    this.scrollFrame = requestAnimationFrame(() => {
      this.scrollFrame = 0;
      this.render();
      this.fetchVisible();
    });
  }

  scrollToIndex(index, align = 'nearest') {
    const h = this.rowHeight;
    const top = index * h;
    const view = this.el.clientHeight;
    if (align === 'center') this.el.scrollTop = Math.max(0, top - (view - h) / 2);
    else if (top < this.el.scrollTop) this.el.scrollTop = top;
    else if (top + h > this.el.scrollTop + view) this.el.scrollTop = top + h - view;
  }

  // ---- focus and selection (ListSelection) --------------------------------------

  get selected() { return this.selection.selected; }
  get focus() { return this.selection.focus; }
  set focus(value) { this.selection.focus = value; }
  get anchor() { return this.selection.anchor; }
  isSelectable(row) { return this.selection.isSelectable(row); }
  canSelect(row) { return this.selection.canSelect(row); }
  setFocus(index, options) { this.selection.setFocus(index, options); }
  selectAll() { return this.selection.selectAll(); }
  clearSelection() { this.selection.clearSelection(); }
  selectedIndices() { return this.selection.selectedIndices(); }
  targetIndices() { return this.selection.targetIndices(); }
  nextSelectable(index, step) { return this.selection.nextSelectable(index, step); }

  // ---- input ---------------------------------------------------------------------

  indexOfEvent(event) {
    const el = event.target.closest('[role="option"]');
    return el && this.listEl.contains(el) ? Number(el.dataset.index) : -1;
  }

  onClick(event) {
    if (event.target.closest('.inline-edit')) return;
    const index = this.indexOfEvent(event);
    if (index < 0) return;
    const row = this.model.row(index);
    const button = event.target.closest('button[data-act]');
    this.focusList();
    if (button) {
      this.setFocus(index);
      this.emit('rowaction', { index, act: button.dataset.act, el: button });
      return;
    }
    if (!this.isSelectable(row)) return;
    const multi = event.ctrlKey || event.metaKey;
    if (event.shiftKey && this.canSelect(row)) this.setFocus(index, { extend: true });
    else if (multi && this.canSelect(row)) this.setFocus(index, { toggle: true });
    else if (row && this.canSelect(row)) this.setFocus(index, { select: true });
    else {
      this.setFocus(index);
      if (row && row.type !== TYPE.track) this.emit('activate', { index, el: event.target });
    }
  }

  onDoubleClick(event) {
    if (event.target.closest('button, .inline-edit')) return;
    const index = this.indexOfEvent(event);
    const row = this.model.row(index);
    if (row && row.type === TYPE.track) this.emit('activate', { index, el: event.target });
  }

  onContextMenu(event) {
    const index = event.target.closest('[role="option"]') ? this.indexOfEvent(event) : this.focus.index;
    if (index < 0 || !this.model.row(index)) return;
    event.preventDefault();
    if (index !== this.focus.index) this.setFocus(index);
    const anchor = this.rendered.get(index);
    this.emit('menu', { index, el: anchor, event: event.type === 'contextmenu' && event.button === 2 ? event : null });
  }

  onPointerDown(event) {
    const handle = event.target.closest('.handle');
    if (handle && event.button === 0) {
      this.emit('edit', { kind: 'drag', index: this.indexOfEvent(event), event });
      return;
    }
    if (event.pointerType === 'touch' && !event.target.closest('button')) this.startLongPress(event);
  }

  startLongPress(event) {
    const start = { x: event.clientX, y: event.clientY };
    const index = this.indexOfEvent(event);
    const cancel = () => {
      clearTimeout(timer);
      this.listEl.removeEventListener('pointermove', move);
      this.listEl.removeEventListener('pointerup', cancel);
      this.listEl.removeEventListener('pointercancel', cancel);
    };
    const move = (e) => {
      if (Math.hypot(e.clientX - start.x, e.clientY - start.y) > 10) cancel();
    };
    const timer = setTimeout(() => {
      cancel();
      if (index >= 0 && this.model.row(index)) {
        this.setFocus(index);
        this.suppressClick();
        this.emit('menu', { index, el: this.rendered.get(index), event: null });
      }
    }, 550);
    this.listEl.addEventListener('pointermove', move);
    this.listEl.addEventListener('pointerup', cancel);
    this.listEl.addEventListener('pointercancel', cancel);
  }

  suppressClick() {
    const stop = (e) => {
      e.stopPropagation();
      e.preventDefault();
    };
    this.listEl.addEventListener('click', stop, { capture: true, once: true });
    setTimeout(() => this.listEl.removeEventListener('click', stop, { capture: true }), 800);
  }

  onKey(event) {
    if (event.target !== this.listEl) return;
    const mod = event.ctrlKey || event.metaKey;
    const page = Math.max(1, Math.floor(this.el.clientHeight / this.rowHeight) - 1);
    const move = (to) => {
      if (event.shiftKey && this.editable) this.setFocus(to, { extend: true });
      else if (mod) this.setFocus(to);
      else this.setFocus(to, { select: true });
    };
    runListKey(this, event, { i: this.focus.index, page, move });
  }

  activateAt(index) {
    if (this.model.row(index)) this.emit('activate', { index, el: this.rendered.get(index) });
  }

  // ---- inline editing ------------------------------------------------------------

  /** Shows a text field on a row; resolves with the text, or null when cancelled. */
  editInline(index, { label, value = '' }) {
    this.setFocus(index);
    this.editing = { index };
    this.render();
    const el = this.rendered.get(index);
    const form = document.createElement('form');
    form.className = 'inline-edit';
    form.innerHTML = `<input type="text" enterkeyhint="done" autocomplete="off"><button type="submit" class="small">OK</button>`;
    const input = form.querySelector('input');
    input.setAttribute('aria-label', label);
    input.value = value;
    el.querySelector('.main').replaceChildren(form);
    input.focus();
    input.select();
    return new Promise((resolve) => {
      const finish = (result) => {
        if (!this.editing) return;
        this.editing = null;
        el._row = null;
        this.render();
        this.focusList();
        resolve(result);
      };
      form.addEventListener('submit', (e) => {
        e.preventDefault();
        finish(input.value);
      });
      input.addEventListener('keydown', (e) => {
        if (e.key === 'Escape') {
          e.preventDefault();
          e.stopPropagation();
          finish(null);
        }
      });
      input.addEventListener('blur', () => setTimeout(() => {
        if (!form.contains(document.activeElement)) finish(null);
      }, 150));
    });
  }
}
