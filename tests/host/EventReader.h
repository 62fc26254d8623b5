#pragma once
// A client of GET /api/events in a thread of its own, as a test sees it: the events that arrived, in
// order, and waits for one that matches.
#include <QVariantHash>
#include <condition_variable>
#include <functional>
#include <httplib.h>
#include <mutex>
#include <thread>

class EventReader
{
public:
    EventReader(int port, const httplib::Headers& headers = {});
    ~EventReader();  // close()

    // Waits until the stream is open (its first line arrived). False when it did not open.
    bool waitConnected(int timeoutMs = 10000);
    // Waits for an event for which match is true; false after timeoutMs.
    bool waitFor(const std::function<bool(const QVariantHash&)>& match, int timeoutMs = 10000);
    // Every event that arrived so far, in arrival order.
    QList<QVariantHash> events() const;
    // Waits until the server ended the stream; false after timeoutMs.
    bool waitEnded(int timeoutMs = 10000);
    // Drops the connection from the client side.
    void close();
    int status() const;

private:
    void receive(const char* data, size_t size);

    httplib::Client m_client;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_buffer;
    QList<QVariantHash> m_events;
    bool m_connected = false;
    bool m_ended = false;
    int m_status = -1;
    std::thread m_thread;
};
