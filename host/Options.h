#pragma once
// The command line of kelo-host. Parsing is pure: it reads the arguments and the current directory
// (to make relative paths absolute, since the host later changes into the data directory) and touches
// nothing else. Main thread only.
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

#include "CMPath.h"
#include "KeloValue.h"

struct Options
{
    static constexpr int MinTokenChars = 16;

    QString dataDir;             // absolute; the current directory unless --data-dir
    QString listenAddress = QStringLiteral("127.0.0.1");
    int listenPort = 8080;       // 0: any free port
    QList<QPair<CMPath, KeloValue>> settings;  // --set, in the order given
    QString logConfig;           // absolute, or empty for the console at WARN
    QString token;               // empty: no authorization; else at least MinTokenChars
    QStringList allowedHosts;    // --allow-host: further names a request's Host may carry
    QStringList plugins;         // absolute; empty: the default plug-in, if it was built
    QString mediaDir;            // absolute, or empty for the built-in catalogue
    QString webRoot;             // absolute
    int replyTimeoutMs = 30000;
    double playerSpeed = 1.0;    // the simulated player's play time against real time
    QString player = QStringLiteral("auto");  // "simulated", "audio" or "auto"
    QString audioSink = QStringLiteral("autoaudiosink");  // a GStreamer sink description
    bool help = false;

    // Whether the listen address is a loopback address (127.0.0.0/8, ::1 or "localhost").
    bool listensOnLoopback() const;
    // The address as it goes into a URL: IPv6 addresses in brackets.
    QString urlHost() const;

    // Parses arguments (without the program name). On failure returns false with *error set; the
    // host then exits with status 2. A non-loopback address without a token, a token shorter than
    // MinTokenChars, and a token file that cannot be read are such failures.
    static bool parse(const QStringList& arguments, Options* options, QString* error);
    static QString usage();
};
