// The host's HTTP API. Every call resolves; failures come back as { error: { message } }
// so that callers show them next to what the person touched instead of throwing.

// A host started with a token answers 401 until the page holds its session cookie. The person is
// asked for the token once; it goes to api/session in a header, never into a URL, and the host
// answers with an HttpOnly cookie that every later request and the events stream carry.
let session = null;

function askForSession() {
  if (!session) {
    session = (async () => {
      const token = window.prompt('This device needs its access token:');
      if (!token) return false;
      const response = await fetch('api/session', {
        method: 'POST',
        headers: { 'Content-Type': 'application/json', Authorization: `Bearer ${token.trim()}` },
        body: '{}',
      });
      return response.ok;
    })().finally(() => {
      session = null;
    });
  }
  return session;
}

function send(endpoint, body) {
  return fetch(`api/${endpoint}`, {
    method: 'POST',
    headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify(body),
  });
}

async function post(endpoint, body) {
  let response;
  try {
    response = await send(endpoint, body);
    if (response.status === 401 && (await askForSession())) response = await send(endpoint, body);
  } catch (err) {
    return { error: { message: `The device cannot be reached (${err.message}).` } };
  }
  let answer;
  try {
    answer = await response.json();
  } catch {
    answer = {};
  }
  if (answer && answer.error) return { error: normalizeError(answer.error) };
  if (!response.ok) return { error: { message: `The device answered ${response.status}.` } };
  return answer ?? {};
}

function normalizeError(error) {
  if (typeof error === 'string') return { message: error };
  return { ...error, message: error.message || error.title || error.name || 'Failed.' };
}

/** Rows fromRow..toRow (both included), only `roles` when given. */
export function getRows(path, fromRow, toRow, roles) {
  const body = { path, fromRow, toRow };
  if (roles) body.roles = roles;
  return post('getRows', body);
}

export function getData(path, roles) {
  return post('getData', roles ? { path, roles } : { path });
}

/** Sends a value to a path; `value` undefined sends none (action entries). */
export function setData(path, value) {
  return post('setData', { path, value: value === undefined ? null : value });
}

/** Events that an answer asks the page to act on, e.g. closing a menu. */
export function answerEvents(answer) {
  const value = answer && answer.value;
  return value && Array.isArray(value.events) ? value.events : [];
}

/** The result value of a command's answer (the new uid of a create, true of most commands). */
export function answerResult(answer) {
  const result = answer && answer.value && answer.value.result;
  return result ? unwrapValue(result.value) : undefined;
}

/** Plain JS value of a KeloValue ({"type": "i32_", "i32_": 5} gives 5). */
export function unwrapValue(value) {
  if (value && typeof value === 'object' && typeof value.type === 'string' && value.type in value) {
    return value[value.type];
  }
  return value;
}
