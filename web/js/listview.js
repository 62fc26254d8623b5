// One open node shown as a virtualised list: only the rows in view (and the focused one)
// are in the document; rows are fetched page by page with only the roles the list shows.
// Focus and selection are kept by row identity (item id), never by index, so that edits
// from elsewhere move neither of them.
import { getRows } from './api.js';
import { ListModel, rowKey, shiftedIndex } from './listmodel.js';
import { icon } from './icons.js';
import { playlistIdOf, parsePath } from './paths.js';
import { MODULE_PREFIX } from './commands.js';

export const SHOWN_ROLES = [
  'title', 'path', 'type', 'containerType', 'containerPlayable', 'modifiable', 'value',
  'context', 'id', 'artist', 'album', 'duration', 'vimboClearQueue', 'mediaData',
];
export const TYPE = { container: 1, track: 3, input: 101, action: 102, header: 103, separator: 105 };

const OVERSCAN = 6;
const MAX_INFLIGHT = 3;
let nextListId = 1;

export class ListView {
  constructor({ path, title, opener }, ctx) {
    this.path = path;
    this.title = title;
    this.opener = opener;
    this.ctx = ctx;
    this.model = new ListModel();
    this.listId = `list${nextListId++}`;
    this.selected = new Set();
    this.focus = { index: 0, key: undefined };
    this.anchor = null;
    this.nodeRoles = null;
    this.inflight = new Map();
    this.wanted = [];
    this.rendered = new Map();
    this.scrollAnchor = null;
    this.editing = null;
    this.error = null;
    this.build();
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
    if (before !== this.model.count) this.ctx.countChanged(this);
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
    this.ctx.countChanged(this);
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
    if (!this.focus.key && focused) {
      this.focus.key = rowKey(focused);
      if (this.pendingSelect && this.canSelect(focused)) {
        this.selected.clear();
        this.selected.add(this.focus.key);
        this.anchor = { index: this.focus.index, key: this.focus.key };
        this.ctx.selectionChanged(this);
      }
      this.pendingSelect = false;
    }
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
    if (row && this.ctx.isPlaying(this, row)) flags.push('playing');
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

  // ---- focus and selection -------------------------------------------------------

  isSelectable(row) {
    return !row || (row.type !== TYPE.header && row.type !== TYPE.separator);
  }

  canSelect(row) {
    return this.editable && row && row.type === TYPE.track;
  }

  setFocus(index, { select = false, extend = false, toggle = false, align = 'nearest' } = {}) {
    const count = this.model.count;
    if (count <= 0) return;
    index = Math.max(0, Math.min(count - 1, index));
    const row = this.model.row(index);
    if (extend && !this.anchor) this.anchor = { ...this.focus };
    this.focus = { index, key: rowKey(row) };
    this.pendingSelect = select && !row;
    if (extend && this.anchor) this.selectRange(this.anchorIndex(), index);
    else if (toggle) this.toggleSelected(row);
    else if (select) {
      this.selected.clear();
      if (this.canSelect(row)) this.selected.add(rowKey(row));
      this.anchor = { index, key: rowKey(row) };
    }
    if (!extend && !select && !toggle) this.anchor = { index, key: rowKey(row) };
    this.scrollToIndex(index, align);
    this.render();
    this.fetchVisible();
    this.ctx.selectionChanged(this);
  }

  /** Where the anchor of a range selection is now: it stays on its row when rows move. */
  anchorIndex() {
    const index = this.model.indexOfId(this.anchor.key);
    return index >= 0 ? index : this.anchor.index;
  }

  toggleSelected(row) {
    if (!this.canSelect(row)) return;
    const key = rowKey(row);
    if (this.selected.has(key)) this.selected.delete(key);
    else this.selected.add(key);
    this.anchor = { index: this.model.indexOfId(key), key };
  }

  async selectRange(from, to) {
    const [a, b] = from <= to ? [from, to] : [to, from];
    const keys = await this.keysOf(a, b);
    this.selected.clear();
    for (const key of keys) if (key) this.selected.add(key);
    this.render();
    this.ctx.selectionChanged(this);
  }

  async selectAll() {
    if (!this.editable || this.model.count <= 0) return;
    await this.selectRange(0, this.model.count - 1);
    this.ctx.announce(`${this.selected.size} tracks selected.`);
  }

  clearSelection() {
    if (!this.selected.size) return;
    this.selected.clear();
    this.render();
    this.ctx.selectionChanged(this);
  }

  /** Keys of rows a..b; rows not in the cache are asked for by id only. */
  async keysOf(a, b) {
    const keys = [];
    let missing = false;
    for (let i = a; i <= b; i++) {
      const row = this.model.row(i);
      if (!row) missing = true;
      keys.push(row && this.canSelect(row) ? rowKey(row) : undefined);
    }
    if (!missing) return keys;
    const answer = await getRows(this.path, a, b, ['id', 'type']);
    if (answer.error) return keys;
    return (answer.rows ?? []).map((row) => (row.type === TYPE.track ? rowKey(row) : undefined));
  }

  /** Current indices of the selected rows (ascending), asked of the node when not cached. */
  async selectedIndices() {
    const found = [];
    const wanted = new Set(this.selected);
    for (const [index, row] of this.model.rows) {
      const key = rowKey(row);
      if (wanted.has(key)) {
        found.push(index);
        wanted.delete(key);
      }
    }
    if (wanted.size && this.model.count > 0) {
      const answer = await getRows(this.path, 0, this.model.count - 1, ['id']);
      for (const [index, row] of (answer.rows ?? []).entries()) {
        if (wanted.has(rowKey(row))) found.push(index);
      }
    }
    return [...new Set(found)].sort((a, b) => a - b);
  }

  /** The rows an edit acts on: the selection, or the focused track when nothing is selected. */
  async targetIndices() {
    if (this.selected.size) return this.selectedIndices();
    const row = this.model.row(this.focus.index);
    return this.canSelect(row) ? [this.focus.index] : [];
  }

  nextSelectable(index, step) {
    const count = this.model.count;
    let i = index;
    for (let n = 0; n < count; n++) {
      i += step;
      if (i < 0 || i >= count) return index;
      if (this.isSelectable(this.model.row(i))) return i;
    }
    return index;
  }

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
      this.ctx.rowAction(this, index, button.dataset.act, button);
      return;
    }
    if (!this.isSelectable(row)) return;
    const multi = event.ctrlKey || event.metaKey;
    if (event.shiftKey && this.canSelect(row)) this.setFocus(index, { extend: true });
    else if (multi && this.canSelect(row)) this.setFocus(index, { toggle: true });
    else if (row && this.canSelect(row)) this.setFocus(index, { select: true });
    else {
      this.setFocus(index);
      if (row && row.type !== TYPE.track) this.ctx.activate(this, index, event.target);
    }
  }

  onDoubleClick(event) {
    if (event.target.closest('button, .inline-edit')) return;
    const index = this.indexOfEvent(event);
    const row = this.model.row(index);
    if (row && row.type === TYPE.track) this.ctx.activate(this, index, event.target);
  }

  onContextMenu(event) {
    const index = event.target.closest('[role="option"]') ? this.indexOfEvent(event) : this.focus.index;
    if (index < 0 || !this.model.row(index)) return;
    event.preventDefault();
    if (index !== this.focus.index) this.setFocus(index);
    const anchor = this.rendered.get(index);
    this.ctx.openRowMenu(this, index, anchor, event.type === 'contextmenu' && event.button === 2 ? event : null);
  }

  onPointerDown(event) {
    const handle = event.target.closest('.handle');
    if (handle && event.button === 0) {
      this.ctx.startDrag(this, this.indexOfEvent(event), event);
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
        this.ctx.openRowMenu(this, index, this.rendered.get(index), null);
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
    const i = this.focus.index;
    const move = (to) => {
      event.preventDefault();
      if (event.shiftKey && this.editable) this.setFocus(to, { extend: true });
      else if (mod) this.setFocus(to);
      else this.setFocus(to, { select: true });
    };
    if (event.altKey && (event.key === 'ArrowUp' || event.key === 'ArrowDown')) {
      event.preventDefault();
      this.ctx.moveBy(this, event.key === 'ArrowUp' ? -1 : 1);
      return;
    }
    if (event.altKey && event.key === 'ArrowLeft') {
      event.preventDefault();
      this.ctx.back();
      return;
    }
    switch (event.key) {
      case 'ArrowDown': return move(this.nextSelectable(i, 1));
      case 'ArrowUp': return move(this.nextSelectable(i, -1));
      case 'PageDown': return move(Math.min(this.model.count - 1, i + page));
      case 'PageUp': return move(Math.max(0, i - page));
      case 'Home': return move(0);
      case 'End': return move(this.model.count - 1);
      case 'Enter':
        event.preventDefault();
        if (this.model.row(i)) this.ctx.activate(this, i, this.rendered.get(i));
        return;
      case ' ':
        event.preventDefault();
        if (this.canSelect(this.model.row(i))) this.setFocus(i, { toggle: true });
        else if (this.model.row(i)) this.ctx.activate(this, i, this.rendered.get(i));
        return;
      case 'Escape':
        if (this.selected.size) {
          event.preventDefault();
          this.clearSelection();
        }
        return;
      case 'Backspace':
        event.preventDefault();
        this.ctx.back();
        return;
      case 'Delete':
        event.preventDefault();
        this.ctx.removeSelected(this);
        return;
      case 'F2':
        event.preventDefault();
        this.ctx.rename(this, i);
        return;
      case 'ContextMenu':
        event.preventDefault();
        this.onContextMenu(event);
        return;
      case 'F10':
        if (event.shiftKey) {
          event.preventDefault();
          this.onContextMenu(event);
        }
        return;
      default:
    }
    if (mod && !event.altKey && event.key.toLowerCase() === 'a' && this.editable) {
      event.preventDefault();
      this.selectAll();
    } else if (!mod && !event.altKey && event.key === 'm' && this.editable) {
      event.preventDefault();
      this.ctx.moveToPosition(this);
    }
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

// ---- row content -----------------------------------------------------------------

function fillRow(el, row, index, state, view) {
  el.removeAttribute('aria-disabled');
  if (!row) {
    el.innerHTML = `<span class="lead">${index + 1}</span><span class="main"><span class="title skeleton"></span></span>`;
    el.setAttribute('aria-label', `Row ${index + 1}, loading`);
    return;
  }
  el.removeAttribute('aria-label');
  const title = escapeHtml(row.title ?? '');
  const type = row.type;
  if (type === TYPE.header) {
    el.setAttribute('aria-disabled', 'true');
    el.innerHTML = `<span class="main"><span class="title">${title}</span></span>`;
    return;
  }
  if (type === TYPE.separator) {
    el.setAttribute('aria-disabled', 'true');
    el.setAttribute('aria-label', 'Separator');
    el.innerHTML = '<hr>';
    return;
  }
  const buttons = [];
  const hasMenu = !!row.context || view.ctx.hasSyntheticMenu(view, row);
  let lead = '';
  let sub = '';
  let tail = '';
  if (type === TYPE.track) {
    const playing = state.includes('playing');
    lead = playing ? icon('note', 'Playing') : `<span class="num">${index + 1}</span>`;
    sub = [row.artist, row.album].filter(Boolean).map(escapeHtml).join(' · ');
    if (row.duration) tail = `<span class="dur">${formatTime(Number(row.duration) * 1000)}</span>`;
    if (view.ctx.canPlay(view, row)) buttons.push(`<button class="row-btn" data-act="play" tabindex="-1" aria-label="Play ${title}">${icon('play')}</button>`);
  } else if (type === TYPE.input) {
    lead = icon('plus');
  } else if (type === TYPE.container) {
    lead = row.containerPlayable ? icon('list') : icon('folder');
    sub = [row.artist, row.album].filter(Boolean).map(escapeHtml).join(' · ');
    tail = `<span class="chev">${icon('chevron')}</span>`;
  } else {
    lead = icon('chevron');
  }
  if (hasMenu) buttons.push(`<button class="row-btn" data-act="menu" tabindex="-1" aria-haspopup="menu" aria-label="Menu for ${title}">${icon('more')}</button>`);
  const handle = view.editable && type === TYPE.track ? `<span class="handle" aria-hidden="true" title="Drag to move">${icon('handle')}</span>` : '';
  el.innerHTML = `${handle}<span class="lead">${lead}</span><span class="main"><span class="title">${title}</span>${sub ? `<span class="sub">${sub}</span>` : ''}</span>${tail}${buttons.join('')}`;
}

export function escapeHtml(text) {
  return String(text).replace(/[&<>"']/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&#39;' }[c]));
}

export function formatTime(ms) {
  const total = Math.max(0, Math.floor((Number(ms) || 0) / 1000));
  const h = Math.floor(total / 3600);
  const m = Math.floor((total % 3600) / 60);
  const s = String(total % 60).padStart(2, '0');
  return h ? `${h}:${String(m).padStart(2, '0')}:${s}` : `${m}:${s}`;
}
