#!/usr/bin/env python3
"""Records the answers of a running kelo-host to the requests in api-exchanges.json, in place.

Start the host on a fresh data directory first, then:
    tests/modules/playlists/data/record-api-answers.py PORT
Only after a change that is meant to change answers: the end-to-end test ARecordedSessionGetsTheRecordedAnswers
replays the requests and expects exactly these answers.
"""
import http.client
import json
import os
import sys


def post(port, endpoint, body):
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=120)
    data = json.dumps(body, separators=(",", ":")).encode()
    connection.request("POST", endpoint, data, {"Content-Type": "application/json", "Connection": "close"})
    response = connection.getresponse()
    text = response.read()
    connection.close()
    try:
        answer = json.loads(text)
    except ValueError:
        answer = {}
    return response.status, answer if isinstance(answer, dict) else {}


def main():
    port = int(sys.argv[1])
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "api-exchanges.json")
    with open(path) as f:
        exchanges = json.load(f)
    for exchange in exchanges:
        exchange["status"], exchange["answer"] = post(port, exchange["endpoint"], exchange["body"])
    with open(path, "w") as f:
        json.dump(exchanges, f, indent=1, ensure_ascii=False)
        f.write("\n")
    print("recorded %d answers" % len(exchanges))


if __name__ == "__main__":
    main()
