#include "EventReader.h"

#include "KeloJson.h"

EventReader::EventReader(int port, const httplib::Headers& headers) : m_client("127.0.0.1", port)
{
    m_client.set_read_timeout(60, 0);
    m_thread = std::thread([this, headers] {
        const httplib::Result result = m_client.Get(
            "/api/events", headers,
            [this](const httplib::Response& response) {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_status = response.status;
                return true;
            },
            [this](const char* data, size_t size) {
                receive(data, size);
                return true;
            });
        std::lock_guard<std::mutex> lock(m_mutex);
        if (result && m_status < 0)
            m_status = result->status;
        m_ended = true;
        m_changed.notify_all();
    });
}

EventReader::~EventReader()
{
    close();
}

void EventReader::close()
{
    m_client.stop();
    if (m_thread.joinable())
        m_thread.join();
}

int EventReader::status() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_status;
}

void EventReader::receive(const char* data, size_t size)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_connected = m_status == 200;
    m_buffer.append(data, size);
    size_t end;
    while ((end = m_buffer.find("\n\n")) != std::string::npos) {
        const std::string block = m_buffer.substr(0, end);
        m_buffer.erase(0, end + 2);
        if (block.rfind("data: ", 0) == 0)
            m_events.append(KeloJson::parse(QByteArray::fromStdString(block.substr(6))).toHash());
    }
    m_changed.notify_all();
}

bool EventReader::waitConnected(int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return m_connected || m_ended; })
           && m_connected;
}

bool EventReader::waitFor(const std::function<bool(const QVariantHash&)>& match, int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
        return std::any_of(m_events.begin(), m_events.end(), match);
    });
}

QList<QVariantHash> EventReader::events() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

bool EventReader::waitEnded(int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return m_ended; });
}
