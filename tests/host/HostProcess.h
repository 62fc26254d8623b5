#pragma once
// kelo-host as a subprocess of a test: started on a free loopback port with a data directory of the
// test's choosing, talked to with httplib, stopped with a signal. Paths of the built binaries come
// from KELO_BIN_DIR and KELO_LIB_DIR when set, else from where the test binary itself lies.
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVariantHash>
#include <httplib.h>
#include <memory>

class HostProcess
{
public:
    ~HostProcess();  // kills a host still running

    static QString binDir();
    static QString libDir();
    static QString testWorker() { return libDir() + QStringLiteral("/libkelo_testworker.so"); }
    static QString playlistsModule() { return libDir() + QStringLiteral("/libkelo_playlists.so"); }

    // Starts kelo-host with --listen 127.0.0.1:0 (a later --listen wins), --data-dir dataDir, the
    // test plug-in unless arguments name a --plugin, and arguments, and waits for its listening line. False when it exits first or says nothing in time.
    bool start(const QString& dataDir, const QStringList& arguments);
    // Starts it as above, expecting it to refuse: its exit status, or -1 when it did not exit.
    int runToExit(const QString& dataDir, const QStringList& arguments);
    // Sends sig and waits up to timeoutMs for the exit: the exit status, or -1 (the host is then killed).
    int stop(int sig = SIGTERM, int timeoutMs = 10000);

    int port() const { return m_port; }
    qint64 pid() const { return m_process.processId(); }  // 0 when not running
    QString errorOutput() const;  // what the host wrote to stderr
    std::unique_ptr<httplib::Client> client() const;
    // POSTs body to path and parses the JSON answer into *json (when given). The HTTP status, or -1.
    int post(const std::string& path, const std::string& body, QVariantHash* json = nullptr,
             const httplib::Headers& headers = {}) const;

private:
    void launch(const QString& dataDir, const QStringList& arguments);
    int exitStatus() const;

    QProcess m_process;
    int m_port = -1;
    QString m_errorFile;
};

// The status of an answer, or -1 when there was none.
inline int statusOf(const httplib::Result& result)
{
    return result ? result->status : -1;
}
// The compact JSON text of a variant, for request bodies.
std::string jsonText(const QVariant& value);
// {"type": "i32_", "i32_": v} as a variant, the form of an integer setting.
QVariantHash i32Value(int v);
