// The events stream. One EventSource for the whole page; listeners get every event.
// When the stream drops, the page says so, reconnects with a growing pause, and on
// reconnection asks every view to resync, since events may have been lost meanwhile.

const RECENT_MS = 5000;

export class LiveEvents {
  constructor({ onEvent, onStatus, onResync }) {
    this.onEvent = onEvent;
    this.onStatus = onStatus;
    this.onResync = onResync;
    this.source = null;
    this.connected = false;
    this.everConnected = false;
    this.retryMs = 500;
    this.timer = null;
    this.recent = [];
    this.waiters = new Set();
  }

  start() {
    this.open();
    window.addEventListener('online', () => this.reconnectSoon(0));
  }

  open() {
    clearTimeout(this.timer);
    this.timer = null;
    const source = new EventSource('api/events');
    this.source = source;
    source.onopen = () => {
      if (source !== this.source) return;
      // A first stream that opens only after failing (a token still to be traded for the session
      // cookie) missed whatever changed since the page read its lists: read them again as well.
      const wasAway = (this.everConnected || this.failedFirst) && !this.connected;
      this.failedFirst = false;
      this.connected = true;
      this.everConnected = true;
      this.retryMs = 500;
      this.onStatus(true, wasAway);
      if (wasAway) this.onResync();
    };
    source.onmessage = (message) => {
      let event;
      try {
        event = JSON.parse(message.data);
      } catch {
        return;
      }
      this.remember(event);
      this.onEvent(event);
      for (const waiter of [...this.waiters]) waiter(event);
    };
    source.onerror = () => {
      if (source !== this.source) return;
      if (this.connected) {
        this.connected = false;
        this.onStatus(false, false);
      } else if (!this.everConnected) {
        this.failedFirst = true;
        this.onStatus(false, false);
      }
      // The browser retries by itself only while the stream is CONNECTING; a refused or
      // failed response closes it for good, so the page takes over.
      if (source.readyState === EventSource.CLOSED) this.reconnectSoon(this.retryMs);
    };
  }

  reconnectSoon(delay) {
    if (this.timer) return;
    if (this.source) this.source.close();
    this.timer = setTimeout(() => this.open(), delay);
    this.retryMs = Math.min(this.retryMs * 2, 5000);
  }

  remember(event) {
    const now = performance.now();
    this.recent.push({ at: now, event });
    while (this.recent.length && now - this.recent[0].at > RECENT_MS) this.recent.shift();
  }

  /**
   * The first event since `since` (a performance.now() time) for which match is true: one
   * already received, or the next to come; null when none comes within timeoutMs.
   */
  nextEvent(since, match, timeoutMs = 5000) {
    const seen = this.eventsSince(since).find(match);
    if (seen) return Promise.resolve(seen);
    return new Promise((resolve) => {
      const done = (event) => {
        clearTimeout(timer);
        this.waiters.delete(waiter);
        resolve(event);
      };
      const waiter = (event) => {
        if (match(event)) done(event);
      };
      const timer = setTimeout(() => done(null), timeoutMs);
      this.waiters.add(waiter);
    });
  }

  /** Events that arrived since `since` (a performance.now() time). */
  eventsSince(since) {
    return this.recent.filter((entry) => entry.at >= since).map((entry) => entry.event);
  }
}
