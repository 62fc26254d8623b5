// Browse paths are opaque to the page except for three things: the prefix that routes them,
// their query parameters (menus carry plid, action ... there) and prefix tests for events.

/** Splits "prefix:sub/path?a=1&b=2" into its parts; unknown shapes give an empty prefix. */
export function parsePath(path) {
  const text = String(path ?? '');
  const q = text.indexOf('?');
  const base = q < 0 ? text : text.slice(0, q);
  const colon = base.indexOf(':');
  const params = new Map();
  if (q >= 0) {
    for (const pair of text.slice(q + 1).split('&')) {
      if (!pair) continue;
      const eq = pair.indexOf('=');
      const key = eq < 0 ? pair : pair.slice(0, eq);
      const value = eq < 0 ? '' : pair.slice(eq + 1);
      params.set(decode(key), decode(value));
    }
  }
  return {
    base,
    prefix: colon < 0 ? '' : base.slice(0, colon),
    sub: colon < 0 ? base : base.slice(colon + 1),
    params,
  };
}

function decode(text) {
  try {
    return decodeURIComponent(text.replace(/\+/g, ' '));
  } catch {
    return text;
  }
}

export function param(path, name) {
  return parsePath(path).params.get(name);
}

/** A path with query parameters, values percent-encoded. */
export function buildPath(base, params) {
  const query = Object.entries(params)
    .map(([k, v]) => `${encodeURIComponent(k)}=${encodeURIComponent(String(v))}`)
    .join('&');
  return query ? `${base}?${query}` : base;
}

/** The playlist id a path names: the "plid" parameter, or a numeric last segment. */
export function playlistIdOf(path) {
  const parsed = parsePath(path);
  const plid = parsed.params.get('plid');
  if (plid !== undefined && /^-?\d+$/.test(plid)) return Number(plid);
  const last = parsed.sub.split('/').pop();
  return /^\d+$/.test(last) ? Number(last) : undefined;
}

/** True when an event about `eventPath` concerns a view showing `viewPath`. */
export function eventCovers(eventPath, viewPath) {
  return String(viewPath).startsWith(String(eventPath));
}

/**
 * True when a path that is gone is the view's own node (with or without query, or a node
 * below it): playlist 5 closing must not close playlist 50.
 */
export function eventCloses(eventPath, viewPath) {
  const gone = String(eventPath);
  const view = String(viewPath);
  return view === gone || view.startsWith(`${gone}?`) || view.startsWith(`${gone}/`) || (gone.endsWith(':') && view.startsWith(gone));
}
